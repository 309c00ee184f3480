#include "device/src/ParameterSets.h"

#include "device/src/BitReader.h"

namespace selvik
{

namespace
{

/** The profiles of H.264 whose sequence parameter sets tell the chroma format. */
bool hasChromaFormat(std::uint32_t nProfile)
{
    switch (nProfile) {
    case 100:
    case 110:
    case 122:
    case 244:
    case 44:
    case 83:
    case 86:
    case 118:
    case 128:
    case 138:
    case 139:
    case 134:
    case 135:
        return true;
    default:
        return false;
    }
}

void skipScalingLists(BitReader &reader, int count)
{
    for (int i = 0; i < count && !reader.isOver(); ++i) {
        if (!reader.flag()) {
            continue;
        }
        std::int64_t last = 8;
        std::int64_t next = 8;
        const int size = i < 6 ? 16 : 64;
        for (int j = 0; j < size && next != 0 && !reader.isOver(); ++j) {
            next = (last + reader.signedGolomb() + 256) & 0xFF;
            last = next != 0 ? next : last;
        }
    }
}

void skipPictureOrder(BitReader &reader)
{
    const std::uint32_t nType = reader.golomb();
    if (nType == 0) {
        (void)reader.golomb();
    } else if (nType == 1) {
        reader.skip(1);
        (void)reader.signedGolomb();
        (void)reader.signedGolomb();
        const std::uint32_t count = reader.golomb();
        for (std::uint32_t i = 0; i < count && i < 256 && !reader.isOver(); ++i) {
            (void)reader.signedGolomb();
        }
    }
}

/** How much is cut off a picture, in units of its chroma samples. */
struct Cropping {
    std::int64_t nAcross = 0;
    std::int64_t nDown = 0;
};

Cropping readCropping(BitReader &reader)
{
    Cropping cropping;
    if (reader.flag()) {
        cropping.nAcross = std::int64_t(reader.golomb()) + reader.golomb();
        cropping.nDown = std::int64_t(reader.golomb()) + reader.golomb();
    }
    return cropping;
}

/** Profile, tier and level of H.265, with those of the temporal layers. */
void skipProfileTierLevel(BitReader &reader, std::uint32_t nSubLayers)
{
    reader.skip(88 + 8);
    bool bProfile[8] = {};
    bool bLevel[8] = {};
    for (std::uint32_t i = 0; i < nSubLayers; ++i) {
        bProfile[i] = reader.flag();
        bLevel[i] = reader.flag();
    }
    if (nSubLayers > 0) {
        reader.skip(2 * (8 - static_cast<int>(nSubLayers)));
    }
    for (std::uint32_t i = 0; i < nSubLayers; ++i) {
        reader.skip((bProfile[i] ? 88 : 0) + (bLevel[i] ? 8 : 0));
    }
}

} // namespace

std::optional<H264Sequence> readH264Sequence(ByteView unit)
{
    BitReader reader(unit);
    reader.skip(8);
    const std::uint32_t nProfile = reader.bits(8);
    reader.skip(16);
    (void)reader.golomb();
    H264Sequence sequence;
    std::uint32_t nChroma = 1;
    if (hasChromaFormat(nProfile)) {
        nChroma = reader.golomb();
        sequence.bSeparateColours = nChroma == 3 && reader.flag();
        (void)reader.golomb();
        (void)reader.golomb();
        reader.skip(1);
        if (reader.flag()) {
            skipScalingLists(reader, nChroma == 3 ? 12 : 8);
        }
    }
    const std::uint32_t nFrameNumberBits = reader.golomb() + 4;
    skipPictureOrder(reader);
    (void)reader.golomb();
    reader.skip(1);
    const std::int64_t nWidth = 16 * (std::int64_t(reader.golomb()) + 1);
    const std::int64_t nMapUnits = std::int64_t(reader.golomb()) + 1;
    sequence.bFramesOnly = reader.flag();
    reader.skip(sequence.bFramesOnly ? 1 : 2);
    const Cropping cropping = readCropping(reader);
    if (reader.isOver() || nFrameNumberBits > 16) {
        return std::nullopt;
    }
    const int nFields = sequence.bFramesOnly ? 1 : 2;
    const bool bSubsampled = !sequence.bSeparateColours;
    const int nUnitAcross = bSubsampled && (nChroma == 1 || nChroma == 2) ? 2 : 1;
    const int nUnitDown = (bSubsampled && nChroma == 1 ? 2 : 1) * nFields;
    sequence.nFrameNumberBits = static_cast<int>(nFrameNumberBits);
    sequence.nWidth = nWidth - nUnitAcross * cropping.nAcross;
    sequence.nHeight = 16 * nMapUnits * nFields - nUnitDown * cropping.nDown;
    return sequence;
}

std::optional<H265Sequence> readH265Sequence(ByteView unit)
{
    BitReader reader(unit);
    reader.skip(16 + 4);
    const std::uint32_t nSubLayers = reader.bits(3);
    reader.skip(1);
    skipProfileTierLevel(reader, nSubLayers);
    (void)reader.golomb();
    const std::uint32_t nChroma = reader.golomb();
    const bool bSeparateColours = nChroma == 3 && reader.flag();
    H265Sequence sequence;
    sequence.nWidth = reader.golomb();
    sequence.nHeight = reader.golomb();
    const Cropping cropping = readCropping(reader);
    if (reader.isOver()) {
        return std::nullopt;
    }
    const bool bSubsampled = !bSeparateColours;
    sequence.nWidth -= (bSubsampled && (nChroma == 1 || nChroma == 2) ? 2 : 1) * cropping.nAcross;
    sequence.nHeight -= (bSubsampled && nChroma == 1 ? 2 : 1) * cropping.nDown;
    return sequence;
}

std::optional<H264Field> readH264Field(ByteView slice, const H264Sequence &sequence)
{
    BitReader reader(slice);
    reader.skip(8);
    (void)reader.golomb();
    (void)reader.golomb();
    (void)reader.golomb();
    reader.skip(sequence.bSeparateColours ? 2 : 0);
    H264Field field;
    field.nFrame = reader.bits(sequence.nFrameNumberBits);
    field.bField = !sequence.bFramesOnly && reader.flag();
    field.bBottom = field.bField && reader.flag();
    return reader.isOver() ? std::nullopt : std::optional<H264Field>(field);
}

} // namespace selvik
