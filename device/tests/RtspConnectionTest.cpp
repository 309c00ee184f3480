#include "device/src/RtspConnection.h"

#include <gtest/gtest.h>

#include <random>

namespace selvik
{
namespace
{

/** Gives out prepared bytes in pieces of a given size; then its other side is silent or gone. */
class FakeStream : public ByteStream
{
public:
    FakeStream(std::string input, std::size_t piece) : m_input(std::move(input)), m_nPiece(piece) {}

    [[nodiscard]] std::size_t receive(std::uint8_t *pBuffer, std::size_t capacity,
                                      const Patience & /*patience*/) override
    {
        const std::size_t count = std::min({m_nPiece, capacity, m_input.size() - m_nAt});
        std::copy_n(m_input.data() + m_nAt, count, pBuffer);
        m_nAt += count;
        return count;
    }
    void send(const std::uint8_t *pData, std::size_t size, const Patience & /*patience*/) override
    {
        m_sent.append(reinterpret_cast<const char *>(pData), size);
    }
    [[nodiscard]] const Socket *socket() const override
    {
        return nullptr;
    }

    std::string m_sent;

private:
    std::string m_input;
    std::size_t m_nPiece;
    std::size_t m_nAt = 0;
};

/** The fake streams wait for nothing. */
Patience shortPatience()
{
    static const std::atomic<bool> never{false};
    return {realTime(), never, Clock::now() + Milliseconds(50)};
}

std::string packet(int nChannel, const std::string &payload)
{
    return std::string("$") + static_cast<char>(nChannel) + static_cast<char>(payload.size() >> 8) +
           static_cast<char>(payload.size()) + payload;
}

const std::string kRtp = std::string("\x80\x60\0\1", 4) + "0123456789";

class PieceSize : public testing::TestWithParam<std::size_t>
{
};

TEST_P(PieceSize, DoesNotMatter)
{
    RtspConnection connection(std::make_unique<FakeStream>(packet(0, kRtp) +
                                                               "RTSP/1.0 200 OK\r\nCSeq: 1\r\n"
                                                               "Content-Length: 4\r\n\r\nbody" +
                                                               packet(1, kRtp),
                                                           GetParam()),
                              Authenticator({}));
    const RtspResponse response = connection.request("DESCRIBE", "rtsp://c/", {}, shortPatience());
    EXPECT_EQ(response.nStatus, 200);
    EXPECT_EQ(response.body, "body");
    (void)connection.poll(shortPatience());
    InterleavedPacket taken;
    ASSERT_TRUE(connection.takePacket(taken));
    EXPECT_EQ(taken.nChannel, 0);
    EXPECT_EQ(std::string(taken.data.begin(), taken.data.end()), kRtp);
    ASSERT_TRUE(connection.takePacket(taken));
    EXPECT_EQ(taken.nChannel, 1);
    EXPECT_FALSE(connection.takePacket(taken));
}

INSTANTIATE_TEST_SUITE_P(Sizes, PieceSize, testing::Values(1U, 2U, 3U, 7U, 4096U));

TEST(RtspConnection, FindsItsWayThroughGarbage)
{
    const std::string garbage = "\r\n$\x4Dgarbage$$$R RTSP RT$" + std::string(2, '\0');
    RtspConnection connection(
        std::make_unique<FakeStream>(packet(0, kRtp) + garbage + packet(0, kRtp) + garbage + packet(0, kRtp), 5),
        Authenticator({}));
    connection.setChannels({0, 1});
    while (connection.poll(shortPatience())) {
    }
    InterleavedPacket taken;
    int nPackets = 0;
    while (connection.takePacket(taken)) {
        ++nPackets;
        EXPECT_EQ(std::string(taken.data.begin(), taken.data.end()), kRtp);
    }
    EXPECT_EQ(nPackets, 3);
}

TEST(RtspConnection, LeavesOutTheAnswerToAnEarlierRequest)
{
    RtspConnection connection(std::make_unique<FakeStream>("RTSP/1.0 501 No\r\nCSeq: 1\r\n\r\n"
                                                           "RTSP/1.0 200 OK\r\nCSeq: 2\r\n\r\n",
                                                           4096),
                              Authenticator({}));
    connection.send("GET_PARAMETER", "rtsp://c/", {}, shortPatience());
    EXPECT_EQ(connection.request("PLAY", "rtsp://c/", {}, shortPatience()).nStatus, 200);
}

TEST(RtspConnection, GivesUpWhenNoAnswerComes)
{
    RtspConnection connection(std::make_unique<FakeStream>("RTSP/1.0 200 O", 4096), Authenticator({}));
    EXPECT_THROW((void)connection.request("PLAY", "rtsp://c/", {}, shortPatience()), Failure);
}

TEST(RtspConnection, SurvivesAnyBytes)
{
    std::mt19937 random(4711);
    const std::string alphabet = std::string("$\0\1RTSP/1.0 200\r\n:;-CSeq", 24);
    for (int nRound = 0; nRound < 300; ++nRound) {
        std::string input;
        for (int i = 0; i < 300; ++i) {
            input += alphabet[random() % alphabet.size()];
        }
        RtspConnection connection(std::make_unique<FakeStream>(input, 1 + random() % 50), Authenticator({}));
        connection.setChannels({0, 1});
        int nPolls = 0;
        while (connection.poll(shortPatience())) {
            ASSERT_LT(++nPolls, 1000);
        }
    }
}

} // namespace
} // namespace selvik
