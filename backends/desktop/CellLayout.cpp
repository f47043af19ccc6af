#include "backends/desktop/CellLayout.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace desktop {

using platform::GridLength;

namespace {

int Pixels(double value) {
    return static_cast<int>(std::lround(value));
}

/// First track and number of tracks of a cell, kept inside the `count` tracks that there are.
struct Span {
    int first;
    int count;
};

Span SpanOf(const Cell& cell, GtkOrientation orientation, std::size_t count) {
    const bool horizontal = orientation == GTK_ORIENTATION_HORIZONTAL;
    const int tracks = static_cast<int>(count);
    const int first = std::clamp(horizontal ? cell.layout.Column : cell.layout.Row, 0, tracks - 1);
    const int wanted = horizontal ? cell.layout.ColumnSpan : cell.layout.RowSpan;
    return {first, std::clamp(wanted, 1, tracks - first)};
}

/// The largest width or height that an element may be given, its margin included; the widget's own smallest
/// size goes before.
int Limit(const Cell& cell, GtkOrientation orientation) {
    const auto& layout = cell.layout;
    const bool horizontal = orientation == GTK_ORIENTATION_HORIZONTAL;
    const auto& fixed = horizontal ? layout.Width : layout.Height;
    const double limit = std::min(fixed.value_or(std::numeric_limits<double>::infinity()),
                                  horizontal ? layout.MaxWidth : std::numeric_limits<double>::infinity());
    const double margin =
        horizontal ? layout.Margin.Left + layout.Margin.Right : layout.Margin.Top + layout.Margin.Bottom;
    return std::isinf(limit) ? std::numeric_limits<int>::max() : Pixels(limit + margin);
}

CellLayout::Extent MeasureCell(const Cell& cell, GtkOrientation orientation, int forSize) {
    if (forSize >= 0) {
        CellLayout::Extent across;
        const auto other =
            orientation == GTK_ORIENTATION_VERTICAL ? GTK_ORIENTATION_HORIZONTAL : GTK_ORIENTATION_VERTICAL;
        gtk_widget_measure(cell.widget, other, -1, &across.minimum, nullptr, nullptr, nullptr);
        forSize = std::max(across.minimum, std::min(forSize, Limit(cell, other)));
    }
    CellLayout::Extent extent;
    gtk_widget_measure(cell.widget, orientation, forSize, &extent.minimum, &extent.natural, nullptr, nullptr);
    extent.natural = std::max(extent.minimum, std::min(extent.natural, Limit(cell, orientation)));
    return extent;
}

}  // namespace

int CellLayout::PaddingAlong(GtkOrientation orientation) const {
    return orientation == GTK_ORIENTATION_HORIZONTAL ? Pixels(padding.Left) + Pixels(padding.Right)
                                                     : Pixels(padding.Top) + Pixels(padding.Bottom);
}

CellLayout::Tracks CellLayout::MeasureTracks(GtkOrientation orientation, const Tracks* columnTracks) const {
    const bool horizontal = orientation == GTK_ORIENTATION_HORIZONTAL;
    const int spacing = Pixels(horizontal ? columnSpacing : rowSpacing);
    Tracks tracks;
    for (const auto kind : horizontal ? columns : rows) {
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
        for (const auto& cell : cells) {
            const auto span = SpanOf(cell, orientation, tracks.size());
            if (!gtk_widget_should_layout(cell.widget) || (span.count > 1) != spanning) {
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
                missing.minimum -= already(&Extent::minimum);
                missing.natural -= already(&Extent::natural);
            }
            auto target =
                std::find_if(begin, end, [](const Track& track) { return track.kind == GridLength::Star; });
            target = target == end ? end - 1 : target;
            auto& extent = target->extent;
            if (spanning) {
                extent.minimum += std::max(0, missing.minimum);
                extent.natural += std::max(0, missing.natural);
            } else {
                extent.minimum = std::max(extent.minimum, missing.minimum);
                extent.natural = std::max(extent.natural, missing.natural);
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
            share.minimum = std::max(share.minimum, track.extent.minimum);
            share.natural = std::max(share.natural, track.extent.natural);
        } else {
            total.minimum += track.extent.minimum;
            total.natural += track.extent.natural;
        }
    }
    const int spacing = Pixels(orientation == GTK_ORIENTATION_HORIZONTAL ? columnSpacing : rowSpacing);
    const int fixed = PaddingAlong(orientation) + std::max(0, used - 1) * spacing;
    return {total.minimum + shares * share.minimum + fixed, total.natural + shares * share.natural + fixed};
}

void CellLayout::Resolve(GtkOrientation orientation, Tracks& tracks, int size) const {
    const bool horizontal = orientation == GTK_ORIENTATION_HORIZONTAL;
    const int spacing = Pixels(horizontal ? columnSpacing : rowSpacing);
    const auto used =
        std::count_if(tracks.begin(), tracks.end(), [](const Track& track) { return track.used; });
    int left = size - PaddingAlong(orientation) - std::max(0, static_cast<int>(used) - 1) * spacing;

    // Automatic tracks grow to what they wish for, as far as the shares keep their smallest size.
    std::vector<GtkRequestedSize> automatic;
    std::vector<Track*> shares;
    for (auto& track : tracks) {
        track.size = track.extent.minimum;
        left -= track.size;
        if (track.kind == GridLength::Star) {
            shares.push_back(&track);
        } else {
            automatic.push_back({&track, track.extent.minimum, track.extent.natural});
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

    int position = Pixels(horizontal ? padding.Left : padding.Top);
    for (auto& track : tracks) {
        track.position = position;
        position += track.size + (track.used ? spacing : 0);
    }
}

CellLayout::Extent CellLayout::Measure(GtkOrientation orientation, int forSize) const {
    if (orientation == GTK_ORIENTATION_HORIZONTAL) {
        return Total(orientation, MeasureTracks(orientation, nullptr));
    }
    auto columnTracks = MeasureTracks(GTK_ORIENTATION_HORIZONTAL, nullptr);
    const auto width = Total(GTK_ORIENTATION_HORIZONTAL, columnTracks);
    Resolve(GTK_ORIENTATION_HORIZONTAL, columnTracks,
            forSize < 0 ? width.natural : std::max(forSize, width.minimum));
    return Total(orientation, MeasureTracks(orientation, &columnTracks));
}

void CellLayout::Allocate(int width, int height, GtkTextDirection direction) const {
    auto columnTracks = MeasureTracks(GTK_ORIENTATION_HORIZONTAL, nullptr);
    Resolve(GTK_ORIENTATION_HORIZONTAL, columnTracks, width);
    auto rowTracks = MeasureTracks(GTK_ORIENTATION_VERTICAL, &columnTracks);
    Resolve(GTK_ORIENTATION_VERTICAL, rowTracks, height);

    for (const auto& cell : cells) {
        if (!gtk_widget_should_layout(cell.widget)) {
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
            gtk_widget_measure(cell.widget, orientation, -1, &least.minimum, nullptr, nullptr, nullptr);
            const int size = std::min(room, std::max(least.minimum, Limit(cell, orientation)));
            const int offset = align == GTK_ALIGN_START ? 0
                               : align == GTK_ALIGN_END ? room - size
                                                        : (room - size) / 2;
            return std::pair{offset, size};
        };
        const auto [dx, childWidth] =
            narrow(GTK_ORIENTATION_HORIZONTAL, cellWidth, gtk_widget_get_halign(cell.widget));
        const auto [dy, childHeight] =
            narrow(GTK_ORIENTATION_VERTICAL, cellHeight, gtk_widget_get_valign(cell.widget));
        GtkAllocation area{x + dx, y + dy, childWidth, childHeight};
        if (direction == GTK_TEXT_DIR_RTL) {
            area.x = width - area.x - area.width;
        }
        gtk_widget_size_allocate(cell.widget, &area, -1);
    }
}

}  // namespace desktop
