#ifndef PLAYER_DISPLAYORDER_H
#define PLAYER_DISPLAYORDER_H

#include "player/src/core/Ffmpeg.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <queue>
#include <vector>

namespace player
{

/**
 * Puts coded pictures into the order of showing, without decoding them.
 *
 * Where every packet tells when it is shown, that is enough. Where packets do not, the pictures' own headers are looked
 * at: the picture order count of H.264 and H.265, the types of pictures of the older codecs.
 *
 * Threads: one.
 * Owns:    FFmpeg's parser and as many entries as pictures can overtake each other.
 */
class DisplayOrder
{
public:
    struct Entry {
        std::int64_t number = 0;
        /** When it is shown, in ticks; empty where the file does not tell. */
        std::optional<std::int64_t> stamp;
        std::int64_t duration = 0;
        bool key = false;
        bool shown = true;
        /** When it was taken, microseconds since 1970; 0 where its packet does not tell. */
        std::int64_t utc = 0;
    };

    /** `byHeaders`: stamps are not to be trusted with the order. Throws OpenFailure for lack of memory. */
    DisplayOrder(const AVStream &stream, bool byHeaders);
    ~DisplayOrder();
    DisplayOrder(const DisplayOrder &) = delete;
    DisplayOrder &operator=(const DisplayOrder &) = delete;

    /** The next packet in the order of the file. */
    void add(const Entry &entry, const AVPacket &packet);
    /** The next picture in the order of showing; empty until more packets have been added, or the end was told. */
    std::optional<Entry> take();
    void end();

private:
    struct Waiting {
        /** Counts up where the order begins anew. */
        std::int64_t epoch;
        std::int64_t value;
        Entry entry;
    };
    struct Later {
        bool operator()(const Waiting &left, const Waiting &right) const;
    };
    struct ParserDeleter {
        void operator()(AVCodecParserContext *p) const
        {
            av_parser_close(p);
        }
    };

    void addByStamp(const Entry &entry);
    void addByHeader(const Entry &entry, const AVPacket &packet);
    void addByCount(const Entry &entry, std::int64_t count, bool key);
    void addByType(const Entry &entry, int type);
    void push(std::int64_t value, const Entry &entry);

    const bool m_bByHeaders;
    const AVCodecID m_codec;
    ffmpeg::CodecPtr m_pCodec;
    std::unique_ptr<AVCodecParserContext, ParserDeleter> m_pParser;
    std::priority_queue<Waiting, std::vector<Waiting>, Later> m_waiting;
    std::int64_t m_nEpoch = 0;
    std::int64_t m_nHighest = INT64_MIN;
    /** A picture that others refer to is shown when the next such picture comes. */
    std::optional<Entry> m_anchor;
    std::int64_t m_nShown = 0;
    /** The packet before held the next one's picture, too. */
    bool m_bNextIsB = false;
    bool m_bEnded = false;
};

} // namespace player

#endif
