#ifndef PLAYER_ANALYSISTRACK_H
#define PLAYER_ANALYSISTRACK_H

#include "player/src/metadata/AnalysisSource.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

struct AVStream;

namespace player
{

/** Whether a stream carries ONVIF metadata: the device library's track, or a timed metadata track of an MP4. */
[[nodiscard]] bool isAnalysisStream(const AVStream &stream);

/**
 * The analysis metadata of one source, from which each picture takes what belongs to it.
 *
 * Documents are kept as they came and read when a picture asks for them, so that those that nobody sees cost nothing. A
 * picture has the newest frame that is not after it, for a second at most: cameras tell less often than they send
 * pictures. Several frames in one document stand to each other as their own times say; the last one is of the
 * document's time.
 *
 * Threads: any; a document is read on the thread that asks, one of which may ask at a time.
 * Owns:    the documents, of which the oldest go beyond a number and a size.
 * Units:   microseconds from the first picture of the source.
 * Errors:  a document that makes no sense is left out; the first one of a source is told once. Throws std::bad_alloc.
 */
class AnalysisTrack : public AnalysisSource
{
public:
    // Which documents a picture may need.
    /** How long a frame stands for the pictures after its own. */
    static constexpr std::int64_t kHold = 1000000;
    /** Containers round: a frame of the picture's own time may seem to be after it. */
    static constexpr std::int64_t kTolerance = 5000;
    /** A document tells of so much before its own time at most: its other frames are taken for frames of that time. */
    static constexpr std::int64_t kLongestDocument = 2000000;

    /** A time that can be reckoned with, whatever a source says. */
    [[nodiscard]] static std::int64_t sane(std::int64_t time)
    {
        constexpr std::int64_t kMost = std::int64_t{1} << 60;
        return std::clamp(time, -kMost, kMost);
    }

    /** What is kept, at most. */
    struct Room {
        std::size_t documents = 256;
        std::size_t bytes = std::size_t{2} * 1024 * 1024;
    };

    /** `tell` is called once, on the asking thread, with a line for whoever looks into what is wrong. */
    explicit AnalysisTrack(std::function<void(const char *)> tell) : AnalysisTrack(std::move(tell), Room()) {}
    AnalysisTrack(std::function<void(const char *)> tell, const Room &room);
    ~AnalysisTrack() override;

    /** The latest of the times whose documents had to go for it; empty where none had. */
    std::optional<std::int64_t> add(std::int64_t time, std::string_view document);
    /** The first ones, as far as they came in order, up to one that is not before the time. */
    void forgetBefore(std::int64_t time);
    /** There is not much room left. */
    [[nodiscard]] bool isCrowded() const;
    [[nodiscard]] AnalysisFrames at(std::int64_t time) override;

private:
    struct Document;
    struct TimedFrame;

    void read(Document &document);
    void forgetFirst();

    const Room m_room;
    const std::function<void(const char *)> m_tell;
    /** Asking thread only. */
    bool m_bTold = false;

    // Guarded by m_mutex.
    mutable std::mutex m_mutex;
    std::deque<std::shared_ptr<Document>> m_documents;
    std::size_t m_nBytes = 0;
};

} // namespace player

#endif
