// Streams whose time stamps are missing, repeat or never change: each picture comes out, in its order and at its own
// time.
#include "player/tests/support/Clips.h"
#include "player/tests/support/Collector.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <string>

namespace
{

using namespace std::chrono_literals;
using player::StreamMode;
using player::test::Bytes;
using player::test::CodedPicture;
using player::test::Collector;
using player::test::liveMatroska;
using player::test::LiveOptions;
using player::test::liveProgram;
using player::test::liveRaw;
using player::test::liveTransport;
using player::test::PushedStream;
using player::test::range;
using player::test::Record;
using testing::ElementsAreArray;

/** What is done to the stamps. */
enum class Stamps {
    AllMissing,
    OddMissing, /**< those of each second picture in the order of sending */
    Repeated,   /**< two pictures, one shown after the other, have those of the first */
    Constant
};

/** ISO 13818-1: the time in five bytes, between marker bits. */
void writeTime(std::uint8_t *p, std::uint64_t ticks)
{
    p[0] = static_cast<std::uint8_t>((p[0] & 0xF0) | (ticks >> 29 & 0xE) | 1);
    p[1] = static_cast<std::uint8_t>(ticks >> 22);
    p[2] = static_cast<std::uint8_t>((ticks >> 14 & 0xFE) | 1);
    p[3] = static_cast<std::uint8_t>(ticks >> 7);
    p[4] = static_cast<std::uint8_t>((ticks << 1 & 0xFE) | 1);
}

std::uint64_t timeAt(const std::uint8_t *p)
{
    return (std::uint64_t{p[0]} >> 1 & 7) << 30 | std::uint64_t{p[1]} << 22 | (std::uint64_t{p[2]} >> 1) << 15 |
           std::uint64_t{p[3]} << 7 | std::uint64_t{p[4]} >> 1;
}

/** The header of a packet of pictures (PES) in MPEG-TS or MPEG-PS that has times; null where there is none. */
std::uint8_t *timedPacket(Bytes &bytes)
{
    for (std::size_t i = 0; i + 19 <= bytes.size(); ++i) {
        std::uint8_t *p = bytes.data() + i;
        if (p[0] == 0 && p[1] == 0 && p[2] == 1 && p[3] == 0xE0 && (p[6] & 0xC0) == 0x80 && (p[7] & 0x80) != 0) {
            return p;
        }
    }
    return nullptr;
}

void removeTimes(std::uint8_t *pPacket)
{
    pPacket[7] &= 0x3F;
    std::fill_n(pPacket + 9, pPacket[8], std::uint8_t{0xFF});
}

/** A picture's time, its clock's ticks in a picture. */
std::int64_t changed(std::int64_t time, std::int64_t ticks, Stamps stamps)
{
    return stamps == Stamps::Constant ? ticks : stamps == Stamps::Repeated ? time - time % (2 * ticks) : time;
}

/** Changes them where they stand in the stream, whatever its muxer thinks of it. Answers how many there were. */
int change(PushedStream &stream, Stamps stamps)
{
    constexpr std::int64_t kTicks = 3600;
    std::vector<Bytes *> pictures{&stream.header};
    for (Record &record : stream.records) {
        pictures.push_back(&record.bytes);
    }
    int place = 0;
    for (Bytes *pBytes : pictures) {
        std::uint8_t *pPacket = timedPacket(*pBytes);
        if (!pPacket) {
            continue;
        }
        const bool bOdd = place++ % 2 == 1;
        if (stamps == Stamps::AllMissing || (stamps == Stamps::OddMissing && bOdd)) {
            removeTimes(pPacket);
            continue;
        }
        for (std::uint8_t *p = pPacket + 9; p < pPacket + 9 + pPacket[8]; p += 5) {
            writeTime(p, static_cast<std::uint64_t>(changed(static_cast<std::int64_t>(timeAt(p)), kTicks, stamps)));
        }
    }
    return place;
}

PushedStream transport(const std::string &file, Stamps stamps)
{
    PushedStream stream = liveTransport(file);
    EXPECT_EQ(change(stream, stamps), 100);
    return stream;
}

PushedStream program(const std::string &file, Stamps stamps)
{
    PushedStream stream = liveProgram(file);
    EXPECT_EQ(change(stream, stamps), 100);
    return stream;
}

/** Each block of Matroska has a time, and none says when it was sent. */
PushedStream matroska(const std::string &file, Stamps stamps)
{
    LiveOptions options;
    options.edit = [=](CodedPicture &picture) {
        picture.pts = changed(picture.pts, 40, stamps);
        picture.dts = picture.pts;
    };
    return liveMatroska(file, options);
}

/** Without any, always. */
PushedStream raw(const std::string &file, Stamps)
{
    return liveRaw(file);
}

struct Stream {
    const char *name;
    PushedStream (*make)(const std::string &file, Stamps stamps);
    const char *file;
    Stamps stamps;
    /** The last picture that comes out while the stream goes on. */
    int last;
};

void PrintTo(const Stream &stream, std::ostream *pStream)
{
    *pStream << stream.name;
}

class BadTimeStamps : public testing::TestWithParam<Stream>
{
protected:
    static void expectAllOf(Collector &collector, int from)
    {
        auto numbers = collector.numbers();
        numbers.erase(numbers.begin(), std::find(numbers.begin(), numbers.end(), from));
        EXPECT_THAT(numbers, ElementsAreArray(range(from, GetParam().last + 1)));
        const auto &pictures = collector.pictures();
        for (std::size_t i = 1; i < pictures.size(); ++i) {
            EXPECT_GT(pictures[i].time, pictures[i - 1].time) << i;
        }
    }
};

TEST_P(BadTimeStamps, CostNoPictureAndGlueNoneTogether)
{
    const PushedStream stream = GetParam().make(GetParam().file, GetParam().stamps);
    Collector collector(stream.header);
    collector.push(stream, 0, stream.records.size());
    expectAllOf(collector, 0);
}

TEST_P(BadTimeStamps, MakeNoPictureLateThatComesInTime)
{
    const PushedStream stream = GetParam().make(GetParam().file, GetParam().stamps);
    constexpr std::size_t kSourceBuffer = 5 * 1024 * 1024;
    Collector collector(stream.header, kSourceBuffer, StreamMode::RealTime);
    collector.pushPaced(stream, 0, stream.records.size(), 40ms);
    // A program stream is known by its third picture; those before it have come too long ago by then.
    constexpr int kKnown = 6;
    expectAllOf(collector, kKnown);
}

constexpr char kPlain[] = "h264.avi";
constexpr char kReordered[] = "h264.ts";

INSTANTIATE_TEST_SUITE_P(
    Streams, BadTimeStamps,
    testing::Values(Stream{"matroska_repeated", matroska, kPlain, Stamps::Repeated, 99},
                    Stream{"matroska_constant", matroska, kPlain, Stamps::Constant, 99},
                    Stream{"matroska_reordered_repeated", matroska, kReordered, Stamps::Repeated, 97},
                    Stream{"matroska_reordered_constant", matroska, kReordered, Stamps::Constant, 97},
                    Stream{"transport_missing", transport, kPlain, Stamps::AllMissing, 97},
                    Stream{"transport_odd_missing", transport, kPlain, Stamps::OddMissing, 97},
                    Stream{"transport_repeated", transport, kPlain, Stamps::Repeated, 97},
                    Stream{"transport_constant", transport, kPlain, Stamps::Constant, 97},
                    Stream{"transport_reordered_missing", transport, kReordered, Stamps::AllMissing, 95},
                    Stream{"transport_reordered_odd_missing", transport, kReordered, Stamps::OddMissing, 95},
                    Stream{"transport_reordered_repeated", transport, kReordered, Stamps::Repeated, 95},
                    Stream{"transport_reordered_constant", transport, kReordered, Stamps::Constant, 95},
                    Stream{"program_missing", program, kPlain, Stamps::AllMissing, 98},
                    Stream{"program_odd_missing", program, kPlain, Stamps::OddMissing, 98},
                    Stream{"program_repeated", program, kPlain, Stamps::Repeated, 98},
                    Stream{"program_constant", program, kPlain, Stamps::Constant, 98},
                    Stream{"program_reordered_missing", program, kReordered, Stamps::AllMissing, 96},
                    Stream{"program_reordered_odd_missing", program, kReordered, Stamps::OddMissing, 96},
                    Stream{"program_reordered_repeated", program, kReordered, Stamps::Repeated, 96},
                    Stream{"program_reordered_constant", program, kReordered, Stamps::Constant, 96},
                    Stream{"raw", raw, kPlain, Stamps::AllMissing, 98},
                    Stream{"raw_reordered", raw, kReordered, Stamps::AllMissing, 96}),
    [](const auto &row) { return std::string(row.param.name); });

} // namespace
