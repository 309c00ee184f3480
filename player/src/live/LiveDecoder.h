#ifndef PLAYER_LIVEDECODER_H
#define PLAYER_LIVEDECODER_H

#include "player/src/core/CodedUnits.h"
#include "player/src/core/Picture.h"
#include "player/src/live/LiveDemuxer.h"

#include <array>
#include <deque>

namespace player
{

/**
 * Decodes the pictures of a live stream one by one and gives out those that are whole.
 *
 * After damage, and at the beginning, nothing comes out until a key picture or a recovery point was reached; where
 * none comes for a second, a picture that is made of nothing but itself will do. Pictures before the key picture in
 * time that need the group before it are left out. A picture costs no delay beyond what the order of its stream asks
 * for: no frame of threads runs ahead.
 *
 * Threads: one.
 * Owns:    the decoder and the few pictures that came out together.
 * Units:   microseconds from the first picture.
 * Errors:  feed() throws OpenFailure where the codec is not supported or its pictures are too large; damage costs
 *          pictures only.
 */
class LiveDecoder
{
public:
    explicit LiveDecoder(Clock &clock) : m_clock(clock) {}
    LiveDecoder(const LiveDecoder &) = delete;
    LiveDecoder &operator=(const LiveDecoder &) = delete;

    /** The stream is the packet's; `withoutTimes`: those of its packets are made up. */
    void feed(const LivePacket &packet, const AVStream &stream, bool withoutTimes);
    /** The next picture in the order of showing; empty when more has to be fed. */
    Picture take();
    /**
     * Where a time of another stream of the same container is on the line of the pictures' times; empty before the
     * first picture, and where the stream has no times.
     */
    [[nodiscard]] std::optional<std::int64_t> timeAt(std::int64_t tick, AVRational tickLength) const;
    /** What is fed next does not continue what was fed before. */
    void waitForKey();
    /** Leaves out pictures on which no other depends. */
    void leaveOutUnneeded(bool leaveOut);

private:
    enum class State {
        Waiting,  /**< for a key picture to be fed */
        Entering, /**< it was fed; what comes out before it is of no use */
        Showing
    };

    /** What travels through the decoder with a packet. */
    struct Companion {
        std::uint64_t number = 0;
        std::int64_t utc = 0;
    };

    struct Ready {
        std::uint64_t number;
        Picture picture;
    };

    static int allocate(AVCodecContext *pCodec, AVFrame *pFrame, int flags);

    void open(const AVStream &stream);
    bool enters(const LivePacket &packet, const CodedUnits &units);
    bool isLeading(const AVPacket &packet);
    void decode(const AVPacket &packet, const CodedUnits &units);
    bool takeFrames();
    bool isFit(const AVFrame &frame, std::uint64_t number) const;
    Picture stamped(FramePtr pFrame, std::int64_t utc);
    [[nodiscard]] std::int64_t timeOf(const AVFrame &frame);

    Clock &m_clock;
    CodecPtr m_pCodec;
    const AVStream *m_pStream = nullptr;
    AVCodecID m_codec = AV_CODEC_ID_NONE;
    bool m_bWithoutTimes = false;
    std::deque<Ready> m_ready;

    State m_state = State::Waiting;
    /** When waiting for a key picture began. */
    std::optional<Moment> m_waitingSince;
    std::uint64_t m_nNumber = 0;
    std::array<Companion, 64> m_companions;
    /** Pictures that the decoder asked memory for while it had one packet: more than one were made up. */
    int m_nAllocated = 0;

    // Of the key picture at which showing began.
    std::uint64_t m_nKeyNumber = 0;
    std::int64_t m_nKeyTick = AV_NOPTS_VALUE;
    int m_nRecoversAfter = 0;
    bool m_bRefresh = false;
    /** It is made of nothing but itself, and nothing else was promised. */
    bool m_bIntraEntry = false;
    bool m_bMayLead = false;
    bool m_bLeftOut = false;
    /**
     * H.265, where showing began at something less than a key picture: pictures list those before it among their
     * references, which they need not use. Until one does not, it is no loss that the decoder makes them up.
     */
    bool m_bListsOld = false;
    /** Key pictures in a row that a strict decoder could not decode. */
    int m_nKeysFailed = 0;

    std::optional<std::int64_t> m_firstTick;
    /** The same in microseconds. The stream may be gone by the time that other streams' times are asked for. */
    std::int64_t m_nFirstTime = 0;
    std::int64_t m_nLatestTick = AV_NOPTS_VALUE;
    std::int64_t m_nLatestTime = 0;
    bool m_bAnyTime = false;
    /** The latest picture's time is not what the stream says. */
    bool m_bMadeUpTime = false;
};

} // namespace player

#endif
