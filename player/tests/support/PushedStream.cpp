#include "player/tests/support/PushedStream.h"

#include "player/src/core/Ffmpeg.h"
#include "player/tests/support/Clips.h"

#include <algorithm>
#include <ctime>
#include <map>
#include <stdexcept>

extern "C" {
#include <libavutil/intreadwrite.h>
}

namespace player::test
{

namespace
{

constexpr int kBufferBytes = 64 * 1024;

void check(int result, const char *what)
{
    if (result < 0) {
        throw std::runtime_error(what);
    }
}

/** Reads a clip's packets, and numbers its pictures in the order of showing. */
class Clipper
{
public:
    Clipper(const std::string &file, bool sound)
    {
        AVFormatContext *pFormat = nullptr;
        check(avformat_open_input(&pFormat, mediaPath(file).c_str(), nullptr, nullptr), "no such clip");
        m_pFormat.reset(pFormat);
        check(avformat_find_stream_info(pFormat, nullptr), "clip");
        m_nVideo = av_find_best_stream(pFormat, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
        m_nSound = sound ? av_find_best_stream(pFormat, AVMEDIA_TYPE_AUDIO, -1, -1, nullptr, 0) : -1;
        for (PacketPtr pPacket(av_packet_alloc()); av_read_frame(pFormat, pPacket.get()) >= 0;
             pPacket.reset(av_packet_alloc())) {
            if (pPacket->stream_index == m_nVideo || pPacket->stream_index == m_nSound) {
                // AVI counts pictures in the order of sending; clips with another order of showing are not in it.
                pPacket->pts = pPacket->pts == AV_NOPTS_VALUE ? pPacket->dts : pPacket->pts;
                m_packets.push_back(std::move(pPacket));
            }
        }
        for (const PacketPtr &pPacket : m_packets) {
            if (pPacket->stream_index == m_nVideo) {
                m_numbers[pPacket->pts] = 0;
            }
        }
        int number = 0;
        for (auto &entry : m_numbers) {
            entry.second = number++;
        }
    }

    [[nodiscard]] const AVStream &stream(int index) const
    {
        return *m_pFormat->streams[index];
    }

    [[nodiscard]] int video() const
    {
        return m_nVideo;
    }

    [[nodiscard]] int sound() const
    {
        return m_nSound;
    }

    [[nodiscard]] const std::vector<PacketPtr> &packets() const
    {
        return m_packets;
    }

    [[nodiscard]] int numberOf(const AVPacket &packet) const
    {
        return packet.stream_index == m_nVideo ? m_numbers.at(packet.pts) : -1;
    }

private:
    FormatPtr m_pFormat;
    int m_nVideo = -1;
    int m_nSound = -1;
    std::vector<PacketPtr> m_packets;
    std::map<std::int64_t, int> m_numbers;
};

/** Writes a container into memory. */
class Writer
{
public:
    explicit Writer(const char *format)
    {
        auto *pBuffer = static_cast<std::uint8_t *>(av_malloc(kBufferBytes));
        m_pIo.reset(avio_alloc_context(pBuffer, kBufferBytes, 1, this, nullptr, &Writer::append, nullptr));
        m_pIo->seekable = 0;
        check(avformat_alloc_output_context2(&m_pFormat, nullptr, format, nullptr), format);
        m_pFormat->pb = m_pIo.get();
        m_pFormat->flags |= AVFMT_FLAG_CUSTOM_IO;
    }

    ~Writer()
    {
        avformat_free_context(m_pFormat);
    }

    Writer(const Writer &) = delete;
    Writer &operator=(const Writer &) = delete;

    AVStream *add(const AVCodecParameters &parameters, AVRational timeBase)
    {
        AVStream *pStream = avformat_new_stream(m_pFormat, nullptr);
        check(avcodec_parameters_copy(pStream->codecpar, &parameters), "parameters");
        pStream->codecpar->codec_tag = 0;
        pStream->time_base = timeBase;
        return pStream;
    }

    AVFormatContext &format()
    {
        return *m_pFormat;
    }

    Bytes header(const char *option, const char *value)
    {
        AVDictionary *pOptions = nullptr;
        av_dict_set(&pOptions, option, value, 0);
        const int result = avformat_write_header(m_pFormat, &pOptions);
        av_dict_free(&pOptions);
        check(result, "header");
        return take();
    }

    Bytes write(AVPacket &packet)
    {
        const int index = packet.stream_index;
        check(av_write_frame(m_pFormat, &packet), "packet");
        if (m_pFormat->streams[index]->codecpar->codec_type == AVMEDIA_TYPE_AUDIO) {
            // The muxer keeps a packet of sound back until the next one comes, which an empty one may be.
            const PacketPtr pEmpty(av_packet_clone(&packet));
            pEmpty->size = 0;
            check(av_write_frame(m_pFormat, pEmpty.get()), "empty packet");
        }
        check(av_write_frame(m_pFormat, nullptr), "flush");
        return take();
    }

private:
    static int append(void *pSelf, const std::uint8_t *pBytes, int size)
    {
        Bytes &bytes = static_cast<Writer *>(pSelf)->m_bytes;
        bytes.insert(bytes.end(), pBytes, pBytes + size);
        return size;
    }

    Bytes take()
    {
        avio_flush(m_pIo.get());
        return std::exchange(m_bytes, Bytes());
    }

    Bytes m_bytes;
    IoPtr m_pIo;
    AVFormatContext *m_pFormat = nullptr;
};

void stamp(AVPacket &packet, std::int64_t utc)
{
    std::uint8_t *pSide = av_packet_new_side_data(&packet, AV_PKT_DATA_MATROSKA_BLOCKADDITIONAL, 16);
    AV_WB64(pSide, 1U);
    AV_WB64(pSide + 8, static_cast<std::uint64_t>(utc));
}

constexpr std::int64_t kReordering = 5000;

CodedPicture codedPicture(const AVPacket &packet, int number, const AVCodecParameters &parameters)
{
    const bool bLengths = parameters.extradata_size > 0 && parameters.extradata[0] == 1;
    const bool bKey = (packet.flags & AV_PKT_FLAG_KEY) != 0;
    return {Bytes(packet.data, packet.data + packet.size), bKey, bLengths, number, packet.pts, packet.dts};
}

/** The packet with what the test wants to be otherwise. */
PacketPtr edited(const AVPacket &packet, int number, const AVCodecParameters &parameters, const LiveOptions &options)
{
    PacketPtr pPacket(av_packet_clone(&packet));
    if (number < 0 || !options.edit) {
        return pPacket;
    }
    CodedPicture picture = codedPicture(packet, number, parameters);
    options.edit(picture);
    PacketPtr pEdited(av_packet_alloc());
    check(av_new_packet(pEdited.get(), static_cast<int>(picture.bytes.size())), "packet");
    check(av_packet_copy_props(pEdited.get(), pPacket.get()), "packet");
    std::copy(picture.bytes.begin(), picture.bytes.end(), pEdited->data);
    pEdited->flags = picture.key ? pEdited->flags | AV_PKT_FLAG_KEY : pEdited->flags & ~AV_PKT_FLAG_KEY;
    pEdited->pts = picture.pts;
    pEdited->dts = picture.dts;
    return pEdited;
}

void appendNumber(Bytes &bytes, std::uint64_t number, int size)
{
    for (int i = size - 1; i >= 0; --i) {
        bytes.push_back(static_cast<std::uint8_t>(number >> (8 * i)));
    }
}

/** A clip by a muxer of FFmpeg's; each piece is one picture. */
PushedStream muxed(const std::string &file, const char *format, const char *option, const char *value,
                   const LiveOptions &options)
{
    const Clipper clip(file, false);
    Writer writer(format);
    const AVStream &from = clip.stream(clip.video());
    writer.add(*from.codecpar, {1, 90000});
    PushedStream stream;
    stream.header = writer.header(option, value);
    for (const PacketPtr &pRead : clip.packets()) {
        const PacketPtr pScaled(av_packet_clone(pRead.get()));
        av_packet_rescale_ts(pScaled.get(), from.time_base, writer.format().streams[0]->time_base);
        const int number = clip.numberOf(*pRead);
        const PacketPtr pPacket = edited(*pScaled, number, *from.codecpar, options);
        pPacket->stream_index = 0;
        const bool bKey = (pPacket->flags & AV_PKT_FLAG_KEY) != 0;
        stream.records.push_back({writer.write(*pPacket), number, bKey});
    }
    if (stream.header.empty()) {
        stream.header = stream.records.front().bytes;
        stream.records.erase(stream.records.begin());
    }
    return stream;
}

/** A clip by a container of the test's own, which writes one picture with its times in milliseconds. */
PushedStream written(const std::string &file, const LiveOptions &options, AVRational tick,
                     const std::function<Bytes(const CodedPicture &picture)> &write)
{
    const Clipper clip(file, false);
    const AVStream &from = clip.stream(clip.video());
    PushedStream stream;
    for (const PacketPtr &pRead : clip.packets()) {
        const PacketPtr pScaled(av_packet_clone(pRead.get()));
        av_packet_rescale_ts(pScaled.get(), from.time_base, tick);
        const int number = clip.numberOf(*pRead);
        const PacketPtr pPacket = edited(*pScaled, number, *from.codecpar, options);
        const CodedPicture picture = codedPicture(*pPacket, number, *from.codecpar);
        stream.records.push_back({write(picture), number, picture.key});
    }
    return stream;
}

/** A time of an MPEG-PS, 33 bits between marker bits. */
void appendTime(Bytes &bytes, unsigned prefix, std::int64_t time)
{
    const auto ticks = static_cast<std::uint64_t>(time);
    bytes.push_back(static_cast<std::uint8_t>(prefix << 4 | (ticks >> 29 & 0xE) | 1));
    appendNumber(bytes, (ticks >> 14 & 0xFFFE) | 1, 2);
    appendNumber(bytes, (ticks << 1 & 0xFFFE) | 1, 2);
}

/** ISO 13818-1: a pack header of program streams, with nothing but its clock. */
void appendPack(Bytes &bytes, std::int64_t time)
{
    const auto ticks = static_cast<std::uint64_t>(time);
    appendNumber(bytes, 0x1BA, 4);
    appendNumber(bytes,
                 std::uint64_t{1} << 46 | (ticks >> 30 & 7) << 43 | std::uint64_t{1} << 42 |
                     (ticks >> 15 & 0x7FFF) << 27 | 1 << 26 | (ticks & 0x7FFF) << 11 | 1 << 10 | 1,
                 6);
    appendNumber(bytes, 0x0189C3F8, 4);
}

Bytes programRecord(const CodedPicture &picture)
{
    constexpr std::size_t kMostPayload = 65000;
    constexpr std::int64_t kStart = 90000;
    Bytes bytes;
    appendPack(bytes, kStart + picture.dts - 9000);
    for (std::size_t at = 0; at < picture.bytes.size(); at += kMostPayload) {
        const std::size_t size = std::min(kMostPayload, picture.bytes.size() - at);
        const bool bTold = at == 0 && picture.pts != AV_NOPTS_VALUE;
        const std::size_t head = bTold ? 13 : 3;
        appendNumber(bytes, 0x1E0, 4);
        appendNumber(bytes, size + head, 2);
        appendNumber(bytes, bTold ? 0x80C00A : 0x800000, 3);
        if (bTold) {
            appendTime(bytes, 3, kStart + picture.pts);
            appendTime(bytes, 1, kStart + picture.dts);
        }
        const auto from = picture.bytes.begin() + static_cast<std::ptrdiff_t>(at);
        bytes.insert(bytes.end(), from, from + static_cast<std::ptrdiff_t>(size));
    }
    return bytes;
}

Bytes flashTag(unsigned type, std::int64_t time, const Bytes &body)
{
    Bytes bytes;
    appendNumber(bytes, type, 1);
    appendNumber(bytes, body.size(), 3);
    appendNumber(bytes, static_cast<std::uint64_t>(time) & 0xFFFFFF, 3);
    appendNumber(bytes, 0, 4);
    bytes.insert(bytes.end(), body.begin(), body.end());
    appendNumber(bytes, body.size() + 11, 4);
    return bytes;
}

Bytes flashPicture(unsigned first, unsigned kind, std::int64_t shift, const Bytes &coded)
{
    Bytes body;
    appendNumber(body, first, 1);
    appendNumber(body, kind, 1);
    appendNumber(body, static_cast<std::uint64_t>(shift) & 0xFFFFFF, 3);
    body.insert(body.end(), coded.begin(), coded.end());
    return body;
}

} // namespace

Error push(Port &port, const Bytes &bytes)
{
    return port.inputData(bytes.data(), bytes.size());
}

Error PushedStream::openOn(Port &port, WindowHandle window, std::size_t bufferSize) const
{
    const Error opened = port.openStream(header.data(), header.size(), bufferSize);
    return opened == Error::None ? port.play(window) : opened;
}

Error PushedStream::push(Port &port, std::size_t from, std::size_t to) const
{
    Error error = Error::None;
    for (std::size_t i = from; i < to && error == Error::None; ++i) {
        error = test::push(port, records[i].bytes);
    }
    return error;
}

PushedStream liveMatroska(const std::string &file, const LiveOptions &options)
{
    const Clipper clip(file, options.sound);
    Writer writer("matroska");
    writer.format().avoid_negative_ts = AVFMT_AVOID_NEG_TS_DISABLED;
    const AVRational milliseconds{1, 1000};
    if (options.pictures) {
        writer.add(*clip.stream(clip.video()).codecpar, milliseconds);
    }
    if (options.sound) {
        writer.add(*clip.stream(clip.sound()).codecpar, milliseconds);
    }
    const int metadata = options.metadata ? static_cast<int>(writer.format().nb_streams) : -1;
    if (options.metadata) {
        AVCodecParameters *pText = avcodec_parameters_alloc();
        pText->codec_type = AVMEDIA_TYPE_SUBTITLE;
        pText->codec_id = AV_CODEC_ID_TEXT;
        av_dict_set(&writer.add(*pText, milliseconds)->metadata, "title", "application/vnd.onvif.metadata", 0);
        avcodec_parameters_free(&pText);
    }
    if (options.date != 0) {
        const std::time_t seconds = static_cast<std::time_t>(options.date / 1000000);
        char text[32];
        std::strftime(text, sizeof text, "%Y-%m-%dT%H:%M:%SZ", std::gmtime(&seconds));
        av_dict_set(&writer.format().metadata, "creation_time", text, 0);
    }
    PushedStream stream;
    stream.header = writer.header("live", "1");
    std::int64_t sent = -kReordering;
    for (const PacketPtr &pRead : clip.packets()) {
        const int number = clip.numberOf(*pRead);
        if (number >= 0 && !options.pictures) {
            continue;
        }
        const PacketPtr pScaled(av_packet_clone(pRead.get()));
        pScaled->pts = av_rescale_q(pRead->pts, clip.stream(pRead->stream_index).time_base, milliseconds);
        const PacketPtr pPacket = edited(*pScaled, number, *clip.stream(pRead->stream_index).codecpar, options);
        if (number >= 0 && options.captured != 0) {
            stamp(*pPacket, options.captured + pPacket->pts * 1000);
        }
        pPacket->pts += number >= options.jumpAt && options.jumpAt >= 0 ? options.jump : 0;
        // Any times of sending that never fall and are never late will do; Matroska does not keep them.
        sent = std::max(sent, pPacket->pts - kReordering);
        pPacket->dts = std::min(sent, pPacket->pts);
        pPacket->stream_index = number >= 0 || !options.pictures ? 0 : 1;
        const std::string document = options.document ? options.document(number) : std::string(40, ' ');
        if (number >= 0 && options.metadata && !document.empty()) {
            const PacketPtr pText(av_packet_alloc());
            check(av_new_packet(pText.get(), static_cast<int>(document.size())), "metadata");
            std::copy(document.begin(), document.end(), pText->data);
            pText->stream_index = metadata;
            pText->pts = pPacket->pts;
            pText->dts = pPacket->dts;
            pText->duration = 1;
            stream.records.push_back({writer.write(*pText), -1, false});
        }
        const bool bKey = (pPacket->flags & AV_PKT_FLAG_KEY) != 0;
        const std::int64_t duration =
            av_rescale_q(pRead->duration, clip.stream(pRead->stream_index).time_base, milliseconds);
        const std::int64_t time = pPacket->pts;
        stream.records.push_back({writer.write(*pPacket), number, number >= 0 && bKey, time, duration});
    }
    return stream;
}

PushedStream cut(const Bytes &bytes, std::size_t size)
{
    PushedStream stream;
    for (std::size_t place = 0; place < bytes.size(); place += size) {
        const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(place);
        const auto end = begin + static_cast<std::ptrdiff_t>(std::min(size, bytes.size() - place));
        if (place == 0) {
            stream.header.assign(begin, end);
        } else {
            stream.records.push_back({Bytes(begin, end), -1, false});
        }
    }
    return stream;
}

PushedStream liveTransport(const std::string &file, const LiveOptions &options)
{
    return muxed(file, "mpegts", "flush_packets", "1", options);
}

PushedStream liveFragments(const std::string &file, const LiveOptions &options)
{
    return muxed(file, "mp4", "movflags", "frag_every_frame+empty_moov+default_base_moof", options);
}

PushedStream liveProgram(const std::string &file, const LiveOptions &options)
{
    PushedStream stream = written(file, options, {1, 90000}, programRecord);
    appendPack(stream.header, 0);
    return stream;
}

PushedStream liveRaw(const std::string &file, const LiveOptions &options)
{
    PushedStream stream = written(file, options, {1, 1000}, [](const CodedPicture &picture) { return picture.bytes; });
    stream.header = {0};
    return stream;
}

PushedStream liveFlash(const std::string &file, const LiveOptions &options)
{
    const Clipper clip(file, false);
    const AVCodecParameters &parameters = *clip.stream(clip.video()).codecpar;
    const Bytes configuration(parameters.extradata, parameters.extradata + parameters.extradata_size);
    PushedStream stream = written(file, options, {1, 1000}, [](const CodedPicture &picture) {
        // The order of showing takes earlier pictures first: no time of sending may be negative.
        const std::int64_t sent = picture.dts + 1000;
        return flashTag(9, sent, flashPicture(picture.key ? 0x17 : 0x27, 1, picture.pts - picture.dts, picture.bytes));
    });
    stream.header = {'F', 'L', 'V', 1, 1, 0, 0, 0, 9, 0, 0, 0, 0};
    const Bytes tag = flashTag(9, 0, flashPicture(0x17, 0, 0, configuration));
    stream.header.insert(stream.header.end(), tag.begin(), tag.end());
    return stream;
}

void appendUnit(CodedPicture &picture, const Bytes &unit)
{
    appendNumber(picture.bytes, picture.lengths ? unit.size() : 1, 4);
    picture.bytes.insert(picture.bytes.end(), unit.begin(), unit.end());
}

std::vector<Bytes> unitsOf(const CodedPicture &picture)
{
    std::vector<Bytes> units;
    const Bytes &bytes = picture.bytes;
    if (picture.lengths) {
        for (std::size_t at = 0; at + 4 <= bytes.size();) {
            std::size_t size = 0;
            for (std::size_t i = 0; i < 4; ++i) {
                size = size << 8 | bytes[at + i];
            }
            const auto begin = bytes.begin() + static_cast<std::ptrdiff_t>(at + 4);
            units.emplace_back(begin, begin + static_cast<std::ptrdiff_t>(size));
            at += 4 + size;
        }
        return units;
    }
    constexpr std::uint8_t kCode[] = {0, 0, 1};
    auto at = std::search(bytes.begin(), bytes.end(), std::begin(kCode), std::end(kCode));
    while (at != bytes.end()) {
        const auto next = std::search(at + 3, bytes.end(), std::begin(kCode), std::end(kCode));
        auto end = next;
        while (next != bytes.end() && *(end - 1) == 0) {
            --end;
        }
        units.emplace_back(at + 3, end);
        at = next;
    }
    return units;
}

Bytes filler(std::size_t size)
{
    Bytes unit(size, 0xFF);
    unit.front() = 12;
    unit.push_back(0x80);
    return unit;
}

} // namespace player::test
