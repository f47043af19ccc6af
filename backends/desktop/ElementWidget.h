#pragma once

#include <functional>
#include <variant>

#include "backends/desktop/CellLayout.h"
#include "backends/desktop/WrapLayout.h"

namespace desktop {

using Layout = std::variant<CellLayout, WrapLayout>;

/// A widget that places its children by a layout.
GtkWidget* NewElementWidget();

/// See WrapLayout.
GdkRectangle LastLineOf(GtkWidget* widget, int width);

/// `layout` is asked at every measurement; null for no children to place.
void SetLayout(GtkWidget* widget, std::function<Layout()> layout);

/// Makes `children` the widget's children, in this order; others leave it.
void SetChildren(GtkWidget* widget, const std::vector<GtkWidget*>& children);

}  // namespace desktop
