#include "player/tests/support/StdioBytes.h"

namespace player::test
{

std::unique_ptr<StdioBytes> StdioBytes::open(const std::string &path)
{
    std::FILE *pFile = std::fopen(path.c_str(), "rb");
    if (!pFile) {
        return nullptr;
    }
    std::fseek(pFile, 0, SEEK_END);
    const std::int64_t size = std::ftell(pFile);
    std::fseek(pFile, 0, SEEK_SET);
    return std::unique_ptr<StdioBytes>(new StdioBytes(pFile, size));
}

StdioBytes::~StdioBytes()
{
    std::fclose(m_pFile);
}

int StdioBytes::read(std::uint8_t *pBuffer, int size)
{
    const std::size_t count = std::fread(pBuffer, 1, static_cast<std::size_t>(size), m_pFile);
    return count == 0 && std::ferror(m_pFile) ? -1 : static_cast<int>(count);
}

bool StdioBytes::seek(std::int64_t position)
{
    return std::fseek(m_pFile, static_cast<long>(position), SEEK_SET) == 0;
}

std::int64_t StdioBytes::size() const
{
    return m_nSize;
}

} // namespace player::test
