#ifndef PLAYER_SOUNDDECODER_H
#define PLAYER_SOUNDDECODER_H

#include "player/src/core/Ffmpeg.h"
#include "player/src/sound/SoundPacket.h"

#include <cstdint>
#include <memory>
#include <optional>

namespace player
{

/**
 * Decodes the packets of a sound stream. What cannot be decoded costs its own samples and nothing else.
 *
 * Threads: one.
 * Owns:    FFmpeg's decoder, which is made anew when packets of another stream come.
 * Errors:  none but std::bad_alloc: a stream without a decoder gives no frames.
 */
class SoundDecoder
{
public:
    SoundDecoder() = default;
    SoundDecoder(const SoundDecoder &) = delete;
    SoundDecoder &operator=(const SoundDecoder &) = delete;

    /** Whether there is a decoder for such a stream. */
    [[nodiscard]] static bool canDecode(const AVCodecParameters &parameters);

    void feed(const SoundPacket &packet);
    /** The next frame, null when more has to be fed; its `pts` in microseconds or AV_NOPTS_VALUE. */
    FramePtr take();
    /** What is fed next does not continue what was fed before. */
    void flush();

private:
    void open(const SoundPacket &packet);

    std::shared_ptr<const AVCodecParameters> m_pParameters;
    CodecPtr m_pCodec;
};

} // namespace player

#endif
