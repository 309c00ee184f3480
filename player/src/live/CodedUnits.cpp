#include "player/src/live/CodedUnits.h"

#include <cstdint>

namespace player
{

namespace
{

constexpr int kH264Slice = 1;
constexpr int kH264LastSlice = 5;
constexpr int kH265LastPicture = 31;
constexpr int kH265PrefixInformation = 39;
constexpr int kRecoveryPoint = 6;

struct Bytes {
    const std::uint8_t *pBegin;
    const std::uint8_t *pEnd;

    [[nodiscard]] std::ptrdiff_t size() const
    {
        return pEnd - pBegin;
    }
};

/** Bytes of the length that stands before each unit; 0 where start codes part them. */
int lengthBytes(const AVCodecParameters &parameters)
{
    const int place = parameters.codec_id == AV_CODEC_ID_H264 ? 4 : 21;
    const bool bLengths = parameters.extradata_size > place && parameters.extradata[0] == 1;
    return bLengths ? (parameters.extradata[place] & 3) + 1 : 0;
}

const std::uint8_t *startCode(const std::uint8_t *p, const std::uint8_t *pEnd)
{
    for (; pEnd - p >= 3; ++p) {
        if (p[0] == 0 && p[1] == 0 && p[2] == 1) {
            return p;
        }
    }
    return pEnd;
}

template <typename Visitor>
void forEachUnit(Bytes packet, int lengthSize, const Visitor &visit)
{
    const std::uint8_t *p = packet.pBegin;
    if (lengthSize == 0) {
        p = startCode(p, packet.pEnd);
        while (packet.pEnd - p > 3) {
            const std::uint8_t *pNext = startCode(p + 3, packet.pEnd);
            visit(Bytes{p + 3, pNext});
            p = pNext;
        }
        return;
    }
    while (packet.pEnd - p > lengthSize) {
        std::int64_t length = 0;
        for (int i = 0; i < lengthSize; ++i) {
            length = length << 8 | *p++;
        }
        if (length > packet.pEnd - p) {
            return;
        }
        visit(Bytes{p, p + length});
        p += length;
    }
}

/** A signed Exp-Golomb number at the beginning of the bytes. */
std::optional<int> signedNumber(Bytes bytes)
{
    std::uint64_t bits = 0;
    for (int i = 0; i < 8; ++i) {
        bits = bits << 8 | (i < bytes.size() ? bytes.pBegin[i] : 0);
    }
    int zeros = 0;
    while (zeros < 16 && (bits >> (63 - zeros) & 1) == 0) {
        ++zeros;
    }
    if (zeros == 16) {
        return std::nullopt;
    }
    const auto code = static_cast<int>((bits << zeros) >> (63 - zeros)) - 1;
    return code % 2 != 0 ? (code + 1) / 2 : -(code / 2);
}

/** The recovery point among the messages of an H.265 unit of supplementary information. */
std::optional<int> recoveryPoint(Bytes unit)
{
    const std::uint8_t *p = unit.pBegin + 2;
    while (unit.pEnd - p > 2) {
        int type = 0;
        int size = 0;
        for (int *pNumber : {&type, &size}) {
            while (p < unit.pEnd && *p == 0xFF) {
                *pNumber += *p++;
            }
            if (p == unit.pEnd) {
                return std::nullopt;
            }
            *pNumber += *p++;
        }
        if (size > unit.pEnd - p) {
            return std::nullopt;
        }
        if (type == kRecoveryPoint) {
            return signedNumber({p, p + size});
        }
        p += size;
    }
    return std::nullopt;
}

} // namespace

CodedUnits CodedUnits::of(const AVPacket &packet, const AVCodecParameters &parameters)
{
    CodedUnits units;
    const bool b264 = parameters.codec_id == AV_CODEC_ID_H264;
    if (!b264 && parameters.codec_id != AV_CODEC_ID_HEVC) {
        return units;
    }
    units.picture = false;
    forEachUnit({packet.data, packet.data + packet.size}, lengthBytes(parameters), [&](Bytes unit) {
        if (unit.size() < 3) {
            return;
        }
        const int type = b264 ? unit.pBegin[0] & 31 : unit.pBegin[0] >> 1 & 63;
        units.picture =
            units.picture || (b264 ? type >= kH264Slice && type <= kH264LastSlice : type <= kH265LastPicture);
        if (!b264 && type == kH265PrefixInformation) {
            const auto after = recoveryPoint(unit);
            units.recoversAfter = after ? after : units.recoversAfter;
        }
    });
    return units;
}

} // namespace player
