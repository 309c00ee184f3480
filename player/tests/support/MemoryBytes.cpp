#include "player/tests/support/MemoryBytes.h"

#include "player/src/file/FileDemuxer.h"
#include "player/tests/support/StdioBytes.h"

#include <algorithm>
#include <fstream>
#include <iterator>

namespace player::test
{

MemoryBytes::MemoryBytes(std::vector<std::uint8_t> bytes) : m_bytes(std::move(bytes)) {}

int MemoryBytes::read(std::uint8_t *pBuffer, int size)
{
    const std::size_t count = std::min(static_cast<std::size_t>(size), m_bytes.size() - m_nPosition);
    std::copy_n(m_bytes.begin() + static_cast<std::ptrdiff_t>(m_nPosition), count, pBuffer);
    m_nPosition += count;
    return static_cast<int>(count);
}

bool MemoryBytes::seek(std::int64_t position)
{
    m_nPosition = std::min(static_cast<std::size_t>(position), m_bytes.size());
    return true;
}

std::int64_t MemoryBytes::size() const
{
    return static_cast<std::int64_t>(m_bytes.size());
}

std::vector<std::uint8_t> bytesOf(const std::string &path)
{
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

std::vector<std::uint8_t> codedPicturesOf(const std::vector<std::string> &paths)
{
    std::vector<std::uint8_t> bytes;
    for (const std::string &path : paths) {
        FileDemuxer source(StdioBytes::open(path));
        source.open();
        const PacketPtr pPacket(av_packet_alloc());
        while (source.readPicture(*pPacket)) {
            bytes.insert(bytes.end(), pPacket->data, pPacket->data + pPacket->size);
            av_packet_unref(pPacket.get());
        }
    }
    return bytes;
}

} // namespace player::test
