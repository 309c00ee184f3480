#ifndef PLAYER_SOUNDOUTPUT_H
#define PLAYER_SOUNDOUTPUT_H

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>

namespace player
{

/** How a device takes sound: frames of one float a channel, -1 to 1, channel beside channel. */
struct SoundFormat {
    int rate = 48000;
    int channels = 2;
    /** Which loudspeakers the channels belong to, in the bits of WAVEFORMATEXTENSIBLE and FFmpeg; 0: not told. */
    std::uint64_t speakers = 0;
};

/**
 * A sound device that plays what is written to it, shared with other programs.
 *
 * It plays silence while nothing is there to be played.
 *
 * Threads: the one that made it.
 * Units:   frames of its format.
 * Errors:  as told; a device that is lost stays lost. Never throws.
 */
class SoundOutput
{
public:
    struct State {
        /** Frames that were written and that the device has not taken yet. */
        std::size_t waiting = 0;
        /** A frame that was written now would be heard so much later, all that wait before it included. */
        std::chrono::microseconds delay{};
    };

    SoundOutput() = default;
    virtual ~SoundOutput() = default;
    SoundOutput(const SoundOutput &) = delete;
    SoundOutput &operator=(const SoundOutput &) = delete;

    [[nodiscard]] virtual SoundFormat format() const = 0;
    /** Empty when the device is gone, or another one is the one to play on: this output is of no use any more. */
    [[nodiscard]] virtual std::optional<State> state() = 0;
    /** Takes as many frames as there is room for, and tells how many. Waits for nothing. */
    virtual std::size_t write(const float *pFrames, std::size_t frames) = 0;
    /** Silence at once: what was written and not heard yet is forgotten. */
    virtual void clear() = 0;
};

} // namespace player

#endif
