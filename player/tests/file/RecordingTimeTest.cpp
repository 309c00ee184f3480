// When pictures of files were taken, as far as their containers tell.
#include "player/src/file/ExportStartTime.h"
#include "player/src/port/Port.h"
#include "player/tests/support/Clips.h"
#include "player/tests/support/FakeClock.h"
#include "player/tests/support/FakePlatform.h"
#include "player/tests/support/MemoryBytes.h"
#include "player/tests/support/PushedStream.h"
#include "tests/support/TemporaryFile.h"

#include <gtest/gtest.h>

#include <memory>
#include <utility>

namespace
{

using player::Error;
using player::Port;
using player::test::Bytes;
using player::test::FakeClock;
using player::test::FakePlatform;
using player::test::LiveOptions;

constexpr std::int64_t kTaken = 1700000000000000;

void append(Bytes &bytes, std::uint64_t value, int size)
{
    for (int shift = 8 * (size - 1); shift >= 0; shift -= 8) {
        bytes.push_back(static_cast<std::uint8_t>(value >> shift));
    }
}

void append(Bytes &bytes, const char *letters)
{
    bytes.insert(bytes.end(), letters, letters + 4);
}

/** ISO/IEC 14496-12, 8.16.5: when a fragment's first picture was taken, in seconds since 1900 with 32 bits behind them.
 */
Bytes referenceTimeBox(std::int64_t utc)
{
    constexpr std::int64_t kFrom1900To1970 = 2208988800;
    const auto seconds = static_cast<std::uint64_t>(utc / 1000000 + kFrom1900To1970);
    // Rounded up, so that whoever rounds down comes to the same microsecond.
    const auto part = ((static_cast<std::uint64_t>(utc % 1000000) << 32) + 999999) / 1000000;
    Bytes box;
    append(box, 8 + 4 + 4 + 8 + 8, 4);
    append(box, "prft");
    append(box, 0x01000000, 4);
    append(box, 1, 4);
    append(box, seconds << 32 | part, 8);
    append(box, 0, 8);
    return box;
}

class RecordingTimeTest : public testing::Test
{
protected:
    ~RecordingTimeTest() override
    {
        m_port.close();
    }

    /** What a host gets that writes the device library's records into a file, one after the other. */
    void openSaved(const LiveOptions &options)
    {
        openSaved(player::test::liveMatroska("h264-alaw.mkv", options));
    }

    void openSaved(const player::test::PushedStream &stream)
    {
        Bytes bytes = stream.header;
        for (const auto &record : stream.records) {
            bytes.insert(bytes.end(), record.bytes.begin(), record.bytes.end());
        }
        openBytes(bytes);
        ASSERT_EQ(m_port.play(m_platform.window()), Error::None);
        ASSERT_EQ(m_port.pause(1), Error::None);
        m_clock.settle();
    }

    void openBytes(const Bytes &bytes)
    {
        m_port.closeFile();
        m_pFile = std::make_unique<testsupport::TemporaryFile>("saved-stream.mkv");
        m_pFile->append(bytes);
        ASSERT_EQ(m_port.openFile(m_pFile->path().c_str()), Error::None);
    }

    std::int64_t timeAt(unsigned long milliseconds)
    {
        EXPECT_EQ(m_port.seek(milliseconds), Error::None);
        m_clock.settle();
        std::int64_t time = 0;
        EXPECT_EQ(m_port.timeOnDisplay(time), Error::None);
        return time;
    }

    /** When the first and the last picture were taken. */
    std::pair<std::int64_t, std::int64_t> recorded() const
    {
        std::int64_t first = 0;
        std::int64_t last = 0;
        EXPECT_EQ(m_port.recordingTimes(first, last), Error::None);
        return {first, last};
    }

    std::unique_ptr<testsupport::TemporaryFile> m_pFile;
    FakeClock m_clock;
    FakePlatform m_platform{m_clock};
    Port m_port{m_platform, 0, 0};
};

TEST_F(RecordingTimeTest, IsTheDevicesOwnStampInASavedStream)
{
    LiveOptions options;
    options.captured = kTaken;
    openSaved(options);
    EXPECT_EQ(timeAt(0), kTaken);
    EXPECT_EQ(timeAt(2000), kTaken + 2000000);
    EXPECT_EQ(timeAt(2039), kTaken + 2000000) << "the picture's, not that of the moment";
    EXPECT_EQ(recorded(), std::pair(kTaken, kTaken + 99 * 40000));
}

TEST_F(RecordingTimeTest, OfMatroskaCountsFromItsTimeNought)
{
    LiveOptions options;
    options.date = kTaken;
    options.jumpAt = 0;
    options.jump = 5000;
    openSaved(options);
    EXPECT_EQ(timeAt(0), kTaken + 5000000);
    EXPECT_EQ(timeAt(1000), kTaken + 6000000);
}

TEST_F(RecordingTimeTest, OfMatroskaGoesOnWhereRecordingPaused)
{
    LiveOptions options;
    options.date = kTaken;
    options.jumpAt = 50;
    options.jump = 20000;
    openSaved(options);
    EXPECT_EQ(timeAt(21999), kTaken + 49 * 40000);
    EXPECT_EQ(timeAt(22000), kTaken + 22000000);
    EXPECT_EQ(recorded().second, kTaken + 20000000 + 99 * 40000);
}

TEST_F(RecordingTimeTest, OfFragmentsCountsFromTheProducersReferenceTimeOfTheFirst)
{
    constexpr std::int64_t kOdd = kTaken + 123456;
    auto stream = player::test::liveFragments("h264.mp4");
    for (auto &record : stream.records) {
        const Bytes box = referenceTimeBox(kOdd + record.number * std::int64_t{40000});
        record.bytes.insert(record.bytes.begin(), box.begin(), box.end());
    }
    openSaved(stream);
    EXPECT_EQ(timeAt(0), kOdd);
    EXPECT_EQ(timeAt(2000), kOdd + 2000000);
    EXPECT_EQ(recorded(), std::pair(kOdd, kOdd + 99 * 40000));
}

TEST(ReferenceTime, SurvivesWhateverStandsInTheBox)
{
    const Bytes whole = referenceTimeBox(kTaken);
    for (std::size_t place = 0; place < whole.size(); ++place) {
        for (const int value : {0x00, 0x01, 0x7F, 0xFF}) {
            Bytes bytes = whole;
            bytes[place] = static_cast<std::uint8_t>(value);
            player::test::MemoryBytes source(bytes);
            static_cast<void>(player::firstReferenceTime(source));
        }
        player::test::MemoryBytes cut(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(place)));
        EXPECT_EQ(player::firstReferenceTime(cut), std::nullopt);
    }
}

TEST_F(RecordingTimeTest, IsUnknownWithoutEither)
{
    openSaved(LiveOptions());
    std::int64_t time = 0;
    EXPECT_EQ(m_port.timeOnDisplay(time), Error::NoTime);
    EXPECT_EQ(m_port.recordingTimes(time, time), Error::NoTime);
}

TEST_F(RecordingTimeTest, CountsFromTheDateOfTheFile)
{
    ASSERT_EQ(m_port.openFile(player::test::mediaPath("recorded.mp4").c_str()), Error::None);
    ASSERT_EQ(m_port.play(m_platform.window()), Error::None);
    ASSERT_EQ(m_port.pause(1), Error::None);
    EXPECT_EQ(timeAt(1500), 1709251198000000 + 1480000);
    EXPECT_EQ(recorded(), std::pair(1709251198000000, 1709251198000000 + 99 * 40000));
}

/** A box for file level with the start times of two tracks, the second of which is that of the clip's pictures. */
Bytes exportBox(std::uint64_t entries)
{
    // Tenths of microseconds since 1601.
    constexpr std::uint64_t kTakenSince1601 = (kTaken + 11644473600000000) * 10;
    Bytes box;
    append(box, 8 + 4 + 8 + 4 + 24, 4);
    append(box, "meta");
    append(box, 0, 4);
    append(box, 8 + 4 + 24, 4);
    append(box, "cstb");
    append(box, entries, 4);
    append(box, 77, 4);
    append(box, kTakenSince1601 + 70000000, 8);
    append(box, 1, 4);
    append(box, kTakenSince1601, 8);
    return box;
}

TEST_F(RecordingTimeTest, IsThatOfTheStartTimeBoxInAnExportedFile)
{
    for (const std::uint64_t entries : {std::uint64_t{2}, std::uint64_t{0xFFFFFFFF}}) {
        Bytes bytes = player::test::bytesOf(player::test::mediaPath("recorded.mp4"));
        const Bytes box = exportBox(entries);
        bytes.insert(bytes.end(), box.begin(), box.end());
        openBytes(bytes);
        EXPECT_NEAR(static_cast<double>(recorded().first), static_cast<double>(kTaken), 100000);
    }
}

TEST(ExportStartTime, SurvivesWhateverStandsInTheBoxes)
{
    const Bytes whole = exportBox(2);
    for (std::size_t place = 0; place < whole.size(); ++place) {
        for (const int value : {0x00, 0x01, 0x7F, 0xFF}) {
            Bytes bytes = whole;
            bytes[place] = static_cast<std::uint8_t>(value);
            player::test::MemoryBytes source(bytes);
            static_cast<void>(player::exportStartTime(source, 1));
        }
        player::test::MemoryBytes cut(Bytes(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(place)));
        EXPECT_EQ(player::exportStartTime(cut, 1), std::nullopt);
    }
}

} // namespace
