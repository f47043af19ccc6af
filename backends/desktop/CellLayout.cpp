#include "backends/desktop/CellLayout.h"

#include <algorithm>
#include <cmath>
#include <numeric>

#include "backends/desktop/Unit.h"

namespace desktop {

using platform::GridLength;

namespace {

/// First track and number of tracks of a cell, kept inside the `count` tracks that there are.
struct Span {
    int first;
    int count;
};

Span SpanOf(const Cell& cell, GtkOrientation orientation, std::size_t count) {
    const bool horizontal = orientation == GTK_ORIENTATION_HORIZONTAL;
    const int tracks = static_cast<int>(count);
    const int first = std::clamp(horizontal ? cell.Layout.Column : cell.Layout.Row, 0, tracks - 1);
    const int wanted = horizontal ? cell.Layout.ColumnSpan : cell.Layout.RowSpan;
    return {first, std::clamp(wanted, 1, tracks - first)};
}

/// The largest width or height that an element may be given, its margin included. The widget's own smallest
/// size takes precedence.
int Limit(const Cell& cell, GtkOrientation orientation) {
    const auto& layout = cell.Layout;
    const bool horizontal = orientation == GTK_ORIENTATION_HORIZONTAL;
    const auto& fixed = horizontal ? layout.Width : layout.Height;
    const double limit = std::min(fixed.value_or(std::numeric_limits<double>::infinity()),
                                  horizontal ? layout.MaxWidth : std::numeric_limits<double>::infinity());
    const double margin =
        horizontal ? layout.Margin.Left + layout.Margin.Right : layout.Margin.Top + layout.Margin.Bottom;
    return std::isinf(limit) ? std::numeric_limits<int>::max() : Pixels(limit + margin);
}

CellLayout::Extent MeasureCell(const Cell& cell, GtkOrientation orientation, int forSize) {
    // A scrolled content would be measured at the width that it wishes for.
    auto* const measured = forSize >= 0 && cell.Scrolled != nullptr ? cell.Scrolled : cell.Widget;
    if (forSize >= 0) {
        CellLayout::Extent across;
        const auto other =
            orientation == GTK_ORIENTATION_VERTICAL ? GTK_ORIENTATION_HORIZONTAL : GTK_ORIENTATION_VERTICAL;
        gtk_widget_measure(cell.Widget, other, -1, &across.Minimum, &across.Natural, nullptr, nullptr);
        forSize = std::max(across.Minimum, std::min(forSize, Limit(cell, other)));
        if (GTK_IS_LABEL(cell.Widget)) {
            // It is as high in all widths that it fits into: laid out once for them.
            forSize = std::min(forSize, across.Natural);
        }
    }
    CellLayout::Extent extent;
    gtk_widget_measure(measured, orientation, forSize, &extent.Minimum, &extent.Natural, nullptr, nullptr);
    if (measured != cell.Widget) {
        gtk_widget_measure(cell.Widget, orientation, -1, &extent.Minimum, nullptr, nullptr, nullptr);
    }
    extent.Natural = std::max(extent.Minimum, std::min(extent.Natural, Limit(cell, orientation)));
    return extent;
}

}  // namespace

int CellLayout::PaddingAlong(GtkOrientation orientation) const {
    return orientation == GTK_ORIENTATION_HORIZONTAL ? Pixels(Padding.Left) + Pixels(Padding.Right)
                                                     : Pixels(Padding.Top) + Pixels(Padding.Bottom);
}

CellLayout::Tracks CellLayout::MeasureTracks(GtkOrientation orientation, const Tracks* columnTracks) const {
    const bool horizontal = orientation == GTK_ORIENTATION_HORIZONTAL;
    const int spacing = Pixels(horizontal ? ColumnSpacing : RowSpacing);
    Tracks tracks;
    for (const auto kind : horizontal ? Columns : Rows) {
        tracks.push_back({.kind = kind, .used = kind == GridLength::Star});
    }
    if (tracks.empty()) {
        tracks.push_back({.used = true});
    }

    const auto measure = [&](const Cell& cell) {
        int width = -1;
        if (columnTracks != nullptr) {
            const auto span = SpanOf(cell, GTK_ORIENTATION_HORIZONTAL, columnTracks->size());
            const auto& last = (*columnTracks)[static_cast<std::size_t>(span.first + span.count - 1)];
            width =
                last.position + last.size - (*columnTracks)[static_cast<std::size_t>(span.first)].position;
        }
        return MeasureCell(cell, orientation, width);
    };

    // Cells of one track first; what spans several tracks then asks for what is still missing.
    for (const bool spanning : {false, true}) {
        for (const auto& cell : Cells) {
            const auto span = SpanOf(cell, orientation, tracks.size());
            if (!gtk_widget_should_layout(cell.Widget) || (span.count > 1) != spanning) {
                continue;
            }
            const auto begin = tracks.begin() + span.first;
            const auto end = begin + span.count;
            auto missing = measure(cell);
            if (spanning) {
                const auto already = [&](int Extent::*part) {
                    return std::accumulate(
                        begin, end, (span.count - 1) * spacing,
                        [&](int sum, const Track& track) { return sum + track.extent.*part; });
                };
                missing.Minimum -= already(&Extent::Minimum);
                missing.Natural -= already(&Extent::Natural);
            }
            auto target =
                std::find_if(begin, end, [](const Track& track) { return track.kind == GridLength::Star; });
            target = target == end ? end - 1 : target;
            auto& extent = target->extent;
            if (spanning) {
                extent.Minimum += std::max(0, missing.Minimum);
                extent.Natural += std::max(0, missing.Natural);
            } else {
                extent.Minimum = std::max(extent.Minimum, missing.Minimum);
                extent.Natural = std::max(extent.Natural, missing.Natural);
            }
            for (auto track = begin; track != end; ++track) {
                track->used = true;
            }
        }
    }
    return tracks;
}

CellLayout::Extent CellLayout::Total(GtkOrientation orientation, const Tracks& tracks) const {
    // Shares are equal: each is as large as the one that needs most.
    Extent total;
    Extent share;
    int shares = 0;
    int used = 0;
    for (const auto& track : tracks) {
        used += track.used ? 1 : 0;
        if (track.kind == GridLength::Star) {
            ++shares;
            share.Minimum = std::max(share.Minimum, track.extent.Minimum);
            share.Natural = std::max(share.Natural, track.extent.Natural);
        } else {
            total.Minimum += track.extent.Minimum;
            total.Natural += track.extent.Natural;
        }
    }
    const int spacing = Pixels(orientation == GTK_ORIENTATION_HORIZONTAL ? ColumnSpacing : RowSpacing);
    const int fixed = PaddingAlong(orientation) + std::max(0, used - 1) * spacing;
    return {total.Minimum + shares * share.Minimum + fixed, total.Natural + shares * share.Natural + fixed};
}

void CellLayout::Resolve(GtkOrientation orientation, Tracks& tracks, int size) const {
    const bool horizontal = orientation == GTK_ORIENTATION_HORIZONTAL;
    const int spacing = Pixels(horizontal ? ColumnSpacing : RowSpacing);
    const auto used =
        std::count_if(tracks.begin(), tracks.end(), [](const Track& track) { return track.used; });
    int left = size - PaddingAlong(orientation) - std::max(0, static_cast<int>(used) - 1) * spacing;

    // Automatic tracks grow to what they wish for, as far as the shares keep their smallest size.
    std::vector<GtkRequestedSize> automatic;
    std::vector<Track*> shares;
    for (auto& track : tracks) {
        track.size = track.extent.Minimum;
        left -= track.size;
        if (track.kind == GridLength::Star) {
            shares.push_back(&track);
        } else {
            automatic.push_back({&track, track.extent.Minimum, track.extent.Natural});
        }
    }
    left = gtk_distribute_natural_allocation(std::max(0, left), static_cast<guint>(automatic.size()),
                                             automatic.data());
    for (const auto& request : automatic) {
        static_cast<Track*>(request.data)->size = request.minimum_size;
    }

    // The rest goes to the shares in equal parts; one that needs more than its part keeps what it needs.
    std::sort(shares.begin(), shares.end(), [](const Track* a, const Track* b) { return a->size > b->size; });
    int pool = std::accumulate(shares.begin(), shares.end(), left,
                               [](int sum, const Track* t) { return sum + t->size; });
    for (std::size_t index = 0; index < shares.size(); ++index) {
        const int parts = static_cast<int>(shares.size() - index);
        shares[index]->size = std::max(shares[index]->size, (pool + parts - 1) / parts);
        pool -= shares[index]->size;
    }

    int position = Pixels(horizontal ? Padding.Left : Padding.Top);
    for (auto& track : tracks) {
        track.position = position;
        position += track.size + (track.used ? spacing : 0);
    }
}

CellLayout CellLayout::Stacked() const {
    auto stacked = *this;
    stacked.StackBelow = 0;
    stacked.Columns = {GridLength::Star};
    stacked.Rows.assign(std::max<std::size_t>(Cells.size(), 1), GridLength::Auto);
    stacked.RowSpacing = StackSpacing;
    int row = 0;
    for (auto& cell : stacked.Cells) {
        cell.Layout.Row = row++;
        cell.Layout.Column = 0;
        cell.Layout.RowSpan = cell.Layout.ColumnSpan = 1;
    }
    return stacked;
}

bool CellLayout::Stacks(int width) const {
    return StackBelow > 0 && width >= 0 &&
           width < std::max(Pixels(StackBelow), Total(GTK_ORIENTATION_HORIZONTAL,
                                                      MeasureTracks(GTK_ORIENTATION_HORIZONTAL, nullptr))
                                                    .Minimum);
}

CellLayout::Extent CellLayout::Measure(GtkOrientation orientation, int forSize) const {
    if (orientation == GTK_ORIENTATION_HORIZONTAL) {
        auto extent = Total(orientation, MeasureTracks(orientation, nullptr));
        if (StackBelow > 0) {
            extent.Minimum = std::min(extent.Minimum, Stacked().Measure(orientation, -1).Minimum);
        }
        return extent;
    }
    if (Stacks(forSize)) {
        return Stacked().Measure(orientation, forSize);
    }
    auto columnTracks = MeasureTracks(GTK_ORIENTATION_HORIZONTAL, nullptr);
    const auto width = Total(GTK_ORIENTATION_HORIZONTAL, columnTracks);
    Resolve(GTK_ORIENTATION_HORIZONTAL, columnTracks,
            forSize < 0 ? width.Natural : std::max(forSize, width.Minimum));
    return Total(orientation, MeasureTracks(orientation, &columnTracks));
}

void CellLayout::Allocate(int width, int height, GtkTextDirection direction) const {
    if (Stacks(width)) {
        Stacked().Allocate(width, height, direction);
        return;
    }
    int top = 0;
    if (CenterAbove > 0 && height > Pixels(CenterAbove)) {
        const int natural = std::min(height, Measure(GTK_ORIENTATION_VERTICAL, width).Natural);
        top = (height - natural) / 2;
        height = natural;
    }
    auto columnTracks = MeasureTracks(GTK_ORIENTATION_HORIZONTAL, nullptr);
    Resolve(GTK_ORIENTATION_HORIZONTAL, columnTracks, width);
    auto rowTracks = MeasureTracks(GTK_ORIENTATION_VERTICAL, &columnTracks);
    Resolve(GTK_ORIENTATION_VERTICAL, rowTracks, height);

    for (const auto& cell : Cells) {
        if (!gtk_widget_should_layout(cell.Widget)) {
            continue;
        }
        const auto place = [&](GtkOrientation orientation, const Tracks& tracks) {
            const auto span = SpanOf(cell, orientation, tracks.size());
            const auto& first = tracks[static_cast<std::size_t>(span.first)];
            const auto& last = tracks[static_cast<std::size_t>(span.first + span.count - 1)];
            return std::pair{first.position, last.position + last.size - first.position};
        };
        const auto [x, cellWidth] = place(GTK_ORIENTATION_HORIZONTAL, columnTracks);
        const auto [y, cellHeight] = place(GTK_ORIENTATION_VERTICAL, rowTracks);

        // A limited element stands where its alignment says; one that would stretch, in the middle.
        const auto narrow = [&](GtkOrientation orientation, int room, GtkAlign align) {
            Extent least;
            gtk_widget_measure(cell.Widget, orientation, -1, &least.Minimum, nullptr, nullptr, nullptr);
            const int size = std::min(room, std::max(least.Minimum, Limit(cell, orientation)));
            const int offset = align == GTK_ALIGN_START ? 0
                               : align == GTK_ALIGN_END ? room - size
                                                        : (room - size) / 2;
            return std::pair{offset, size};
        };
        const auto [dx, childWidth] =
            narrow(GTK_ORIENTATION_HORIZONTAL, cellWidth, gtk_widget_get_halign(cell.Widget));
        const auto [dy, childHeight] =
            narrow(GTK_ORIENTATION_VERTICAL, cellHeight, gtk_widget_get_valign(cell.Widget));
        GtkAllocation area{x + dx, top + y + dy, childWidth, childHeight};
        if (direction == GTK_TEXT_DIR_RTL) {
            area.x = width - area.x - area.width;
        }
        gtk_widget_size_allocate(cell.Widget, &area, -1);
    }
}

}  // namespace desktop
