#ifndef RULES_GDI_DIBPIXELS_H
#define RULES_GDI_DIBPIXELS_H

#include "rules/RuleLayer.h"

#include <windows.h>

#include <optional>

namespace pellora
{

/**
 * The pixels of a plain memory context, to be changed without GDI.
 *
 * A context is plain when it draws on 32-bit pixels in memory, reaches all of them, has device pixels as its unit, and
 * has all that changes the looks of drawing as a new context has it. There are no pixels of any other context.
 *
 * Waits until GDI has drawn what it was asked for. The pixels are good while the bitmap stays selected.
 */
[[nodiscard]] std::optional<PixelRows> pixelsOf(HDC hDc);

} // namespace pellora

#endif
