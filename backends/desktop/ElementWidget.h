#pragma once

#include <functional>

#include "backends/desktop/CellLayout.h"

namespace desktop {

/// A widget that places its children by a CellLayout and passes the focus through them in their order, which
/// is the reading order.
GtkWidget* NewElementWidget();

/// `layout` is asked at every measurement; null for no children to place.
void SetLayout(GtkWidget* widget, std::function<CellLayout()> layout);

/// Makes `children` the widget's children, in this order; others leave it.
void SetChildren(GtkWidget* widget, const std::vector<GtkWidget*>& children);

}  // namespace desktop
