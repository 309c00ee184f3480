// Files on a server that does not answer: nobody waits for it who does not have to.
#include "player/src/port/Port.h"
#include "player/tests/support/Clips.h"
#include "player/tests/support/FakeClock.h"
#include "player/tests/support/FakePlatform.h"
#include "player/tests/support/SilentBytes.h"
#include "player/tests/support/StdioBytes.h"

#include <gtest/gtest.h>

#include <atomic>
#include <future>

namespace
{

using namespace std::chrono_literals;
using player::ByteSource;
using player::Error;
using player::Port;
using player::test::FakeClock;
using player::test::FakePlatform;
using player::test::mediaPath;
using player::test::SilentBytes;
using player::test::SilentServer;
using player::test::StdioBytes;

class ASilentServer : public testing::Test
{
protected:
    void SetUp() override
    {
        m_platform.openBy([this](const char *path) -> std::unique_ptr<ByteSource> {
            if (m_bSilentToOpen) {
                const std::atomic<bool> interrupted{false};
                m_pServer->answer(interrupted);
            }
            auto pBytes = StdioBytes::open(path);
            return pBytes ? std::make_unique<SilentBytes>(m_pServer, std::move(pBytes)) : nullptr;
        });
    }

    void TearDown() override
    {
        m_pServer->setSilent(false);
        m_port->close();
        m_clock.settle();
        EXPECT_EQ(m_platform.presenters(), 0);
    }

    static std::string path()
    {
        return mediaPath("recorded.mkv");
    }

    std::future<Error> beginOpening()
    {
        return std::async(std::launch::async, [this] { return m_port->openFile(path().c_str()); });
    }

    /** What is opened next is played. */
    void expectThatItPlays()
    {
        m_pServer->setSilent(false);
        ASSERT_EQ(m_port->openFile(path().c_str()), Error::None);
        ASSERT_EQ(m_port->play(m_platform.window()), Error::None);
        m_clock.advance(100ms);
        EXPECT_GE(m_platform.number(), 1);
    }

    /** On display is the picture at one second, and a seek waits for the server. */
    void beginSeeking()
    {
        ASSERT_EQ(m_port->openFile(path().c_str()), Error::None);
        ASSERT_EQ(m_port->play(m_platform.window()), Error::None);
        ASSERT_EQ(m_port->pause(1), Error::None);
        ASSERT_EQ(m_port->seek(1000), Error::None);
        ASSERT_TRUE(m_clock.advanceUntil([this] { return m_platform.number() == 25; }));
        m_pServer->setSilent(true);
        ASSERT_EQ(m_port->seek(3000), Error::None);
        m_pServer->awaitCaller();
    }

    FakeClock m_clock;
    std::shared_ptr<SilentServer> m_pServer = std::make_shared<SilentServer>(m_clock);
    FakePlatform m_platform{m_clock};
    std::atomic<bool> m_bSilentToOpen{false};
    std::shared_ptr<Port> m_port = std::make_shared<Port>(m_platform, 1, 0);
};

TEST_F(ASilentServer, KeepsAnOpeningUntilTheFileIsClosed)
{
    m_bSilentToOpen = true;
    m_pServer->setSilent(true);
    auto opening = beginOpening();
    m_pServer->awaitCaller();
    EXPECT_EQ(m_port->openFile(path().c_str()), Error::Order) << "one is under way";
    EXPECT_EQ(m_port->closeFile(), Error::None);
    EXPECT_EQ(opening.get(), Error::Open);
    EXPECT_EQ(m_port->closeFile(), Error::Order);
    expectThatItPlays();
}

TEST_F(ASilentServer, KeepsAnOpeningThatReadsUntilTheFileIsClosed)
{
    m_pServer->setSilent(true);
    auto opening = beginOpening();
    m_pServer->awaitCaller();
    EXPECT_EQ(m_port->closeFile(), Error::None);
    EXPECT_EQ(opening.get(), Error::Open);
    expectThatItPlays();
}

TEST_F(ASilentServer, KeepsAnOpeningUntilThePortIsFreed)
{
    for (const bool bSilentToOpen : {true, false}) {
        m_bSilentToOpen = bSilentToOpen;
        m_pServer->setSilent(true);
        auto opening = beginOpening();
        m_pServer->awaitCaller();
        m_port->close();
        EXPECT_EQ(opening.get(), Error::Open);
        m_pServer->setSilent(false);
    }
}

TEST_F(ASilentServer, ThatAnswersInTheEndHasItsFilePlayed)
{
    m_bSilentToOpen = true;
    m_pServer->setSilent(true);
    auto opening = beginOpening();
    m_pServer->awaitCaller();
    m_pServer->setSilent(false);
    EXPECT_EQ(opening.get(), Error::None);
    ASSERT_EQ(m_port->play(m_platform.window()), Error::None);
    m_clock.advance(100ms);
    EXPECT_GE(m_platform.number(), 1);
}

TEST_F(ASilentServer, KeepsTheIndexAndNobodyElse)
{
    m_bSilentToOpen = true;
    ASSERT_EQ(m_port->openFile(path().c_str()), Error::None);
    m_pServer->setSilent(true);
    ASSERT_EQ(m_port->stepBack(), Error::Order);
    ASSERT_EQ(m_port->seek(0), Error::None) << "the index begins";
    m_pServer->awaitCaller();
    EXPECT_EQ(m_port->closeFile(), Error::None);
    m_pServer->setSilent(false);
    m_bSilentToOpen = false;
    expectThatItPlays();
}

TEST_F(ASilentServer, KeepsNobodyWhoAsksForTimesAndSizes)
{
    beginSeeking();
    const auto now = m_clock.now();
    std::int64_t time = 0;
    EXPECT_EQ(m_port->timeOnDisplay(time), Error::None);
    EXPECT_EQ(time, 1709251198500000 + 1000000) << "of what is on display";
    int width = 0;
    int height = 0;
    EXPECT_EQ(m_port->pictureSize(width, height), Error::None);
    EXPECT_EQ(width, 320);
    unsigned long seconds = 0;
    EXPECT_EQ(m_port->playedSeconds(seconds), Error::None);
    EXPECT_EQ(m_port->lengthSeconds(seconds), Error::None);
    EXPECT_EQ(seconds, 4u);
    EXPECT_EQ(m_clock.now(), now) << "no time has passed";
}

TEST_F(ASilentServer, KeepsACaptureForHalfASecond)
{
    beginSeeking();
    const auto now = m_clock.now();
    std::vector<std::uint8_t> file;
    EXPECT_EQ(m_port->jpeg(std::nullopt, 85, file), Error::NoPicture);
    EXPECT_EQ(m_clock.now() - now, 500ms);
    m_pServer->setSilent(false);
    EXPECT_EQ(m_port->jpeg(std::nullopt, 85, file), Error::None);
    EXPECT_FALSE(file.empty());
}

TEST_F(ASilentServer, KeepsAStepForHalfASecond)
{
    beginSeeking();
    const auto now = m_clock.now();
    EXPECT_EQ(m_port->stepForward(), Error::NoPicture);
    EXPECT_EQ(m_clock.now() - now, 500ms);
    m_pServer->setSilent(false);
    EXPECT_EQ(m_port->stepForward(), Error::None);
    EXPECT_TRUE(m_clock.advanceUntil([this] { return m_platform.number() == 76; }));
}

} // namespace
