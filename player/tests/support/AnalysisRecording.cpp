#include "player/tests/support/AnalysisRecording.h"

#include "player/src/core/Ffmpeg.h"
#include "player/tests/support/Clips.h"

#include <algorithm>
#include <map>
#include <stdexcept>
#include <string_view>

namespace player::test
{

namespace
{

void check(int result, const char *what)
{
    if (result < 0) {
        throw std::runtime_error(what);
    }
}

PacketPtr textPacket(const std::string &text, int stream, std::int64_t time, std::int64_t duration)
{
    PacketPtr pPacket(av_packet_alloc());
    check(av_new_packet(pPacket.get(), static_cast<int>(text.size())), "text");
    std::copy(text.begin(), text.end(), pPacket->data);
    pPacket->stream_index = stream;
    pPacket->pts = time;
    pPacket->dts = time;
    pPacket->duration = duration;
    pPacket->flags = AV_PKT_FLAG_KEY;
    return pPacket;
}

AVStream *addText(AVFormatContext &format, const std::string &extra)
{
    AVStream *pStream = avformat_new_stream(&format, nullptr);
    pStream->codecpar->codec_type = AVMEDIA_TYPE_SUBTITLE;
    pStream->codecpar->codec_id = AV_CODEC_ID_MOV_TEXT;
    pStream->codecpar->extradata = static_cast<std::uint8_t *>(av_mallocz(extra.size() + AV_INPUT_BUFFER_PADDING_SIZE));
    pStream->codecpar->extradata_size = static_cast<int>(extra.size());
    std::copy(extra.begin(), extra.end(), pStream->codecpar->extradata);
    pStream->time_base = {1, 1000};
    return pStream;
}

/** FFmpeg writes no timed metadata of text: the last track of subtitles becomes that. */
void turnIntoMetadata(Bytes &bytes)
{
    const auto rename = [&bytes](std::string_view from, std::string_view to) {
        const auto at = std::find_end(bytes.begin(), bytes.end(), from.begin(), from.end());
        if (at == bytes.end()) {
            throw std::runtime_error("no such box");
        }
        std::copy(to.begin(), to.end(), at);
    };
    rename("sbtl", "meta");
    rename("tx3g", "mett");
}

} // namespace

std::string analysisDocument(int number)
{
    return "<tt:MetadataStream><tt:VideoAnalytics><tt:Frame><tt:Object><tt:Appearance><tt:Shape>"
           "<tt:BoundingBox left='-0.5' top='0.5' right='0.5' bottom='-0.5'/></tt:Shape><tt:Class><tt:Type>" +
           std::to_string(number) +
           "</tt:Type></tt:Class></tt:Appearance></tt:Object></tt:Frame></tt:VideoAnalytics></tt:MetadataStream>";
}

Bytes saved(const PushedStream &stream)
{
    Bytes bytes = stream.header;
    for (const Record &record : stream.records) {
        bytes.insert(bytes.end(), record.bytes.begin(), record.bytes.end());
    }
    return bytes;
}

Bytes savedWithAnalysis(const std::string &file, const DocumentOfPicture &document)
{
    LiveOptions options;
    options.metadata = true;
    options.document = document;
    return saved(liveMatroska(file, options));
}

Bytes mp4WithAnalysis(const std::string &file, const DocumentOfPicture &document)
{
    AVFormatContext *pRead = nullptr;
    check(avformat_open_input(&pRead, mediaPath(file).c_str(), nullptr, nullptr), "no such clip");
    const FormatPtr input(pRead);
    check(avformat_find_stream_info(pRead, nullptr), "clip");
    const AVStream &from = *pRead->streams[av_find_best_stream(pRead, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0)];

    AVFormatContext *pWrite = nullptr;
    check(avformat_alloc_output_context2(&pWrite, nullptr, "mp4", nullptr), "mp4");
    AVStream *pPictures = avformat_new_stream(pWrite, nullptr);
    check(avcodec_parameters_copy(pPictures->codecpar, from.codecpar), "parameters");
    pPictures->codecpar->codec_tag = 0;
    pPictures->time_base = from.time_base;
    addText(*pWrite, {});
    // No encoding, then the kind of text, each with a zero behind it.
    const AVStream *pText = addText(*pWrite, std::string("\0application/vnd.onvif.metadata\0", 32));
    check(avio_open_dyn_buf(&pWrite->pb), "memory");
    check(avformat_write_header(pWrite, nullptr), "header");

    std::map<std::int64_t, PacketPtr> pictures;
    std::vector<PacketPtr> packets;
    for (PacketPtr pPacket(av_packet_alloc()); av_read_frame(pRead, pPacket.get()) >= 0;
         pPacket.reset(av_packet_alloc())) {
        if (pPacket->stream_index == from.index) {
            // AVI counts pictures in the order of sending, which in it is that of showing.
            pPacket->pts = pPacket->pts == AV_NOPTS_VALUE ? pPacket->dts : pPacket->pts;
            pictures[pPacket->pts].reset(av_packet_clone(pPacket.get()));
            pPacket->stream_index = 0;
            av_packet_rescale_ts(pPacket.get(), from.time_base, pPictures->time_base);
            packets.push_back(std::move(pPacket));
        }
    }
    int number = 0;
    for (auto picture = pictures.begin(); picture != pictures.end(); ++number) {
        const std::string text = document(number);
        const std::int64_t begin = av_rescale_q(picture->first, from.time_base, pText->time_base);
        ++picture;
        // Without gaps, which FFmpeg's muxer fills by itself; a document that is left out goes on as an empty one.
        const std::int64_t end =
            picture == pictures.end() ? begin + 40 : av_rescale_q(picture->first, from.time_base, pText->time_base);
        packets.push_back(textPacket(std::string("\0\0", 2), 1, begin, end - begin));
        packets.push_back(textPacket(text.empty() ? "<tt:MetadataStream/>" : text, 2, begin, end - begin));
    }
    const auto momentOf = [&](const PacketPtr &pPacket) {
        return av_rescale_q(pPacket->dts, pWrite->streams[pPacket->stream_index]->time_base, AV_TIME_BASE_Q);
    };
    std::stable_sort(packets.begin(), packets.end(),
                     [&](const PacketPtr &left, const PacketPtr &right) { return momentOf(left) < momentOf(right); });
    for (const PacketPtr &pPacket : packets) {
        check(av_write_frame(pWrite, pPacket.get()), "packet");
    }
    check(av_write_trailer(pWrite), "trailer");
    std::uint8_t *pBytes = nullptr;
    const int size = avio_close_dyn_buf(std::exchange(pWrite->pb, nullptr), &pBytes);
    Bytes bytes(pBytes, pBytes + size);
    av_free(pBytes);
    avformat_free_context(pWrite);
    turnIntoMetadata(bytes);
    return bytes;
}

} // namespace player::test
