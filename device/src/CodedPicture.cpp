#include "device/src/CodedPicture.h"

#include "device/src/BitReader.h"
#include "device/src/UnitScanner.h"

#include <array>

namespace selvik
{

namespace
{

constexpr std::array<std::uint8_t, 4> kStartCode = {0, 0, 0, 1};

void append(Bytes &bytes, ByteView unit)
{
    bytes.insert(bytes.end(), kStartCode.begin(), kStartCode.end());
    bytes.insert(bytes.end(), unit.begin(), unit.end());
}

/** What a unit of H.264 or H.265 is. */
enum class UnitKind { Empty, Picture, LeadingPicture, KeyPicture, ParameterSet, Message, Other };

// Behind the unit's head.
constexpr int kRecoveryPoint = 6;

int typeOfH264(ByteView unit)
{
    return unit.pData[0] & 0x1F;
}

int typeOfH265(ByteView unit)
{
    return (unit.pData[0] >> 1) & 0x3F;
}

UnitKind kindOfH264(ByteView unit)
{
    if (unit.size < 2) {
        return UnitKind::Empty;
    }
    switch (typeOfH264(unit)) {
    case 0:
        return UnitKind::Empty;
    case 5:
        return UnitKind::KeyPicture;
    case 1:
    case 2:
        return UnitKind::Picture;
    case 7:
    case 8:
        return UnitKind::ParameterSet;
    case 6:
        return UnitKind::Message;
    default:
        return UnitKind::Other;
    }
}

UnitKind kindOfH265(ByteView unit)
{
    // A start code inside a packet leaves a unit of two zero bytes, or of the header alone.
    if (unit.size < 3) {
        return UnitKind::Empty;
    }
    const int nType = typeOfH265(unit);
    if (nType >= 16 && nType <= 23) {
        return UnitKind::KeyPicture;
    }
    if (nType == 8 || nType == 9) {
        return UnitKind::LeadingPicture; // random access skipped leading (RASL)
    }
    if (nType < 32) {
        return UnitKind::Picture;
    }
    if (nType == 39) {
        return UnitKind::Message;
    }
    return nType <= 34 ? UnitKind::ParameterSet : UnitKind::Other;
}

UnitHead headOfH264(ByteView unit)
{
    if (unit.size < 2) {
        return {UnitRole::Nothing};
    }
    const bool bFirst = (unit.pData[1] & 0x80) != 0; // first_mb_in_slice is 0
    switch (typeOfH264(unit)) {
    case 1:
    case 2:
    case 5:
        return {UnitRole::Slice, bFirst};
    case 3:
    case 4:
        return {UnitRole::Slice};
    case 7:
    case 8:
        return {UnitRole::Opening, false, true};
    case 6:
    case 9:
    case 13:
    case 14:
    case 15:
    case 16:
    case 17:
    case 18:
        return {UnitRole::Opening};
    case 10:
    case 11:
    case 19:
    case 20:
    case 21:
        return {UnitRole::Closing};
    default:
        return {UnitRole::Nothing};
    }
}

UnitHead headOfH265(ByteView unit)
{
    constexpr int kFiller = 38;
    constexpr int kSuffixMessage = 40;
    if (unit.size < 3) {
        return {UnitRole::Nothing};
    }
    const int nType = typeOfH265(unit);
    if (nType < 32) {
        return {UnitRole::Slice, (unit.pData[2] & 0x80) != 0}; // first_slice_segment_in_pic_flag
    }
    if (nType <= 34) {
        return {UnitRole::Opening, false, true};
    }
    if (nType == kFiller) {
        return {UnitRole::Nothing};
    }
    // ITU-T H.265, 7.4.2.4.4, has which types begin an access unit and which follow its last slice.
    const bool bClosing =
        nType == 36 || nType == 37 || nType == kSuffixMessage || (nType >= 45 && nType <= 47) || nType >= 56;
    return {bClosing ? UnitRole::Closing : UnitRole::Opening};
}

/** Whether one of a unit's messages (SEI) says that decoding can begin here. What is torn says nothing. */
bool hasRecoveryPoint(ByteView unit, int nHeadBits)
{
    BitReader reader(unit);
    reader.skip(nHeadBits);
    const auto number = [&reader] {
        std::uint32_t value = 0;
        std::uint32_t byte = 0xFF;
        while (byte == 0xFF && !reader.isOver()) {
            byte = reader.bits(8);
            value += byte;
        }
        return value;
    };
    while (!reader.isOver() && !reader.isAtEnd()) {
        const std::uint32_t nType = number();
        const std::uint32_t size = number();
        if (nType == kRecoveryPoint && size > 0 && !reader.isOver()) {
            return true;
        }
        for (std::uint32_t i = 0; i < size && !reader.isOver(); ++i) {
            reader.skip(8);
        }
    }
    return false;
}

bool isIntraH264(ByteView slice)
{
    BitReader reader(slice);
    reader.skip(8);
    (void)reader.golomb();
    const std::uint32_t nType = reader.golomb();
    return !reader.isOver() && (nType % 5 == 2 || nType % 5 == 4);
}

/** Looks at a picture's first slice alone; the others are taken to be of its kind. */
bool isIntraH265(ByteView slice)
{
    BitReader reader(slice);
    reader.skip(16);
    if (!reader.flag()) {
        return true;
    }
    // The extra bits that a picture parameter set may ask for are not counted: cameras have none.
    (void)reader.golomb();
    const std::uint32_t nType = reader.golomb();
    return !reader.isOver() && nType == 2;
}

/** What the library knows of a coding that is units between start codes. */
struct UnitCoding {
    UnitKind (*pKindOf)(ByteView unit);
    UnitHead (*pHeadOf)(ByteView unit);
    bool (*pIsIntra)(ByteView slice);
    int nHeadBits;
};

constexpr UnitCoding kH264 = {&kindOfH264, &headOfH264, &isIntraH264, 8};
constexpr UnitCoding kH265 = {&kindOfH265, &headOfH265, &isIntraH265, 16};

void noteUnit(const UnitCoding &coding, ByteView unit, UnitKind kind, PictureFacts &facts)
{
    switch (kind) {
    case UnitKind::Picture:
    case UnitKind::LeadingPicture:
    case UnitKind::KeyPicture:
        facts.bLeading = facts.bLeading || kind == UnitKind::LeadingPicture;
        facts.bIntra = (facts.bIntra || !facts.bPicture) && (kind == UnitKind::KeyPicture || coding.pIsIntra(unit));
        facts.bPicture = true;
        facts.bKey = facts.bKey || kind == UnitKind::KeyPicture;
        break;
    case UnitKind::ParameterSet:
        append(facts.parameterSets, unit);
        break;
    case UnitKind::Message:
        facts.bRecoveryPoint = facts.bRecoveryPoint || hasRecoveryPoint(unit, coding.nHeadBits);
        break;
    case UnitKind::Empty:
    case UnitKind::Other:
        break;
    }
}

PictureFacts inspectUnits(const UnitCoding &coding, Bytes &bytes)
{
    PictureFacts facts;
    const ByteView all = {bytes.data(), bytes.size()};
    std::size_t size = 0;
    visitUnits(all, Leading::IsNothing, [&](ByteView unit) {
        const UnitKind kind = coding.pKindOf(unit);
        if (kind != UnitKind::Empty) {
            size += kStartCode.size() + unit.size;
            noteUnit(coding, unit, kind, facts);
        }
    });
    // Cameras with gradual refresh or open groups never send an IDR picture. For them a picture behind parameter sets
    // and a recovery point is the place to begin.
    facts.bRecoveryPoint = facts.bRecoveryPoint && facts.bPicture;
    facts.bKey = facts.bKey || (facts.bRecoveryPoint && !facts.parameterSets.empty());
    if (size != bytes.size()) {
        Bytes clean;
        clean.reserve(size);
        visitUnits(all, Leading::IsNothing, [&](ByteView unit) {
            if (coding.pKindOf(unit) != UnitKind::Empty) {
                append(clean, unit);
            }
        });
        bytes.swap(clean);
    }
    return facts;
}

/** Whether the byte behind the start code `code` satisfies a test; false where the code is not there. */
template <typename Test>
bool behindStartCode(const Bytes &bytes, std::uint8_t code, std::size_t offset, Test test)
{
    for (std::size_t i = 0; i + 4 + offset < bytes.size(); ++i) {
        if (bytes[i] == 0 && bytes[i + 1] == 0 && bytes[i + 2] == 1 && bytes[i + 3] == code) {
            return test(bytes[i + 4 + offset]);
        }
    }
    return false;
}

bool isKeyOfMpeg4(const Bytes &bytes)
{
    return behindStartCode(bytes, 0xB6, 0, [](std::uint8_t byte) { return byte >> 6 == 0; });
}

bool isKeyOfMpeg12(const Bytes &bytes)
{
    return behindStartCode(bytes, 0x00, 1, [](std::uint8_t byte) { return ((byte >> 3) & 7) == 1; });
}

bool isKeyOfVp8(const Bytes &bytes)
{
    return !bytes.empty() && (bytes[0] & 1) == 0;
}

bool isKeyOfVp9(const Bytes &bytes)
{
    // Of the uncompressed header's first byte: show_existing_frame and frame_type, where profiles 0 to 2 have them.
    return !bytes.empty() && (bytes[0] & 0x0C) == 0;
}

bool isAnyPicture(const Bytes &bytes)
{
    return !bytes.empty();
}

/** All that the library knows of one coding of pictures. Either pUnits or pIsKey is null. */
struct PictureCoding {
    AVCodecID codec;
    const UnitCoding *pUnits;
    bool (*pIsKey)(const Bytes &picture);
    /** Each packet of a picture, or of what goes before it, begins with a start code of three bytes. */
    bool bStartCodes;
};

constexpr PictureCoding kCodings[] = {
    {AV_CODEC_ID_H264, &kH264, nullptr, true},
    {AV_CODEC_ID_HEVC, &kH265, nullptr, true},
    {AV_CODEC_ID_MJPEG, nullptr, &isAnyPicture, false},
    {AV_CODEC_ID_MPEG4, nullptr, &isKeyOfMpeg4, true},
    {AV_CODEC_ID_MPEG2VIDEO, nullptr, &isKeyOfMpeg12, true},
    {AV_CODEC_ID_MPEG1VIDEO, nullptr, &isKeyOfMpeg12, true},
    {AV_CODEC_ID_VP8, nullptr, &isKeyOfVp8, false},
    {AV_CODEC_ID_VP9, nullptr, &isKeyOfVp9, false},
};
// Whatever else FFmpeg takes out of RTP packets: decoding may begin with any picture of it.
constexpr PictureCoding kOtherCoding = {AV_CODEC_ID_NONE, nullptr, &isAnyPicture, false};

const PictureCoding &codingOf(AVCodecID codec)
{
    for (const PictureCoding &coding : kCodings) {
        if (coding.codec == codec) {
            return coding;
        }
    }
    return kOtherCoding;
}

} // namespace

std::vector<AVCodecID> knownPictureCodings()
{
    std::vector<AVCodecID> codecs;
    for (const PictureCoding &coding : kCodings) {
        codecs.push_back(coding.codec);
    }
    return codecs;
}

bool hasParameterSets(AVCodecID codec)
{
    return codingOf(codec).pUnits != nullptr;
}

UnitHead headOf(AVCodecID codec, ByteView unit)
{
    const PictureCoding &coding = codingOf(codec);
    if (coding.pUnits == nullptr) {
        // A slice of MPEG-2 begins with a start code too, the codes 1 to 175, and goes on with the picture.
        constexpr std::uint8_t kLastSlice = 0xAF;
        const bool bMpeg2 = codec == AV_CODEC_ID_MPEG2VIDEO || codec == AV_CODEC_ID_MPEG1VIDEO;
        const bool bSlice = bMpeg2 && unit.size > 3 && unit.pData[3] >= 1 && unit.pData[3] <= kLastSlice;
        return {UnitRole::Opaque, !coding.bStartCodes || (findStartCode(unit, 0) == 0 && !bSlice)};
    }
    if (beginsWithStartCode(unit)) {
        unit = unit.from(unit.pData[2] == 1 ? 3 : 4);
    }
    return coding.pUnits->pHeadOf(unit);
}

bool containsPicture(AVCodecID codec, ByteView bytes)
{
    const UnitCoding *pUnits = codingOf(codec).pUnits;
    if (pUnits == nullptr) {
        return !bytes.empty();
    }
    bool bFound = false;
    visitUnits(bytes, Leading::IsNothing, [&](ByteView unit) {
        const UnitKind kind = pUnits->pKindOf(unit);
        bFound =
            bFound || kind == UnitKind::Picture || kind == UnitKind::LeadingPicture || kind == UnitKind::KeyPicture;
    });
    return bFound;
}

PictureFacts inspectPicture(AVCodecID codec, Bytes &bytes)
{
    const PictureCoding &coding = codingOf(codec);
    if (coding.pUnits != nullptr) {
        return inspectUnits(*coding.pUnits, bytes);
    }
    PictureFacts facts;
    facts.bPicture = !bytes.empty();
    facts.bKey = coding.pIsKey(bytes);
    facts.bIntra = facts.bKey;
    return facts;
}

} // namespace selvik
