#ifndef BASE_UTF8_H
#define BASE_UTF8_H

#include <string>

namespace Base
{

/** Between UTF-16 and UTF-8; what cannot be converted becomes a replacement character. Any thread. */
[[nodiscard]] std::string toUtf8(const std::wstring &text);
[[nodiscard]] std::wstring toUtf16(const std::string &text);

} // namespace Base

#endif
