#include "interface/HostText.h"

#include "VideoWindow/HostMemory.h"

#include <limits>

namespace pellora
{

std::string hostTextForLog(const char *pText)
{
    return pText != nullptr ? readHostText(pText) : "(null)";
}

HostPath::HostPath(const char *pPath)
    : m_bNull(pPath == nullptr), m_path(readHostText(pPath, std::numeric_limits<std::size_t>::max()))
{
}

char *HostPath::get()
{
    return m_bNull ? nullptr : m_path.data();
}

} // namespace pellora
