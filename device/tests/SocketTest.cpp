// Real sockets on loopback.

#include "device/src/Socket.h"
#include "device/src/Resolver.h"
#include "device/src/TimeSource.h"
#include "device/tests/TestSocket.h"

#include <gtest/gtest.h>

namespace selvik
{
namespace
{

const std::atomic<bool> kNever{false};

Patience plenty()
{
    return {realTime(), kNever, Clock::now() + std::chrono::seconds(20)};
}

unsigned long errorOf(const std::function<void()> &action)
{
    try {
        action();
    } catch (const Failure &failure) {
        return failure.error();
    }
    return SELVIK_ERROR_NONE;
}

/** Listens on a port of loopback's. */
class TestListener
{
public:
    TestListener()
    {
        startSockets();
        m_socket = ::socket(AF_INET, SOCK_STREAM, 0);
        sockaddr_in address = loopback(0);
        socklen_t size = sizeof address;
        EXPECT_EQ(bind(m_socket, reinterpret_cast<const sockaddr *>(&address), size), 0);
        EXPECT_EQ(listen(m_socket, 4), 0);
        getsockname(m_socket, reinterpret_cast<sockaddr *>(&address), &size);
        m_nPort = ntohs(address.sin_port);
    }
    ~TestListener()
    {
        closeSocket(m_socket);
    }
    TestListener(const TestListener &) = delete;
    TestListener &operator=(const TestListener &) = delete;

    [[nodiscard]] unsigned short port() const
    {
        return m_nPort;
    }

private:
    TestSocket m_socket{};
    unsigned short m_nPort = 0;
};

class Loopback : public testing::TestWithParam<const char *>
{
};

TEST_P(Loopback, DatagramsTellWhoSentThem)
{
    const bool bIpv6 = std::string(GetParam()).find(':') != std::string::npos;
    Socket receiver = Socket::bindUdp(bIpv6, 0);
    Socket sender = Socket::bindUdp(bIpv6, 0);
    if (!receiver.isValid()) {
        GTEST_SKIP() << "no such address on this machine";
    }
    const SocketAddress remote(Endpoint{GetParam(), receiver.localPort()});
    sender.sendTo(remote, {1, 2, 3});
    ASSERT_TRUE(Socket::waitReadable({&receiver}, plenty()));
    std::uint8_t buffer[16];
    Endpoint from;
    ASSERT_EQ(receiver.receiveFrom(buffer, sizeof buffer, from), 3U);
    EXPECT_EQ(from.host, GetParam());
    EXPECT_EQ(from.port, sender.localPort());
    EXPECT_EQ(receiver.receiveFrom(buffer, sizeof buffer, from), 0U);
}

INSTANTIATE_TEST_SUITE_P(Families, Loopback, testing::Values("127.0.0.1", "::1"),
                         [](const testing::TestParamInfo<const char *> &testCase) {
                             return std::string(testCase.index == 0 ? "IPv4" : "IPv6");
                         });

TEST(SocketAddress, IsNeverTheWildcardInPlaceOfWhatItCannotRead)
{
    for (const char *pHost : {"", "camera", "127.0.0.1.9", "1::2::3", "fe80::1%", "::1]"}) {
        EXPECT_EQ(errorOf([&] {
                      (void)SocketAddress(Endpoint{pHost, 554});
                  }),
                  static_cast<unsigned long>(SELVIK_ERROR_ADDRESS))
            << pHost;
    }
}

TEST(Socket, ConnectsToNobodyWhereTheHostIsNoNumericAddress)
{
    // An address that is taken for the wildcard leads to whoever listens on this machine.
    const TestListener listener;
    EXPECT_EQ(errorOf([&] {
                  (void)Socket::connectTcp({"camera", listener.port()}, plenty());
              }),
              static_cast<unsigned long>(SELVIK_ERROR_ADDRESS));
    EXPECT_NO_THROW((void)Socket::connectTcp({"127.0.0.1", listener.port()}, plenty()));
}

TEST(SocketAddress, KeepsTheZoneOfALinkLocalAddress)
{
    // The first interface, loopback, has a number everywhere. Systems print its number or its name.
    const SocketAddress address(Endpoint{"fe80::1%1", 554});
    const Endpoint endpoint = address.endpoint();
    EXPECT_EQ(endpoint.host.substr(0, 8), "fe80::1%");
    EXPECT_EQ(endpoint.port, 554);
    const SocketAddress again(endpoint);
    EXPECT_EQ(std::string(static_cast<const char *>(address.data()), address.size()),
              std::string(static_cast<const char *>(again.data()), again.size()));
    const SocketAddress without(Endpoint{"fe80::1", 554});
    EXPECT_NE(std::string(static_cast<const char *>(address.data()), address.size()),
              std::string(static_cast<const char *>(without.data()), without.size()));
}

TEST(Resolver, AnswersALinkLocalAddressWithItsZoneAtOnce)
{
    const std::vector<std::string> hosts = resolveHost("fe80::1%1", plenty());
    ASSERT_EQ(hosts.size(), 1U);
    EXPECT_NO_THROW((void)SocketAddress(Endpoint{hosts.front(), 1}));
    EXPECT_EQ(hosts.front().substr(0, 8), "fe80::1%");
}

} // namespace
} // namespace selvik
