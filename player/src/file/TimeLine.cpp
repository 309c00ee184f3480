#include "player/src/file/TimeLine.h"

#include <algorithm>

extern "C" {
#include <libavutil/common.h>
}

namespace player
{

namespace
{

// What is less is disorder, as among pictures whose decoding and showing differ in order.
constexpr AVRational kMostBack{1, 1};
constexpr AVRational kMostForward{10, 1};

std::int64_t ticksIn(AVRational seconds, AVRational tick)
{
    return std::max<std::int64_t>(av_rescale(seconds.num, tick.den, std::int64_t{seconds.den} * tick.num), 1);
}

} // namespace

TimeLine::TimeLine(AVRational tick, const Traits &traits, std::int64_t nominal)
    : m_bGuessesDecoding(traits.guessesDecoding),
      m_nMostBack(std::max(ticksIn(kMostBack, tick), 5 * std::clamp<std::int64_t>(nominal, 1, INT32_MAX))),
      m_mostForward(traits.mayLeap ? std::optional(ticksIn(kMostForward, tick)) : std::nullopt),
      m_nNominal(std::max<std::int64_t>(nominal, 1))
{
}

void TimeLine::restart(std::int64_t shift)
{
    m_nShift = shift;
    m_nFormerShift = shift;
    m_latest.reset();
    m_shownUpTo.reset();
}

std::int64_t TimeLine::joining(const AVPacket &packet, std::int64_t stamp) const
{
    // The guess knows nothing of the seam, and is wrong there by as many pictures as may overtake each other.
    if (m_bGuessesDecoding && packet.pts != AV_NOPTS_VALUE && m_shownUpTo) {
        return av_sat_sub64(*m_shownUpTo, packet.pts);
    }
    const std::int64_t expected = av_sat_add64(*m_latest, m_nDuration > 0 ? m_nDuration : m_nNominal);
    return av_sat_add64(m_nShift, av_sat_sub64(expected, stamp));
}

std::int64_t TimeLine::place(const AVPacket &packet)
{
    // In the order of decoding it is these that rise; a few packets at the beginning may lack them.
    const bool bDecoding = packet.dts != AV_NOPTS_VALUE;
    const std::int64_t stamp = bDecoding ? packet.dts : packet.pts;
    if (stamp == AV_NOPTS_VALUE) {
        if (m_latest) {
            m_latest = av_sat_add64(*m_latest, m_nNominal);
        }
        return m_nShift;
    }
    if (m_latest && m_bDecoding == bDecoding) {
        const std::int64_t ahead = av_sat_sub64(stamp, *m_latest);
        if (ahead < -m_nMostBack || (m_mostForward && ahead > *m_mostForward)) {
            m_nFormerShift = m_nShift;
            m_nShift = joining(packet, stamp);
        }
    }
    m_latest = stamp;
    m_bDecoding = bDecoding;
    m_nDuration = std::min(packet.duration, m_nMostBack);
    if (packet.pts != AV_NOPTS_VALUE) {
        const std::int64_t lasts = m_nDuration > 0 ? m_nDuration : m_nNominal;
        const std::int64_t upTo = av_sat_add64(av_sat_add64(packet.pts, m_nShift), lasts);
        m_shownUpTo = std::max(m_shownUpTo.value_or(upTo), upTo);
    }
    return m_nShift;
}

} // namespace player
