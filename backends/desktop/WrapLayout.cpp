#include "backends/desktop/WrapLayout.h"

#include <algorithm>
#include <limits>

#include "backends/desktop/Unit.h"

namespace desktop {

std::vector<WrapLayout::Item> WrapLayout::Lines(int width, int& height) const {
    std::vector<Item> items;
    int x = 0;
    int y = 0;
    height = 0;
    for (const auto& cell : Cells) {
        if (!gtk_widget_should_layout(cell.Widget)) {
            continue;
        }
        int least = 0;
        int natural = 0;
        gtk_widget_measure(cell.Widget, GTK_ORIENTATION_HORIZONTAL, -1, &least, &natural, nullptr, nullptr);
        if (x > 0 && x + natural > width) {
            x = 0;
            y = height + Pixels(VerticalSpacing);
        }
        const int taken = std::max(least, std::min(natural, width));
        int lineHeight = 0;
        gtk_widget_measure(cell.Widget, GTK_ORIENTATION_VERTICAL, taken, nullptr, &lineHeight, nullptr,
                           nullptr);
        items.push_back({.widget = cell.Widget, .area = {x, y, taken, lineHeight}});
        x += taken + Pixels(HorizontalSpacing);
        height = std::max(height, y + lineHeight);
    }
    return items;
}

CellLayout::Extent WrapLayout::Measure(GtkOrientation orientation, int forSize) const {
    constexpr int kUnlimited = std::numeric_limits<int>::max() / 2;
    int height = 0;
    const auto items =
        Lines(forSize < 0 || orientation == GTK_ORIENTATION_HORIZONTAL ? kUnlimited : forSize, height);
    if (orientation == GTK_ORIENTATION_VERTICAL) {
        return {height, height};
    }
    CellLayout::Extent extent;
    for (const auto& item : items) {
        int least = 0;
        gtk_widget_measure(item.widget, orientation, -1, &least, nullptr, nullptr, nullptr);
        extent = {std::max(extent.Minimum, least), item.area.x + item.area.width};
    }
    return extent;
}

void WrapLayout::Allocate(int width, int /*height*/, GtkTextDirection direction) const {
    int height = 0;
    for (auto [widget, area] : Lines(width, height)) {
        if (direction == GTK_TEXT_DIR_RTL) {
            area.x = width - area.x - area.width;
        }
        gtk_widget_size_allocate(widget, &area, -1);
    }
}

}  // namespace desktop
