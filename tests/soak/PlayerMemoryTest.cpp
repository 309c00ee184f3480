// The player without memory: an error, or a picture less. Afterwards the same port plays.

#include "player/src/port/Port.h"
#include "player/tests/support/AwaitingClock.h"
#include "player/tests/support/Clips.h"
#include "player/tests/support/FakePlatform.h"
#include "player/tests/support/PushedStream.h"
#include "tests/soak/MemoryRuns.h"

#include <chrono>
#include <fstream>
#include <iterator>
#include <thread>

namespace
{

using namespace std::chrono_literals;
using player::Error;

class PlayerMemory : public testing::Test
{
protected:
    void TearDown() override
    {
        m_port->close();
        EXPECT_EQ(m_platform.presenters(), 0);
    }

    bool hasPicture() const
    {
        std::vector<std::uint8_t> file;
        return m_port->jpeg(std::nullopt, 85, file) == Error::None && !file.empty();
    }

    /** Asks until there is a picture; false when the time is over. */
    bool waitForPicture(std::chrono::milliseconds patience) const
    {
        const auto end = std::chrono::steady_clock::now() + patience;
        while (!hasPicture()) {
            if (std::chrono::steady_clock::now() > end) {
                return false;
            }
            std::this_thread::sleep_for(1ms);
        }
        return true;
    }

    /** What a host does with a file; each call of its own, since a host goes on after one that failed. */
    void useFile(const std::string &path, std::chrono::milliseconds patience)
    {
        soak::attempt([&] { m_port->openFile(path.c_str()); });
        soak::attempt([&] { m_port->play(m_platform.window()); });
        soak::attempt([&] { m_port->playSound(); });
        soak::attempt([&] { waitForPicture(patience); });
        soak::attempt([&] { m_port->pause(1); });
        soak::attempt([&] { m_port->seek(500); });
        soak::attempt([&] { hasPicture(); });
        soak::attempt([&] { m_port->stepForward(); });
        soak::attempt([&] { m_port->stepBack(); });
        soak::attempt([&] { m_port->setDisplayRegion(player::DisplayRegion{0, 0, 60, 60}); });
        soak::attempt([&] { m_port->changeSpeed(1); });
    }

    void whole(const std::string &path)
    {
        ASSERT_EQ(m_port->openFile(path.c_str()), Error::None);
        ASSERT_EQ(m_port->play(m_platform.window()), Error::None);
        EXPECT_TRUE(waitForPicture(60s));
        EXPECT_EQ(m_port->closeFile(), Error::None);
        m_platform.forget();
    }

    player::test::AwaitingClock m_clock;
    player::test::FakePlatform m_platform{m_clock};
    std::shared_ptr<player::Port> m_port = std::make_shared<player::Port>(m_platform, 0, 0);
};

TEST_F(PlayerMemory, FilesFailOrLackSomethingAndPlayAgain)
{
    const std::string path = player::test::mediaPath("small.mp4");
    soak::runOutOfMemory(
        [&] {
            useFile(path, 60ms);
            m_port->close();
        },
        [&] { whole(path); });
}

TEST_F(PlayerMemory, StreamsFailOrLackSomethingAndPlayAgain)
{
    // As a device sends it, header and all.
    std::ifstream file(player::test::mediaPath("h264-alaw.mkv"), std::ios::binary);
    const std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(file), {}};
    ASSERT_GT(bytes.size(), 10'000U);
    constexpr std::size_t kHeader = 64;
    constexpr std::size_t kBuffer = 5242880;
    const auto use = [&](std::chrono::milliseconds patience) {
        soak::attempt([&] { m_port->openStream(bytes.data(), kHeader, kBuffer); });
        soak::attempt([&] { m_port->play(m_platform.window()); });
        for (std::size_t at = kHeader; at < bytes.size(); at += 4096) {
            soak::attempt(
                [&] { m_port->inputData(bytes.data() + at, std::min<std::size_t>(4096, bytes.size() - at)); });
        }
        soak::attempt([&] { waitForPicture(patience); });
    };
    soak::runOutOfMemory(
        [&] {
            use(60ms);
            m_port->close();
        },
        [&] {
            ASSERT_EQ(m_port->openStream(bytes.data(), kHeader, kBuffer), Error::None);
            ASSERT_EQ(m_port->play(m_platform.window()), Error::None);
            ASSERT_EQ(m_port->inputData(bytes.data() + kHeader, bytes.size() - kHeader), Error::None);
            EXPECT_TRUE(waitForPicture(60s));
            m_port->close();
            m_platform.forget();
        });
}

} // namespace
