#include "player/src/file/FileDemuxer.h"

#include "player/src/core/Codec.h"
#include "player/src/core/Container.h"
#include "player/src/core/DeviceTime.h"
#include "player/src/file/PictureTimes.h"
#include "player/src/metadata/AnalysisTrack.h"

#include <algorithm>
#include <vector>

extern "C" {
#include <libavutil/common.h>
}

namespace player
{

namespace
{

/** How far from the end a live recording is looked at for its last picture. */
constexpr std::int64_t kEndLookBytes = 4 * 1024 * 1024;

/** After 1970, when most clocks that were never set begin, and in a year of four digits. */
bool isDate(std::int64_t utc)
{
    constexpr std::int64_t kYear10000 = std::int64_t{253402300800} * 1000000;
    return utc > 0 && utc < kYear10000;
}

} // namespace

FileDemuxer::FileDemuxer(std::unique_ptr<ByteSource> pBytes) : m_container(std::move(pBytes)) {}

FileDemuxer::~FileDemuxer() = default;

void FileDemuxer::interrupt()
{
    m_container.interrupt();
}

void FileDemuxer::open()
{
    m_container.use(m_container.open());
    chooseStreams();
    discardUnused();
}

void FileDemuxer::chooseStreams()
{
    AVFormatContext &format = m_container.format();
    const int pictures = av_find_best_stream(&format, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    // The cover of a piece of music is a picture stream to FFmpeg, but nothing that plays.
    if (pictures < 0 || (format.streams[pictures]->disposition & AV_DISPOSITION_ATTACHED_PIC) != 0) {
        throw OpenFailure{Error::Unsupported};
    }
    m_pTold.reset(avformat_alloc_context());
    if (!m_pTold) {
        throw OpenFailure{Error::Resources};
    }
    tellOf(*format.streams[pictures]);
    const int sound = av_find_best_stream(&format, AVMEDIA_TYPE_AUDIO, -1, pictures, nullptr, 0);
    if (sound >= 0) {
        m_sound.number = m_places.size();
        tellOf(*format.streams[sound]);
    }
    for (unsigned i = 0; i < format.nb_streams && m_metadata.number == 0; ++i) {
        // Subtitles are not drawn.
        if (isAnalysisStream(*format.streams[i])) {
            m_metadata.number = m_places.size();
            tellOf(*format.streams[i]);
        }
    }
    m_bWithoutTimes = player::isWithoutTimes(*format.iformat);
    m_bTellsOrderOfDecoding = isNamed(*format.iformat, "avi");
    m_bByBytes = m_bWithoutTimes || isNamed(*format.iformat, "mpegts") || isNamed(*format.iformat, "mpeg");
    m_bLacksStamps = m_bWithoutTimes || m_bTellsOrderOfDecoding || isNamed(*format.iformat, "mpeg");
    m_bLearns = isNamed(*format.iformat, "matroska") || isNamed(*format.iformat, "flv");
    m_bGuessesDecoding = isNamed(*format.iformat, "matroska");
    // FFmpeg says so of the first two.
    m_bMayLeap = (format.iformat->flags & AVFMT_TS_DISCONT) != 0 || isNamed(*format.iformat, "flv");
}

void FileDemuxer::tellOf(const AVStream &stream)
{
    AVStream *pCopy = avformat_new_stream(m_pTold.get(), nullptr);
    if (!pCopy || avcodec_parameters_copy(pCopy->codecpar, stream.codecpar) < 0) {
        throw OpenFailure{Error::Resources};
    }
    pCopy->id = stream.id;
    pCopy->time_base = stream.time_base;
    pCopy->start_time = stream.start_time;
    pCopy->duration = stream.duration;
    pCopy->disposition = stream.disposition;
    pCopy->sample_aspect_ratio = stream.sample_aspect_ratio;
    pCopy->avg_frame_rate = stream.avg_frame_rate;
    pCopy->r_frame_rate = stream.r_frame_rate;
    m_places.push_back(stream.index);
}

const AVStream *FileDemuxer::sideStream(SideStream kind) const
{
    const std::size_t number = (kind == SideStream::Sound ? m_sound : m_metadata).number;
    return number == 0 ? nullptr : m_pTold->streams[number];
}

void FileDemuxer::use(SideStream kind, bool used)
{
    (kind == SideStream::Sound ? m_sound : m_metadata).used = used;
    discardUnused();
}

void FileDemuxer::discardUnused()
{
    AVFormatContext &format = m_container.format();
    for (unsigned i = 0; i < format.nb_streams; ++i) {
        format.streams[i]->discard = AVDISCARD_ALL;
    }
    stream().discard = AVDISCARD_DEFAULT;
    for (const Side &side : {m_sound, m_metadata}) {
        if (side.number != 0 && side.used) {
            format.streams[m_places[side.number]]->discard = AVDISCARD_DEFAULT;
        }
    }
}

AVStream &FileDemuxer::stream() const
{
    return *m_container.format().streams[m_places[0]];
}

FileDemuxer::Found FileDemuxer::read(AVPacket &packet)
{
    while (!m_bBroken && av_read_frame(&m_container.format(), &packet) >= 0) {
        if (packet.stream_index == m_places[0]) {
            return Found::Picture;
        }
        if (m_sound.used && packet.stream_index == m_places[m_sound.number]) {
            return Found::Sound;
        }
        if (m_metadata.used && packet.stream_index == m_places[m_metadata.number]) {
            return Found::Metadata;
        }
        av_packet_unref(&packet);
    }
    return Found::End;
}

bool FileDemuxer::readPicture(AVPacket &packet)
{
    Found found = read(packet);
    while (found == Found::Sound || found == Found::Metadata) {
        av_packet_unref(&packet);
        found = read(packet);
    }
    return found == Found::Picture;
}

bool FileDemuxer::seek(std::int64_t tick)
{
    return (!m_bBroken || reopen()) &&
           av_seek_frame(&m_container.format(), m_places[0], tick, AVSEEK_FLAG_BACKWARD) >= 0;
}

bool FileDemuxer::seek(const FileIndex::Key &key)
{
    if (m_bBroken && !reopen()) {
        return false;
    }
    AVFormatContext *pFormat = &m_container.format();
    if (m_bByBytes) {
        return av_seek_frame(pFormat, -1, key.bytePosition, AVSEEK_FLAG_BYTE) >= 0;
    }
    if (m_bLearns && key.entryPosition >= 0) {
        av_add_index_entry(&stream(), key.entryPosition, key.entryStamp, 0, 0, AVINDEX_KEYFRAME);
    }
    const std::int64_t stamp = key.pts != AV_NOPTS_VALUE ? key.pts : key.dts;
    return av_seek_frame(pFormat, m_places[0], stamp, AVSEEK_FLAG_BACKWARD) >= 0;
}

std::optional<FileIndex::Key> FileDemuxer::keyOf(const AVPacket &packet) const
{
    FileIndex::Key key;
    key.pts = packet.pts;
    key.dts = packet.dts;
    key.bytePosition = packet.pos;
    key.size = packet.size;
    const std::int64_t stamp = stampOfPacket(packet);
    if (m_bByBytes ? packet.pos < 0 : stamp == AV_NOPTS_VALUE) {
        return std::nullopt;
    }
    if (m_bLearns) {
        const AVIndexEntry *pEntry = avformat_index_get_entry_from_timestamp(&stream(), stamp, AVSEEK_FLAG_BACKWARD);
        if (pEntry && pEntry->timestamp <= stamp) {
            key.entryPosition = pEntry->pos;
            key.entryStamp = pEntry->timestamp;
        }
    }
    return key;
}

FileDemuxer::Match FileDemuxer::match(const AVPacket &packet, const FileIndex::Key &key) const
{
    const bool bKey = (packet.flags & AV_PKT_FLAG_KEY) != 0;
    if (m_bByBytes) {
        // Reading began where its first byte is, or a little ahead of it; what lies between may stick to it.
        const bool bSame = m_bWithoutTimes || packet.pts == AV_NOPTS_VALUE || packet.pts == key.pts;
        return !bKey ? Match::Before : bSame && packet.size >= key.size ? Match::Here : Match::Behind;
    }
    if (packet.pos >= 0 && key.bytePosition >= 0 && packet.pos != key.bytePosition) {
        // Where stamps start over, there are several with the same.
        return packet.pos < key.bytePosition ? Match::Before : Match::Behind;
    }
    if (bKey && packet.pts == key.pts && packet.dts == key.dts) {
        return Match::Here;
    }
    const bool bByPts = key.pts != AV_NOPTS_VALUE;
    const std::int64_t stamp = bByPts ? packet.pts : packet.dts;
    const std::int64_t wanted = bByPts ? key.pts : key.dts;
    if (stamp == AV_NOPTS_VALUE || !bKey || stamp < wanted) {
        return Match::Before;
    }
    // Only the pts can be relied on: a first dts after a seek may be unknown.
    return stamp == wanted ? Match::Here : Match::Behind;
}

TimeLine FileDemuxer::timeLine() const
{
    return {pictureStream().time_base, {m_bMayLeap, m_bGuessesDecoding}, nominalTicks()};
}

std::int64_t FileDemuxer::nominalTicks() const
{
    constexpr int kUsualPicturesPerSecond = 25;
    const AVRational rate = pictureStream().avg_frame_rate;
    const bool bTold = rate.num > 0 && rate.den > 0;
    const AVRational picture = bTold ? av_inv_q(rate) : AVRational{1, kUsualPicturesPerSecond};
    return std::clamp<std::int64_t>(av_rescale_q(1, picture, pictureStream().time_base), 1, INT32_MAX);
}

bool FileDemuxer::rewind()
{
    // An index that grew with reading deceives where stamps start over.
    if (m_bBroken || m_bLearns) {
        return reopen();
    }
    AVFormatContext *pFormat = &m_container.format();
    // Formats without an index find their first packet by its place, the others by a time before all times.
    const bool bByBytes = m_bWithoutTimes || m_bMayLeap;
    if (bByBytes && av_seek_frame(pFormat, -1, 0, AVSEEK_FLAG_BYTE) >= 0) {
        return true;
    }
    const std::int64_t start = stream().start_time == AV_NOPTS_VALUE ? 0 : stream().start_time;
    if (!bByBytes && avformat_seek_file(pFormat, m_places[0], INT64_MIN, start, start, 0) >= 0) {
        return true;
    }
    return reopen();
}

bool FileDemuxer::reopen()
{
    // What was open stays until there is something to take its place: others may be looking at its streams.
    m_bBroken = true;
    try {
        auto opened = m_container.open();
        if (!isSame(*opened.pFormat)) {
            return false;
        }
        m_container.use(std::move(opened));
    } catch (const OpenFailure &) {
        return false;
    }
    m_bBroken = false;
    discardUnused();
    return true;
}

bool FileDemuxer::isSame(const AVFormatContext &format) const
{
    // Somebody may have put another file in its place.
    for (std::size_t i = 0; i < m_places.size(); ++i) {
        const auto place = static_cast<unsigned>(m_places[i]);
        if (place >= format.nb_streams ||
            format.streams[place]->codecpar->codec_id != m_pTold->streams[i]->codecpar->codec_id) {
            return false;
        }
    }
    return true;
}

std::optional<bool> FileDemuxer::keyBetween(std::int64_t after, std::int64_t upTo) const
{
    const AVIndexEntry *pEntry = avformat_index_get_entry_from_timestamp(&stream(), upTo, AVSEEK_FLAG_BACKWARD);
    const int count = avformat_index_get_entries_count(&stream());
    // An index that grows with reading knows nothing of what lies ahead.
    if (!pEntry || count == 0 || avformat_index_get_entry(&stream(), count - 1)->timestamp <= after) {
        return std::nullopt;
    }
    return pEntry->timestamp > after;
}

std::optional<std::int64_t> FileDemuxer::headerEndTick() const
{
    const AVFormatContext &format = m_container.format();
    if (isWithoutTimes() || format.duration_estimation_method == AVFMT_DURATION_FROM_BITRATE) {
        return std::nullopt;
    }
    const AVRational tick = stream().time_base;
    // Matroska writes one length, counted from nought; FFmpeg's length of the stream is guessed from it.
    if (!isNamed(*format.iformat, "matroska") && stream().duration != AV_NOPTS_VALUE && stream().duration > 0) {
        const std::int64_t start = stream().start_time == AV_NOPTS_VALUE ? 0 : stream().start_time;
        return av_sat_add64(start, stream().duration);
    }
    if (format.duration == AV_NOPTS_VALUE || format.duration <= 0) {
        return std::nullopt;
    }
    const bool bFromNought = isNamed(*format.iformat, "matroska") || format.start_time == AV_NOPTS_VALUE;
    return av_rescale_q(av_sat_add64(bFromNought ? 0 : format.start_time, format.duration), AV_TIME_BASE_Q, tick);
}

std::optional<std::int64_t> FileDemuxer::endTick()
{
    const auto told = headerEndTick();
    return told || !isNamed(*m_container.format().iformat, "matroska") ? told : lookAtTheEnd();
}

std::optional<std::int64_t> FileDemuxer::lookAtTheEnd()
{
    const std::int64_t size = m_container.size();
    if (size <= 0) {
        return std::nullopt;
    }
    // The demuxer finds the next cluster by itself when reading goes on in the middle of one.
    if (avio_seek(&m_container.io(), std::max<std::int64_t>(size - kEndLookBytes, 0), SEEK_SET) < 0) {
        return std::nullopt;
    }
    avformat_flush(&m_container.format());
    std::optional<std::int64_t> end;
    const PacketPtr pPacket(av_packet_alloc());
    while (pPacket && readPicture(*pPacket)) {
        if (pPacket->pts != AV_NOPTS_VALUE) {
            const std::int64_t ends = av_sat_add64(pPacket->pts, std::max<std::int64_t>(pPacket->duration, 0));
            end = std::max(end.value_or(INT64_MIN), ends);
        }
        av_packet_unref(pPacket.get());
    }
    return reopen() ? end : std::nullopt;
}

std::optional<std::int64_t> FileDemuxer::recordingTime()
{
    // Matroska's date is that of its time 0; the others' is when recording began, whatever their stamps begin with.
    m_bTimeOfTickZero = isNamed(*m_container.format().iformat, "matroska");
    if (isNamed(*m_container.format().iformat, "mov") && m_container.size() > 0) {
        const auto time = m_container.startTime(static_cast<std::uint32_t>(pictureStream().id));
        if (time && isDate(*time)) {
            m_bTimeOfTickZero = true;
            return time;
        }
        // FFmpeg 7.1 does not read it.
        const auto reference = m_container.referenceTime();
        if (reference && isDate(*reference)) {
            return reference;
        }
    }
    for (const AVDictionary *pTags : {m_container.format().metadata, stream().metadata}) {
        const AVDictionaryEntry *pEntry = av_dict_get(pTags, "creation_time", nullptr, 0);
        std::int64_t time = 0;
        if (pEntry && av_parse_time(&time, pEntry->value, 0) >= 0 && isDate(time)) {
            return time;
        }
    }
    const std::int64_t start = m_container.format().start_time_realtime;
    return start != AV_NOPTS_VALUE && isDate(start) ? std::optional(start) : std::nullopt;
}

std::int64_t FileDemuxer::recordingTimeOf(const AVPacket &packet)
{
    if (const auto time = deviceTimeOf(packet)) {
        return isDate(*time) ? *time : 0;
    }
    return 0;
}

} // namespace player
