#pragma once

#include <functional>

#include "backends/desktop/CellLayout.h"

namespace desktop {

/// A widget that places its children by a CellLayout and passes the focus through them in their order, which
/// is the reading order. `layout` is asked at every measurement.
GtkWidget* NewElementWidget(std::function<CellLayout()> layout);

/// The widget is about to lose its peer: from now on it has no children to place.
void ForgetLayout(GtkWidget* widget);

/// Makes `children` the widget's children, in this order; others leave it.
void SetChildren(GtkWidget* widget, const std::vector<GtkWidget*>& children);

}  // namespace desktop
