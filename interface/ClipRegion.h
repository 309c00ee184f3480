#ifndef INTERFACE_CLIPREGION_H
#define INTERFACE_CLIPREGION_H

#include "interface/Pellora.h"

namespace pellora
{

/** Gives the window its full rectangle less the holes. The record may claim more holes than it has room for. */
void clipWindow(HWND hWnd, int nWidth, int nHeight, const tagPELLORA_CLIP_AREA &area);

} // namespace pellora

#endif
