#include "backends/desktop/WrapLayout.h"

#include <algorithm>
#include <limits>

#include "backends/desktop/Unit.h"

namespace desktop {

namespace {

constexpr int kUnlimited = std::numeric_limits<int>::max() / 2;

CellLayout::Extent Widths(GtkWidget* widget) {
    CellLayout::Extent widths;
    gtk_widget_measure(widget, GTK_ORIENTATION_HORIZONTAL, -1, &widths.Minimum, &widths.Natural, nullptr,
                       nullptr);
    return widths;
}

}  // namespace

GdkRectangle WrapLayout::LastLine(int width) const {
    int height = 0;
    const auto items = Lines(width, height);
    return items.empty() ? GdkRectangle{} : items.back().area;
}

std::vector<WrapLayout::Item> WrapLayout::Lines(int width, int& height) const {
    std::vector<Item> items;
    const int start = Pixels(Padding.Left);
    const int end = width - Pixels(Padding.Right);
    int x = start;
    int y = Pixels(Padding.Top);
    height = y;
    for (auto cell = Cells.begin(); cell != Cells.end(); ++cell) {
        if (!gtk_widget_should_layout(cell->Widget)) {
            continue;
        }
        auto [least, natural] = Widths(cell->Widget);
        if (cell->Fills && width < kUnlimited) {
            const auto next = cell + 1;
            const int left =
                end - x -
                (next != Cells.end() ? Widths(next->Widget).Natural + Pixels(HorizontalSpacing) : 0);
            natural = left < (end - start) / 2 ? end - start : left;
        }
        if (x > start && x + natural > end) {
            x = start;
            y = height + Pixels(VerticalSpacing);
        }
        const int taken = std::max(least, std::min(natural, end - start));
        int lineHeight = 0;
        gtk_widget_measure(cell->Widget, GTK_ORIENTATION_VERTICAL, taken, nullptr, &lineHeight, nullptr,
                           nullptr);
        const bool atEnd = cell->Layout.HorizontalAlignment == platform::HorizontalAlignment::Right;
        items.push_back({.widget = cell->Widget,
                         .area = {atEnd && width < kUnlimited ? end - taken : x, y, taken, lineHeight}});
        height = std::max(height, y + lineHeight);
        if (const auto last = LastLineOf(cell->Widget, taken); last.height > 0) {
            // The next child may stand beside the last line of this one.
            x += last.x + last.width;
            y += last.y;
        } else {
            x += taken;
        }
        x += Pixels(HorizontalSpacing);
    }
    height += Pixels(Padding.Bottom);
    return items;
}

CellLayout::Extent WrapLayout::Measure(GtkOrientation orientation, int forSize) const {
    int height = 0;
    const auto items =
        Lines(forSize < 0 || orientation == GTK_ORIENTATION_HORIZONTAL ? kUnlimited : forSize, height);
    if (orientation == GTK_ORIENTATION_VERTICAL) {
        return {height, height};
    }
    CellLayout::Extent extent;
    for (const auto& item : items) {
        extent = {std::max(extent.Minimum, Widths(item.widget).Minimum),
                  item.area.x + item.area.width - Pixels(Padding.Left)};
    }
    const int padding = Pixels(Padding.Left) + Pixels(Padding.Right);
    return {extent.Minimum + padding, extent.Natural + padding};
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
