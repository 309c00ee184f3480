#ifndef DEVICE_TEXT_H
#define DEVICE_TEXT_H

#include "device/src/Bytes.h"

#include <string>
#include <vector>

namespace selvik
{

// The few operations that reading a device's texts needs. ASCII only; independent of the locale.

[[nodiscard]] std::string lowerCase(std::string text);
/** Without blanks at both ends. */
[[nodiscard]] std::string trimmed(const std::string &text);
/** Parts between separators, trimmed; empty parts are left out. */
[[nodiscard]] std::vector<std::string> split(const std::string &text, char separator);
/** Lines, whether they end with CR LF or LF alone. */
[[nodiscard]] std::vector<std::string> lines(const std::string &text);
/** With a blank for each control character but the tab: what a device says cannot end a line of ours (RFC 9110, 5.5).
 */
[[nodiscard]] std::string onOneLine(std::string text);
[[nodiscard]] bool startsWith(const std::string &text, const std::string &beginning);
/** With each "%41" as the byte that it stands for; a "%" that begins no such thing stays. */
[[nodiscard]] std::string percentDecoded(const std::string &text);
/** The number at the beginning of a text, 0 where there is none, bounded by 1 000 000 000. */
[[nodiscard]] int leadingNumber(const std::string &text);

[[nodiscard]] std::string base64(ByteView bytes);
/** Sixteen hexadecimal digits that nobody can foresee. */
[[nodiscard]] std::string randomWord();

} // namespace selvik

#endif
