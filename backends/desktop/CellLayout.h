#pragma once

// Where the children of an element stand. Every container is a grid of cells here: a stack is a grid with one
// row or column for each child, a single content is one cell. Lengths are device-independent pixels, results
// the toolkit's. User-interface thread.

#include <span>
#include <vector>

#include "backends/desktop/GLibPtr.h"
#include "platform/xaml/Panels.h"

namespace desktop {

/// One child and its cell.
struct Cell {
    /// Outlives the layout's use of it.
    GtkWidget* Widget = nullptr;
    platform::ElementLayout Layout;
    /// What a scrolled Widget holds, else null.
    GtkWidget* Scrolled = nullptr;
    /// Takes all of its line in a WrapLayout.
    bool Fills = false;
};

struct CellLayout {
    /// Empty: one of all the place.
    std::vector<platform::GridLength> Rows = {};
    std::vector<platform::GridLength> Columns = {};
    double RowSpacing = 0;
    double ColumnSpacing = 0;
    platform::Thickness Padding = {};
    /// See platform::Grid.
    double StackBelow = 0;
    double StackSpacing = 0;
    double CenterAbove = 0;
    std::vector<Cell> Cells = {};

    /// The smallest and the wished-for width (or height for the width `forSize`; -1 for any).
    struct Extent {
        int Minimum = 0;
        int Natural = 0;
    };
    Extent Measure(GtkOrientation orientation, int forSize) const;

    /// Gives each child its place; mirrored when `direction` is right to left.
    void Allocate(int width, int height, GtkTextDirection direction) const;

  private:
    /// The cells one below the other.
    CellLayout Stacked() const;
    bool Stacks(int width) const;

    struct Track {
        platform::GridLength kind = platform::GridLength::Star;
        Extent extent = {};
        /// Something visible stands in it; an empty automatic track takes no spacing either.
        bool used = false;
        int size = 0;
        int position = 0;
    };
    using Tracks = std::vector<Track>;

    /// The tracks with their extents; `columns` gives each child's width when rows are measured.
    Tracks MeasureTracks(GtkOrientation orientation, const Tracks* columns) const;
    Extent Total(GtkOrientation orientation, const Tracks& tracks) const;
    /// Shares `size` out among the tracks.
    void Resolve(GtkOrientation orientation, Tracks& tracks, int size) const;
    int PaddingAlong(GtkOrientation orientation) const;
};

}  // namespace desktop
