#ifndef PLAYER_FILEANALYSIS_H
#define PLAYER_FILEANALYSIS_H

#include "player/src/core/ByteSource.h"
#include "player/src/core/Condition.h"
#include "player/src/file/FileDemuxer.h"
#include "player/src/file/FileIndex.h"
#include "player/src/metadata/AnalysisTrack.h"

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

namespace player
{

/**
 * The analysis metadata of a file, by a reader of its own: the documents around the picture that was asked for last.
 *
 * A picture may need a document from a second before it, ahead of the key picture at which its decoding began, and one
 * from two seconds after it. What it has therefore depends on where it stands in the file alone, and on no way that led
 * to it: a picture gets all that belongs to it, or nothing as long as that has not been read. The reading of pictures
 * and sound goes on beside it as if nobody wanted this.
 *
 * Threads: a thread of its own, from the first time that anybody asks. at() and expect() wait for nothing.
 * Owns:    the thread, the file as it is open here, the documents, within a bound.
 * Units:   microseconds from the first picture.
 * Errors:  a file that cannot be opened again has no analysis, nor has one that says more than can be kept.
 */
class FileAnalysis : public AnalysisSource
{
public:
    /** How the file is opened again. Both may throw. */
    struct Opening {
        /** May take its time; null where it fails. */
        std::function<std::unique_ptr<ByteSource>()> open;
        /** From another thread: opening and reading end at once. */
        std::function<void()> cancel;
    };

    /** `firstTick` is that of the picture at position 0. The index, which may be null, spares reading on the way. */
    FileAnalysis(Clock &clock, Opening opening, std::int64_t firstTick, std::shared_ptr<const FileIndex> pIndex);
    ~FileAnalysis() override;

    [[nodiscard]] AnalysisFrames at(std::int64_t time) override;
    void expect(std::int64_t time) override;
    void stop() override;

private:
    /** A part of the file without a gap: every document that belongs into it is in its track. */
    struct Part {
        explicit Part(const std::function<void(const char *)> &tell);

        /** Whether a picture of that time has all that it may need in it. */
        [[nodiscard]] bool covers(std::int64_t time) const
        {
            return from <= time - AnalysisTrack::kHold && upTo >= lastFor(time);
        }
        /** What comes after it says nothing about that picture. */
        static std::int64_t lastFor(std::int64_t time)
        {
            return time + AnalysisTrack::kTolerance + AnalysisTrack::kLongestDocument;
        }

        // Guarded by m_mutex once others know it.
        std::int64_t from = INT64_MAX;
        std::int64_t upTo = INT64_MIN;
        AnalysisTrack track;
    };

    // With m_mutex held.
    void want(std::int64_t time);
    [[nodiscard]] std::shared_ptr<Part> partFor(std::int64_t time);
    [[nodiscard]] bool isToLoad() const;
    [[nodiscard]] bool isToExtend() const;

    // The thread.
    void run();
    void read();
    void load(std::int64_t time);
    void tell(const char *pText);
    /** From a place at or before the time on; null where reading would begin behind it. */
    [[nodiscard]] std::shared_ptr<Part> beginAt(std::int64_t time);
    [[nodiscard]] std::shared_ptr<Part> beginAtStart();
    [[nodiscard]] std::shared_ptr<Part> makePart();
    bool goTo(std::int64_t time);
    void extend(Part &part, std::int64_t upTo);
    bool readOne(Part &part);
    [[nodiscard]] std::int64_t timeOf(const AVPacket &packet, const AVStream &stream) const;

    Clock &m_clock;
    const Opening m_opening;
    const std::int64_t m_nFirstTick;
    const std::shared_ptr<const FileIndex> m_pIndex;

    std::atomic<bool> m_bTold{false};
    /** The thread: nothing has been read yet. */
    bool m_bAtStart = true;

    // Guarded by m_mutex.
    std::mutex m_mutex;
    std::thread m_thread;
    Condition m_wake;
    bool m_bStop = false;
    /** The thread has ended, or there is none to be had. */
    bool m_bOver = false;
    /** Changed by the thread alone. */
    std::unique_ptr<FileDemuxer> m_pDemuxer;
    /** What documents are read for. */
    std::optional<std::int64_t> m_wanted;
    /** The picture that was asked for last; while another one is expected it goes on being shown. */
    std::optional<std::int64_t> m_shown;
    bool m_bExpecting = false;
    /** The demuxer stands at its end. */
    std::shared_ptr<Part> m_pPart;
    /** The one before, for the picture that is shown until the expected one is there. */
    std::shared_ptr<Part> m_pFormer;
};

} // namespace player

#endif
