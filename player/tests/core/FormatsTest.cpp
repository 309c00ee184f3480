// What FFmpeg is built with, what the player takes and what there are clips of have to be the same. A codec or a
// container that was added in one place only fails here.
#include "player/src/core/Container.h"
#include "player/tests/support/Clips.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <set>
#include <sstream>

namespace
{

using Names = std::set<std::string>;
/** Names with the reason why they are left out. */
using Exceptions = std::map<std::string, std::string>;

const Exceptions kNotPlayed{
    {"rtsp", "the device library's"},
    {"rtp", "the device library's"},
    {"sdp", "the device library's"},
    {"asf", "FFmpeg's RTSP asks for it"},
    {"rm", "FFmpeg's RTSP asks for it"},
    {"wav", "sound alone"},
    {"aac", "sound alone"},
    {"mp3", "sound alone"},
    {"g722", "sound alone"},
    {"g726", "sound alone"},
    {"g726le", "sound alone"},
};

const Exceptions kContainersWithoutClip{
    {"m4v", "as raw.h264; no coder of the tests writes it"},
    {"mjpeg", "joined pictures of AVI clips, in the tests of FileDecoder"},
    {"mpjpeg", "what cameras send by HTTP"},
    {"mpegvideo", "as raw.h264"},
    {"ivf", "a test format of VP8 and VP9"},
    {"obu", "a test format of AV1"},
};

const Exceptions kCodecsWithoutClip{
    {"h263", "cameras of the nineties"},
    {"flv1", "what FLV held before H.264"},
    {"msmpeg4v1", "no coder of the tests writes it"},
};

/** The manifest names containers by their extension. */
std::string containerOf(const std::string &extension)
{
    static const std::map<std::string, std::string> names{{"mkv", "matroska"}, {"webm", "matroska"}, {"mp4", "mov"},
                                                          {"ts", "mpegts"},    {"mpg", "mpeg"},      {"h265", "hevc"}};
    const auto name = names.find(extension);
    return name == names.end() ? extension : name->second;
}

Names listed(const std::string &text)
{
    Names names;
    std::istringstream stream(text);
    for (std::string name; std::getline(stream, name, ',');) {
        names.insert(name);
    }
    return names;
}

Names containersOfClips()
{
    Names names;
    for (const auto &clip : player::test::numberedClips()) {
        names.insert(containerOf(clip.container));
    }
    return names;
}

Names codecsOfClips()
{
    Names names;
    for (const auto &clip : player::test::numberedClips()) {
        names.insert(clip.codec);
    }
    return names;
}

TEST(Formats, EveryContainerThatFfmpegReadsIsPlayedOrLeftOutForAReason)
{
    void *pPlace = nullptr;
    while (const AVInputFormat *pInput = av_demuxer_iterate(&pPlace)) {
        EXPECT_NE(player::isAmong(*pInput, player::kContainers), kNotPlayed.count(pInput->name) > 0) << pInput->name;
    }
}

TEST(Formats, FfmpegReadsEveryContainerThatIsPlayedAndThereIsAClipOfItOrAReason)
{
    const Names clips = containersOfClips();
    for (const std::string &name : listed(player::kContainers)) {
        EXPECT_TRUE(av_find_input_format(name.c_str())) << name;
        EXPECT_NE(clips.count(name) > 0, kContainersWithoutClip.count(name) > 0) << name;
    }
}

TEST(Formats, OfEveryCodecThatFfmpegDecodesThereIsAClipOrAReason)
{
    const Names clips = codecsOfClips();
    void *pPlace = nullptr;
    while (const AVCodec *pCodec = av_codec_iterate(&pPlace)) {
        if (pCodec->type == AVMEDIA_TYPE_VIDEO && av_codec_is_decoder(pCodec)) {
            const std::string name = avcodec_get_name(pCodec->id);
            EXPECT_NE(clips.count(name) > 0, kCodecsWithoutClip.count(name) > 0) << name;
        }
    }
}

TEST(Formats, FfmpegDecodesTheCodecOfEveryClip)
{
    for (const std::string &name : codecsOfClips()) {
        const AVCodecDescriptor *pDescriptor = avcodec_descriptor_get_by_name(name.c_str());
        EXPECT_TRUE(pDescriptor && avcodec_find_decoder(pDescriptor->id)) << name;
    }
}

int readNothing(void *, std::uint8_t *, int)
{
    return AVERROR_EOF;
}

TEST(AContainerContext, BecomesNothingButWhatItMayBeAndOpensNothing)
{
    const auto interrupted = [](void *) { return 1; };
    for (const char *name : {"sdp", "rtsp", "avi", "mjpeg", "wav"}) {
        const AVInputFormat *pInput = av_find_input_format(name);
        ASSERT_TRUE(pInput) << name;
        const player::IoPtr pIo = ffmpeg::makeIo(4096, nullptr, readNothing, nullptr, nullptr);
        AVFormatContext *pFormat = player::makeFormat(*pIo, player::kPushedContainers, {interrupted, nullptr});
        AVIOContext *pOther = nullptr;
        EXPECT_EQ(pFormat->io_open(pFormat, &pOther, "file:other", AVIO_FLAG_READ, nullptr), AVERROR(EACCES));
        EXPECT_STREQ(pFormat->protocol_whitelist, "");
        EXPECT_EQ(pFormat->interrupt_callback.callback(pFormat->interrupt_callback.opaque), 1);
        EXPECT_EQ(avformat_open_input(&pFormat, "", pInput, nullptr), AVERROR(EINVAL)) << name;
    }
}

} // namespace
