#ifndef PLAYER_FILESOUND_H
#define PLAYER_FILESOUND_H

#include "player/src/core/LeadingClock.h"
#include "player/src/core/PacketSink.h"
#include "player/src/sound/SoundTrack.h"

#include <memory>

namespace player
{

/**
 * The sound of a file: hands its packets to the track, and tells the file's clock what is heard.
 *
 * Threads: as its bases say.
 */
class FileSound : public PacketSink, public LeadingClock
{
public:
    FileSound(Clock &clock, std::shared_ptr<SoundTrack> pTrack) : m_clock(clock), m_pTrack(std::move(pTrack)) {}

    [[nodiscard]] const std::shared_ptr<SoundTrack> &track() const
    {
        return m_pTrack;
    }

    bool begin(const AVCodecParameters &parameters, AVRational tick) override;
    void take(SidePacket packet) override;
    void flush(unsigned generation, std::int64_t time) override;
    void end() override {}
    [[nodiscard]] bool hasEnough() const override;

    [[nodiscard]] std::optional<std::int64_t> position(Moment now) const override;
    void paceChanged(bool running, int speedStep, std::int64_t position) override;

private:
    Clock &m_clock;
    const std::shared_ptr<SoundTrack> m_pTrack;
    /** The thread that reads. */
    unsigned m_nGeneration = 0;
};

} // namespace player

#endif
