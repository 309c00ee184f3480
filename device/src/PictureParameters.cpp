#include "device/src/PictureParameters.h"

#include "Selvikdcm.h"
#include "device/src/CodedPicture.h"
#include "device/src/Failure.h"
#include "device/src/MediaUnit.h"
#include "device/src/Notice.h"
#include "device/src/ParameterSets.h"
#include "device/src/Text.h"
#include "device/src/UnitScanner.h"
#include "ffmpeg/PictureBounds.h"

#include <cstring>

extern "C" {
#include <libavutil/base64.h>
}

namespace selvik
{

namespace
{

// Longer ones are no parameter sets.
constexpr std::size_t kMaxSet = 16 * 1024;

Bytes fromBase64(const std::string &text)
{
    if (text.size() > kMaxSet) {
        return {};
    }
    Bytes bytes(AV_BASE64_DECODE_SIZE(text.size()) + 1);
    const int size = av_base64_decode(bytes.data(), text.c_str(), static_cast<int>(bytes.size()));
    bytes.resize(static_cast<std::size_t>(std::max(0, size)));
    return bytes;
}

void setSize(AVCodecParameters &parameters, std::int64_t nWidth, std::int64_t nHeight)
{
    requireSizeAllowed(nWidth, nHeight);
    if (nWidth > 0 && nHeight > 0) {
        parameters.width = static_cast<int>(nWidth);
        parameters.height = static_cast<int>(nHeight);
    }
}

} // namespace

void requireSizeAllowed(std::int64_t nWidth, std::int64_t nHeight)
{
    if (ffmpeg::isTooLarge(nWidth, nHeight)) {
        notice("The camera's pictures have " + std::to_string(nWidth) + " x " + std::to_string(nHeight) +
               " pixels. That is more than can be shown.");
        throw Failure(SELVIK_ERROR_MEDIA);
    }
}

void setExtradata(AVCodecParameters &parameters, const Bytes &bytes)
{
    av_freep(&parameters.extradata);
    parameters.extradata_size = 0;
    parameters.extradata =
        static_cast<std::uint8_t *>(required(av_mallocz(bytes.size() + AV_INPUT_BUFFER_PADDING_SIZE)));
    std::memcpy(parameters.extradata, bytes.data(), bytes.size());
    parameters.extradata_size = static_cast<int>(bytes.size());
}

ParametersPtr describedPictures(AVCodecID codec, const SdpMedia &media, const std::vector<const char *> &names)
{
    ParametersPtr parameters(required(avcodec_parameters_alloc()));
    parameters->codec_type = AVMEDIA_TYPE_VIDEO;
    parameters->codec_id = codec;
    Bytes sets;
    for (const char *pName : names) {
        for (const std::string &text : split(media.parameter(pName), ',')) {
            const Bytes set = fromBase64(text);
            if (!set.empty()) {
                sets.insert(sets.end(), {0, 0, 0, 1});
                sets.insert(sets.end(), set.begin(), set.end());
            }
        }
    }
    const PictureFacts facts = inspectPicture(codec, sets);
    if (!facts.parameterSets.empty()) {
        setExtradata(*parameters, facts.parameterSets);
    }
    return parameters;
}

void readSize(AVCodecParameters &parameters, ByteView sets)
{
    visitUnits(sets, Leading::IsNothing, [&parameters](ByteView unit) {
        const bool bH264 = parameters.codec_id == AV_CODEC_ID_H264 && (unit.pData[0] & 0x1F) == 7;
        const bool bH265 = parameters.codec_id == AV_CODEC_ID_HEVC && ((unit.pData[0] >> 1) & 0x3F) == 33;
        if (bH264) {
            if (const std::optional<H264Sequence> sequence = readH264Sequence(unit)) {
                setSize(parameters, sequence->nWidth, sequence->nHeight);
            }
        } else if (bH265) {
            if (const std::optional<H265Sequence> sequence = readH265Sequence(unit)) {
                setSize(parameters, sequence->nWidth, sequence->nHeight);
            }
        }
    });
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
    context->max_pixels = ffmpeg::kMostPixels;
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
    setSize(parameters, nWidth, nHeight);
    return true;
}

} // namespace selvik
