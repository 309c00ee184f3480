#include "player/src/live/LostWay.h"

#include "player/src/core/Container.h"

#include <algorithm>

namespace player
{

namespace
{

using namespace std::string_view_literals;

/** While the header is read; every real one is shorter. */
constexpr std::int64_t kMostHeaderBytes = 1024 * 1024;
/** Before the first packet, and for a picture that has no announced length. */
constexpr std::int64_t kMostUntoldBytes = 8 * 1024 * 1024;
/** Skipped between two packets … */
constexpr std::int64_t kMostBytes = 256 * 1024;
/** … where fewer are enough once the time without a packet is this long. */
constexpr std::int64_t kMostBytesInTime = 64 * 1024;
constexpr std::chrono::seconds kMostTime{2};

constexpr auto kCluster = "\x1F\x43\xB6\x75"sv;
constexpr auto kChecksum = "\xBF\x84"sv;
constexpr std::size_t kChecksumBytes = 4;
constexpr char kClusterTime = '\xE7';
constexpr auto kFragment = "moof\0\0\0\x10mfhd"sv;
constexpr std::size_t kBoxSizeBytes = 4;

/** Bytes that a length of Matroska takes, by the first of them; more than eight for one that is not valid. */
std::size_t lengthBytes(char first)
{
    std::size_t count = 1;
    while (count <= 8 && (static_cast<unsigned char>(first) & (0x100U >> count)) == 0) {
        ++count;
    }
    return count;
}

/** A cluster of Matroska, and first in it its time, which every one has; a checksum may stand before that. */
bool isClusterAt(std::string_view bytes, std::size_t at)
{
    bytes.remove_prefix(at + kCluster.size());
    if (bytes.empty() || lengthBytes(bytes.front()) > 8) {
        return false;
    }
    bytes.remove_prefix(std::min(lengthBytes(bytes.front()), bytes.size()));
    if (bytes.substr(0, kChecksum.size()) == kChecksum) {
        bytes.remove_prefix(std::min(kChecksum.size() + kChecksumBytes, bytes.size()));
    }
    const auto timeSize = static_cast<unsigned char>(bytes.size() > 1 ? bytes[1] : 0);
    return timeSize > 0x80 && timeSize <= 0x88 && bytes.front() == kClusterTime;
}

/** Before each tag of FLV: the size of the tag before it. Its size, time and stream take eleven bytes. */
constexpr std::size_t kSizeBeforeTag = 4;
constexpr std::size_t kTagHeadBytes = 11;

/** A tag of FLV with a picture; the numbers are ranges and zeros that the format demands. */
bool isTagAt(std::string_view bytes, std::size_t at)
{
    const std::string_view before = bytes.substr(at - kSizeBeforeTag, kSizeBeforeTag);
    const std::string_view tag = bytes.substr(at, kTagHeadBytes + 1);
    if (tag.size() <= kTagHeadBytes || tag.front() != 9 || tag.substr(8, 3) != "\0\0\0"sv || before.front() != 0) {
        return false;
    }
    const auto kind = static_cast<unsigned char>(tag.back());
    constexpr unsigned kExtended = 0x80;
    const unsigned frame = kind >> 4 & 7;
    const unsigned codec = kind & 15;
    return frame >= 1 && frame <= 5 && ((kind & kExtended) != 0 || (codec >= 2 && codec <= 12));
}

} // namespace

void LostWay::begin(const AVInputFormat &input, Moment now)
{
    beginAt(input, 0, now);
    m_nBegunAt = -1;
}

void LostWay::beginAt(const AVInputFormat &input, std::int64_t position, Moment now)
{
    m_bFollowsLengths = followsLengths(input);
    m_bHeader = true;
    m_nBegunAt = position;
    m_nPacketPosition = position;
    m_packetTime = now;
    m_nAnnouncedEnd = position;
}

void LostWay::foundPacket(std::int64_t position, Moment now)
{
    m_bAnyPacket = true;
    m_nPacketPosition = position;
    m_packetTime = now;
    m_nAnnouncedEnd = position;
}

bool LostWay::isLost(std::int64_t position, int wanted, int bufferBytes, Moment now)
{
    const std::int64_t bytes = position - m_nPacketPosition;
    if (m_bHeader) {
        return bytes > kMostHeaderBytes;
    }
    if (!m_bFollowsLengths) {
        return bytes > std::max(m_nSourceBuffer, kMostUntoldBytes);
    }
    if (wanted > bufferBytes) {
        m_nAnnouncedEnd = position + wanted;
        return m_nAnnouncedEnd - m_nPacketPosition > std::max(m_nSourceBuffer, kMostBytes);
    }
    if (!m_bAnyPacket) {
        return bytes > kMostUntoldBytes;
    }
    const std::int64_t skipped = position - std::max(m_nPacketPosition, m_nAnnouncedEnd);
    return skipped > kMostBytes || (skipped > kMostBytesInTime && now - m_packetTime > kMostTime);
}

std::optional<std::size_t> beginningIn(const AVInputFormat &input, std::string_view bytes)
{
    if (isNamed(input, "matroska")) {
        for (std::size_t at = bytes.find(kCluster); at != bytes.npos; at = bytes.find(kCluster, at + 1)) {
            if (isClusterAt(bytes, at)) {
                return at;
            }
        }
    }
    if (isNamed(input, "mov")) {
        const std::size_t at = bytes.find(kFragment, kBoxSizeBytes);
        return at == bytes.npos ? std::nullopt : std::optional(at - kBoxSizeBytes);
    }
    if (isNamed(input, "flv")) {
        for (std::size_t at = bytes.find('\x09', kSizeBeforeTag); at != bytes.npos; at = bytes.find('\x09', at + 1)) {
            if (isTagAt(bytes, at)) {
                return at;
            }
        }
    }
    return std::nullopt;
}

bool needsBeginning(const AVInputFormat &input)
{
    return isNamed(input, "mov") || isNamed(input, "flv");
}

} // namespace player
