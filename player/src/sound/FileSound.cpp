#include "player/src/sound/FileSound.h"

namespace player
{

bool FileSound::begin(const AVCodecParameters &parameters, AVRational)
{
    m_pTrack->setStream(&parameters);
    return m_pTrack->presence() == SoundTrack::Presence::There;
}

void FileSound::take(SidePacket packet)
{
    if (packet.generation == m_nGeneration) {
        m_pTrack->push(std::move(packet.pPacket), packet.time);
    }
}

void FileSound::flush(unsigned generation, std::int64_t)
{
    m_nGeneration = generation;
    m_pTrack->flush();
}

bool FileSound::hasEnough() const
{
    return m_pTrack->hasEnough();
}

std::optional<std::int64_t> FileSound::position(Moment now) const
{
    const auto heard = m_pTrack->heard();
    if (!heard) {
        return std::nullopt;
    }
    return heard->time + std::chrono::duration_cast<std::chrono::microseconds>(now - heard->moment).count();
}

void FileSound::paceChanged(bool running, int speedStep, std::int64_t position)
{
    if (running && speedStep == 0) {
        m_pTrack->run(m_clock.now() - std::chrono::microseconds(position));
    } else {
        m_pTrack->silence();
    }
}

} // namespace player
