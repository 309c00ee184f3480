#include "player/src/live/LiveDecoder.h"

#include "player/src/core/Codec.h"
#include "player/src/core/DecoderThreads.h"
#include "player/src/core/HardwareDecoding.h"

#include <algorithm>
#include <utility>

namespace player
{

namespace
{

constexpr std::int64_t kUsualDuration = 40000;
constexpr std::int64_t kLeastDuration = 1000;
/** Packets after a key picture within which it comes out, whatever the order of the stream. */
constexpr std::uint64_t kMostReordered = 17;
/** Waited so long for a key picture, a stream has none, and the decoder has to find a way in by itself. */
constexpr std::chrono::seconds kKeyPatience{10};
/** … but for so long only, where a picture is made of nothing but itself. */
constexpr std::chrono::seconds kIntraPatience{1};
/** Key pictures that fail one after the other are not damaged: the decoder is stricter than the stream. */
constexpr int kMostKeysFailed = 3;

int decoderThreads(const AVCodecParameters &parameters)
{
    // FFmpeg hides damage in H.264 where the slices of a picture are shared out.
    return parameters.codec_id == AV_CODEC_ID_H264
               ? 1
               : DecoderThreads::forPictures(parameters.width, parameters.height).playing;
}

} // namespace

int LiveDecoder::allocate(AVCodecContext *pCodec, AVFrame *pFrame, int flags)
{
    ++static_cast<LiveDecoder *>(pCodec->opaque)->m_nAllocated;
    return allocatePicture(pCodec, pFrame, flags);
}

void LiveDecoder::open(const AVStream &stream)
{
    m_codec = stream.codecpar->codec_id;
    m_pCodec = openDecoder(stream, [&](AVCodecContext &codec) {
        codec.thread_count = decoderThreads(*stream.codecpar);
        codec.thread_type = FF_THREAD_SLICE;
        codec.flags |= AV_CODEC_FLAG_COPY_OPAQUE;
        if (m_codec == AV_CODEC_ID_AV1) {
            // The MPEG decoders would take it for a promise that no picture is sent out of its order.
            codec.flags |= AV_CODEC_FLAG_LOW_DELAY;
        }
        if (m_codec == AV_CODEC_ID_HEVC || m_codec == AV_CODEC_ID_MPEG1VIDEO || m_codec == AV_CODEC_ID_MPEG2VIDEO) {
            // Otherwise FFmpeg's decoder of H.265 leaves out slices that it cannot read, and says nothing. Those of
            // MPEG say so when the picture is shown, which is after pictures that are made of it.
            codec.err_recognition = AV_EF_EXPLODE;
        }
        // Film grain would be put on in a second picture, which would count as one that the decoder made up.
        codec.export_side_data |= AV_CODEC_EXPORT_DATA_FILM_GRAIN;
        codec.opaque = this;
        codec.get_buffer2 = allocate;
    });
    m_nKeysFailed = 0;
    waitForKey();
}

void LiveDecoder::waitForKey()
{
    if (m_pCodec) {
        flushDecoder(*m_pCodec);
    }
    if (m_state != State::Waiting || !m_waitingSince) {
        m_waitingSince = m_clock.now();
    }
    m_state = State::Waiting;
}

void LiveDecoder::leaveOutUnneeded(bool leaveOut)
{
    if (m_pCodec) {
        m_pCodec->skip_frame = leaveOut ? AVDISCARD_NONREF : AVDISCARD_DEFAULT;
    }
}

void LiveDecoder::feed(const LivePacket &packet, const AVStream &stream, bool withoutTimes)
{
    m_pStream = &stream;
    m_bWithoutTimes = withoutTimes;
    if (!m_pCodec || m_codec != stream.codecpar->codec_id) {
        open(stream);
    }
    const AVPacket &coded = *packet.pPacket;
    const bool bCorrupt = (coded.flags & AV_PKT_FLAG_CORRUPT) != 0;
    if (packet.afterGap || bCorrupt) {
        waitForKey();
    }
    if (bCorrupt) {
        return;
    }
    const CodedUnits units = CodedUnits::of(coded, *stream.codecpar);
    ++m_nNumber;
    if (m_state == State::Waiting && units.picture && !enters(packet, units)) {
        return;
    }
    if (isLeading(coded)) {
        m_bLeftOut = true;
        return;
    }
    m_companions[m_nNumber % m_companions.size()] = {m_nNumber, packet.utc};
    decode(coded, units);
}

bool LiveDecoder::enters(const LivePacket &packet, const CodedUnits &units)
{
    const bool bKey = packet.isKey();
    const auto waited = m_clock.now() - *m_waitingSince;
    const bool bIntra = units.intra && waited >= kIntraPatience;
    const bool bAnything = waited >= kKeyPatience && m_codec == AV_CODEC_ID_H264;
    if (!bKey && !units.recoversAfter && !bIntra && !bAnything) {
        return false;
    }
    m_bIntraEntry = !bKey && !units.recoversAfter && bIntra;
    // FFmpeg's decoder of H.264 keeps back what it has no promise for that it is whole.
    m_pCodec->flags = m_bIntraEntry ? m_pCodec->flags | AV_CODEC_FLAG_OUTPUT_CORRUPT
                                    : m_pCodec->flags & ~AV_CODEC_FLAG_OUTPUT_CORRUPT;
    m_state = State::Entering;
    m_nKeyNumber = m_nNumber;
    m_nKeyTick = packet.pPacket->pts;
    m_bRefresh = !bKey && !m_bIntraEntry;
    m_nRecoversAfter = bKey ? 0 : std::max(units.recoversAfter.value_or(0), 0);
    m_bMayLead = true;
    m_bLeftOut = false;
    m_bListsOld = !bKey && m_codec == AV_CODEC_ID_HEVC;
    return true;
}

bool LiveDecoder::isLeading(const AVPacket &packet)
{
    // Sent after the key picture, shown before it, and made of pictures before it that are not there.
    if (!m_bMayLead || m_nNumber == m_nKeyNumber || m_bWithoutTimes || m_nKeyTick == AV_NOPTS_VALUE) {
        return false;
    }
    m_bMayLead = m_nNumber - m_nKeyNumber < kMostReordered && (packet.pts == AV_NOPTS_VALUE || packet.pts < m_nKeyTick);
    return m_bMayLead && packet.pts != AV_NOPTS_VALUE;
}

void LiveDecoder::decode(const AVPacket &packet, const CodedUnits &units)
{
    m_nAllocated = 0;
    const PacketPtr pPacket(av_packet_clone(&packet));
    if (!pPacket) {
        throw OpenFailure{Error::Resources};
    }
    if (units.information) {
        // FFmpeg's decoder, as strict as it is set, would give the picture up for an error in them.
        if (av_packet_make_writable(pPacket.get()) < 0) {
            throw OpenFailure{Error::Resources};
        }
        CodedUnits::hideInformation(*pPacket, *m_pStream->codecpar);
    }
    pPacket->opaque = &m_companions[m_nNumber % m_companions.size()];
    const bool bSent = avcodec_send_packet(m_pCodec.get(), pPacket.get()) >= 0;
    const bool bTaken = takeFrames();
    // Pictures that the decoder makes up stand for those that are missing, and whatever refers to them is broken. The
    // other decoders ask for none, or for pictures that are never shown.
    const bool bCounts = m_codec == AV_CODEC_ID_H264 || m_codec == AV_CODEC_ID_HEVC;
    const bool bAnyMadeUp = bCounts && m_nAllocated > 1 && m_nNumber != m_nKeyNumber;
    const bool bMadeUp = bAnyMadeUp && !std::exchange(m_bLeftOut, false) && !m_bListsOld;
    m_bListsOld = m_bListsOld && (bAnyMadeUp || m_nNumber == m_nKeyNumber) && m_nNumber - m_nKeyNumber < kMostReordered;
    const bool bBroken = (units.picture && !bSent) || !bTaken || bMadeUp;
    if (m_nNumber == m_nKeyNumber) {
        m_nKeysFailed = bBroken ? m_nKeysFailed + 1 : 0;
        m_pCodec->err_recognition = m_nKeysFailed < kMostKeysFailed ? m_pCodec->err_recognition : 0;
        // One that says so may be damaged, and later ones may be smaller: where pictures were shown they are waited
        // for.
        if (m_nKeysFailed >= kMostKeysFailed && !m_bAnyTime && isTooLarge(packet, *m_pStream)) {
            throw OpenFailure{Error::Unsupported};
        }
    }
    if (bBroken && (m_state == State::Showing || (m_state == State::Entering && !m_bRefresh))) {
        if (!m_ready.empty() && m_ready.back().number >= m_nNumber) {
            m_ready.pop_back();
        }
        waitForKey();
    }
}

bool LiveDecoder::takeFrames()
{
    for (;;) {
        FramePtr pFrame = makeFrame();
        const int result = receivePicture(*m_pCodec, *pFrame);
        if (result < 0) {
            return result == AVERROR(EAGAIN) || result == AVERROR_EOF;
        }
        if (m_state == State::Waiting) {
            continue;
        }
        const auto *pCompanion = static_cast<const Companion *>(pFrame->opaque);
        const Companion companion = pCompanion ? *pCompanion : m_companions[m_nNumber % m_companions.size()];
        pFrame->opaque = nullptr;
        const bool bUnpromised = (pFrame->flags & AV_FRAME_FLAG_CORRUPT) != 0 && !m_bIntraEntry;
        if (bUnpromised || pFrame->decode_error_flags != 0) {
            if (m_state == State::Entering && m_bRefresh) {
                continue;
            }
            return false;
        }
        if (m_state == State::Entering && !isFit(*pFrame, companion.number)) {
            continue;
        }
        m_state = State::Showing;
        m_ready.push_back({companion.number, stamped(std::move(pFrame), companion.utc)});
    }
}

bool LiveDecoder::isFit(const AVFrame &frame, std::uint64_t number) const
{
    if (m_bRefresh) {
        return number >= m_nKeyNumber + static_cast<std::uint64_t>(m_nRecoversAfter);
    }
    if (number == m_nKeyNumber || m_nNumber - m_nKeyNumber >= kMostReordered) {
        return true;
    }
    const std::int64_t tick = frame.best_effort_timestamp;
    return !m_bWithoutTimes && m_nKeyTick != AV_NOPTS_VALUE && tick != AV_NOPTS_VALUE && tick >= m_nKeyTick;
}

Picture LiveDecoder::take()
{
    if (m_ready.empty()) {
        return {};
    }
    Picture picture = std::move(m_ready.front().picture);
    m_ready.pop_front();
    return picture;
}

Picture LiveDecoder::stamped(FramePtr pFrame, std::int64_t utc)
{
    Picture picture;
    picture.shape = shapeOf(*pFrame, m_pStream);
    picture.time = timeOf(*pFrame);
    if (pFrame->best_effort_timestamp != AV_NOPTS_VALUE && !m_bWithoutTimes) {
        picture.streamTime = microsecondsBetween(0, pFrame->best_effort_timestamp, m_pStream->time_base);
    }
    picture.duration = kUsualDuration;
    picture.utc = utc;
    picture.hold(std::move(pFrame));
    return picture;
}

std::optional<std::int64_t> LiveDecoder::timeAt(std::int64_t tick, AVRational tickLength) const
{
    if (!m_firstTick || m_bWithoutTimes || tick == AV_NOPTS_VALUE) {
        return std::nullopt;
    }
    return microsecondsBetween(0, tick, tickLength) - m_nFirstTime;
}

std::int64_t LiveDecoder::timeOf(const AVFrame &frame)
{
    const std::int64_t tick = frame.best_effort_timestamp;
    if (tick == AV_NOPTS_VALUE || m_bWithoutTimes) {
        m_nLatestTime += m_bAnyTime ? kUsualDuration : 0;
        m_bAnyTime = true;
        m_bMadeUpTime = true;
        return m_nLatestTime;
    }
    if (!m_firstTick) {
        m_firstTick = tick;
        m_nFirstTime = microsecondsBetween(0, tick, m_pStream->time_base);
    }
    m_bAnyTime = true;
    const std::int64_t told = microsecondsBetween(*m_firstTick, tick, m_pStream->time_base);
    if (tick == m_nLatestTick) {
        // The same time again, or for ever: the picture has its place behind the one before.
        m_nLatestTime += kUsualDuration;
    } else {
        const bool bAhead = tick > m_nLatestTick && m_bMadeUpTime && told <= m_nLatestTime;
        m_nLatestTime = bAhead ? m_nLatestTime + kLeastDuration : told;
    }
    m_bMadeUpTime = told != m_nLatestTime;
    m_nLatestTick = tick;
    return m_nLatestTime;
}

} // namespace player
