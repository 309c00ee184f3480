// The index, and steps back by it, through a port.
#include "player/src/core/Condition.h"
#include "player/src/port/Port.h"
#include "player/tests/support/Clips.h"
#include "player/tests/support/FakeClock.h"
#include "player/tests/support/FakePlatform.h"

#include <gtest/gtest.h>

#include <atomic>

namespace
{

using namespace std::chrono_literals;
using player::ByteSource;
using player::Error;
using player::Port;
using player::test::Clip;
using player::test::clip;
using player::test::FakeClock;
using player::test::FakePlatform;

/** A file on a share that does not answer for the time being. */
class HeldBytes : public ByteSource
{
public:
    HeldBytes(player::Clock &clock, std::unique_ptr<ByteSource> pBytes, const std::atomic<bool> &held)
        : m_held(held), m_changed(clock), m_pBytes(std::move(pBytes))
    {
    }

    int read(std::uint8_t *pBuffer, int size) override
    {
        std::unique_lock lock(m_mutex);
        while (m_held && !m_bInterrupted) {
            m_changed.waitUntil(lock, player::Moment::max());
        }
        return m_bInterrupted ? -1 : m_pBytes->read(pBuffer, size);
    }

    bool seek(std::int64_t position) override
    {
        return m_pBytes->seek(position);
    }

    [[nodiscard]] std::int64_t size() const override
    {
        return m_pBytes->size();
    }

    void interrupt() override
    {
        {
            const std::lock_guard lock(m_mutex);
            m_bInterrupted = true;
        }
        m_changed.notifyAll();
    }

    void look()
    {
        {
            const std::lock_guard lock(m_mutex);
        }
        m_changed.notifyAll();
    }

private:
    const std::atomic<bool> &m_held;
    std::mutex m_mutex;
    player::Condition m_changed;
    bool m_bInterrupted = false;
    std::unique_ptr<ByteSource> m_pBytes;
};

/** Where the second opening of a file, which is the index's, can be held up. */
class SlowIndexPlatform : public FakePlatform
{
public:
    explicit SlowIndexPlatform(FakeClock &clock) : FakePlatform(clock), m_clock(clock) {}

    ~SlowIndexPlatform() override
    {
        end();
    }

    std::unique_ptr<ByteSource> openFile(const char *path) override
    {
        auto pBytes = FakePlatform::openFile(path);
        if (!pBytes || m_nOpened++ % 2 == 0) {
            return pBytes;
        }
        auto pHeld = std::make_unique<HeldBytes>(m_clock, std::move(pBytes), m_bHeld);
        m_pLatest = pHeld.get();
        return pHeld;
    }

    [[nodiscard]] int opened() const
    {
        return m_nOpened;
    }

    void hold()
    {
        m_bHeld = true;
    }

    void release()
    {
        m_bHeld = false;
        if (HeldBytes *const pLatest = m_pLatest) {
            pLatest->look();
        }
    }

private:
    FakeClock &m_clock;
    std::atomic<bool> m_bHeld{false};
    std::atomic<int> m_nOpened{0};
    std::atomic<HeldBytes *> m_pLatest{nullptr};
};

class StepBackTest : public testing::Test
{
protected:
    void SetUp() override
    {
        m_port.callbacks().fileIndex.set([this] { ++m_nComplete; });
    }

    ~StepBackTest() override
    {
        m_port.close();
    }

    void holdAt(const std::string &file, unsigned long milliseconds)
    {
        ASSERT_EQ(m_port.openFile(clip(file).path().c_str()), Error::None);
        ASSERT_EQ(m_port.play(m_platform.window()), Error::None);
        ASSERT_EQ(m_port.pause(1), Error::None);
        ASSERT_EQ(m_port.seek(milliseconds), Error::None);
        m_clock.settle();
    }

    int shown()
    {
        m_clock.settle();
        return m_platform.number();
    }

    FakeClock m_clock;
    SlowIndexPlatform m_platform{m_clock};
    Port m_port{m_platform, 0, 0};
    std::atomic<int> m_nComplete{0};
};

TEST_F(StepBackTest, NeedsTheIndexWhoseCompletionIsToldOnce)
{
    m_platform.hold();
    holdAt("h264.mp4", 1000);
    EXPECT_EQ(m_port.stepBack(), Error::NoIndex);
    EXPECT_EQ(shown(), 25) << "nothing changes";
    EXPECT_EQ(m_nComplete, 0);
    m_platform.release();
    m_clock.settle();
    EXPECT_EQ(m_nComplete, 1);
    ASSERT_EQ(m_port.stepBack(), Error::None);
    EXPECT_EQ(shown(), 24);
    m_clock.advance(1s);
    EXPECT_EQ(m_nComplete, 1);
    EXPECT_EQ(shown(), 24) << "a step holds";
}

TEST_F(StepBackTest, ClosingEndsTheIndexAtOnce)
{
    m_platform.hold();
    holdAt("h264.mp4", 0);
    EXPECT_EQ(m_port.closeFile(), Error::None);
    m_clock.settle();
    EXPECT_EQ(m_nComplete, 0);
}

TEST_F(StepBackTest, TheFileCanBeClosedFromInsideTheIndexCallback)
{
    std::atomic<int> closed{0};
    m_port.callbacks().fileIndex.set([&] { closed += m_port.closeFile() == Error::None ? 1 : 0; });
    m_platform.hold();
    ASSERT_EQ(m_port.openFile(clip("h264.mp4").path().c_str()), Error::None);
    m_platform.release();
    m_clock.advance(1s);
    EXPECT_EQ(closed, 1) << "though nobody has played it";
    EXPECT_EQ(m_port.openFile(clip("h264.ts").path().c_str()), Error::None);
}

TEST_F(StepBackTest, ACallbackThatIsSetLaterIsToldOnceUnlessAnotherOneWas)
{
    m_port.setFileIndexCallback(nullptr);
    holdAt("h264.mp4", 0);
    ASSERT_EQ(m_port.stepForward(), Error::None);
    ASSERT_EQ(m_port.stepBack(), Error::None) << "the index is complete";
    std::atomic<int> told{0};
    std::thread::id thread;
    m_port.setFileIndexCallback([&] {
        thread = std::this_thread::get_id();
        ++told;
    });
    m_clock.settle();
    EXPECT_EQ(told, 1);
    EXPECT_NE(thread, std::this_thread::get_id());
    m_port.setFileIndexCallback([&] { ++told; });
    m_clock.settle();
    EXPECT_EQ(told, 1);
    ASSERT_EQ(m_port.closeFile(), Error::None);
    holdAt("h264.ts", 0);
    EXPECT_EQ(told, 2) << "it is another file's index";
}

TEST_F(StepBackTest, ACallbackThatIsSetLaterMayCloseTheFile)
{
    m_port.setFileIndexCallback(nullptr);
    holdAt("h264.mp4", 0);
    std::atomic<int> closed{0};
    m_port.setFileIndexCallback([&] { closed += m_port.closeFile() == Error::None ? 1 : 0; });
    m_clock.settle();
    EXPECT_EQ(closed, 1);
}

TEST_F(StepBackTest, TheIndexLeavesTheFirstPictureTheWay)
{
    ASSERT_EQ(m_port.openFile(clip("h264.mp4").path().c_str()), Error::None);
    m_clock.settle();
    EXPECT_EQ(m_platform.opened(), 1) << "nothing has been shown yet";
    ASSERT_EQ(m_port.play(m_platform.window()), Error::None);
    m_clock.settle();
    ASSERT_EQ(m_platform.number(), 0);
    EXPECT_EQ(m_platform.opened(), 2);
    EXPECT_EQ(m_nComplete, 1);
}

TEST_F(StepBackTest, EndsAtTheBeginning)
{
    holdAt("h264.mp4", 40);
    EXPECT_EQ(m_port.stepBack(), Error::None);
    EXPECT_EQ(shown(), 0);
    EXPECT_EQ(m_port.stepBack(), Error::End);
    EXPECT_EQ(shown(), 0);
    EXPECT_EQ(m_port.stepForward(), Error::None);
    EXPECT_EQ(shown(), 1);
}

TEST_F(StepBackTest, LeavesTheEndOfTheFile)
{
    holdAt("h264.mp4", 3900);
    m_port.pause(0);
    m_clock.advance(1s);
    ASSERT_EQ(shown(), 99);
    ASSERT_EQ(m_port.stepForward(), Error::End);
    ASSERT_EQ(m_port.stepBack(), Error::None);
    EXPECT_EQ(shown(), 98);
    ASSERT_EQ(m_port.stepForward(), Error::None);
    EXPECT_EQ(shown(), 99);
    EXPECT_EQ(m_port.stepForward(), Error::End);
}

TEST_F(StepBackTest, GoesOnPlayingFromWhereItStepped)
{
    holdAt("open-gop.mkv", 2000);
    for (int i = 0; i < 7; ++i) {
        ASSERT_EQ(m_port.stepBack(), Error::None);
    }
    ASSERT_EQ(shown(), 43);
    m_port.pause(0);
    m_clock.advance(400ms);
    EXPECT_EQ(shown(), 53);
}

TEST_F(StepBackTest, TheLengthOfARawStreamIsKnownWithTheIndex)
{
    m_platform.hold();
    ASSERT_EQ(m_port.openFile(clip("raw.h264").path().c_str()), Error::None);
    unsigned long seconds = 0;
    EXPECT_EQ(m_port.lengthSeconds(seconds), Error::NoIndex);
    m_platform.release();
    m_clock.settle();
    EXPECT_EQ(m_port.lengthSeconds(seconds), Error::None);
    EXPECT_EQ(seconds, 4u);
}

TEST_F(StepBackTest, ASeekThatWaitsForTheIndexGivesWayToTheNextOneAndToClosing)
{
    m_platform.hold();
    ASSERT_EQ(m_port.openFile(clip("raw.h264").path().c_str()), Error::None);
    ASSERT_EQ(m_port.play(m_platform.window()), Error::None);
    ASSERT_EQ(m_port.pause(1), Error::None);
    ASSERT_EQ(m_port.seek(3000), Error::None);
    ASSERT_EQ(m_port.seek(2000), Error::None);
    m_platform.release();
    EXPECT_EQ(shown(), 50);
    m_port.closeFile();
    m_platform.hold();
    ASSERT_EQ(m_port.openFile(clip("raw.h265").path().c_str()), Error::None);
    ASSERT_EQ(m_port.seek(3000), Error::None);
    EXPECT_EQ(m_port.closeFile(), Error::None);
}

class EveryClipBackwards : public StepBackTest, public testing::WithParamInterface<Clip>
{
};

TEST_P(EveryClipBackwards, ShowsEveryPicture)
{
    const int last = std::min(GetParam().pictures, 320) - 1;
    // Between two pictures: AVI files hold the first one for longer where the sound begins later.
    holdAt(GetParam().file, static_cast<unsigned long>(GetParam().timeOf(last) / 1000) + 5);
    const int first = m_platform.number();
    ASSERT_GE(first, last - 1);
    for (int number = first - 1; number >= 0; --number) {
        ASSERT_EQ(m_port.stepBack(), Error::None) << number;
        ASSERT_EQ(shown(), number);
    }
    EXPECT_EQ(m_port.stepBack(), Error::End);
}

INSTANTIATE_TEST_SUITE_P(Clips, EveryClipBackwards, testing::ValuesIn(player::test::numberedClips()),
                         [](const auto &row) { return player::test::testName(row.param.file); });

} // namespace
