#include "device/src/CodedPicture.h"

#include "device/src/MediaUnit.h"

#include <array>

namespace selvik
{

namespace
{

constexpr std::array<std::uint8_t, 4> kStartCode = {0, 0, 0, 1};

/** The units between start codes, without them and without zeros behind. */
std::vector<ByteView> splitUnits(const Bytes &bytes)
{
    std::vector<ByteView> units;
    const std::size_t size = bytes.size();
    std::size_t begin = size;
    const auto finish = [&](std::size_t end) {
        while (end > begin && bytes[end - 1] == 0) {
            --end;
        }
        if (end > begin) {
            units.push_back({bytes.data() + begin, end - begin});
        }
    };
    for (std::size_t i = 0; i + 3 <= size; ++i) {
        if (bytes[i] == 0 && bytes[i + 1] == 0 && bytes[i + 2] == 1) {
            finish(i);
            begin = i + 3;
            i += 2;
        }
    }
    finish(size);
    return units;
}

void append(Bytes &bytes, ByteView unit)
{
    bytes.insert(bytes.end(), kStartCode.begin(), kStartCode.end());
    bytes.insert(bytes.end(), unit.begin(), unit.end());
}

/** What a unit of H.264 or H.265 is. */
enum class UnitKind { Empty, Picture, KeyPicture, ParameterSet, RecoveryPoint, Other };

UnitKind kindOfH264(ByteView unit)
{
    const int nType = unit.pData[0] & 0x1F;
    if (unit.size < 2 || nType == 0) {
        return UnitKind::Empty;
    }
    switch (nType) {
    case 5:
        return UnitKind::KeyPicture;
    case 1:
    case 2:
        return UnitKind::Picture;
    case 7:
    case 8:
        return UnitKind::ParameterSet;
    case 6:
        return unit.pData[1] == 6 ? UnitKind::RecoveryPoint : UnitKind::Other;
    default:
        return UnitKind::Other;
    }
}

UnitKind kindOfH265(ByteView unit)
{
    const int nType = (unit.pData[0] >> 1) & 0x3F;
    // A start code inside a packet leaves a unit of two zero bytes, or of the header alone.
    if (unit.size < 3) {
        return UnitKind::Empty;
    }
    if (nType >= 16 && nType <= 21) {
        return UnitKind::KeyPicture;
    }
    if (nType < 32) {
        return UnitKind::Picture;
    }
    return nType <= 34 ? UnitKind::ParameterSet : UnitKind::Other;
}

/** Whether an RTP payload is a fragment of a unit, and not the last one. */
bool isUnfinishedH264(ByteView payload)
{
    constexpr int kFragment = 28;
    return payload.size > 1 && (payload.pData[0] & 0x1F) == kFragment && (payload.pData[1] & 0x40) == 0;
}

bool isUnfinishedH265(ByteView payload)
{
    constexpr int kFragment = 49;
    return payload.size > 2 && ((payload.pData[0] >> 1) & 0x3F) == kFragment && (payload.pData[2] & 0x40) == 0;
}

PictureFacts inspectUnits(UnitKind (*pKindOf)(ByteView), Bytes &bytes)
{
    PictureFacts facts;
    Bytes clean;
    clean.reserve(bytes.size() + 16);
    bool bRecoveryPoint = false;
    for (const ByteView unit : splitUnits(bytes)) {
        const UnitKind kind = pKindOf(unit);
        if (kind == UnitKind::Empty) {
            continue;
        }
        append(clean, unit);
        facts.bPicture = facts.bPicture || kind == UnitKind::Picture || kind == UnitKind::KeyPicture;
        facts.bKey = facts.bKey || kind == UnitKind::KeyPicture;
        bRecoveryPoint = bRecoveryPoint || kind == UnitKind::RecoveryPoint;
        if (kind == UnitKind::ParameterSet) {
            append(facts.parameterSets, unit);
        }
    }
    // Cameras with gradual refresh or open groups never send an IDR picture. For them a picture behind parameter sets
    // and a recovery point is the place to begin.
    facts.bKey = facts.bKey || (facts.bPicture && bRecoveryPoint && !facts.parameterSets.empty());
    bytes.swap(clean);
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

/** All that the library knows of one coding of pictures. Either kindOf or isKey is null. */
struct PictureCoding {
    AVCodecID codec;
    /** The coding is units between start codes, some of which are parameter sets: what each of them is. */
    UnitKind (*pKindOf)(ByteView unit);
    bool (*pIsKey)(const Bytes &picture);
    /** Whether an RTP payload cannot be a picture's last; null where its bytes do not tell. */
    bool (*pIsUnfinished)(ByteView payload);
};

constexpr PictureCoding kCodings[] = {
    {AV_CODEC_ID_H264, &kindOfH264, nullptr, &isUnfinishedH264},
    {AV_CODEC_ID_HEVC, &kindOfH265, nullptr, &isUnfinishedH265},
    {AV_CODEC_ID_MJPEG, nullptr, &isAnyPicture, nullptr},
    {AV_CODEC_ID_MPEG4, nullptr, &isKeyOfMpeg4, nullptr},
    {AV_CODEC_ID_MPEG2VIDEO, nullptr, &isKeyOfMpeg12, nullptr},
    {AV_CODEC_ID_MPEG1VIDEO, nullptr, &isKeyOfMpeg12, nullptr},
    {AV_CODEC_ID_VP8, nullptr, &isKeyOfVp8, nullptr},
    {AV_CODEC_ID_VP9, nullptr, &isKeyOfVp9, nullptr},
};
// Whatever else FFmpeg takes out of RTP packets: decoding may begin with any picture of it.
constexpr PictureCoding kOtherCoding = {AV_CODEC_ID_NONE, nullptr, &isAnyPicture, nullptr};

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
    return codingOf(codec).pKindOf != nullptr;
}

bool isUnfinishedPayload(AVCodecID codec, ByteView payload)
{
    const auto pIsUnfinished = codingOf(codec).pIsUnfinished;
    return pIsUnfinished != nullptr && pIsUnfinished(payload);
}

PictureFacts inspectPicture(AVCodecID codec, Bytes &bytes)
{
    const PictureCoding &coding = codingOf(codec);
    if (coding.pKindOf != nullptr) {
        return inspectUnits(coding.pKindOf, bytes);
    }
    PictureFacts facts;
    facts.bPicture = !bytes.empty();
    facts.bKey = coding.pIsKey(bytes);
    return facts;
}

bool probeSize(AVCodecParameters &parameters, ByteView picture)
{
    const AVCodec *pDecoder = avcodec_find_decoder(parameters.codec_id);
    if (pDecoder == nullptr) {
        return false;
    }
    const CodecPtr context(required(avcodec_alloc_context3(pDecoder)));
    if (avcodec_parameters_to_context(context.get(), &parameters) < 0) {
        return false;
    }
    context->thread_count = 1;
    if (avcodec_open2(context.get(), pDecoder, nullptr) < 0) {
        return false;
    }
    const PacketPtr packet = makePacket(picture);
    // The result does not matter: a damaged picture tells its size too.
    (void)avcodec_send_packet(context.get(), packet.get());
    const FramePtr frame(required(av_frame_alloc()));
    (void)avcodec_send_packet(context.get(), nullptr);
    (void)avcodec_receive_frame(context.get(), frame.get());
    const int nWidth = frame->width > 0 ? frame->width : context->width;
    const int nHeight = frame->height > 0 ? frame->height : context->height;
    if (nWidth <= 0 || nHeight <= 0) {
        return false;
    }
    parameters.width = nWidth;
    parameters.height = nHeight;
    return true;
}

} // namespace selvik
