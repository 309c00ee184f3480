#include "player/src/file/FrameStamps.h"

#include "player/src/core/Codec.h"
#include "player/src/file/PictureTimes.h"

extern "C" {
#include <libavutil/common.h>
}

namespace player
{

void FrameStamps::begin(AVRational tick, bool withoutTimes, bool inOrder)
{
    m_tick = tick;
    m_bWithoutTimes = withoutTimes;
    m_bInOrder = inOrder;
}

void FrameStamps::enter(CodedPicture &coded)
{
    AVPacket &packet = *coded.pPacket;
    const std::uint64_t serial = ++m_nSerial;
    m_companions[serial % m_companions.size()] = {serial, coded.shift, coded.number,
                                                  (packet.flags & AV_PKT_FLAG_KEY) != 0, coded.utc};
    // FFmpeg hands it on to the frame, whatever order they come out in.
    packet.opaque = reinterpret_cast<void *>(static_cast<std::uintptr_t>(serial));
    m_nShift = coded.shift;
    m_latestNumber = coded.number;
    if (m_bInOrder && packet.dts != AV_NOPTS_VALUE) {
        m_waiting.push_back(av_sat_add64(packet.dts, coded.shift));
    }
}

void FrameStamps::restart()
{
    m_waiting.clear();
    m_latestTime.reset();
    m_latestNumber.reset();
    m_nShift = 0;
}

void FrameStamps::forgetOrder()
{
    m_waiting.clear();
}

FrameStamps::Companion FrameStamps::companionOf(const AVFrame &frame) const
{
    const auto serial = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(frame.opaque));
    const Companion &companion = m_companions[serial % m_companions.size()];
    if (companion.serial == serial && serial != 0) {
        return companion;
    }
    Companion unknown;
    unknown.shift = m_nShift;
    return unknown;
}

std::int64_t FrameStamps::stampOf(const AVFrame &frame, const Companion &companion, int delay)
{
    if (m_bInOrder && !m_waiting.empty()) {
        // Those in front of what the decoder can hold back belong to pictures that were left out.
        while (delay >= 0 && m_waiting.size() > static_cast<std::size_t>(delay) + 1) {
            m_waiting.pop_front();
        }
        const std::int64_t stamp = m_waiting.front();
        m_waiting.pop_front();
        return stamp;
    }
    if (m_bWithoutTimes || frame.pts == AV_NOPTS_VALUE) {
        return AV_NOPTS_VALUE;
    }
    return av_sat_add64(frame.pts, companion.shift);
}

std::int64_t FrameStamps::timeOf(std::int64_t stamp, std::int64_t usualDuration)
{
    std::optional<std::int64_t> fromFirst;
    if (stamp != AV_NOPTS_VALUE) {
        m_firstTick = m_firstTick.value_or(stamp);
        fromFirst = microsecondsBetween(*m_firstTick, stamp, m_tick);
    }
    m_latestTime = nextPictureTime(m_latestTime, fromFirst, usualDuration);
    return *m_latestTime;
}

} // namespace player
