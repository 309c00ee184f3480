#ifndef PLAYER_PUSHEDSTREAM_H
#define PLAYER_PUSHEDSTREAM_H

#include "player/src/port/Port.h"

#include <cstdint>
#include <functional>
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
    /** What its packet's time says, in milliseconds, and how long its sound lasts; Matroska alone. */
    std::int64_t time = 0;
    std::int64_t duration = 0;
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

/** A coded picture on its way into a container. */
struct CodedPicture {
    Bytes bytes;
    bool key = false;
    /** A length stands before each of its units, not a start code. */
    bool lengths = false;
    /** In the order of showing. */
    int number = -1;
    /** In the container's ticks. Without a pts, MPEG-PS tells neither. */
    std::int64_t pts = 0;
    std::int64_t dts = 0;
};

struct LiveOptions {
    /** Microseconds since 1970 of picture 0, as the capture time of each picture; 0 for none. */
    std::int64_t captured = 0;
    /** The same as the date in the header. */
    std::int64_t date = 0;
    bool pictures = true;
    bool sound = false;
    /** A text track of metadata with an entry before each picture. */
    bool metadata = false;
    /** What such an entry says, of a picture, which has none where that is empty; nothing but blanks without. */
    std::function<std::string(int number)> document = nullptr;
    /** Added to the times of the pictures from that one on, in milliseconds. */
    int jumpAt = -1;
    std::int64_t jump = 0;
    /** Changes each picture before it is written. */
    std::function<void(CodedPicture &picture)> edit = nullptr;
};

/** A clip in live Matroska as a device library writes it: one cluster with one block for each packet. */
[[nodiscard]] PushedStream liveMatroska(const std::string &file, const LiveOptions &options = {});
/** Any clip as it is, cut into pieces of a size, the first of which is the header. */
[[nodiscard]] PushedStream cut(const Bytes &bytes, std::size_t size);
// A clip's pictures in other containers, a piece for each. Of the options the editing alone counts.

[[nodiscard]] PushedStream liveTransport(const std::string &file, const LiveOptions &options = {});
/** MPEG-PS. */
[[nodiscard]] PushedStream liveProgram(const std::string &file, const LiveOptions &options = {});
/** Fragmented MP4, a fragment for each picture. */
[[nodiscard]] PushedStream liveFragments(const std::string &file, const LiveOptions &options = {});
/** Of H.264 with lengths before its units. */
[[nodiscard]] PushedStream liveFlash(const std::string &file, const LiveOptions &options = {});
/** Nothing but the pictures. */
[[nodiscard]] PushedStream liveRaw(const std::string &file, const LiveOptions &options = {});

/** Puts a unit behind a coded picture. */
void appendUnit(CodedPicture &picture, const Bytes &unit);
/** The units of a picture of H.264 or H.265, without the start codes or lengths before them. */
[[nodiscard]] std::vector<Bytes> unitsOf(const CodedPicture &picture);
/** A unit of H.264 that means nothing, of about that size. */
[[nodiscard]] Bytes filler(std::size_t size);

} // namespace player::test

#endif
