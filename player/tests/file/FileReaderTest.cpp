// What is read ahead, and for whom: neither the pictures nor the sinks hold the other up.
#include "player/src/file/FileReader.h"

#include "player/tests/support/Clips.h"
#include "player/tests/support/CollectingSink.h"
#include "player/tests/support/FakeClock.h"
#include "player/tests/support/StdioBytes.h"

#include <gtest/gtest.h>

namespace
{

using player::CodedPicture;
using player::FileReader;
using player::test::CollectingSink;
using player::test::FakeClock;

constexpr std::int64_t kSecond = 1000000;

class FileReaderTest : public testing::Test
{
protected:
    ~FileReaderTest() override
    {
        if (m_pReader) {
            m_pReader->stop();
        }
    }

    void open(const std::string &file)
    {
        m_pReader =
            std::make_unique<FileReader>(m_clock, player::test::StdioBytes::open(player::test::mediaPath(file)));
        m_pReader->open();
        m_pReader->setFirstTick(m_pReader->pictureStream().start_time);
    }

    void start()
    {
        m_pReader->start();
        m_clock.settle();
    }

    int readAll()
    {
        int pictures = 0;
        for (CodedPicture picture; m_pReader->read(picture);) {
            EXPECT_EQ(picture.number, pictures);
            ++pictures;
        }
        return pictures;
    }

    FakeClock m_clock;
    std::shared_ptr<CollectingSink> m_pSound = std::make_shared<CollectingSink>();
    std::unique_ptr<FileReader> m_pReader;
};

TEST_F(FileReaderTest, GivesEveryPictureInTheOrderOfTheFileWithAndWithoutAThread)
{
    open("h264.mp4");
    EXPECT_EQ(readAll(), 100);
    ASSERT_TRUE(m_pReader->rewind(0));
    m_pReader->start();
    EXPECT_EQ(readAll(), 100);
}

TEST_F(FileReaderTest, APictureQueueThatIsFullDoesNotStopSound)
{
    open("long.mp4");
    m_pReader->attach(m_pSound);
    start();
    ASSERT_FALSE(m_pSound->entries().empty());
    const std::int64_t first = m_pSound->entries().back().time;
    EXPECT_GT(first, 3 * kSecond) << "sound that has too little is read on for";
    EXPECT_LT(first, 6 * kSecond) << "but not without a bound";
}

TEST_F(FileReaderTest, ReadsASecondAheadForASinkThatHasEnough)
{
    open("long.mp4");
    m_pSound->m_bEnough = true;
    m_pReader->attach(m_pSound);
    start();
    ASSERT_FALSE(m_pSound->entries().empty());
    EXPECT_LT(m_pSound->entries().front().time, kSecond / 10) << "what was read while it was opened is not lost";
    EXPECT_LT(m_pSound->entries().back().time, 2 * kSecond);
}

TEST_F(FileReaderTest, ASinkThatTakesNothingDoesNotStopPictures)
{
    open("h264.mp4");
    m_pSound->m_bEnough = true;
    m_pReader->attach(m_pSound);
    m_pReader->start();
    EXPECT_EQ(readAll(), 100);
    m_clock.settle();
    EXPECT_EQ(m_pSound->m_nEnds, 1);
}

TEST_F(FileReaderTest, ReadsOnWhenASinkHasComeToWantMore)
{
    open("long.mp4");
    m_pSound->m_bEnough = true;
    m_pReader->attach(m_pSound);
    start();
    const std::size_t before = m_pSound->entries().size();
    m_pSound->m_bEnough = false;
    m_pReader->moreWanted();
    m_clock.settle();
    EXPECT_GT(m_pSound->entries().size(), before + 50);
}

TEST_F(FileReaderTest, RefillsInBursts)
{
    open("long.mp4");
    start();
    CodedPicture picture;
    const int before = m_clock.wakes();
    for (int i = 0; i < 100; ++i) {
        ASSERT_TRUE(m_pReader->read(picture));
        m_clock.settle();
    }
    EXPECT_LE(m_clock.wakes() - before, 10) << "a second holds 25 pictures";
}

TEST_F(FileReaderTest, ASeekVoidsWhatSinksHaveAndGoesOnThere)
{
    open("long.mp4");
    m_pReader->attach(m_pSound);
    start();
    const unsigned before = m_pSound->m_nGeneration;
    m_pSound->forget();
    const AVRational tick = m_pReader->pictureStream().time_base;
    ASSERT_TRUE(m_pReader->seek(av_rescale_q(60 * kSecond, {1, 1000000}, tick), 60 * kSecond));
    m_clock.settle();
    EXPECT_GT(m_pSound->m_nGeneration, before);
    ASSERT_FALSE(m_pSound->entries().empty());
    EXPECT_NEAR(static_cast<double>(m_pSound->entries().front().time), 60e6, 3e6);
    EXPECT_EQ(m_pSound->entries().front().generation, m_pSound->m_nGeneration);
}

TEST_F(FileReaderTest, ASinkThatIsTakenAwayIsCalledNoMore)
{
    open("long.mp4");
    m_pReader->attach(m_pSound);
    start();
    m_pReader->attach(nullptr);
    m_pSound->forget();
    readAll();
    m_clock.settle();
    EXPECT_TRUE(m_pSound->entries().empty());
    EXPECT_EQ(m_pSound.use_count(), 1);
}

TEST_F(FileReaderTest, AStreamThatItsSinkCannotUseIsDiscarded)
{
    open("h264.mp4");
    m_pSound->m_bUseless = true;
    m_pReader->attach(m_pSound);
    m_pReader->start();
    readAll();
    EXPECT_TRUE(m_pSound->entries().empty());
    EXPECT_EQ(m_pSound->m_codec, static_cast<int>(AV_CODEC_ID_AAC));
}

TEST_F(FileReaderTest, SoundStandsOnTheLineOfThePictures)
{
    for (const char *file : {"start-5s.mkv", "start-1h.ts", "h264.avi", "h264.flv"}) {
        m_pSound = std::make_shared<CollectingSink>();
        open(file);
        m_pReader->attach(m_pSound);
        start();
        readAll();
        ASSERT_FALSE(m_pSound->entries().empty()) << file;
        EXPECT_NEAR(static_cast<double>(m_pSound->entries().front().time), 0, 150000) << file;
        m_pReader->stop();
    }
}

} // namespace
