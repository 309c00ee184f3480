#ifndef PLAYER_SOUNDCONVERTER_H
#define PLAYER_SOUNDCONVERTER_H

#include "player/src/core/Ffmpeg.h"
#include "player/src/sound/SoundOutput.h"

#include <cstdint>
#include <memory>
#include <vector>

extern "C" {
#include <libswresample/swresample.h>
}

namespace player
{

/** Samples in the form in which a device takes them. Units: microseconds of the source. */
struct SoundChunk {
    /** Of the first sample. */
    std::int64_t time = 0;
    std::vector<float> samples;
};

/**
 * Brings decoded sound into a device's form, a little faster or slower where it has to catch up or to wait.
 *
 * A mono source is as loud on each loudspeaker as it is itself.
 *
 * Threads: one.
 * Owns:    FFmpeg's resampler, made anew when the form of the source changes.
 * Units:   microseconds of the source.
 * Errors:  sound of an impossible form gives no samples; throws std::bad_alloc.
 */
class SoundConverter
{
public:
    explicit SoundConverter(const SoundFormat &format) : m_format(format) {}
    ~SoundConverter();
    SoundConverter(const SoundConverter &) = delete;
    SoundConverter &operator=(const SoundConverter &) = delete;

    /** The frame's `pts` in microseconds; where it has none, it follows the one before. */
    [[nodiscard]] SoundChunk convert(const AVFrame &frame);
    /** Makes what is converted from now on longer (positive) or shorter: parts in a million, at most 30,000. */
    void stretch(int parts);
    /** What comes next does not continue what came before. */
    void flush();

private:
    struct Deleter {
        void operator()(SwrContext *p) const
        {
            swr_free(&p);
        }
    };

    [[nodiscard]] bool matches(const AVFrame &frame) const;
    bool open(const AVFrame &frame);
    [[nodiscard]] bool spreadMono();
    void follow(const AVFrame &frame);

    const SoundFormat m_format;
    std::unique_ptr<SwrContext, Deleter> m_pResampler;
    int m_nRate = 0;
    int m_nSampleFormat = AV_SAMPLE_FMT_NONE;
    AVChannelLayout m_layout{};
    int m_nStretch = 0;
    /** Where the source has been fed up to. */
    std::int64_t m_nFedUpTo = 0;
    /** The times of the source are what m_nFedUpTo says: something was fed. */
    bool m_bFollows = false;
};

} // namespace player

#endif
