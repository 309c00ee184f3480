#include "player/src/file/PictureDecoder.h"

#include "player/src/core/Codec.h"
#include "player/src/core/CodedUnits.h"
#include "player/src/file/PackedPictures.h"
#include "player/src/file/PictureTimes.h"

#include <algorithm>
#include <utility>

extern "C" {
#include <libavutil/common.h>
}

namespace player
{

namespace
{

constexpr AVRational kMicroseconds{1, 1000000};
constexpr std::int64_t kSecond = 1000000;
constexpr std::int64_t kUsualDuration = 40000;
/** No coder lets pictures overtake more than sixteen others. */
constexpr std::uint64_t kMostReordered = 32;
/** Packets tried for the first picture, so that a broken file does not have to be read to its end. */
constexpr int kFirstPicturePackets = 600;

} // namespace

PictureDecoder::~PictureDecoder() = default;

void PictureDecoder::open(const std::function<DecoderThreads(int, int)> &threads)
{
    const AVStream &stream = m_reader.pictureStream();
    m_stamps.begin(stream.time_base, m_reader.isWithoutTimes(), m_reader.tellsOrderOfDecoding());
    m_codec.open(stream, threads(stream.codecpar->width, stream.codecpar->height));
}

Picture PictureDecoder::decodeFirst()
{
    // decode() reads on until there is a picture or the source ends; the bound is kept by counting what it feeds.
    for (int packets = 0; packets < kFirstPicturePackets; ++packets) {
        FramePtr pFrame = makeFrame();
        const int result = m_codec.receive(*pFrame);
        if (result >= 0) {
            const Companion companion = m_stamps.companionOf(*pFrame);
            const std::int64_t stamp = stampOf(*pFrame, companion);
            m_nFirstNumber = companion.number.value_or(0);
            return stamped(std::move(pFrame), companion, stamp);
        }
        if (result == AVERROR_EOF) {
            break;
        }
        feed();
    }
    return {};
}

Picture PictureDecoder::decode()
{
    for (;;) {
        FramePtr pFrame(av_frame_alloc());
        if (!pFrame) {
            return {};
        }
        const int result = m_codec.receive(*pFrame);
        if (result == AVERROR_EOF && m_heldBack) {
            goOnInOther();
            continue;
        }
        if (result == AVERROR_EOF) {
            return {};
        }
        if (result < 0) {
            if (!feed()) {
                return {};
            }
            continue;
        }
        const Companion companion = m_stamps.companionOf(*pFrame);
        const std::int64_t stamp = stampOf(*pFrame, companion);
        if (!isUseless(companion, stamp)) {
            return stamped(std::move(pFrame), companion, stamp);
        }
    }
}

bool PictureDecoder::feed()
{
    if (m_bDrained) {
        return false;
    }
    if (m_heldBack) {
        return true;
    }
    CodedPicture coded;
    while (m_reader.read(coded)) {
        if (!isToBeFed(coded)) {
            continue;
        }
        if (m_codec.wantsChange() && mayChangeAt(coded)) {
            m_heldBack = std::move(coded);
            static_cast<void>(m_codec.send(nullptr));
            return true;
        }
        send(coded);
        return true;
    }
    m_bDrained = true;
    return m_codec.send(nullptr) >= 0;
}

bool PictureDecoder::mayChangeAt(const CodedPicture &coded) const
{
    // Only where nothing that is shown before it comes behind it, which the index alone can tell. Key pictures are also
    // those behind which older ones are referred to, and those of which a wave begins that renews the picture.
    const bool bKey = (coded.pPacket->flags & AV_PKT_FLAG_KEY) != 0 && !m_bPacked;
    const auto place = bKey ? placeOf(coded.number) : std::nullopt;
    if (!place || place->ordinal != *coded.number - m_nFirstNumber) {
        return false;
    }
    return CodedUnits::of(*coded.pPacket, *m_reader.pictureStream().codecpar).refresh;
}

void PictureDecoder::goOnInOther()
{
    m_codec.change();
    CodedPicture first = std::move(*m_heldBack);
    m_heldBack.reset();
    send(first);
}

std::optional<FileIndex::Place> PictureDecoder::placeOf(const std::optional<std::int64_t> &number) const
{
    return m_pIndex && number ? m_pIndex->placeOf(*number) : std::nullopt;
}

void PictureDecoder::send(CodedPicture &coded)
{
    const auto place = placeOf(coded.number);
    // FFmpeg 7.1 loses the picture after one that it leaves out where several are packed together.
    m_bPacked = m_bPacked || (m_reader.pictureStream().codecpar->codec_id == AV_CODEC_ID_MPEG4 &&
                              isNextPacked(*coded.pPacket, false));
    m_codec.leaveOutUnneeded(!m_bPacked && (m_bLeaveOut || (place && place->ordinal < m_nNeededFrom)));
    m_stamps.enter(coded);
    // What cannot be decoded costs a picture; the next packet may be whole again.
    static_cast<void>(m_codec.send(coded.pPacket.get()));
}

bool PictureDecoder::isToBeFed(const CodedPicture &coded)
{
    const AVPacket &packet = *coded.pPacket;
    const bool bKey = (packet.flags & AV_PKT_FLAG_KEY) != 0;
    const std::int64_t stamp = stampOfPacket(packet);
    const std::int64_t tick = stamp == AV_NOPTS_VALUE ? stamp : av_sat_add64(stamp, coded.shift);
    if (bKey && tick != AV_NOPTS_VALUE) {
        if (m_latestKeyTick) {
            m_nKeyDistance = std::max(m_nKeyDistance, av_sat_sub64(tick, *m_latestKeyTick));
        }
        m_latestKeyTick = tick;
    }
    if (!m_bWaitForKey) {
        return true;
    }
    if (!bKey || (m_keyNumber && coded.number && *coded.number < *m_keyNumber) ||
        (m_keyNotBefore && tick != AV_NOPTS_VALUE && tick < *m_keyNotBefore)) {
        return false;
    }
    m_bWaitForKey = false;
    m_keyNotBefore.reset();
    m_keyNumber.reset();
    m_keySerial = m_stamps.latestSerial() + 1;
    m_nKeyStamp = tick;
    m_stamps.forgetOrder();
    return true;
}

std::int64_t PictureDecoder::stampOf(const AVFrame &frame, const Companion &companion)
{
    return m_stamps.stampOf(frame, companion, m_bDrained || m_heldBack ? -1 : m_codec.delay());
}

bool PictureDecoder::isUseless(const Companion &companion, std::int64_t stamp)
{
    if (m_keySerial) {
        const bool bKeyLost = companion.serial > *m_keySerial + kMostReordered ||
                              (stamp != AV_NOPTS_VALUE && m_nKeyStamp != AV_NOPTS_VALUE && stamp > m_nKeyStamp);
        if (companion.serial != *m_keySerial && !bKeyLost) {
            return true;
        }
        m_keySerial.reset();
    }
    if (m_bWaitForTime && stamp == AV_NOPTS_VALUE && !placeOf(companion.number)) {
        return true;
    }
    m_bWaitForTime = false;
    return false;
}

Picture PictureDecoder::stamped(FramePtr pFrame, const Companion &companion, std::int64_t stamp)
{
    Picture picture;
    picture.shape = shapeOf(*pFrame, &m_reader.pictureStream());
    picture.time = m_stamps.timeOf(stamp, nominalDuration());
    picture.duration = durationOf(*pFrame);
    picture.stamp = pFrame->pts;
    picture.key = companion.key;
    picture.utc = companion.utc;
    const auto place = placeOf(companion.number);
    if (place) {
        picture.ordinal = place->ordinal;
        picture.time = place->time;
        m_stamps.correct(picture.time);
    }
    picture.afterGap = std::exchange(m_bAfterGap, false);
    picture.hold(std::move(pFrame));
    return picture;
}

std::int64_t PictureDecoder::nominalDuration() const
{
    const AVStream &stream = m_reader.pictureStream();
    // A raw stream's own rate is the demuxer's guess; its pictures may carry the true one.
    const AVRational own = m_codec.frameRate();
    const AVRational rate = m_reader.isWithoutTimes() && own.num > 0 && own.den > 0 ? own : stream.avg_frame_rate;
    if (rate.num <= 0 || rate.den <= 0) {
        return kUsualDuration;
    }
    return std::clamp<std::int64_t>(av_rescale_q(1, av_inv_q(rate), kMicroseconds), 1000, 60 * kSecond);
}

std::int64_t PictureDecoder::durationOf(const AVFrame &frame) const
{
    if (frame.duration > 0 && !m_reader.isWithoutTimes()) {
        return toldDuration(frame.duration, m_reader.pictureStream().time_base);
    }
    return nominalDuration();
}

void PictureDecoder::restart(bool atKey)
{
    m_codec.restart();
    m_heldBack.reset();
    m_latestKeyTick.reset();
    m_keySerial.reset();
    m_nKeyStamp = AV_NOPTS_VALUE;
    m_keyNotBefore.reset();
    m_keyNumber.reset();
    m_stamps.restart();
    m_bWaitForKey = atKey;
    m_bWaitForTime = atKey;
    m_bDrained = false;
    m_bAfterGap = false;
}

void PictureDecoder::leaveOutUnneeded(bool leaveOut)
{
    m_bLeaveOut = leaveOut;
    m_bAfterGap = m_bAfterGap || leaveOut;
}

bool PictureDecoder::hurryTo(std::int64_t time, std::int64_t tick)
{
    if ((m_reader.isWithoutTimes() && !m_pIndex) || !m_latestKeyTick || m_bWaitForKey || m_bDrained) {
        return false;
    }
    const std::int64_t shift = m_stamps.latestShift();
    const auto ordinal = m_pIndex ? m_pIndex->ordinalAt(time) : std::nullopt;
    const auto key = ordinal ? m_pIndex->keyFor(*ordinal) : std::nullopt;
    std::optional<bool> further;
    if (key && m_stamps.latestNumber()) {
        further = key->number > *m_stamps.latestNumber();
    } else {
        further = m_reader.keyBetween(av_sat_sub64(*m_latestKeyTick, shift), av_sat_sub64(tick, shift));
    }
    const bool bWorthIt =
        further ? *further : m_nKeyDistance > 0 && av_sat_sub64(tick, *m_latestKeyTick) / 2 > m_nKeyDistance;
    if (!bWorthIt) {
        return false;
    }
    m_codec.restart();
    m_heldBack.reset();
    m_keySerial.reset();
    m_bWaitForKey = true;
    if (key && m_stamps.latestNumber()) {
        m_keyNumber = key->number;
    } else {
        m_keyNotBefore = av_sat_sub64(tick, m_nKeyDistance);
    }
    m_bAfterGap = true;
    return true;
}

} // namespace player
