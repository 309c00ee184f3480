#ifndef PLAYER_ANALYSISSOURCE_H
#define PLAYER_ANALYSISSOURCE_H

#include "player/src/metadata/AnalysisFrame.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace player
{

/** What a picture's analysis is: the frames that belong to it, one of each source. */
using AnalysisFrames = std::vector<std::shared_ptr<const AnalysisFrame>>;

/**
 * What a source says about its pictures.
 *
 * Threads: at() on the one that shows, one call at a time; the rest on any. Nothing waits for another thread but
 * stop(). Units:   microseconds from the first picture of the source. Errors:  what is not known or makes no sense is
 * nothing. Throws std::bad_alloc alone.
 */
class AnalysisSource
{
public:
    AnalysisSource() = default;
    virtual ~AnalysisSource() = default;
    AnalysisSource(const AnalysisSource &) = delete;
    AnalysisSource &operator=(const AnalysisSource &) = delete;

    /** What belongs to the picture on display at a time. */
    [[nodiscard]] virtual AnalysisFrames at(std::int64_t time) = 0;
    /** That will be asked for next. */
    virtual void expect(std::int64_t /*time*/) {}
    /** Nothing is asked any more: ends what runs for it. */
    virtual void stop() {}
};

} // namespace player

#endif
