#ifndef VIDEOWINDOW_HOSTMEMORY_H
#define VIDEOWINDOW_HOSTMEMORY_H

#include <cstddef>
#include <string>

namespace pellora
{

/** More of a host's text is never looked at. */
constexpr std::size_t kMaxHostText = 1024;

/**
 * A copy of the host's zero-terminated text, cut at nMaxBytes and where memory ceases to be readable: a caption without
 * an end must not end the host. Empty for null. Any thread.
 */
[[nodiscard]] std::string readHostText(const void *pText, std::size_t nMaxBytes = kMaxHostText);

/** How many bytes from there on can be read without a gap, at most nMaxBytes. Any thread. */
[[nodiscard]] std::size_t readableBytes(const void *pStart, std::size_t nMaxBytes);

} // namespace pellora

#endif
