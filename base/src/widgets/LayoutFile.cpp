#include "base/src/widgets/LayoutFile.h"

#include <pugixml.hpp>

#include <algorithm>

namespace ZentixGUIToolkit
{
namespace
{

GridSpec readGrid(const pugi::xml_node &node, int margin, int spacing)
{
    GridSpec grid;
    grid.type = node.attribute("type").as_int();
    grid.rows = node.attribute("rows").as_int();
    grid.columns = node.attribute("columns").as_int();
    grid.margin = node.attribute("margin").as_int(margin);
    grid.spacing = node.attribute("spacing").as_int(spacing);
    for (const pugi::xml_node &cell : node.children("Cell")) {
        grid.cells.push_back({cell.attribute("row").as_int(-1), cell.attribute("column").as_int(-1),
                              cell.attribute("rowSpan").as_int(1), cell.attribute("columnSpan").as_int(1)});
    }
    return grid;
}

GridSpec squareGrid(int type, int side)
{
    GridSpec grid;
    grid.type = type;
    grid.rows = side;
    grid.columns = side;
    for (int row = 0; row < side; ++row) {
        for (int column = 0; column < side; ++column) {
            grid.cells.push_back({row, column, 1, 1});
        }
    }
    return grid;
}

LayoutFile failed(const std::string &error)
{
    return {{}, error};
}

} // namespace

LayoutFile readLayoutFile(const std::wstring &path)
{
    pugi::xml_document document;
    const pugi::xml_parse_result result = document.load_file(path.c_str());
    if (!result) {
        return failed(result.description());
    }
    const pugi::xml_node root = document.child("WidgetLayout");
    LayoutFile file;
    for (const pugi::xml_node &node : root.children("Split")) {
        const GridSpec grid = readGrid(node, root.attribute("margin").as_int(1), root.attribute("spacing").as_int(1));
        if (!isValid(grid)) {
            return failed("a wrong number in the grid of type " + std::to_string(grid.type));
        }
        file.grids.push_back(grid);
    }
    for (const GridSpec &needed : builtInGrids()) {
        const auto sameType = [&needed](const GridSpec &grid) { return grid.type == needed.type; };
        if (std::count_if(file.grids.begin(), file.grids.end(), sameType) != 1) {
            return failed("not exactly one grid of type " + std::to_string(needed.type));
        }
    }
    return file;
}

std::vector<GridSpec> builtInGrids()
{
    return {squareGrid(1, 1), squareGrid(2, 2), squareGrid(4, 3)};
}

} // namespace ZentixGUIToolkit
