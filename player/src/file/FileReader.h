#ifndef PLAYER_FILEREADER_H
#define PLAYER_FILEREADER_H

#include "player/src/core/Condition.h"
#include "player/src/core/PacketSink.h"
#include "player/src/file/FileDemuxer.h"
#include "player/src/file/SideFeed.h"
#include "player/src/file/TimeLine.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <thread>

namespace player
{

/** A coded picture as it stands in the file. */
struct CodedPicture {
    PacketPtr pPacket;
    /** To be added to its stamps; see TimeLine. */
    std::int64_t shift = 0;
    /** Its place in the order of the file; empty where reading began at a place that nobody has counted. */
    std::optional<std::int64_t> number;
    /** When it was taken, microseconds since 1970, UTC; 0 where its packet does not tell. */
    std::int64_t utc = 0;
};

/**
 * Reads a file ahead on a thread of its own: pictures into a queue, its sound to a sink.
 *
 * The queue is refilled in bursts, from half full to full, rather than packet by packet. It is full with a second of
 * the file or eight megabytes, and with four times as much where the sink has too little: neither holds up the other.
 * Before start() nothing is read ahead, and sound is kept until then.
 *
 * Threads: read(), seek(), rewind() and what asks the container: one thread, the decoding one. attach() from any but
 *          the sink's own. The rest from any.
 * Owns:    the container and the reading thread. Shares the sink.
 * Units:   ticks of the picture stream; times in microseconds from the first picture.
 * Errors:  open() throws OpenFailure; start() std::system_error. Afterwards a file that breaks off simply ends.
 */
class FileReader
{
public:
    FileReader(Clock &clock, std::unique_ptr<ByteSource> pBytes);
    ~FileReader();
    FileReader(const FileReader &) = delete;
    FileReader &operator=(const FileReader &) = delete;

    /** Reads the headers, and looks for the end where these do not tell it. */
    void open();
    [[nodiscard]] const AVStream &pictureStream() const
    {
        return m_demuxer.pictureStream();
    }
    [[nodiscard]] bool isWithoutTimes() const
    {
        return m_demuxer.isWithoutTimes();
    }
    [[nodiscard]] bool mayLeap() const
    {
        return m_demuxer.mayLeap();
    }
    [[nodiscard]] bool tellsOrderOfDecoding() const
    {
        return m_demuxer.tellsOrderOfDecoding();
    }
    [[nodiscard]] std::optional<std::int64_t> endTick() const
    {
        return m_endTick;
    }
    [[nodiscard]] std::optional<std::int64_t> recordingTime() const
    {
        return m_recordingTime;
    }
    [[nodiscard]] bool isRecordingTimeOfTickZero() const
    {
        return m_demuxer.isRecordingTimeOfTickZero();
    }

    /** The tick of position 0, from which the sink's times count. Before start(). */
    void setFirstTick(std::int64_t tick);
    void start();
    /** Ends the thread; what it waits for is interrupted. */
    void stop();
    /** From any thread: reading ends at once, for ever. */
    void interrupt();

    /** The sink takes the sound from now on; null: it is discarded. The one before is called no more. */
    void attach(std::shared_ptr<PacketSink> pSink);
    /** Whether the file has such a stream. */
    [[nodiscard]] bool has(SideStream kind) const
    {
        return m_demuxer.sideStream(kind) != nullptr;
    }
    /** The sink has come to want more. */
    void moreWanted();

    /** The next picture; false at the end. */
    bool read(CodedPicture &picture);
    /** Goes to a place at or before the tick; false where the container cannot. `time`: what is sought. */
    bool seek(std::int64_t tick, std::int64_t time);
    /**
     * To exactly the packet of a key picture that the index knows, which read() gives next. Where the container cannot
     * find it, the file is read through from its beginning. False when it was superseded or is not there any more.
     */
    bool seek(const FileIndex::Key &key, std::int64_t time, const std::function<bool()> &superseded);
    /** To the very first packet. */
    bool rewind(std::int64_t time);
    [[nodiscard]] std::optional<bool> keyBetween(std::int64_t after, std::int64_t upTo);

private:
    struct Side {
        /** The thread that reads. */
        SideFeed feed;
        /** What attach() asked for. */
        std::shared_ptr<PacketSink> pWanted;
        bool changed = false;
    };

    // The thread that reads: the decoding one before start(), then its own.
    void run();
    void workOnce(std::unique_lock<std::mutex> &lock);
    void readOne(std::unique_lock<std::mutex> &lock);
    [[nodiscard]] CodedPicture counted(PacketPtr pPacket);
    void deliver(PacketPtr pPacket);
    [[nodiscard]] std::int64_t timeOf(const AVPacket &packet, AVRational tick) const;
    void exchangeSink(std::unique_lock<std::mutex> &lock);
    bool goTo(const std::function<bool()> &go, std::optional<std::int64_t> number, std::int64_t time);
    void startOver(std::int64_t shift, std::optional<std::int64_t> number, std::int64_t time);
    bool findKey(const FileIndex::Key &key, const std::function<bool()> &superseded);
    bool findNumber(std::int64_t number, const std::function<bool()> &superseded);
    [[nodiscard]] CodedPicture nextPicture();
    /** A picture is given back, sound goes to its sink; false at the end. */
    bool readPacket(CodedPicture &picture);
    /** Into an empty queue. */
    void putFirst(CodedPicture picture);
    /** With m_mutex held. */
    void putLast(CodedPicture picture)
    {
        m_nQueuedBytes += picture.pPacket->size;
        m_queue.push_back(std::move(picture));
    }

    /** Runs it where reading goes on, and waits for it. */
    void onReader(const std::function<void()> &task);
    [[nodiscard]] bool hasWork();
    [[nodiscard]] bool isToRead();
    [[nodiscard]] std::int64_t queuedTicks() const;

    Clock &m_clock;

    // The thread that reads.
    FileDemuxer m_demuxer;
    std::optional<TimeLine> m_timeLine;
    std::int64_t m_nNominal = 1;
    std::optional<std::int64_t> m_nextNumber;
    /** Where the latest picture read stands, to tell to which part of a torn file sound belongs. */
    std::int64_t m_nLatestTime = 0;
    std::int64_t m_nFirstTick = 0;
    unsigned m_nGeneration = 0;

    // Known once it is open.
    std::optional<std::int64_t> m_endTick;
    std::optional<std::int64_t> m_recordingTime;

    std::thread m_thread;

    // Guarded by m_mutex, which is held during no call to the sink.
    mutable std::mutex m_mutex;
    /** Something for the reader to do. */
    Condition m_wake;
    /** Something for those who wait for the reader. */
    Condition m_done;
    bool m_bRunning = false;
    bool m_bStop = false;
    Side m_sound;
    std::deque<CodedPicture> m_queue;
    std::int64_t m_nQueuedBytes = 0;
    bool m_bFilling = true;
    bool m_bEnd = false;
    bool m_bReaderWaits = false;
    bool m_bDecoderWaits = false;
    const std::function<void()> *m_pTask = nullptr;
};

} // namespace player

#endif
