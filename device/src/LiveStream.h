#ifndef DEVICE_LIVESTREAM_H
#define DEVICE_LIVESTREAM_H

#include "device/src/CameraInput.h"
#include "device/src/LiveMuxer.h"

#include <deque>
#include <memory>

namespace selvik
{

/**
 * One connection to a camera as a byte stream: a header, then pieces that each hold whole blocks. The first picture is
 * a key picture.
 *
 * Threads: one. Errors: as CameraInput.
 */
class LiveStream
{
public:
    explicit LiveStream(std::unique_ptr<CameraInput> input);
    ~LiveStream();
    LiveStream(const LiveStream &) = delete;
    LiveStream &operator=(const LiveStream &) = delete;

    /** Connects; returns the header. */
    [[nodiscard]] Bytes open(const Patience &patience);
    /** The next piece; empty where there is none in time. */
    [[nodiscard]] Bytes next(const Patience &patience);
    void close(const Patience &patience) noexcept;

private:
    void copyTracks();
    /** Takes a unit in before the header is known; whether it is known now. */
    [[nodiscard]] bool takeIn(MediaUnit unit, bool bLate);
    /** The pictures are nothing that can be carried: goes on with the sound, or throws where there is none. */
    void leaveOutPictures();
    /** The unit's track in the stream, which may have one less than the input; false for what was left out. */
    [[nodiscard]] bool renumber(MediaUnit &unit) const;
    /** Whether the header can be written once this unit is known; fills in what the unit tells. */
    [[nodiscard]] bool learn(const MediaUnit &unit, bool bLate);
    /** Whether the unit is of use: not ahead of the first key picture. */
    [[nodiscard]] bool isWanted(const MediaUnit &unit);

    std::unique_ptr<CameraInput> m_input;
    std::unique_ptr<LiveMuxer> m_muxer;
    std::vector<ParametersPtr> m_tracks;
    std::deque<MediaUnit> m_waiting; /**< read for the header, not written yet */
    int m_nVideo = -1;               /**< the video track; -1 where there is none */
    int m_nLeftOut = -1;             /**< the input's video track, where its pictures cannot be carried; else -1 */
    bool m_bPictures = false;        /**< some have come */
    std::int64_t m_utcOfZero = 0;
    bool m_bKeySeen = false;
};

} // namespace selvik

#endif
