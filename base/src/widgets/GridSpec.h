#ifndef BASE_WIDGETS_GRIDSPEC_H
#define BASE_WIDGETS_GRIDSPEC_H

#include <vector>

namespace ZentixGUIToolkit
{

struct GridCell {
    int row = 0;
    int column = 0;
    int rowSpan = 1;
    int columnSpan = 1;
};

/**
 * One grid; the n-th cell takes the n-th widget. Units: cells, and device pixels for margin and spacing.
 *
 * A value; any thread.
 */
struct GridSpec {
    int type = 0;
    int rows = 1;
    int columns = 1;
    int margin = 1;
    int spacing = 1;
    std::vector<GridCell> cells;
};

struct CellRect {
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
};

/** Positive numbers, every cell inside the grid, at least one cell. Any thread. */
[[nodiscard]] bool isValid(const GridSpec &grid);

/**
 * The cells' places in a container of this size. They fill it exactly: pixels that do not divide evenly go to the
 * first rows and columns. Empty if a row or column would be left without a pixel. Any thread.
 */
[[nodiscard]] std::vector<CellRect> placeCells(const GridSpec &grid, int width, int height);

} // namespace ZentixGUIToolkit

#endif
