#pragma once

#include <vector>

#include "backends/desktop/CellLayout.h"

namespace desktop {

/// Children one after another, in as many lines as the width asks for; one that is aligned to the right
/// stands at the end of its line. A child that has a layout of this kind is continued by the next one in its
/// last line. One that fills takes what its line has left beside the next child, or a line of its own where
/// that is less than half of it.
struct WrapLayout {
    double HorizontalSpacing = 0;
    double VerticalSpacing = 0;
    platform::Thickness Padding = {};
    std::vector<Cell> Cells = {};
    /// LastLine of a child that has such a layout, for lines of this width; empty for another widget.
    GdkRectangle (*LastLineOf)(GtkWidget* child, int width);

    /// The place of the last child, for lines of this width; empty without children.
    GdkRectangle LastLine(int width) const;

    /// See CellLayout.
    CellLayout::Extent Measure(GtkOrientation orientation, int forSize) const;
    void Allocate(int width, int height, GtkTextDirection direction) const;

  private:
    struct Item {
        GtkWidget* widget;
        GdkRectangle area;
    };
    /// The visible children with their places, for lines of this width; their total height at `height`.
    std::vector<Item> Lines(int width, int& height) const;
};

}  // namespace desktop
