#pragma once

#include <functional>

#include "backends/desktop/GLibPtr.h"

namespace desktop {

/// Draws into a square of `size` pixels from the origin on, in `color`, which is the widget's text colour.
using Draw = std::function<void(cairo_t* cairo, double size, const GdkRGBA& color)>;

/// A widget that shows a drawing, as large as there is room for in both directions and in the middle.
/// Assistive technology sees it as `role`. `cssName` is what style sheets know it by.
GtkWidget* NewDrawingWidget(GtkAccessibleRole role, const char* cssName, Draw draw);

/// The smallest width and height, in device-independent pixels, for the units of now and later.
void SetDrawingSize(GtkWidget* widget, double size);

}  // namespace desktop
