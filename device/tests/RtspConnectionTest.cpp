#include "device/src/RtspConnection.h"

#include <gtest/gtest.h>

#include <optional>

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

TEST(RtspConnection, NoHeaderOfAnAnswerEndsALineOfTheNextRequest)
{
    const auto response = RtspResponse::parse("RTSP/1.0 401 No\r\nWWW-Authenticate: Digest realm=\"a\rX: y\", "
                                              "nonce=\"\x01\x7F\"\r\nSession: 7\rX: y\r\n");
    ASSERT_TRUE(response);
    EXPECT_EQ(response->header("session"), "7 X: y");
    EXPECT_EQ(response->header("www-authenticate"), "Digest realm=\"a X: y\", nonce=\"  \"");
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

TEST(RtspConnection, TakesAnswersInTheirOrderWhereTheirNumbersAreWrong)
{
    for (const char *pNumber : {"", "CSeq: 77\r\n", "CSeq: nonsense\r\n"}) {
        const std::string end = std::string(pNumber) + "\r\n";
        RtspConnection connection(
            std::make_unique<FakeStream>("RTSP/1.0 501 No\r\n" + end + "RTSP/1.0 200 OK\r\n" + end, 4096),
            Authenticator({}));
        connection.send("GET_PARAMETER", "rtsp://c/", {}, shortPatience());
        EXPECT_EQ(connection.request("PLAY", "rtsp://c/", {}, shortPatience()).nStatus, 200);
        const std::optional<RtspResponse> answer = connection.takeAnswer();
        ASSERT_TRUE(answer);
        EXPECT_EQ(answer->nStatus, 501);
    }
}

TEST(RtspConnection, LeavesOutAnAnswerThatIsRepeated)
{
    RtspConnection connection(std::make_unique<FakeStream>("RTSP/1.0 200 A\r\nCSeq: 1\r\n\r\n"
                                                           "RTSP/1.0 201 B\r\nCSeq: 2\r\n\r\n"
                                                           "RTSP/1.0 201 B\r\nCSeq: 2\r\n\r\n"
                                                           "RTSP/1.0 202 C\r\nCSeq: 3\r\n\r\n",
                                                           4096),
                              Authenticator({}));
    EXPECT_EQ(connection.request("OPTIONS", "rtsp://c/", {}, shortPatience()).nStatus, 200);
    EXPECT_EQ(connection.request("DESCRIBE", "rtsp://c/", {}, shortPatience()).nStatus, 201);
    EXPECT_EQ(connection.request("SETUP", "rtsp://c/", {}, shortPatience()).nStatus, 202);
}

TEST(RtspConnection, KeepsThePacketsThatComeBeforeAnAnswerInTheirOrder)
{
    std::string input;
    for (char letter = 'a'; letter < 'g'; ++letter) {
        input += packet(0, std::string(20, letter)) + (letter == 'd' ? "RTSP/1.0 200 OK\r\nCSeq: 1\r\n\r\n" : "");
    }
    RtspConnection connection(std::make_unique<FakeStream>(input, 4096), Authenticator({}));
    EXPECT_EQ(connection.request("PLAY", "rtsp://c/", {}, shortPatience()).nStatus, 200);
    std::string letters;
    while (connection.poll(shortPatience())) {
        InterleavedPacket taken;
        while (connection.takePacket(taken)) {
            ASSERT_EQ(taken.data.size, 20U);
            letters += static_cast<char>(taken.data.pData[0]);
        }
    }
    EXPECT_EQ(letters, "abcdef");
}

TEST(RtspConnection, HandsPacketsOutOfTheReceiveBufferWithoutReadingMore)
{
    auto stream =
        std::make_unique<FakeStream>(packet(0, std::string(100, 'a')) + packet(1, std::string(50, 'b')), 4096);
    RtspConnection connection(std::move(stream), Authenticator({}));
    ASSERT_TRUE(connection.poll(shortPatience()));
    InterleavedPacket first;
    InterleavedPacket second;
    ASSERT_TRUE(connection.takePacket(first));
    ASSERT_TRUE(connection.takePacket(second));
    // One behind the other, as they were received.
    EXPECT_EQ(second.data.pData, first.data.pData + first.data.size + 4);
    EXPECT_EQ(second.nChannel, 1);
    EXPECT_FALSE(connection.takePacket(first));
}

TEST(RtspConnection, AnswersWhatTheCameraAsksByItsNumbers)
{
    struct Row {
        const char *pMethod;
        int nStatus;
    };
    for (const Row &row :
         {Row{"OPTIONS", 200}, Row{"SET_PARAMETER", 200}, Row{"GET_PARAMETER", 200}, Row{"ANNOUNCE", 200},
          Row{"REDIRECT", 200}, Row{"DESCRIBE", 405}, Row{"PLAY", 405}, Row{"X-WHATEVER", 501}}) {
        const std::string body = "$\1RTSP/1.0 200 OK\r\n\r\n";
        auto stream =
            std::make_unique<FakeStream>(std::string(row.pMethod) +
                                             " rtsp://me/ RTSP/1.0\r\nCSeq: 4711\r\nSession: 12\r\n"
                                             "Content-Length: " +
                                             std::to_string(body.size()) + "\r\n\r\n" + body + packet(0, kRtp),
                                         7);
        FakeStream &wire = *stream;
        RtspConnection connection(std::move(stream), Authenticator({}));
        InterleavedPacket taken;
        while (!connection.takePacket(taken)) {
            ASSERT_TRUE(connection.poll(shortPatience())) << row.pMethod;
        }
        EXPECT_EQ(std::string(taken.data.begin(), taken.data.end()), kRtp);
        EXPECT_EQ(wire.m_sent.substr(0, 12), "RTSP/1.0 " + std::to_string(row.nStatus)) << row.pMethod;
        EXPECT_NE(wire.m_sent.find("\r\nCSeq: 4711\r\nSession: 12\r\n"), std::string::npos);
        EXPECT_EQ(wire.m_sent.substr(wire.m_sent.size() - 4), "\r\n\r\n");
    }
}

TEST(RtspConnection, EndsWithTheSessionThatTheCameraEnds)
{
    auto stream = std::make_unique<FakeStream>("TEARDOWN rtsp://me/ RTSP/1.0\r\nCSeq: 5\r\n\r\n", 4096);
    FakeStream &wire = *stream;
    RtspConnection connection(std::move(stream), Authenticator({}));
    EXPECT_THROW((void)connection.poll(shortPatience()), Failure);
    EXPECT_TRUE(connection.isEnded());
    EXPECT_EQ(wire.m_sent.substr(0, 12), "RTSP/1.0 200");
}

/** A time that passes only when a stream lets it. */
class SteppedTime : public TimeSource
{
public:
    [[nodiscard]] Clock::time_point now() const override
    {
        return m_now;
    }
    bool wait(std::unique_lock<std::mutex> & /*lock*/, std::condition_variable & /*changed*/,
              Clock::time_point /*deadline*/, const std::function<bool()> &condition) override
    {
        return condition();
    }
    bool poll(Milliseconds duration, const std::function<bool(Milliseconds)> &isReady) override
    {
        if (isReady(Milliseconds(0))) {
            return true;
        }
        m_now += duration;
        return false;
    }
    [[nodiscard]] std::shared_ptr<void> presence() override
    {
        return nullptr;
    }

    Clock::time_point m_now{std::chrono::hours(1000)};
};

/** Sends the same piece for ever; each takes a millisecond. */
class FloodStream : public ByteStream
{
public:
    FloodStream(SteppedTime &time, std::string first, std::string piece)
        : m_time(time), m_input(std::move(first)), m_piece(std::move(piece))
    {
    }

    [[nodiscard]] std::size_t receive(std::uint8_t *pBuffer, std::size_t capacity,
                                      const Patience & /*patience*/) override
    {
        constexpr std::size_t kMost = 2048;
        m_time.m_now += Milliseconds(1);
        const std::size_t count = std::min(capacity, kMost);
        while (m_input.size() - m_nAt < count) {
            m_input.erase(0, m_nAt);
            m_nAt = 0;
            m_input += m_piece;
        }
        std::copy_n(m_input.data() + m_nAt, count, pBuffer);
        m_nAt += count;
        return count;
    }
    void send(const std::uint8_t * /*pData*/, std::size_t /*size*/, const Patience &patience) override
    {
        if (m_bReadsNothing) {
            patience.check();
            m_time.m_now += Milliseconds(1000);
            patience.check();
        }
    }
    [[nodiscard]] const Socket *socket() const override
    {
        return nullptr;
    }

    bool m_bReadsNothing = false;

private:
    SteppedTime &m_time;
    std::string m_input;
    std::string m_piece;
    std::size_t m_nAt = 0;
};

struct FloodCase {
    const char *pName;
    std::string first;
    std::string piece;
    unsigned long error;
};

void PrintTo(const FloodCase &flood, std::ostream *pStream)
{
    *pStream << flood.pName;
}

class Flood : public testing::TestWithParam<FloodCase>
{
};

TEST_P(Flood, HoldsUpNoRequestBeyondItsPatience)
{
    SteppedTime time;
    const std::atomic<bool> never{false};
    RtspConnection connection(std::make_unique<FloodStream>(time, GetParam().first, GetParam().piece),
                              Authenticator({"me", "word"}));
    connection.setChannels({0, 1});
    const Clock::time_point begin = time.now();
    try {
        (void)connection.request("TEARDOWN", "rtsp://c/", {}, {time, never, begin + Milliseconds(700)});
        ADD_FAILURE() << "answered";
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.error(), GetParam().error);
    }
    EXPECT_LE(time.now() - begin, Milliseconds(701));
}

const std::string kPacket = packet(0, std::string("\x80\x60\0\1", 4) + std::string(1400, '$'));

const FloodCase kFloods[] = {
    {"Packets", "", kPacket, SELVIK_ERROR_TIMEOUT},
    {"EmptyPackets", "", std::string("$\0\0\0", 4), SELVIK_ERROR_TIMEOUT},
    {"Dollars", "x", "$", SELVIK_ERROR_TIMEOUT},
    {"Words", "x", "RTSP/", SELVIK_ERROR_TIMEOUT},
    {"Methods", "x", "OPTIONS ", SELVIK_ERROR_TIMEOUT},
    {"Lines", "x", "PLAY OPTIONS\n", SELVIK_ERROR_TIMEOUT},
    {"Requests", "", "OPTIONS * RTSP/1.0\r\nCSeq: 1\r\n\r\n", SELVIK_ERROR_TIMEOUT},
    {"NotYet", "", "RTSP/1.0 100 Continue\r\n\r\n", SELVIK_ERROR_TIMEOUT},
    {"Questions", "", "RTSP/1.0 401 No\r\nWWW-Authenticate: Digest realm=r, nonce=n, stale=true\r\n\r\n",
     SELVIK_ERROR_REFUSED},
    {"HeaderLines", "RTSP/1.0 200 OK\r\n", "a: b\r\n", SELVIK_ERROR_MEDIA},
    {"HeaderLine", "RTSP/1.0 200 OK\r\na: ", "b", SELVIK_ERROR_MEDIA},
    {"Body", "RTSP/1.0 200 OK\r\nContent-Length: 999999999\r\n\r\n", "b", SELVIK_ERROR_MEDIA},
    {"RequestBody", "OPTIONS * RTSP/1.0\r\nContent-Length: 999999999\r\n\r\n", "b", SELVIK_ERROR_MEDIA},
};

INSTANTIATE_TEST_SUITE_P(Kinds, Flood, testing::ValuesIn(kFloods),
                         [](const testing::TestParamInfo<FloodCase> &testCase) { return testCase.param.pName; });

TEST(RtspConnection, ADescriptionThatNeverEndsIsGivenUp)
{
    SteppedTime time;
    const std::atomic<bool> never{false};
    RtspConnection connection(std::make_unique<FloodStream>(time, "RTSP/1.0 200 OK\r\nCSeq: 1\r\n\r\n", "a=b\r\n"),
                              Authenticator({}));
    EXPECT_THROW((void)connection.request("DESCRIBE", "rtsp://c/", {}, {time, never, time.now() + Milliseconds(700)}),
                 Failure);
}

TEST(RtspConnection, ACameraThatAsksAndDoesNotReadTheAnswerIsLost)
{
    SteppedTime time;
    const std::atomic<bool> never{false};
    auto stream = std::make_unique<FloodStream>(time, "", "OPTIONS * RTSP/1.0\r\nCSeq: 1\r\n\r\n");
    stream->m_bReadsNothing = true;
    RtspConnection connection(std::move(stream), Authenticator({}));
    try {
        (void)connection.poll({time, never, time.now() + Milliseconds(100)});
        ADD_FAILURE();
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.error(), static_cast<unsigned long>(SELVIK_ERROR_HOST));
    }
}

TEST(RtspConnection, KeepsOnlySoMuchWhileItWaitsForAnAnswer)
{
    SteppedTime time;
    const std::atomic<bool> never{false};
    std::string packets;
    for (int i = 0; i < 10000; ++i) {
        packets += kPacket;
    }
    RtspConnection connection(
        std::make_unique<FloodStream>(time, packets + "RTSP/1.0 200 OK\r\nCSeq: 1\r\n\r\n", kPacket),
        Authenticator({}));
    const Patience patience(time, never, time.now() + Milliseconds(10000));
    EXPECT_EQ(connection.request("PLAY", "rtsp://c/", {}, patience).nStatus, 200);
    ASSERT_TRUE(connection.poll(patience));
    std::size_t kept = 0;
    for (InterleavedPacket taken; connection.takePacket(taken);) {
        kept += taken.data.size;
    }
    EXPECT_GT(kept, 3U << 20);
    EXPECT_LT(kept, 5U << 20);
}

/** A camera that hangs up behind each answer. */
class HangingUp : public FakeStream
{
public:
    using FakeStream::FakeStream;

    [[nodiscard]] std::size_t receive(std::uint8_t *pBuffer, std::size_t capacity, const Patience &patience) override
    {
        const std::size_t count = FakeStream::receive(pBuffer, capacity, patience);
        if (count == 0) {
            throw Failure(SELVIK_ERROR_HOST);
        }
        return count;
    }
};

TEST(RtspConnection, ConnectsAgainWhereTheCameraHangsUpBehindItsQuestion)
{
    for (const char *pHeader : {"", "Connection: close\r\n"}) {
        const std::string question =
            std::string("RTSP/1.0 401 No\r\nCSeq: 1\r\n") + pHeader + "WWW-Authenticate: Basic realm=x\r\n\r\n";
        int nOpened = 0;
        RtspConnection connection(std::make_unique<HangingUp>(question, 4096), Authenticator({"me", "word"}),
                                  [&](const Patience &) {
                                      ++nOpened;
                                      return std::make_unique<HangingUp>("RTSP/1.0 200 OK\r\n\r\n", 4096);
                                  });
        EXPECT_EQ(connection.request("DESCRIBE", "rtsp://c/", {}, shortPatience()).nStatus, 200);
        EXPECT_EQ(nOpened, 1);
    }
    // Not for ever, and not without a question.
    int nOpened = 0;
    const auto hangUp = [&](const Patience &) {
        ++nOpened;
        return std::make_unique<HangingUp>("", 4096);
    };
    RtspConnection asks(std::make_unique<HangingUp>("RTSP/1.0 401 No\r\nWWW-Authenticate: Basic realm=x\r\n\r\n", 4096),
                        Authenticator({"me", "word"}), hangUp);
    EXPECT_THROW((void)asks.request("DESCRIBE", "rtsp://c/", {}, shortPatience()), Failure);
    EXPECT_EQ(nOpened, 1);
    RtspConnection silent(std::make_unique<HangingUp>("", 4096), Authenticator({"me", "word"}), hangUp);
    EXPECT_THROW((void)silent.request("DESCRIBE", "rtsp://c/", {}, shortPatience()), Failure);
    EXPECT_EQ(nOpened, 1);
}

} // namespace
} // namespace selvik
