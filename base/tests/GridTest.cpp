#include "base/src/widgets/LayoutFile.h"
#include "base/tests/TemporaryFolder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <tuple>

namespace
{

using namespace ZentixGUIToolkit;

class GridPlaces : public testing::TestWithParam<std::tuple<int, int, int>>
{
};

TEST_P(GridPlaces, FillTheContainerAndLeaveOnePixelRoundEachCell)
{
    const auto [index, width, height] = GetParam();
    const GridSpec grid = builtInGrids()[static_cast<std::size_t>(index)];
    const std::vector<CellRect> places = placeCells(grid, width, height);
    ASSERT_EQ(grid.cells.size(), places.size());
    for (std::size_t i = 0; i < places.size(); ++i) {
        const GridCell &cell = grid.cells[i];
        const CellRect &rect = places[i];
        EXPECT_GE(rect.width, 1);
        EXPECT_GE(rect.height, 1);
        const int nLeft = cell.row * grid.columns + std::max(cell.column - 1, 0);
        const int nAbove = std::max(cell.row - 1, 0) * grid.columns + cell.column;
        const CellRect &left = places[static_cast<std::size_t>(nLeft)];
        const CellRect &above = places[static_cast<std::size_t>(nAbove)];
        EXPECT_EQ(cell.column == 0 ? 1 : left.x + left.width + 1, rect.x);
        EXPECT_EQ(cell.row == 0 ? 1 : above.y + above.height + 1, rect.y);
        if (cell.column == grid.columns - 1) {
            EXPECT_EQ(width - 1, rect.x + rect.width);
        }
        if (cell.row == grid.rows - 1) {
            EXPECT_EQ(height - 1, rect.y + rect.height);
        }
        EXPECT_LE(std::abs(rect.width - places[0].width), 1);
    }
}

INSTANTIATE_TEST_SUITE_P(Sizes, GridPlaces,
                         testing::Combine(testing::Values(0, 1, 2), testing::Values(7, 8, 100, 641, 1919),
                                          testing::Values(7, 9, 99, 480, 1081)));

TEST(Grid, HasNoPlacesInATooSmallContainer)
{
    EXPECT_TRUE(placeCells(builtInGrids()[2], 6, 100).empty());
    EXPECT_TRUE(placeCells(builtInGrids()[2], 100, 6).empty());
    EXPECT_TRUE(placeCells(builtInGrids()[0], 0, 0).empty());
}

TEST(Grid, CoversSpannedRowsAndColumns)
{
    GridSpec grid;
    grid.type = 9;
    grid.rows = 3;
    grid.columns = 3;
    grid.cells = {{0, 0, 2, 2}, {0, 2, 1, 1}};
    ASSERT_TRUE(isValid(grid));
    const std::vector<CellRect> places = placeCells(grid, 304, 304);
    EXPECT_EQ(201, places[0].width);
    EXPECT_EQ(203, places[1].x);
}

TEST(LayoutFile, ShippedFileSaysWhatIsBuiltIn)
{
    const char *bin = std::getenv("PELLORA_BIN");
    ASSERT_NE(nullptr, bin);
    const LayoutFile file =
        readLayoutFile(std::filesystem::path(std::string(bin) + "/WidgetLayout/WidgetLayout.xml").wstring());
    ASSERT_EQ("", file.error);
    const std::vector<GridSpec> expected = builtInGrids();
    ASSERT_EQ(expected.size(), file.grids.size());
    for (std::size_t i = 0; i < expected.size(); ++i) {
        EXPECT_EQ(expected[i].type, file.grids[i].type);
        EXPECT_EQ(expected[i].margin, file.grids[i].margin);
        EXPECT_EQ(expected[i].spacing, file.grids[i].spacing);
        ASSERT_EQ(expected[i].cells.size(), file.grids[i].cells.size());
        const CellRect wanted = placeCells(expected[i], 640, 480).back();
        const CellRect got = placeCells(file.grids[i], 640, 480).back();
        EXPECT_EQ(wanted.x, got.x);
        EXPECT_EQ(wanted.y, got.y);
    }
}

class BrokenLayoutFile : public testing::TestWithParam<const char *>
{
};

TEST_P(BrokenLayoutFile, IsRefusedWithAReason)
{
    const TemporaryFolder folder(L"corvane layout \u89c6");
    folder.write(L"layout.xml", GetParam());
    const LayoutFile file = readLayoutFile(folder.path(L"layout.xml"));
    EXPECT_TRUE(file.grids.empty());
    EXPECT_NE("", file.error);
}

INSTANTIATE_TEST_SUITE_P(Files, BrokenLayoutFile,
                         testing::Values("", "<WidgetLayout>", "<Other/>", "<WidgetLayout/>",
                                         "<WidgetLayout><Split type='1' rows='1' columns='1'>"
                                         "<Cell row='1' column='0'/></Split></WidgetLayout>",
                                         "<WidgetLayout><Split type='1' rows='100000' columns='1'>"
                                         "<Cell row='0' column='0'/></Split></WidgetLayout>",
                                         "<WidgetLayout><Split type='1' rows='1' columns='1'>"
                                         "<Cell row='0' column='0'/></Split></WidgetLayout>"));

TEST(LayoutFile, MissingFileIsReported)
{
    EXPECT_NE("", readLayoutFile(L"Z:\\absent\\layout.xml").error);
}

} // namespace
