#include "player/src/file/FileDecoder.h"

#include "player/src/core/Codec.h"
#include "player/src/core/HardwareDecoding.h"

#include <algorithm>
#include <utility>

namespace player
{

namespace
{

constexpr AVRational kMicroseconds{1, 1000000};
constexpr std::int64_t kSecond = 1000000;
constexpr std::int64_t kUsualDuration = 40000;
/** A target this near ahead is reached sooner by decoding on than by seeking. */
constexpr std::int64_t kNearAhead = kSecond / 2;
/** Packets tried for the first picture, so that a broken file does not have to be read to its end. */
constexpr int kFirstPicturePackets = 600;
/** Each try goes back further before the target, for containers that land behind it; then the very start. */
constexpr std::int64_t kBacks[] = {0, kSecond, 3 * kSecond, 10 * kSecond, 30 * kSecond, 120 * kSecond};

int decoderThreads(const AVCodecParameters &parameters)
{
    // Nine panes share the machine, and each thread of a decoder holds pictures: small pictures need no help.
    constexpr int kMost = 4;
    constexpr std::int64_t kSmall = 720 * 576;
    if (std::int64_t{parameters.width} * parameters.height <= kSmall) {
        return 1;
    }
    return processorThreads(kMost);
}

} // namespace

FileDecoder::FileDecoder(std::unique_ptr<ByteSource> pBytes) : m_demuxer(std::move(pBytes))
{
    m_demuxer.open();
    // Before anything is decoded: the look at the end opens the container anew.
    const auto endTick = m_demuxer.endTick();
    openDecoder();
    decodeFirst();
    learnFacts(endTick);
}

FileDecoder::~FileDecoder() = default;

void FileDecoder::openDecoder()
{
    const AVStream &stream = m_demuxer.pictureStream();
    m_pPacket = makePacket();
    m_pCodec = player::openDecoder(
        stream, [&](AVCodecContext &codec) { codec.thread_count = decoderThreads(*stream.codecpar); });
}

void FileDecoder::decodeFirst()
{
    // decode() reads on until there is a picture or the source ends; the bound is kept by counting what it feeds.
    for (int packets = 0; packets < kFirstPicturePackets && !m_pending; ++packets) {
        FramePtr pFrame = makeFrame();
        const int result = receivePicture(*m_pCodec, *pFrame);
        if (result >= 0) {
            m_pending = stamped(std::move(pFrame));
        } else if (result == AVERROR_EOF) {
            break;
        } else {
            feedDecoder();
        }
    }
    if (!m_pending) {
        throw OpenFailure{Error::Corrupt};
    }
}

void FileDecoder::learnFacts(std::optional<std::int64_t> endTick)
{
    m_facts.shape = m_pending.shape;
    m_facts.pictureDuration = m_pending.duration;
    m_facts.recordingTime = m_demuxer.recordingTime();
    const AVRational tick = m_demuxer.pictureStream().time_base;
    if (endTick && m_firstTick && *endTick > *m_firstTick) {
        m_facts.length = av_rescale_q(*endTick - *m_firstTick, tick, kMicroseconds);
    }
}

Picture FileDecoder::next()
{
    Picture picture = m_pending ? std::exchange(m_pending, Picture()) : decode();
    if (picture) {
        m_latest = picture;
    }
    return picture;
}

Picture FileDecoder::decode()
{
    for (;;) {
        FramePtr pFrame(av_frame_alloc());
        if (!pFrame) {
            return {};
        }
        const int result = receivePicture(*m_pCodec, *pFrame);
        if (result == AVERROR_EOF) {
            return {};
        }
        if (result < 0) {
            if (!feedDecoder()) {
                return {};
            }
            continue;
        }
        const std::int64_t tick = pFrame->best_effort_timestamp;
        if (m_keyTick && tick != AV_NOPTS_VALUE && tick < *m_keyTick) {
            continue;
        }
        if (m_bWaitForTime && tick == AV_NOPTS_VALUE) {
            continue;
        }
        m_bWaitForTime = false;
        return stamped(std::move(pFrame));
    }
}

bool FileDecoder::feedDecoder()
{
    if (m_bDrained) {
        return false;
    }
    for (;;) {
        if (!m_demuxer.read(*m_pPacket)) {
            m_bDrained = true;
            return avcodec_send_packet(m_pCodec.get(), nullptr) >= 0;
        }
        const bool bFeed = isToBeFed(*m_pPacket);
        if (bFeed) {
            // What cannot be decoded costs a picture; the next packet may be whole again.
            static_cast<void>(avcodec_send_packet(m_pCodec.get(), m_pPacket.get()));
        }
        av_packet_unref(m_pPacket.get());
        if (bFeed) {
            return true;
        }
    }
}

bool FileDecoder::isToBeFed(const AVPacket &packet)
{
    const bool bKey = (packet.flags & AV_PKT_FLAG_KEY) != 0;
    const std::int64_t tick = packet.pts != AV_NOPTS_VALUE ? packet.pts : packet.dts;
    if (bKey && tick != AV_NOPTS_VALUE) {
        if (m_latestKeyTick) {
            m_nKeyDistance = std::max(m_nKeyDistance, tick - *m_latestKeyTick);
        }
        m_latestKeyTick = tick;
    }
    if (!m_bWaitForKey) {
        return true;
    }
    if (!bKey || (m_keyNotBefore && tick != AV_NOPTS_VALUE && tick < *m_keyNotBefore)) {
        return false;
    }
    m_bWaitForKey = false;
    m_keyNotBefore.reset();
    if (packet.pts != AV_NOPTS_VALUE) {
        m_keyTick = packet.pts;
    }
    return true;
}

Picture FileDecoder::stamped(FramePtr pFrame)
{
    Picture picture;
    picture.shape = shapeOf(*pFrame, &m_demuxer.pictureStream());
    picture.time = timeOf(*pFrame);
    picture.duration = durationOf(*pFrame);
    picture.afterGap = std::exchange(m_bAfterGap, false);
    picture.hold(std::move(pFrame));
    return picture;
}

std::int64_t FileDecoder::nominalDuration() const
{
    const AVStream &stream = m_demuxer.pictureStream();
    // A raw stream's own rate is the demuxer's guess; its pictures may carry the true one.
    const AVRational own = m_pCodec->framerate;
    const AVRational rate = m_demuxer.isWithoutTimes() && own.num > 0 && own.den > 0 ? own : stream.avg_frame_rate;
    if (rate.num <= 0 || rate.den <= 0) {
        return kUsualDuration;
    }
    return std::clamp<std::int64_t>(av_rescale_q(1, av_inv_q(rate), kMicroseconds), 1000, 60 * kSecond);
}

std::int64_t FileDecoder::durationOf(const AVFrame &frame) const
{
    if (frame.duration > 0 && !m_demuxer.isWithoutTimes()) {
        return av_rescale_q(frame.duration, m_demuxer.pictureStream().time_base, kMicroseconds);
    }
    return nominalDuration();
}

std::int64_t FileDecoder::timeOf(const AVFrame &frame)
{
    const std::int64_t tick = frame.best_effort_timestamp;
    const bool bTold = tick != AV_NOPTS_VALUE && !m_demuxer.isWithoutTimes();
    if (bTold && !m_firstTick) {
        m_firstTick = tick;
    }
    const std::int64_t following = m_latestTime ? *m_latestTime + nominalDuration() : 0;
    std::int64_t time = following;
    if (bTold) {
        time = av_rescale_q(tick - *m_firstTick, m_demuxer.pictureStream().time_base, kMicroseconds) + m_nShift;
        if (m_latestTime && time < *m_latestTime - kSecond) {
            // The source's times start over, as where recordings were joined: they go on from here.
            m_nShift += following - time;
            time = following;
        } else if (m_latestTime && time <= *m_latestTime) {
            time = *m_latestTime + 1000;
        }
        time = std::max<std::int64_t>(time, 0);
    }
    m_latestTime = time;
    return time;
}

std::int64_t FileDecoder::tickOf(std::int64_t time) const
{
    return m_firstTick.value_or(0) + av_rescale_q(time, kMicroseconds, m_demuxer.pictureStream().time_base);
}

bool FileDecoder::canReachForward(std::int64_t time) const
{
    if (!m_latest || time < m_latest.time || m_bAfterGap || m_pending.afterGap) {
        return false;
    }
    return m_demuxer.isWithoutTimes() || time - m_latest.time <= kNearAhead;
}

Picture FileDecoder::seek(std::int64_t time, const Superseded &superseded)
{
    time = std::max<std::int64_t>(time, 0);
    leaveOutUnneeded(false);
    if (canReachForward(time)) {
        return decodeUpTo(time, m_latest, superseded);
    }
    if (!m_demuxer.isWithoutTimes()) {
        for (const std::int64_t back : kBacks) {
            if (back > time || superseded()) {
                break;
            }
            if (goBefore(time, back)) {
                Picture found = decodeUpTo(time, {}, superseded);
                if (found) {
                    return found;
                }
            }
        }
    }
    if (superseded() || !goToStart()) {
        return {};
    }
    Picture found = decodeUpTo(time, {}, superseded);
    return found || !m_pending ? found : next();
}

bool FileDecoder::goBefore(std::int64_t time, std::int64_t back)
{
    if (!m_demuxer.seek(tickOf(time - back))) {
        return false;
    }
    restartDecoder(true);
    // Only the first key packet is fed here: one behind the target tells that the container landed too late.
    return feedDecoder() && !m_bDrained && (!m_keyTick || *m_keyTick <= tickOf(time));
}

bool FileDecoder::goToStart()
{
    if (!m_demuxer.rewind()) {
        return false;
    }
    restartDecoder(false);
    return true;
}

void FileDecoder::restartDecoder(bool atKey)
{
    flushDecoder(*m_pCodec);
    m_pending = {};
    m_latest = {};
    m_latestTime.reset();
    m_latestKeyTick.reset();
    m_keyTick.reset();
    m_keyNotBefore.reset();
    m_nShift = 0;
    m_bWaitForKey = atKey;
    m_bWaitForTime = atKey;
    m_bDrained = false;
    m_bAfterGap = false;
}

Picture FileDecoder::decodeUpTo(std::int64_t time, Picture best, const Superseded &superseded)
{
    while (!superseded()) {
        Picture picture = m_pending ? std::exchange(m_pending, Picture()) : decode();
        if (!picture) {
            m_latest = best;
            return best;
        }
        if (picture.time > time) {
            // Nothing at or before the target: what was found lies behind it, and the next try begins further back.
            m_pending = picture;
            m_latest = best;
            return best;
        }
        best = std::move(picture);
        m_latest = best;
    }
    return {};
}

void FileDecoder::leaveOutUnneeded(bool leaveOut)
{
    m_pCodec->skip_frame = leaveOut ? AVDISCARD_NONREF : AVDISCARD_DEFAULT;
    m_bAfterGap = m_bAfterGap || leaveOut;
}

void FileDecoder::hurryTo(std::int64_t time)
{
    if (m_demuxer.isWithoutTimes() || !m_latestKeyTick || m_bWaitForKey || m_bDrained) {
        return;
    }
    const std::int64_t target = tickOf(time - m_nShift);
    const auto indexed = m_demuxer.keyBetween(*m_latestKeyTick, target);
    const bool bWorthIt = indexed ? *indexed : m_nKeyDistance > 0 && target - *m_latestKeyTick > 2 * m_nKeyDistance;
    if (!bWorthIt) {
        return;
    }
    flushDecoder(*m_pCodec);
    m_pending = {};
    m_keyTick.reset();
    m_bWaitForKey = true;
    m_keyNotBefore = target - std::max<std::int64_t>(m_nKeyDistance, 0);
    m_bAfterGap = true;
}

} // namespace player
