#ifndef PLAYER_MEMORYBYTES_H
#define PLAYER_MEMORYBYTES_H

#include "player/src/core/ByteSource.h"

#include <string>
#include <vector>

namespace player::test
{

/** A source whose bytes a test has made up. Threads: one at a time. */
class MemoryBytes : public ByteSource
{
public:
    explicit MemoryBytes(std::vector<std::uint8_t> bytes);

    int read(std::uint8_t *pBuffer, int size) override;
    bool seek(std::int64_t position) override;
    [[nodiscard]] std::int64_t size() const override;

private:
    std::vector<std::uint8_t> m_bytes;
    std::size_t m_nPosition = 0;
};

[[nodiscard]] std::vector<std::uint8_t> bytesOf(const std::string &path);
/** Just the coded pictures of the files, one after the other. */
[[nodiscard]] std::vector<std::uint8_t> codedPicturesOf(const std::vector<std::string> &paths);

/** The bytes of h264.mp4 with an edit list that begins later, or ends earlier, than all of its pictures. */
[[nodiscard]] std::vector<std::uint8_t> clipWithEditList(std::uint32_t firstTick, std::uint32_t milliseconds);

} // namespace player::test

#endif
