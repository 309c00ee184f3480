#ifndef PLAYER_STDIOBYTES_H
#define PLAYER_STDIOBYTES_H

#include "player/src/core/ByteSource.h"

#include <cstdio>
#include <memory>
#include <string>

namespace player::test
{

/** A file by way of the C library, which every system has. */
class StdioBytes : public ByteSource
{
public:
    /** Null where there is no such file. */
    static std::unique_ptr<StdioBytes> open(const std::string &path);
    ~StdioBytes() override;

    int read(std::uint8_t *pBuffer, int size) override;
    bool seek(std::int64_t position) override;
    [[nodiscard]] std::int64_t size() const override;

private:
    StdioBytes(std::FILE *pFile, std::int64_t size) : m_pFile(pFile), m_nSize(size) {}

    std::FILE *m_pFile;
    std::int64_t m_nSize;
};

} // namespace player::test

#endif
