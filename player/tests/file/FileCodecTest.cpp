// Which of its two decoders a file is decoded by, and that no picture is lost where the other one goes on.
#include "player/src/file/FileDecoder.h"
#include "player/src/file/FileIndexer.h"
#include "player/tests/support/AwaitingClock.h"
#include "player/tests/support/Clips.h"
#include "player/tests/support/FakePlatform.h"
#include "player/tests/support/MemoryBytes.h"
#include "player/tests/support/PlainDecoding.h"
#include "player/tests/support/PushedStream.h"

#include <gtest/gtest.h>

namespace
{

using player::DecoderThreads;
using player::FileDecoder;
using player::Picture;
using player::test::Clip;
using player::test::mediaPath;
using player::test::MemoryBytes;

constexpr int kPlaying = 1;
constexpr int kHurried = 2;

bool never()
{
    return false;
}

/** A decoder of two shapes, whatever the pictures' size, with its index complete. */
class TwoShapes
{
public:
    explicit TwoShapes(const std::string &path) : TwoShapes(player::test::bytesOf(path)) {}

    explicit TwoShapes(const std::vector<std::uint8_t> &bytes)
        : m_decoder(m_clock, std::make_unique<MemoryBytes>(bytes),
                    [](int, int) {
                        return DecoderThreads{kPlaying, kHurried};
                    }),
          m_pIndex(std::make_shared<player::FileIndex>(m_clock))
    {
        const player::FileFacts &facts = m_decoder.facts();
        m_pIndexer = std::make_shared<player::FileIndexer>(
            m_platform, std::make_unique<MemoryBytes>(bytes),
            player::FileIndexer::Beginning{facts.firstNumber, facts.firstTick, facts.nominalDuration}, m_pIndex,
            player::FileIndexer::News{never, [] {}});
        m_pIndexer->start();
        m_pIndexer->begin();
        m_pIndex->waitFor(INT64_MAX, never, std::nullopt);
        m_decoder.setIndex(m_pIndex);
    }

    ~TwoShapes()
    {
        m_pIndexer->stop();
    }

    TwoShapes(const TwoShapes &) = delete;
    TwoShapes &operator=(const TwoShapes &) = delete;

    FileDecoder *operator->()
    {
        return &m_decoder;
    }

    /** What is played behind the picture that was sought is all there; how many pictures the hurried one gave. */
    int hurriedUntilTheEnd(const std::vector<player::test::PlainPicture> &pictures, std::size_t from)
    {
        int hurried = 0;
        for (std::size_t i = from; i < pictures.size(); ++i) {
            const Picture picture = m_decoder.next();
            EXPECT_TRUE(picture) << i;
            if (!picture) {
                return hurried;
            }
            EXPECT_EQ(player::test::checksumOf(*picture.pFrame), pictures[i].checksum) << i;
            // The first one was decoded ahead of the index.
            EXPECT_TRUE(i == 0 || picture.ordinal == static_cast<std::int64_t>(i)) << i;
            hurried += m_decoder.threads() == kHurried ? 1 : 0;
            // As a feed does for each picture while it plays at normal speed.
            m_decoder.setHurried(false);
        }
        EXPECT_FALSE(m_decoder.next());
        return hurried;
    }

private:
    player::test::AwaitingClock m_clock;
    player::test::FakePlatform m_platform{m_clock};
    FileDecoder m_decoder;
    std::shared_ptr<player::FileIndex> m_pIndex;
    std::shared_ptr<player::FileIndexer> m_pIndexer;
};

class EveryNumberedClip : public testing::TestWithParam<Clip>
{
};

TEST_P(EveryNumberedClip, LosesNoPictureWhereTheOtherDecoderGoesOn)
{
    const auto pictures = player::test::decodePlainly(GetParam().path());
    TwoShapes decoder(GetParam().path());
    EXPECT_EQ(decoder->threads(), kPlaying);
    static_cast<void>(decoder.hurriedUntilTheEnd(pictures, 0));
    for (const std::size_t target : {pictures.size() / 3, pictures.size() - 2, std::size_t{1}}) {
        const Picture found = decoder->seek(pictures[target].time, never);
        ASSERT_TRUE(found) << target;
        EXPECT_EQ(player::test::checksumOf(*found.pFrame), pictures[target].checksum) << target;
        static_cast<void>(decoder.hurriedUntilTheEnd(pictures, target + 1));
    }
}

std::vector<Clip> someClips()
{
    std::vector<Clip> clips;
    for (const Clip &candidate : player::test::numberedClips()) {
        const bool bSmall = std::int64_t{candidate.width} * candidate.height <= 600 * 600;
        if (bSmall && candidate.pictures >= 10 && candidate.pictures <= 300) {
            clips.push_back(candidate);
        }
    }
    return clips;
}

INSTANTIATE_TEST_SUITE_P(Clips, EveryNumberedClip, testing::ValuesIn(someClips()),
                         [](const auto &row) { return player::test::testName(row.param.file); });

class FileCodec : public testing::TestWithParam<const char *>
{
};

TEST_P(FileCodec, HurriesForASeekAndUpToTheNextKeyPicture)
{
    const auto pictures = player::test::decodePlainly(mediaPath(GetParam()));
    TwoShapes decoder(mediaPath(GetParam()));
    ASSERT_TRUE(decoder->seek(pictures[30].time, never));
    EXPECT_EQ(decoder->threads(), kHurried);
    // There is a key picture every 25 in all of these.
    EXPECT_LE(decoder.hurriedUntilTheEnd(pictures, 31), 25);
    EXPECT_EQ(decoder->threads(), kPlaying);
}

INSTANTIATE_TEST_SUITE_P(Clips, FileCodec, testing::Values("h264.mp4", "h264.ts", "vp9.webm"),
                         [](const auto &row) { return player::test::testName(row.param); });

class NoPlaceForAChange : public testing::TestWithParam<const char *>
{
};

TEST_P(NoPlaceForAChange, GoesOnInTheSameDecoder)
{
    // Pictures that are shown before a key picture and need those in front of it; or key pictures that are none.
    const auto pictures = player::test::decodePlainly(mediaPath(GetParam()));
    TwoShapes decoder(mediaPath(GetParam()));
    decoder->setHurried(true);
    for (std::size_t i = 0; i < pictures.size(); ++i) {
        const Picture picture = decoder->next();
        ASSERT_TRUE(picture) << i;
        EXPECT_EQ(player::test::checksumOf(*picture.pFrame), pictures[i].checksum) << i;
        EXPECT_EQ(decoder->threads(), kPlaying) << i;
    }
}

INSTANTIATE_TEST_SUITE_P(Clips, NoPlaceForAChange,
                         testing::Values("open-gop.mkv", "h265-open-gop.mkv", "intra-refresh.mkv", "one-gop.mp4"),
                         [](const auto &row) { return player::test::testName(row.param); });

TEST(FileCodecParameters, ReachTheOtherDecoderThatHasNotHeardOfThem)
{
    // FLV tells its parameters once, ahead of the pictures that they are for.
    constexpr std::size_t kFileHead = 13;
    constexpr int kOfEach = 100;
    auto bytes = player::test::liveFlash("h264.mp4").header;
    const auto append = [&](const player::test::Bytes &more, std::size_t from) {
        bytes.insert(bytes.end(), more.begin() + static_cast<std::ptrdiff_t>(from), more.end());
    };
    for (const char *file : {"h264.mp4", "long.mp4"}) {
        const auto stream = player::test::liveFlash(file);
        if (file != std::string("h264.mp4")) {
            append(stream.header, kFileHead);
        }
        for (int i = 0; i < kOfEach; ++i) {
            append(stream.records[static_cast<std::size_t>(i)].bytes, 0);
        }
    }
    TwoShapes decoder(bytes);
    std::vector<Picture> played;
    for (Picture picture = decoder->next(); picture; picture = decoder->next()) {
        played.push_back(picture);
    }
    ASSERT_GT(played.size(), 190U);
    const Picture &target = played[180];
    ASSERT_EQ(target.shape.width, 160);
    const Picture found = decoder->seek(target.time, never);
    ASSERT_TRUE(found);
    EXPECT_EQ(decoder->threads(), kHurried);
    EXPECT_EQ(found.shape.width, 160);
    EXPECT_EQ(player::test::checksumOf(*found.pFrame), player::test::checksumOf(*target.pFrame));
}

} // namespace
