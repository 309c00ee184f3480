// What a camera may call its media, from the description to the stream that is handed over: a coding that one of the
// places on the way does not know fails here.

#include "device/src/CodedPicture.h"
#include "device/src/LiveMuxer.h"
#include "device/src/RtpTrack.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace selvik
{
namespace
{

struct Format {
    const char *pName;
    const char *pMedia;  /**< the m line's first word */
    int nPayloadType;    /**< below 96: no rtpmap line is needed */
    const char *pRtpmap; /**< empty where there is none */
    const char *pParameters;
    AVCodecID codec;
    int nClockRate;
};

constexpr const char *kH264Parameters =
    "packetization-mode=1;sprop-parameter-sets=Z2QADKzZQUH7ARAAAAMAEAAAAwPA8UKZYA==,aOvjyyLA";
constexpr const char *kH265Parameters = "sprop-vps=QAEMAf//AWAAAAMAkAAAAwAAAwA8lZAJ;"
                                        "sprop-sps=QgEBAWAAAAMAkAAAAwAAAwA8oAoIDxZZWRKTC8BaAgAAAwACAAADADIQ;"
                                        "sprop-pps=RAHAc8CJ";
constexpr const char *kAacParameters = "mode=AAC-hbr;sizelength=13;indexlength=3;indexdeltalength=3;config=1408";

// A coding that the library is to take from cameras gets a line here, and one of pictures a row in CodedPicture.cpp.
const Format kFormats[] = {
    {"H264", "video", 96, "H264/90000", kH264Parameters, AV_CODEC_ID_H264, 90000},
    {"H265", "video", 96, "H265/90000", kH265Parameters, AV_CODEC_ID_HEVC, 90000},
    {"Jpeg", "video", 26, "", "", AV_CODEC_ID_MJPEG, 90000},
    {"JpegNamed", "video", 96, "JPEG/90000", "", AV_CODEC_ID_MJPEG, 90000},
    {"Mpeg4", "video", 96, "MP4V-ES/90000", "", AV_CODEC_ID_MPEG4, 90000},
    {"Mpeg2", "video", 32, "", "", AV_CODEC_ID_MPEG2VIDEO, 90000},
    {"Vp8", "video", 96, "VP8/90000", "", AV_CODEC_ID_VP8, 90000},
    {"Vp9", "video", 96, "VP9/90000", "", AV_CODEC_ID_VP9, 90000},
    {"MuLaw", "audio", 0, "", "", AV_CODEC_ID_PCM_MULAW, 8000},
    {"MuLawNamed", "audio", 97, "PCMU/16000", "", AV_CODEC_ID_PCM_MULAW, 16000},
    {"ALaw", "audio", 8, "", "", AV_CODEC_ID_PCM_ALAW, 8000},
    {"G722", "audio", 9, "", "", AV_CODEC_ID_ADPCM_G722, 8000},
    {"G726", "audio", 97, "G726-32/8000", "", AV_CODEC_ID_ADPCM_G726, 8000},
    {"G726Slow", "audio", 97, "G726-16/8000", "", AV_CODEC_ID_ADPCM_G726, 8000},
    {"G726Former", "audio", 2, "", "", AV_CODEC_ID_ADPCM_G726, 8000},
    {"G726OfAal2", "audio", 97, "AAL2-G726-40/8000", "", AV_CODEC_ID_ADPCM_G726, 8000},
    {"Linear", "audio", 97, "L16/16000/1", "", AV_CODEC_ID_PCM_S16BE, 16000},
    {"LinearStatic", "audio", 11, "", "", AV_CODEC_ID_PCM_S16BE, 44100},
    {"Aac", "audio", 97, "mpeg4-generic/16000/1", kAacParameters, AV_CODEC_ID_AAC, 16000},
    {"Opus", "audio", 97, "opus/48000/2", "", AV_CODEC_ID_OPUS, 48000},
};

void PrintTo(const Format &format, std::ostream *pStream)
{
    *pStream << format.pName;
}

SdpMedia parsed(const Format &format)
{
    const std::string type = std::to_string(format.nPayloadType);
    std::string text = std::string("m=") + format.pMedia + " 0 RTP/AVP " + type + "\r\n";
    if (*format.pRtpmap != '\0') {
        text += "a=rtpmap:" + type + " " + format.pRtpmap + "\r\n";
    }
    if (*format.pParameters != '\0') {
        text += "a=fmtp:" + type + " " + format.pParameters + "\r\n";
    }
    return Sdp::parse(text).media.at(0);
}

/** The coding that a reader finds in a stream. */
AVCodecID codecIn(Bytes stream)
{
    struct Reader {
        Bytes &bytes;
        static int read(void *pSelf, std::uint8_t *pBuffer, int size)
        {
            Bytes &bytes = static_cast<Reader *>(pSelf)->bytes;
            const std::size_t count = std::min(bytes.size(), static_cast<std::size_t>(size));
            std::copy_n(bytes.begin(), count, pBuffer);
            bytes.erase(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(count));
            return count == 0 ? AVERROR_EOF : static_cast<int>(count);
        }
    } reader{stream};
    const IoPtr io(avio_alloc_context(static_cast<unsigned char *>(required(av_malloc(4096))), 4096, 0, &reader,
                                      &Reader::read, nullptr, nullptr));
    AVFormatContext *pFormat = required(avformat_alloc_context());
    pFormat->pb = io.get();
    if (avformat_open_input(&pFormat, "", av_find_input_format("matroska"), nullptr) < 0) {
        return AV_CODEC_ID_NONE;
    }
    const FormatPtr format(pFormat);
    return format->nb_streams == 1 ? format->streams[0]->codecpar->codec_id : AV_CODEC_ID_NONE;
}

class CameraFormat : public testing::TestWithParam<Format>
{
};

TEST_P(CameraFormat, IsUnderstoodFromTheDescriptionToTheStream)
{
    const Format &format = GetParam();
    const SdpMedia media = parsed(format);
    EXPECT_EQ(media.nClockRate, format.nClockRate);
    const RtpTrack track(media);
    ASSERT_EQ(track.parameters().codec_id, format.codec) << avcodec_get_name(track.parameters().codec_id);

    std::vector<ParametersPtr> tracks;
    tracks.emplace_back(required(avcodec_parameters_alloc()));
    ASSERT_GE(avcodec_parameters_copy(tracks.front().get(), &track.parameters()), 0);
    if (tracks.front()->codec_type == AVMEDIA_TYPE_VIDEO) {
        // What LiveStream learns from the first picture.
        tracks.front()->width = 320;
        tracks.front()->height = 240;
        const std::vector<AVCodecID> known = knownPictureCodings();
        EXPECT_NE(std::find(known.begin(), known.end(), format.codec), known.end());
    }
    LiveMuxer muxer(tracks, 0);
    Bytes stream = muxer.header();
    // A unit of H.264 or H.265; else the beginning of a key picture of VP9, the one coding besides that the muxer
    // reads.
    const Bytes bytes = hasParameterSets(format.codec) ? Bytes{0, 0, 0, 1, 0x65, 1, 2, 3}
                                                       : Bytes{0x82, 0x49, 0x83, 0x42, 0, 0x13, 0xF0, 0x0E, 0xF6};
    MediaUnit unit;
    unit.packet = makePacket({bytes.data(), bytes.size()});
    unit.packet->pts = 0;
    unit.packet->flags = AV_PKT_FLAG_KEY;
    const Bytes record = muxer.write(unit);
    stream.insert(stream.end(), record.begin(), record.end());
    EXPECT_EQ(codecIn(stream), format.codec);
}

INSTANTIATE_TEST_SUITE_P(Formats, CameraFormat, testing::ValuesIn(kFormats),
                         [](const testing::TestParamInfo<Format> &format) { return std::string(format.param.pName); });

TEST(Codings, OfPicturesAreEachMetInAFormatOfCameras)
{
    for (const AVCodecID codec : knownPictureCodings()) {
        // Comes from files only: RTP does not tell it from MPEG-2.
        const bool bFilesOnly = codec == AV_CODEC_ID_MPEG1VIDEO;
        const bool bTested = std::any_of(std::begin(kFormats), std::end(kFormats),
                                         [codec](const Format &format) { return format.codec == codec; });
        EXPECT_TRUE(bTested || bFilesOnly) << avcodec_get_name(codec);
    }
}

} // namespace
} // namespace selvik
