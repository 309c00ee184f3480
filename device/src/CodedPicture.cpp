#include "device/src/CodedPicture.h"

#include "device/src/MediaUnit.h"

#include <array>

namespace selvik
{

namespace
{

constexpr std::array<std::uint8_t, 4> startCode = {0, 0, 0, 1};

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
    bytes.insert(bytes.end(), startCode.begin(), startCode.end());
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
    // A unit of two zero bytes or of the header alone is what a start code inside a packet leaves behind.
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

PictureFacts inspectUnits(AVCodecID codec, Bytes &bytes)
{
    PictureFacts facts;
    Bytes clean;
    clean.reserve(bytes.size() + 16);
    bool bRecoveryPoint = false;
    for (const ByteView unit : splitUnits(bytes)) {
        const UnitKind kind = codec == AV_CODEC_ID_H264 ? kindOfH264(unit) : kindOfH265(unit);
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
    // Cameras with gradual refresh or open groups never send an IDR picture: parameter sets and a recovery point
    // before a picture are as good a beginning as they offer.
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

} // namespace

PictureFacts inspectPicture(AVCodecID codec, Bytes &bytes)
{
    if (codec == AV_CODEC_ID_H264 || codec == AV_CODEC_ID_HEVC) {
        return inspectUnits(codec, bytes);
    }
    PictureFacts facts;
    facts.bPicture = !bytes.empty();
    switch (codec) {
    case AV_CODEC_ID_MPEG4:
        facts.bKey = behindStartCode(bytes, 0xB6, 0, [](std::uint8_t byte) { return byte >> 6 == 0; });
        break;
    case AV_CODEC_ID_MPEG2VIDEO:
    case AV_CODEC_ID_MPEG1VIDEO:
        facts.bKey = behindStartCode(bytes, 0x00, 1, [](std::uint8_t byte) { return ((byte >> 3) & 7) == 1; });
        break;
    case AV_CODEC_ID_VP8:
        facts.bKey = !bytes.empty() && (bytes[0] & 1) == 0;
        break;
    case AV_CODEC_ID_VP9:
        // The bit behind profile and show-existing says whether it is an inter picture (profiles 0 to 2).
        facts.bKey = !bytes.empty() && (bytes[0] & 0x0C) == 0;
        break;
    default:
        facts.bKey = facts.bPicture;
        break;
    }
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
    // Damage does not matter here: the size is known as soon as the header is read.
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
