#ifndef BASE_WIDGETS_LAYOUTFILE_H
#define BASE_WIDGETS_LAYOUTFILE_H

#include "base/src/widgets/GridSpec.h"

#include <string>
#include <vector>

namespace ZentixGUIToolkit
{

struct LayoutFile {
    std::vector<GridSpec> grids;
    std::string error; /**< why there are no grids */
};

/** Reads the grids of a layout file; the file itself, WidgetLayout.xml, documents its form. Any thread. */
[[nodiscard]] LayoutFile readLayoutFile(const std::wstring &path);

/** What the shipped file says: types 1, 2 and 4 with one, four and nine equal cells. */
[[nodiscard]] std::vector<GridSpec> builtInGrids();

} // namespace ZentixGUIToolkit

#endif
