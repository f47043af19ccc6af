#pragma once

#include <functional>

#include "backends/desktop/CellLayout.h"

namespace desktop {

/// A widget that places its children by a CellLayout.
GtkWidget* NewElementWidget();

/// `layout` is asked at every measurement; null for no children to place.
void SetLayout(GtkWidget* widget, std::function<CellLayout()> layout);

/// Makes `children` the widget's children, in this order; others leave it.
void SetChildren(GtkWidget* widget, const std::vector<GtkWidget*>& children);

}  // namespace desktop
