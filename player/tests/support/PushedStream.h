#ifndef PLAYER_PUSHEDSTREAM_H
#define PLAYER_PUSHEDSTREAM_H

#include "player/src/port/Port.h"

#include <cstdint>
#include <string>
#include <vector>

namespace player::test
{

using Bytes = std::vector<std::uint8_t>;

/** A piece of a stream as a device hands it over. */
struct Record {
    Bytes bytes;
    /** Of the picture in it, in the order of showing; -1 for sound and for pieces without regard to pictures. */
    int number = -1;
    bool key = false;
};

/** A stream to be pushed. */
struct PushedStream {
    Bytes header;
    std::vector<Record> records;

    /** Opens it on the port and starts playing. */
    [[nodiscard]] Error openOn(Port &port, WindowHandle window, std::size_t bufferSize = 5242880) const;
    /** Pushes records from one place up to before another; the first error ends it. */
    [[nodiscard]] Error push(Port &port, std::size_t from, std::size_t to) const;
    [[nodiscard]] Error pushAll(Port &port) const
    {
        return push(port, 0, records.size());
    }
};

[[nodiscard]] Error push(Port &port, const Bytes &bytes);

struct LiveOptions {
    /** Microseconds since 1970 of picture 0, as the capture time of each picture; 0 for none. */
    std::int64_t captured = 0;
    /** The same as the date in the header. */
    std::int64_t date = 0;
    bool pictures = true;
    bool sound = false;
    /** A text track of metadata with an entry before each picture. */
    bool metadata = false;
    /** Added to the times of the pictures from that one on, in milliseconds. */
    int jumpAt = -1;
    std::int64_t jump = 0;
};

/** A clip in live Matroska as a device library writes it: one cluster with one block for each packet. */
[[nodiscard]] PushedStream liveMatroska(const std::string &file, const LiveOptions &options = {});
/** Any clip as it is, cut into pieces of a size, the first of which is the header. */
[[nodiscard]] PushedStream cut(const Bytes &bytes, std::size_t size);
/** A clip's pictures in MPEG-TS, a piece for each. */
[[nodiscard]] PushedStream liveTransport(const std::string &file);

} // namespace player::test

#endif
