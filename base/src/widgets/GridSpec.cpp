#include "base/src/widgets/GridSpec.h"

#include <algorithm>

namespace ZentixGUIToolkit
{
namespace
{

constexpr int kMaximumTracks = 64;
constexpr int kMaximumGap = 1000;

bool inRange(int value, int low, int high)
{
    return value >= low && value <= high;
}

struct Track {
    int start = 0;
    int length = 0;
};

std::vector<Track> divide(int length, int count, int margin, int spacing)
{
    const int available = length - 2 * margin - (count - 1) * spacing;
    if (available < count) {
        return {};
    }
    std::vector<Track> tracks;
    int start = margin;
    for (int i = 0; i < count; ++i) {
        const int part = available / count + (i < available % count ? 1 : 0);
        tracks.push_back({start, part});
        start += part + spacing;
    }
    return tracks;
}

} // namespace

bool isValid(const GridSpec &grid)
{
    const auto fits = [&grid](const GridCell &cell) {
        return inRange(cell.row, 0, grid.rows - 1) && inRange(cell.column, 0, grid.columns - 1) &&
               inRange(cell.rowSpan, 1, grid.rows - cell.row) &&
               inRange(cell.columnSpan, 1, grid.columns - cell.column);
    };
    return grid.type > 0 && inRange(grid.rows, 1, kMaximumTracks) && inRange(grid.columns, 1, kMaximumTracks) &&
           inRange(grid.margin, 0, kMaximumGap) && inRange(grid.spacing, 0, kMaximumGap) && !grid.cells.empty() &&
           std::all_of(grid.cells.begin(), grid.cells.end(), fits);
}

std::vector<CellRect> placeCells(const GridSpec &grid, int width, int height)
{
    const std::vector<Track> columns = divide(width, grid.columns, grid.margin, grid.spacing);
    const std::vector<Track> rows = divide(height, grid.rows, grid.margin, grid.spacing);
    std::vector<CellRect> places;
    if (columns.empty() || rows.empty()) {
        return places;
    }
    for (const GridCell &cell : grid.cells) {
        const Track &left = columns[static_cast<std::size_t>(cell.column)];
        const Track &right = columns[static_cast<std::size_t>(cell.column + cell.columnSpan - 1)];
        const Track &top = rows[static_cast<std::size_t>(cell.row)];
        const Track &bottom = rows[static_cast<std::size_t>(cell.row + cell.rowSpan - 1)];
        places.push_back(
            {left.start, top.start, right.start + right.length - left.start, bottom.start + bottom.length - top.start});
    }
    return places;
}

} // namespace ZentixGUIToolkit
