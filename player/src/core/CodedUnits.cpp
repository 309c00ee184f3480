#include "player/src/core/CodedUnits.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace player
{

namespace
{

// H.264.
constexpr int kH264Slice = 1;
constexpr int kH264LastSlice = 5;
constexpr int kH264Information = 6;
// H.265.
constexpr int kH265LastPicture = 31;
constexpr int kH265FirstRandomAccess = 16;
constexpr int kH265LastRandomAccess = 23;
constexpr int kH265PrefixInformation = 39;
constexpr int kH265SuffixInformation = 40;
/** Of the kinds that the standard leaves to applications, and decoders pass over. */
constexpr int kH265Unspecified = 50;

constexpr int kRecoveryPoint = 6;
/** Slices of H.265 by what they are made of. */
constexpr unsigned kH265IntraSlice = 2;
/** What is looked at of a unit of supplementary information; recovery points stand among its first messages. */
constexpr std::ptrdiff_t kMostInformation = 4096;
constexpr std::ptrdiff_t kMostSliceHead = 32;

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

/** False where a unit is longer than what is left of the packet. */
template <typename Visitor>
bool forEachUnit(Bytes packet, int lengthSize, const Visitor &visit)
{
    const std::uint8_t *p = packet.pBegin;
    if (lengthSize == 0) {
        p = startCode(p, packet.pEnd);
        while (packet.pEnd - p > 3) {
            const std::uint8_t *pNext = startCode(p + 3, packet.pEnd);
            visit(Bytes{p + 3, pNext});
            p = pNext;
        }
        return true;
    }
    while (packet.pEnd - p > lengthSize) {
        std::int64_t length = 0;
        for (int i = 0; i < lengthSize; ++i) {
            length = length << 8 | *p++;
        }
        if (length > packet.pEnd - p) {
            return false;
        }
        visit(Bytes{p, p + length});
        p += length;
    }
    return true;
}

/** A unit's own bytes behind its head: an encoder puts a 3 after each two zeros, lest they look like a start code. */
std::vector<std::uint8_t> payload(Bytes unit, std::ptrdiff_t head, std::ptrdiff_t most)
{
    std::vector<std::uint8_t> bytes;
    int zeros = 0;
    for (const std::uint8_t *p = unit.pBegin + std::min(head, unit.size()); p < unit.pEnd; ++p) {
        if (static_cast<std::ptrdiff_t>(bytes.size()) >= most) {
            break;
        }
        if (zeros >= 2 && *p == 3) {
            zeros = 0;
            continue;
        }
        zeros = *p == 0 ? zeros + 1 : 0;
        bytes.push_back(*p);
    }
    return bytes;
}

/** Bits, most significant first. Behind the end there are zeros. */
class BitReader
{
public:
    explicit BitReader(Bytes bytes) : m_bytes(bytes) {}

    unsigned bit()
    {
        const std::ptrdiff_t place = m_nBit / 8;
        const unsigned value = place < m_bytes.size() ? m_bytes.pBegin[place] >> (7 - m_nBit % 8) & 1U : 0U;
        ++m_nBit;
        return value;
    }

    /** An Exp-Golomb number; empty when it is larger than anything that is asked for here. */
    std::optional<unsigned> number()
    {
        int zeros = 0;
        while (bit() == 0) {
            if (++zeros > 24) {
                return std::nullopt;
            }
        }
        unsigned code = 1;
        for (int i = 0; i < zeros; ++i) {
            code = code << 1 | bit();
        }
        return code - 1;
    }

private:
    Bytes m_bytes;
    std::ptrdiff_t m_nBit = 0;
};

/** In H.264 a number of pictures; in H.265 a difference, whose sign is in its lowest bit. */
std::optional<int> recoveryCount(Bytes message, bool b264)
{
    const auto number = BitReader(message).number();
    if (!number || *number > 0xFFFF) {
        return std::nullopt;
    }
    const int code = static_cast<int>(*number);
    return b264 ? code : code % 2 != 0 ? (code + 1) / 2 : -(code / 2);
}

/** The recovery point among the messages of a unit of supplementary information. */
std::optional<int> recoveryPoint(Bytes unit, bool b264)
{
    const auto bytes = payload(unit, b264 ? 1 : 2, kMostInformation);
    const std::uint8_t *p = bytes.data();
    const std::uint8_t *const pEnd = p + bytes.size();
    while (pEnd - p > 2) {
        int type = 0;
        int size = 0;
        for (int *pNumber : {&type, &size}) {
            while (p < pEnd && *p == 0xFF) {
                *pNumber += *p++;
            }
            if (p == pEnd) {
                return std::nullopt;
            }
            *pNumber += *p++;
        }
        if (size > pEnd - p) {
            return std::nullopt;
        }
        if (type == kRecoveryPoint) {
            return recoveryCount({p, p + size}, b264);
        }
        p += size;
    }
    return std::nullopt;
}

/** Of a slice of H.264: its head has the first macroblock, then its kind, of which five more say "all slices". */
bool isIntra264(Bytes unit)
{
    const auto bytes = payload(unit, 1, kMostSliceHead);
    BitReader bits({bytes.data(), bytes.data() + bytes.size()});
    constexpr unsigned kKinds = 5;
    const auto first = bits.number();
    const auto kind = first ? bits.number() : std::nullopt;
    return kind && (*kind % kKinds == 2 || *kind % kKinds == 4);
}

/**
 * Of the first slice of a picture of H.265 that is no random access point, with no extra bits in its head, as nobody
 * sends them; of others it is not known.
 */
std::optional<bool> isIntra265(Bytes unit)
{
    const auto bytes = payload(unit, 2, kMostSliceHead);
    BitReader bits({bytes.data(), bytes.data() + bytes.size()});
    if (bits.bit() == 0 || !bits.number()) {
        return std::nullopt;
    }
    return bits.number() == kH265IntraSlice;
}

void lookAt264(Bytes unit, CodedUnits &units, bool &bAllIntra)
{
    const int type = unit.pBegin[0] & 31;
    if (type >= kH264Slice && type <= kH264LastSlice) {
        units.picture = true;
        bAllIntra = bAllIntra && (type == kH264LastSlice || isIntra264(unit));
        units.refresh = type == kH264LastSlice;
    } else if (type == kH264Information) {
        const auto after = recoveryPoint(unit, true);
        units.recoversAfter = after ? after : units.recoversAfter;
    }
}

void lookAt265(Bytes unit, CodedUnits &units, bool &bAllIntra)
{
    const int type = unit.pBegin[0] >> 1 & 63;
    if (type <= kH265LastPicture) {
        units.picture = true;
        const bool bRandomAccess = type >= kH265FirstRandomAccess && type <= kH265LastRandomAccess;
        bAllIntra = bAllIntra && (bRandomAccess || isIntra265(unit).value_or(true));
        units.refresh = bRandomAccess;
    } else if (type == kH265PrefixInformation || type == kH265SuffixInformation) {
        const auto after = recoveryPoint(unit, false);
        units.recoversAfter = after ? after : units.recoversAfter;
        units.information = true;
    }
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
    units.refresh = false;
    bool bAllIntra = true;
    const bool bWhole = forEachUnit({packet.data, packet.data + packet.size}, lengthBytes(parameters), [&](Bytes unit) {
        if (unit.size() >= 3) {
            b264 ? lookAt264(unit, units, bAllIntra) : lookAt265(unit, units, bAllIntra);
        }
    });
    units.intra = units.picture && bAllIntra && bWhole;
    // What is torn was most likely a slice.
    units.picture = units.picture || !bWhole;
    return units;
}

void CodedUnits::hideInformation(AVPacket &packet, const AVCodecParameters &parameters)
{
    forEachUnit({packet.data, packet.data + packet.size}, lengthBytes(parameters), [&](Bytes unit) {
        const int type = unit.size() > 0 ? unit.pBegin[0] >> 1 & 63 : 0;
        if (type == kH265PrefixInformation || type == kH265SuffixInformation) {
            std::uint8_t &head = packet.data[unit.pBegin - packet.data];
            head = static_cast<std::uint8_t>((head & 0x81) | kH265Unspecified << 1);
        }
    });
}

} // namespace player
