#include "device/src/RtspReader.h"

#include "Selvikdcm.h"
#include "device/src/Failure.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace selvik
{
namespace
{

/** What a reader meets, one line each, however the bytes are cut. */
std::vector<std::string> meet(const std::string &input, std::size_t piece, bool bDescription = false)
{
    RtspReader reader;
    reader.setChannels({0, 1});
    reader.expectDescription(bDescription);
    std::vector<std::string> met;
    const auto takeAll = [&] {
        for (;;) {
            switch (reader.next()) {
            case RtspReader::Met::Nothing:
                return;
            case RtspReader::Met::Packet: {
                const InterleavedPacket &packet = reader.packet();
                met.push_back("packet " + std::to_string(packet.nChannel) + ":" +
                              std::string(packet.data.begin(), packet.data.end()));
                break;
            }
            case RtspReader::Met::Response: {
                const RtspResponse response = reader.takeResponse();
                met.push_back("answer " + std::to_string(response.nStatus) + ":" + response.body);
                break;
            }
            case RtspReader::Met::Request: {
                const RtspRequest request = reader.takeRequest();
                met.push_back("request " + request.method + ":" + request.body);
                break;
            }
            }
        }
    };
    try {
        for (std::size_t at = 0; at < input.size();) {
            const RtspReader::Space space = reader.space();
            const std::size_t count = std::min({piece, space.size, input.size() - at});
            std::copy_n(input.data() + at, count, space.pData);
            reader.filled(count);
            at += count;
            takeAll();
        }
        if (reader.waitsForBody()) {
            reader.endBody();
            takeAll();
        }
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.error(), static_cast<unsigned long>(SELVIK_ERROR_MEDIA));
        met.emplace_back("failure");
    }
    return met;
}

std::string repeated(const std::string &word, std::size_t size)
{
    std::string text;
    text.reserve(size + word.size());
    while (text.size() < size) {
        text += word;
    }
    return text;
}

using Lines = std::vector<std::string>;

TEST(RtspReader, TellsAnswersRequestsAndPacketsApart)
{
    const std::string input = std::string("$\0\0\3abc", 7) +
                              "RTSP/1.0 200 OK\r\nContent-Length: 2\r\n\r\nxy"
                              "ANNOUNCE rtsp://me/ RTSP/1.0\r\ncontent-LENGTH :3\r\n\r\nv=0"
                              "rubbish $$ RTSP/ OPTIONS DESCRIBE\r\n"
                              "RTSP/1.0  454 No\n\n"
                              "GET_PARAMETER * RTSP/1.0\n\n" +
                              std::string("$\1\0\2cd", 6);
    const Lines expected = {"packet 0:abc", "answer 200:xy",          "request ANNOUNCE:v=0",
                            "answer 454:",  "request GET_PARAMETER:", "packet 1:cd"};
    for (const std::size_t piece : {1U, 2U, 5U, 4096U}) {
        EXPECT_EQ(meet(input, piece), expected) << piece;
    }
}

TEST(RtspReader, ReadsWordsThatFollowEachOtherForEverWithoutRecursion)
{
    const std::string end = "\r\n\r\nRTSP/1.0 200 OK\r\n\r\n";
    for (const char *pWord : {"RTSP/", "RTSP/1.0 ", "RTSP/1.0", "OPTIONS ", "A ", "R", "RTSP/1.0 20 "}) {
        EXPECT_EQ(meet(repeated(pWord, 200000) + end, 4096), (Lines{"answer 200:"})) << pWord;
    }
}

TEST(RtspReader, ReadsRubbishInLinearTime)
{
    // Where each dollar sign makes the rest be searched again, this takes minutes.
    constexpr std::size_t kSize = 2 << 20;
    const std::string good = std::string("$\0\0\x0C\x80", 5) + std::string(11, 'p');
    for (const std::string &word : {std::string("$"), std::string("$\0", 2), std::string("$R"), std::string("\n$\n"),
                                    std::string("OPTIONS x\n"), std::string("TEARDOWN ")}) {
        const Lines met = meet("x" + repeated(word, kSize) + "\r\n" + good, 1 << 16);
        ASSERT_EQ(met.size(), 1U) << word;
        EXPECT_EQ(met.front().substr(0, 9), "packet 0:");
    }
}

TEST(RtspReader, HandsOutPacketsWithoutMovingThemTogether)
{
    RtspReader reader;
    const std::string packet = std::string("$\0\4\0", 4) + std::string(1024, 'p');
    std::size_t taken = 0;
    for (int nRound = 0; nRound < 1000; ++nRound) {
        const RtspReader::Space space = reader.space();
        ASSERT_GE(space.size, 64U * 1024);
        // Never at a packet's end, so that something is always left over.
        const std::string bytes = (nRound == 0 ? packet.substr(0, 500) : packet.substr(500)) +
                                  repeated(packet, 50 * packet.size()) + packet.substr(0, 500);
        const std::string fresh = nRound == 0 ? bytes.substr(0, 500) : bytes;
        std::copy(fresh.begin(), fresh.end(), space.pData);
        reader.filled(fresh.size());
        const std::uint8_t *pLast = nullptr;
        while (reader.next() == RtspReader::Met::Packet) {
            const ByteView data = reader.packet().data;
            ASSERT_EQ(data.size, 1024U);
            ASSERT_TRUE(pLast == nullptr || data.pData == pLast + packet.size());
            ASSERT_TRUE(std::all_of(data.begin(), data.end(), [](std::uint8_t byte) { return byte == 'p'; }));
            pLast = data.pData;
            ++taken;
        }
    }
    EXPECT_EQ(taken, 999U * 51);
}

struct BoundCase {
    const char *pName;
    std::string input;
    bool bTaken;
};

void PrintTo(const BoundCase &bound, std::ostream *pStream)
{
    *pStream << bound.pName;
}

class Bound : public testing::TestWithParam<BoundCase>
{
};

TEST_P(Bound, IsKept)
{
    const Lines met = meet(GetParam().input, 1000);
    ASSERT_EQ(met.size(), 1U);
    EXPECT_EQ(met.front().substr(0, 10), GetParam().bTaken ? "answer 200" : "failure");
}

std::string answerOf(const std::string &headers, const std::string &body = {})
{
    return "RTSP/1.0 200 OK\r\n" + headers + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
}

const BoundCase kBounds[] = {
    {"LinesWithin", answerOf(repeated("a: b\r\n", 6 * 250)), true},
    {"LinesBeyond", answerOf(repeated("a: b\r\n", 6 * 300)), false},
    {"LineWithin", answerOf("a: " + std::string(8000, 'x') + "\r\n"), true},
    {"LineBeyond", answerOf("a: " + std::string(9000, 'x') + "\r\n"), false},
    {"LineWithoutEnd", "RTSP/1.0 200 " + std::string(9000, 'x'), false},
    {"HeadWithin", answerOf(repeated("a: " + std::string(5000, 'x') + "\r\n", 60000)), true},
    {"HeadBeyond", answerOf(repeated("a: " + std::string(5000, 'x') + "\r\n", 70000)), false},
    {"BodyWithin", answerOf("", std::string(1 << 20, 'x')), true},
    {"BodyBeyond", answerOf("", std::string((1 << 20) + 1, 'x')), false},
    {"BodyAbsurd", "RTSP/1.0 200 OK\r\nContent-Length: 99999999999999999999\r\n\r\n", false},
};

INSTANTIATE_TEST_SUITE_P(Bounds, Bound, testing::ValuesIn(kBounds),
                         [](const testing::TestParamInfo<BoundCase> &testCase) { return testCase.param.pName; });

TEST(RtspReader, FindsTheEndOfADescriptionThatDoesNotTellIt)
{
    const std::string head = "RTSP/1.0 200 OK\r\nCSeq: 2\r\n\r\n";
    const std::string sdp = "v=0\r\nm=video 0 RTP/AVP 96\r\na=control:x\r\n";
    for (const std::size_t piece : {1U, 7U, 4096U}) {
        EXPECT_EQ(meet(head + sdp, piece, true), (Lines{"answer 200:" + sdp}));
        EXPECT_EQ(meet(head + sdp + "RTSP/1.0 454 No\r\n\r\n", piece, true),
                  (Lines{"answer 200:" + sdp, "answer 454:"}));
        EXPECT_EQ(meet(head + sdp + std::string("$\0\0\3abc", 7), piece, true),
                  (Lines{"answer 200:" + sdp, "packet 0:abc"}));
        EXPECT_EQ(meet(head + sdp + "a=cut", piece, true), (Lines{"answer 200:" + sdp + "a=cut"}));
        // Only where one is expected, and not behind a refusal.
        EXPECT_EQ(meet(head + sdp, piece, false), (Lines{"answer 200:"}));
        EXPECT_EQ(meet("RTSP/1.0 404 No\r\n\r\n" + sdp, piece, true), (Lines{"answer 404:"}));
    }
}

TEST(RtspReader, TakesABodyThatTheConnectionsEndHasCut)
{
    EXPECT_EQ(meet("RTSP/1.0 200 OK\r\nContent-Length: 100\r\n\r\nv=0\r\n", 4096), (Lines{"answer 200:v=0\r\n"}));
}

TEST(RtspReader, MeetsTheSameInAnyBytesHoweverTheyAreCut)
{
    static const std::vector<std::string> words = {"RTSP/",
                                                   "RTSP/1.0 200 OK\r\n",
                                                   "RTSP/1.0 40",
                                                   "$",
                                                   std::string("$\0\0\4", 4),
                                                   std::string("$\1\0\x0C\x80", 5),
                                                   std::string("$\0\xFF\xFF", 4),
                                                   "OPTIONS * RTSP/1.0\r\n",
                                                   "TEARDOWN ",
                                                   "X ",
                                                   "CSeq: 3\r\n",
                                                   "Content-Length: 9\r\n",
                                                   "Content-Length: 70000\r\n",
                                                   "\r\n",
                                                   "\n",
                                                   "\r\n\r\n",
                                                   "v=0\r\n",
                                                   "a=",
                                                   "://",
                                                   " "};
    std::mt19937 random(4711);
    std::size_t answers = 0;
    std::size_t packets = 0;
    for (int nRound = 0; nRound < 1500; ++nRound) {
        std::string input;
        for (unsigned int i = random() % 60; i > 0; --i) {
            if (random() % 6 == 0) {
                input += static_cast<char>(random());
            } else {
                input += words[random() % words.size()];
            }
        }
        const bool bDescription = random() % 2 == 0;
        const Lines whole = meet(input, 1 << 16, bDescription);
        ASSERT_EQ(meet(input, 1, bDescription), whole) << testing::PrintToString(input);
        ASSERT_EQ(meet(input, 1 + random() % 20, bDescription), whole) << testing::PrintToString(input);
        for (const std::string &line : whole) {
            answers += line.substr(0, 6) == "answer" ? 1 : 0;
            packets += line.substr(0, 6) == "packet" ? 1 : 0;
        }
    }
    // Most rounds would prove nothing if the words never made anything whole.
    EXPECT_GT(answers, 500U);
    EXPECT_GT(packets, 500U);
}

} // namespace
} // namespace selvik
