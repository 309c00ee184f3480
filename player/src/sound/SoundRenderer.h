#ifndef PLAYER_SOUNDRENDERER_H
#define PLAYER_SOUNDRENDERER_H

#include "player/src/sound/SoundConverter.h"
#include "player/src/sound/SoundDecoder.h"
#include "player/src/sound/SoundOutput.h"
#include "player/src/sound/SoundTrack.h"

#include <chrono>
#include <deque>
#include <memory>
#include <optional>
#include <vector>

namespace player
{

/**
 * Plays one source's sound on one device: keeps a little of it waiting there, and each sample at its moment.
 *
 * Sound that is out of step, at the beginning and behind a gap, is put in step at once: what is late is left out, and
 * silence is played until the rest is due. A live source that drifts away afterwards is stretched or shortened by up to
 * three parts in a hundred; a file is not, since its clock keeps to what is heard.
 *
 * Threads: the one that made the device.
 * Owns:    decoder, converter and what is converted. Borrows the device and the clock.
 * Errors:  false from supply() when the device is lost; throws std::bad_alloc.
 */
class SoundRenderer
{
public:
    SoundRenderer(Clock &clock, std::shared_ptr<SoundTrack> pTrack, SoundOutput &output);
    /** What waits in the device is forgotten. */
    ~SoundRenderer();
    SoundRenderer(const SoundRenderer &) = delete;
    SoundRenderer &operator=(const SoundRenderer &) = delete;

    [[nodiscard]] const std::shared_ptr<SoundTrack> &track() const
    {
        return m_pTrack;
    }

    /** Gives the device what it needs until the next call, some ten milliseconds later. */
    bool supply();
    /** Nothing plays: supply() need not be called before the track says that something has changed. */
    [[nodiscard]] bool isSilent() const
    {
        return m_bSilent;
    }

private:
    [[nodiscard]] bool isLive() const;
    void measure(const SoundOutput::State &state);
    void beSilent();
    void fill(const SoundTrack::Orders &orders, const SoundOutput::State &state);
    /** Whether there is something to be played; packets long before that time are left out. */
    bool decodeAhead(std::int64_t now);
    /** How much too early (positive) or late the front would be heard if it was written now. */
    [[nodiscard]] std::int64_t errorOfFront(std::int64_t zero, std::int64_t heardAt) const;
    std::size_t writeOne(std::int64_t error, std::size_t room, float volume);
    void tellHeard(std::int64_t heardAt);
    void decodeOne(const SoundPacket &packet);
    void keepInStep(std::int64_t error);
    /** Frames written: silence, or samples of the front chunk. */
    std::size_t writeSilence(std::size_t frames);
    std::size_t writeFront(std::size_t frames, float volume);
    void dropFront(std::size_t frames);
    [[nodiscard]] std::size_t framesLeft() const;
    [[nodiscard]] std::int64_t frontTime() const;
    [[nodiscard]] std::int64_t durationOf(std::size_t frames) const;
    [[nodiscard]] std::size_t framesIn(std::int64_t microseconds) const;

    Clock &m_clock;
    const std::shared_ptr<SoundTrack> m_pTrack;
    SoundOutput &m_output;
    const SoundFormat m_format;
    SoundDecoder m_decoder;
    SoundConverter m_converter;

    std::deque<SoundChunk> m_chunks;
    /** Frames of the first chunk that have been dealt with. */
    std::size_t m_nTaken = 0;
    std::size_t m_nReady = 0;
    unsigned m_nGeneration = 0;
    bool m_bSilent = true;
    bool m_bInStep = false;
    /** Nothing has been heard since it was silent. */
    bool m_bEntering = true;
    /** Where the source has been written up to while it was in step. */
    std::int64_t m_nWrittenUpTo = 0;
    /** How late a sample is heard that finds nothing waiting, and how far the sound is from its step; smoothed. */
    std::optional<double> m_latency;
    double m_dError = 0;
    float m_fGain = 0;
    std::vector<float> m_scratch;
};

} // namespace player

#endif
