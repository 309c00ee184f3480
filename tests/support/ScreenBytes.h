#ifndef TESTS_SUPPORT_SCREENBYTES_H
#define TESTS_SUPPORT_SCREENBYTES_H

#include <windows.h>

#include <cstdint>
#include <vector>

namespace support
{

/** Copies a part of what is on the screen: rows of BGRX, from the top. */
[[nodiscard]] std::vector<std::uint8_t> screenBytes(const RECT &part);

} // namespace support

#endif
