#ifndef DEVICE_LIVEMUXER_H
#define DEVICE_LIVEMUXER_H

#include "device/src/Ffmpeg.h"
#include "device/src/MediaUnit.h"

#include <vector>

namespace selvik
{

/**
 * Writes a live Matroska stream into memory: a header, then whole blocks for each unit, at once.
 *
 * Each unit is a cluster of its own, so that none waits for the next one and each key picture begins one. The recording
 * time in the header is the time of day of the stream's time 0. A picture whose capture time is known carries it as
 * additional data of its block: eight bytes, the microseconds of UTC since 1970, big-endian. Metadata is a text track
 * named "application/vnd.onvif.metadata".
 *
 * Threads: one. Errors: Failure(SELVIK_ERROR_MEDIA) for tracks that Matroska cannot carry.
 */
class LiveMuxer
{
public:
    /** `utcOfZero` in microseconds since 1970. */
    LiveMuxer(const std::vector<ParametersPtr> &tracks, std::int64_t utcOfZero);
    LiveMuxer(const LiveMuxer &) = delete;
    LiveMuxer &operator=(const LiveMuxer &) = delete;

    /** Whether a track of that kind can be part of the stream. */
    [[nodiscard]] static bool canCarry(const AVCodecParameters &parameters);

    [[nodiscard]] Bytes header();
    [[nodiscard]] Bytes write(const MediaUnit &unit);

private:
    static int append(void *pSelf, const std::uint8_t *pBuffer, int size);
    void addTrack(const AVCodecParameters &parameters);
    void writePacket(AVPacket &packet);
    [[nodiscard]] Bytes take();

    // Declared before the format, which uses it until it is destroyed.
    IoPtr m_io;
    FormatPtr m_format;
    Bytes m_output;
    std::vector<std::int64_t> m_lastDts; /**< of each track, microseconds */
};

} // namespace selvik

#endif
