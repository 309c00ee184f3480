#include "player/src/sound/SoundTrack.h"

#include "player/src/sound/SoundDecoder.h"

#include <utility>

namespace player
{

namespace
{

/** Several seconds of any sound, and little memory. */
constexpr std::size_t kMostPackets = 1024;
constexpr std::size_t kMostBytes = 2 * 1024 * 1024;
/** Nobody sends so much sound at once. */
constexpr int kMostPacketBytes = 256 * 1024;
/** A file's packets are behind its clock for good after this; they may be long themselves. */
constexpr std::int64_t kPassed = 1000000;
/** A file is read so far ahead for the sake of its sound. */
constexpr std::int64_t kEnough = 1000000;

std::shared_ptr<const AVCodecParameters> copyOf(const AVCodecParameters &parameters)
{
    const std::shared_ptr<AVCodecParameters> pCopy(ffmpeg::required(avcodec_parameters_alloc()), ffmpeg::Deleter());
    if (avcodec_parameters_copy(pCopy.get(), &parameters) < 0) {
        throw std::bad_alloc();
    }
    return pCopy;
}

} // namespace

SoundTrack::SoundTrack(Clock &clock, Kind kind, std::function<void()> wake)
    : m_clock(clock), m_kind(kind), m_wake(std::move(wake))
{
}

void SoundTrack::setStream(const AVCodecParameters *pParameters)
{
    const auto pCopy = pParameters && SoundDecoder::canDecode(*pParameters) ? copyOf(*pParameters) : nullptr;
    {
        const std::lock_guard lock(m_mutex);
        m_bKnown = true;
        m_pParameters = pCopy;
    }
    m_wake();
}

void SoundTrack::push(PacketPtr pPacket, std::int64_t time)
{
    if (pPacket->size <= 0 || pPacket->size > kMostPacketBytes) {
        return;
    }
    const Moment now = m_clock.now();
    const std::lock_guard lock(m_mutex);
    if (!m_pParameters || (m_kind == Kind::Live && !m_bWanted)) {
        return;
    }
    if (m_kind == Kind::Live && time != AV_NOPTS_VALUE) {
        m_timing.packetCame(time, microsecondsOf(now));
    }
    m_nBytes += static_cast<std::size_t>(pPacket->size);
    m_packets.push_back({std::move(pPacket), m_pParameters, time});
    if (!m_bWanted) {
        dropPassed(now);
    }
    while (m_packets.size() > kMostPackets || m_nBytes > kMostBytes) {
        dropFront();
    }
}

void SoundTrack::dropPassed(Moment now)
{
    const std::int64_t passed = microsecondsOf(now) - m_nFileZero - kPassed;
    while (m_bRunning && m_packets.front().time < passed && m_packets.size() > 1) {
        dropFront();
    }
}

void SoundTrack::dropFront()
{
    m_nBytes -= static_cast<std::size_t>(m_packets.front().pPacket->size);
    m_packets.pop_front();
}

void SoundTrack::clearPackets()
{
    m_packets.clear();
    m_nBytes = 0;
    ++m_nGeneration;
    m_timing.clear();
    m_heard.reset();
}

void SoundTrack::flush()
{
    {
        const std::lock_guard lock(m_mutex);
        clearPackets();
    }
    m_wake();
}

bool SoundTrack::hasEnough() const
{
    const std::lock_guard lock(m_mutex);
    if (!m_bWanted || !m_bRunning || m_packets.size() >= kMostPackets / 2 || m_nBytes >= kMostBytes / 2) {
        return true;
    }
    return m_packets.size() > 1 && m_packets.back().time - m_packets.front().time >= kEnough;
}

void SoundTrack::run()
{
    {
        const std::lock_guard lock(m_mutex);
        m_bRunning = true;
    }
    m_wake();
}

void SoundTrack::run(Moment zero)
{
    bool bStarted = false;
    {
        const std::lock_guard lock(m_mutex);
        bStarted = !std::exchange(m_bRunning, true);
        m_nFileZero = microsecondsOf(zero);
    }
    if (bStarted) {
        m_wake();
    }
}

void SoundTrack::silence()
{
    {
        const std::lock_guard lock(m_mutex);
        if (!std::exchange(m_bRunning, false)) {
            return;
        }
        m_heard.reset();
        if (m_kind == Kind::Live) {
            // What comes meanwhile is of no use, and the pictures' times say nothing any more.
            clearPackets();
        }
    }
    m_wake();
}

void SoundTrack::pictureShown(std::int64_t time, Moment moment)
{
    const std::lock_guard lock(m_mutex);
    m_timing.pictureShown(time, microsecondsOf(moment));
}

std::optional<HeardSound> SoundTrack::heard() const
{
    const std::lock_guard lock(m_mutex);
    return m_heard;
}

SoundTrack::Presence SoundTrack::presence() const
{
    const std::lock_guard lock(m_mutex);
    return !m_bKnown ? Presence::Unknown : m_pParameters ? Presence::There : Presence::None;
}

void SoundTrack::setWanted(bool wanted)
{
    const std::lock_guard lock(m_mutex);
    if (m_bWanted == wanted) {
        return;
    }
    m_bWanted = wanted;
    m_heard.reset();
    ++m_nGeneration;
    if (m_kind == Kind::Live) {
        m_packets.clear();
        m_nBytes = 0;
    }
}

SoundTrack::Orders SoundTrack::orders(std::chrono::microseconds margin) const
{
    Orders orders;
    orders.volume = static_cast<float>(m_nVolume) / 0xFFFF;
    const std::lock_guard lock(m_mutex);
    orders.silent = !m_bRunning;
    orders.generation = m_nGeneration;
    if (m_kind == Kind::Live) {
        orders.zero = m_timing.zero(margin.count());
    } else if (m_bRunning) {
        orders.zero = m_nFileZero;
    }
    return orders;
}

std::optional<SoundPacket> SoundTrack::take()
{
    const std::lock_guard lock(m_mutex);
    if (m_packets.empty()) {
        return std::nullopt;
    }
    SoundPacket packet = std::move(m_packets.front());
    m_nBytes -= static_cast<std::size_t>(packet.pPacket->size);
    m_packets.pop_front();
    return packet;
}

void SoundTrack::setHeard(const std::optional<HeardSound> &heard)
{
    const std::lock_guard lock(m_mutex);
    m_heard = m_bRunning ? heard : std::nullopt;
    if (m_heard) {
        // The file's clock keeps to it.
        m_nFileZero = microsecondsOf(m_heard->moment) - m_heard->time;
    }
}

} // namespace player
