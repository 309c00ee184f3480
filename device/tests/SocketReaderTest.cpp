// Reads on loopback, on the computer's own time.
#include "device/src/TcpStream.h"
#include "device/tests/TestSocket.h"

#include <gtest/gtest.h>

#include <optional>
#include <thread>
#include <vector>

namespace selvik
{
namespace
{

/** A connection whose other end the test has in its hands. */
class SocketReaderTest : public testing::Test
{
protected:
    void SetUp() override
    {
        startSockets();
        const TestSocket listener = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address = loopback(0);
        socklen_t size = sizeof address;
        ASSERT_EQ(bind(listener, reinterpret_cast<const sockaddr *>(&address), size), 0);
        ASSERT_EQ(listen(listener, 1), 0);
        getsockname(listener, reinterpret_cast<sockaddr *>(&address), &size);
        m_stream.emplace(Socket::connectTcp({"127.0.0.1", ntohs(address.sin_port)}, patience(Milliseconds(20000))));
        m_other = accept(listener, nullptr, nullptr);
        closeSocket(listener);
    }
    void TearDown() override
    {
        hangUp();
    }

    [[nodiscard]] Patience patience(Milliseconds duration) const
    {
        return {realTime(), m_stop, realTime().now() + duration};
    }
    [[nodiscard]] std::size_t receive(Milliseconds duration)
    {
        return m_stream->receive(m_buffer, sizeof m_buffer, patience(duration));
    }
    void send(const std::vector<std::uint8_t> &bytes) const
    {
        ASSERT_EQ(
            ::send(m_other, reinterpret_cast<const char *>(bytes.data()), static_cast<int>(bytes.size()), kSendFlags),
            static_cast<int>(bytes.size()));
    }
    void hangUp()
    {
        if (!m_bHungUp) {
            m_bHungUp = true;
            closeSocket(m_other);
        }
    }

    StopFlag m_stop;
    std::optional<TcpStream> m_stream;
    TestSocket m_other{};
    bool m_bHungUp = false;
    std::uint8_t m_buffer[64] = {};
};

constexpr Milliseconds kLong{20000};

TEST_F(SocketReaderTest, TakesWhatIsThereAlready)
{
    send({1, 2, 3});
    ASSERT_EQ(receive(kLong), 3u);
    EXPECT_EQ(m_buffer[2], 3);
}

TEST_F(SocketReaderTest, WaitsForWhatIsYetToCome)
{
    std::thread sender([this] {
        std::this_thread::sleep_for(Milliseconds(20));
        send({7});
    });
    EXPECT_EQ(receive(kLong), 1u);
    EXPECT_EQ(m_buffer[0], 7);
    sender.join();
}

TEST_F(SocketReaderTest, ComesBackWithNothingWhenThePatienceIsOverAndLosesNothing)
{
    EXPECT_EQ(receive(Milliseconds(0)), 0u);
    EXPECT_EQ(receive(Milliseconds(5)), 0u);
    m_buffer[0] = 42;
    send({9});
    EXPECT_EQ(receive(kLong), 1u);
    EXPECT_EQ(m_buffer[0], 9);
}

TEST_F(SocketReaderTest, LeavesTheBufferAloneOnceItHasComeBack)
{
    EXPECT_EQ(receive(Milliseconds(5)), 0u);
    m_buffer[0] = 42;
    send({9});
    ASSERT_TRUE(Socket::waitReadable({m_stream->socket()}, patience(kLong)));
    EXPECT_EQ(m_buffer[0], 42);
}

TEST_F(SocketReaderTest, ComesBackAtOnceWhenItIsStopped)
{
    std::size_t received = 1;
    std::thread reader([&] { received = receive(std::chrono::hours(1)); });
    m_stop = true;
    reader.join();
    EXPECT_EQ(received, 0u);
}

TEST_F(SocketReaderTest, SaysWhenTheOtherSideHasHungUpAndNotBefore)
{
    send({1, 2});
    hangUp();
    EXPECT_EQ(receive(kLong), 2u);
    try {
        (void)receive(kLong);
        FAIL() << "nothing was said";
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.error(), static_cast<unsigned long>(SELVIK_ERROR_HOST));
    }
}

TEST_F(SocketReaderTest, LosesAndRepeatsNothingHoweverOftenItsPatienceEndsBesideThem)
{
    constexpr int kBytes = 4000;
    std::thread sender([this] {
        for (int i = 0; i < kBytes; ++i) {
            send({static_cast<std::uint8_t>(i)});
            if (i % 3 == 0) {
                std::this_thread::sleep_for(std::chrono::microseconds(100 * (i % 20)));
            }
        }
    });
    int nNext = 0;
    for (int nRound = 0; nNext < kBytes; ++nRound) {
        const std::size_t received = receive(Milliseconds(nRound % 3));
        for (std::size_t i = 0; i < received; ++i) {
            ASSERT_EQ(m_buffer[i], static_cast<std::uint8_t>(nNext++));
        }
    }
    sender.join();
}

} // namespace
} // namespace selvik
