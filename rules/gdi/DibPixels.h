#ifndef RULES_GDI_DIBPIXELS_H
#define RULES_GDI_DIBPIXELS_H

#include "rules/RuleLayer.h"

#include <windows.h>

#include <optional>

namespace pellora
{

/**
 * The pixels that drawing on the context changes, so that they can be changed without it; none unless it is a memory
 * context on 32-bit pixels in memory, all of which can be reached, in device pixels, with everything that changes the
 * looks of drawing as it is in a new context.
 *
 * Waits until GDI has drawn what it was asked for. The pixels are good while the bitmap stays selected.
 */
[[nodiscard]] std::optional<PixelRows> pixelsOf(HDC hDc);

} // namespace pellora

#endif
