#ifndef PLAYER_ANALYSISTRACK_H
#define PLAYER_ANALYSISTRACK_H

#include "player/src/metadata/AnalysisFrame.h"

#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <vector>

struct AVStream;

namespace player
{

/** What a picture's analysis is: the frames that belong to it, one of each source. */
using AnalysisFrames = std::vector<std::shared_ptr<const AnalysisFrame>>;

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
class AnalysisTrack
{
public:
    /** `tell` is called once, on the asking thread, with a line for whoever looks into what is wrong. */
    explicit AnalysisTrack(std::function<void(const char *)> tell);
    ~AnalysisTrack();
    AnalysisTrack(const AnalysisTrack &) = delete;
    AnalysisTrack &operator=(const AnalysisTrack &) = delete;

    void add(std::int64_t time, std::string_view document);
    /** What came so far does not belong to what follows. */
    void clear();
    /** What belongs to the picture on display at a time. */
    [[nodiscard]] AnalysisFrames at(std::int64_t time);

private:
    struct Document;
    struct TimedFrame;

    void read(Document &document);

    const std::function<void(const char *)> m_tell;
    /** Asking thread only. */
    bool m_bTold = false;

    // Guarded by m_mutex.
    std::mutex m_mutex;
    std::deque<std::shared_ptr<Document>> m_documents;
    std::size_t m_nBytes = 0;
};

} // namespace player

#endif
