#include "player/src/file/ExportStartTime.h"

#include <algorithm>

extern "C" {
#include <libavutil/intreadwrite.h>
}

namespace player
{

namespace
{

constexpr int kMostBoxes = 256;
constexpr int kMostDepth = 4;
constexpr std::int64_t kMostEntries = 64;

constexpr std::uint32_t name(const char (&letters)[5])
{
    std::uint32_t value = 0;
    for (int i = 0; i < 4; ++i) {
        value = value << 8 | static_cast<unsigned char>(letters[i]);
    }
    return value;
}

/** Walks through boxes and into those that a StartTimeBox may stand in; or, for a reference time, up to a fragment. */
class Boxes
{
public:
    /** `track`: empty for a reference time. */
    Boxes(ByteSource &bytes, std::optional<std::uint32_t> track) : m_bytes(bytes), m_track(track) {}

    std::optional<std::int64_t> find(std::int64_t begin, std::int64_t end, int depth)
    {
        std::optional<std::int64_t> found;
        while (!found && begin <= end - 8 && m_nLeft-- > 0) {
            std::uint8_t head[16];
            if (!read(begin, head, 8)) {
                break;
            }
            std::int64_t size = AV_RB32(head);
            std::int64_t content = begin + 8;
            if (size == 1 && read(begin, head, 16)) {
                size = static_cast<std::int64_t>(std::min<std::uint64_t>(AV_RB64(head + 8), INT64_MAX));
                content = begin + 16;
            } else if (size == 0) {
                size = end - begin;
            }
            if (size < content - begin || size > end - begin) {
                break;
            }
            found = look(AV_RB32(head + 4), content, begin + size, depth);
            begin += size;
        }
        return found;
    }

private:
    bool read(std::int64_t position, std::uint8_t *pBuffer, int size)
    {
        int done = 0;
        if (!m_bytes.seek(position)) {
            return false;
        }
        while (done < size) {
            const int count = m_bytes.read(pBuffer + done, size - done);
            if (count <= 0) {
                return false;
            }
            done += count;
        }
        return true;
    }

    std::optional<std::int64_t> look(std::uint32_t type, std::int64_t begin, std::int64_t end, int depth)
    {
        if (!m_track) {
            m_nLeft = type == name("moof") ? 0 : m_nLeft;
            return type == name("prft") ? referenceTime(begin, end) : std::nullopt;
        }
        if (type == name("cstb")) {
            return startTime(begin, end);
        }
        if (depth == kMostDepth) {
            return std::nullopt;
        }
        switch (type) {
        case name("moov"):
        case name("sinf"):
            return find(begin, end, depth + 1);
        case name("meta"): // behind version and flags
            return find(begin + 4, end, depth + 1);
        case name("ipro"): // and the number of boxes
            return find(begin + 6, end, depth + 1);
        default:
            return std::nullopt;
        }
    }

    std::optional<std::int64_t> referenceTime(std::int64_t begin, std::int64_t end)
    {
        // ISO/IEC 14496-12, 8.16.5: behind version, flags and track, seconds since 1900 with 32 bits behind them.
        constexpr std::uint64_t kFrom1900To1970 = 2208988800;
        std::uint8_t box[16];
        if (end - begin < 16 || !read(begin, box, 16) || AV_RB32(box + 8) <= kFrom1900To1970) {
            return std::nullopt;
        }
        const std::uint64_t microseconds = std::uint64_t{AV_RB32(box + 12)} * 1000000 >> 32;
        return static_cast<std::int64_t>((AV_RB32(box + 8) - kFrom1900To1970) * 1000000 + microseconds);
    }

    std::optional<std::int64_t> startTime(std::int64_t begin, std::int64_t end)
    {
        // Tenths of microseconds since 1601.
        constexpr std::uint64_t kFrom1601To1970 = 11644473600000000;
        constexpr int kEntryBytes = 12;
        std::uint8_t entry[kEntryBytes];
        if (end - begin < 4 || !read(begin, entry, 4)) {
            return std::nullopt;
        }
        const std::int64_t entries =
            std::min({std::int64_t{AV_RB32(entry)}, (end - begin - 4) / kEntryBytes, kMostEntries});
        std::optional<std::int64_t> first;
        for (std::int64_t i = 0; i < entries && read(begin + 4 + i * kEntryBytes, entry, kEntryBytes); ++i) {
            const std::uint64_t time = AV_RB64(entry + 4) / 10;
            if (time <= kFrom1601To1970) {
                continue;
            }
            const auto utc = static_cast<std::int64_t>(time - kFrom1601To1970);
            if (AV_RB32(entry) == *m_track) {
                return utc;
            }
            first = first.value_or(utc);
        }
        return first;
    }

    ByteSource &m_bytes;
    const std::optional<std::uint32_t> m_track;
    int m_nLeft = kMostBoxes;
};

} // namespace

std::optional<std::int64_t> exportStartTime(ByteSource &bytes, std::uint32_t track)
{
    return Boxes(bytes, track).find(0, bytes.size(), 0);
}

std::optional<std::int64_t> firstReferenceTime(ByteSource &bytes)
{
    return Boxes(bytes, std::nullopt).find(0, bytes.size(), 0);
}

} // namespace player
