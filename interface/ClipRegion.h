#ifndef INTERFACE_CLIPREGION_H
#define INTERFACE_CLIPREGION_H

#include "interface/Pellora.h"

namespace pellora
{

/** True when the record can be read with all the holes that it claims, which may be more than it has room for. */
[[nodiscard]] bool isReadable(const tagPELLORA_CLIP_AREA *pArea);

/** Gives the window its full rectangle less the holes of a record that is readable; it may lie at an odd address. */
void clipWindow(HWND hWnd, int nWidth, int nHeight, const tagPELLORA_CLIP_AREA *pArea);

} // namespace pellora

#endif
