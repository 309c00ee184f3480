#include "hosts/node/src/Text.h"

#include <windows.h>

namespace pellora::node
{

std::wstring wide(const std::string &text)
{
    const int nLength = MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), nullptr, 0);
    std::wstring result(static_cast<std::size_t>(nLength), L'\0');
    MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), result.data(), nLength);
    return result;
}

} // namespace pellora::node
