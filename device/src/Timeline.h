#ifndef DEVICE_TIMELINE_H
#define DEVICE_TIMELINE_H

#include "device/src/MediaUnit.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace selvik
{

/**
 * Puts the media clocks of a camera's tracks on one time axis that has no break.
 *
 * Each track is anchored to the arrival of its first unit. Once the camera has told the time of day on both, sound and
 * metadata are moved to where the pictures of the same moment are. A clock that jumps (back by more than a second,
 * forward by more than ten) is anchored anew.
 *
 * Threads: one. Units: microseconds.
 */
class Timeline
{
public:
    /** `leader` is the track that the others follow. */
    Timeline(std::size_t tracks, std::size_t leader) : m_tracks(tracks), m_nLeader(leader) {}

    /** Replaces the unit's media time by its place on the axis; `arrival` counts from the stream's beginning. */
    void place(MediaUnit &unit, std::int64_t arrival)
    {
        Track &track = m_tracks[unit.track];
        const std::int64_t media = unit.packet->pts;
        if (!track.bAnchored || isJump(media + track.nOffset - track.nLast)) {
            track.nOffset = std::max(arrival, track.bAnchored ? track.nLast + 1000 : 0) - media;
            track.bAnchored = true;
            track.bSynchronised = false;
        }
        if (unit.captureTime != AV_NOPTS_VALUE && !track.bSynchronised) {
            synchronise(track, unit, media);
        }
        unit.packet->pts = std::max<std::int64_t>(0, media + track.nOffset);
        track.nLast = unit.packet->pts;
    }

private:
    struct Track {
        bool bAnchored = false;
        bool bSynchronised = false;
        std::int64_t nOffset = 0; /**< from media time to the axis */
        std::int64_t nLast = 0;
    };

    [[nodiscard]] static bool isJump(std::int64_t step)
    {
        return step < -1000000 || step > 10000000;
    }

    void synchronise(Track &track, const MediaUnit &unit, std::int64_t media)
    {
        if (unit.track == m_nLeader) {
            m_nAxisFromUtc = media + track.nOffset - unit.captureTime;
            m_bAxisKnown = true;
            track.bSynchronised = true;
            return;
        }
        if (m_bAxisKnown) {
            const std::int64_t offset = unit.captureTime + m_nAxisFromUtc - media;
            // Where the clocks of two tracks differ by more, one of them has not been set yet.
            if (std::abs(offset - track.nOffset) < 5000000) {
                track.nOffset = offset;
            }
            track.bSynchronised = true;
        }
    }

    std::vector<Track> m_tracks;
    std::size_t m_nLeader;
    bool m_bAxisKnown = false;
    std::int64_t m_nAxisFromUtc = 0;
};

} // namespace selvik

#endif
