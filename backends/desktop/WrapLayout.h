#pragma once

#include <vector>

#include "backends/desktop/CellLayout.h"

namespace desktop {

/// Children one after another, in as many lines as the width asks for.
struct WrapLayout {
    double HorizontalSpacing = 0;
    double VerticalSpacing = 0;
    std::vector<Cell> Cells = {};

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
