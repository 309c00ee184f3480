// What comes out of the packets of H.264 and H.265, payload by payload.

#include "device/src/RtpDepacketizer.h"

#include <gtest/gtest.h>

namespace selvik
{
namespace
{

/** Keeps units apart, and that each was announced with its beginning. */
struct UnitSink : public CodedSink {
    void begin(ByteView head) override
    {
        heads.emplace_back(head.begin(), head.end());
        units.emplace_back();
    }
    void append(ByteView bytes) override
    {
        ASSERT_FALSE(units.empty());
        units.back().insert(units.back().end(), bytes.begin(), bytes.end());
    }
    std::vector<Bytes> heads;
    std::vector<Bytes> units;
};

struct Payloads {
    const char *pName;
    const char *pEncoding;
    const char *pParameters;
    std::vector<Bytes> payloads;
    std::vector<Bytes> units;
    bool bInside = false; /**< in the middle of a unit at the end */
};

void PrintTo(const Payloads &payloads, std::ostream *pStream)
{
    *pStream << payloads.pName;
}

std::unique_ptr<RtpDepacketizer> depacketizer(const Payloads &payloads)
{
    return makeDepacketizer(Sdp::parse(std::string("m=video 0 RTP/AVP 96\na=rtpmap:96 ") + payloads.pEncoding +
                                       "/90000\na=fmtp:96 " + payloads.pParameters + "\n")
                                .media.front());
}

class Depacketizer : public testing::TestWithParam<Payloads>
{
};

TEST_P(Depacketizer, HandsOnTheUnits)
{
    const std::unique_ptr<RtpDepacketizer> reader = depacketizer(GetParam());
    UnitSink sink;
    for (const Bytes &payload : GetParam().payloads) {
        RtpPacket packet;
        packet.payload = {payload.data(), payload.size()};
        reader->feed(packet, sink);
    }
    EXPECT_EQ(sink.units, GetParam().units);
    EXPECT_EQ(reader->isInsideUnit(), GetParam().bInside);
    for (std::size_t i = 0; i < sink.heads.size(); ++i) {
        const std::size_t size = std::min(sink.heads[i].size(), sink.units[i].size());
        EXPECT_TRUE(std::equal(sink.heads[i].begin(), sink.heads[i].begin() + static_cast<std::ptrdiff_t>(size),
                               sink.units[i].begin()));
    }
}

TEST_P(Depacketizer, SurvivesEachPayloadTornAnywhere)
{
    for (const Bytes &payload : GetParam().payloads) {
        for (std::size_t size = 0; size <= payload.size(); ++size) {
            // On the heap and no larger, so that a read behind the end is seen.
            const Bytes torn(payload.begin(), payload.begin() + static_cast<std::ptrdiff_t>(size));
            RtpPacket packet;
            packet.payload = {torn.data(), torn.size()};
            UnitSink sink;
            const std::unique_ptr<RtpDepacketizer> reader = depacketizer(GetParam());
            reader->feed(packet, sink);
            for (const Bytes &unit : sink.units) {
                EXPECT_LE(unit.size(), size + 2);
            }
        }
    }
}

const Payloads kPayloads[] = {
    {"Single", "H264", "", {{0x65, 1, 2, 3}}, {{0x65, 1, 2, 3}}},
    {"StapA", "H264", "", {{24, 0, 2, 0x67, 1, 0, 3, 0x65, 1, 2}}, {{0x67, 1}, {0x65, 1, 2}}},
    {"StapB", "H264", "", {{25, 9, 9, 0, 2, 0x67, 1, 0, 3, 0x65, 1, 2}}, {{0x67, 1}, {0x65, 1, 2}}},
    // The size counts the distance of one byte and the time's of two, or of three.
    {"Mtap16", "H264", "", {{26, 9, 9, 0, 5, 7, 8, 8, 0x67, 1, 0, 5, 7, 8, 8, 0x41, 2}}, {{0x67, 1}, {0x41, 2}}},
    {"Mtap24", "H264", "", {{27, 9, 9, 0, 6, 7, 8, 8, 8, 0x67, 1, 0, 6, 7, 8, 8, 8, 0x41, 2}}, {{0x67, 1}, {0x41, 2}}},
    {"FuA", "H264", "", {{0x7C, 0x85, 1, 2}, {0x7C, 0x05, 3}, {0x7C, 0x45, 4}}, {{0x65, 1, 2, 3, 4}}},
    {"FuB", "H264", "", {{0x7D, 0x85, 9, 9, 1, 2}, {0x7C, 0x45, 3}}, {{0x65, 1, 2, 3}}},
    {"FuWithoutEnd", "H264", "", {{0x7C, 0x85, 1}}, {{0x65, 1}}, true},
    {"FuWithoutBeginning", "H264", "", {{0x7C, 0x05, 1}, {0x7C, 0x45, 1}, {0x41, 2}}, {{0x41, 2}}},
    {"FuEndedByAnotherUnit", "H264", "", {{0x7C, 0x85, 1}, {0x41, 2}, {0x7C, 0x45, 1}}, {{0x65, 1}, {0x41, 2}}},
    {"StapLongerThanItsPacket", "H264", "", {{24, 0, 2, 0x67, 1, 0, 99, 0x65, 1}}, {{0x67, 1}, {0x65, 1}}},
    {"StapWithEmptyUnits", "H264", "", {{24, 0, 0, 0, 2, 0x67, 1, 0, 0}}, {{0x67, 1}}},
    {"StartCodeBefore", "H264", "", {{0, 0, 0, 1, 0x65, 1, 2}}, {{0x65, 1, 2}}},
    {"StartCodesBetween",
     "H264",
     "",
     {{0x67, 1, 0, 0, 0, 1, 0x68, 2, 0, 0, 1, 0x65, 3}},
     {{0x67, 1}, {0x68, 2}, {0x65, 3}}},
    {"SingleOfH265", "H265", "", {{38, 1, 5, 6}}, {{38, 1, 5, 6}}},
    {"Aggregate", "H265", "", {{96, 1, 0, 3, 66, 1, 5, 0, 4, 38, 1, 6, 7}}, {{66, 1, 5}, {38, 1, 6, 7}}},
    {"Fragments", "H265", "", {{98, 1, 0x93, 5}, {98, 1, 0x13, 6}, {98, 1, 0x53, 7}}, {{38, 1, 5, 6, 7}}},
    {"SingleWithNumber", "H265", "sprop-max-don-diff=1", {{38, 1, 9, 9, 5, 6}}, {{38, 1, 5, 6}}},
    {"AggregateWithNumbers",
     "H265",
     "sprop-max-don-diff=1",
     {{96, 1, 9, 9, 0, 3, 66, 1, 5, 9, 0, 4, 38, 1, 6, 7}},
     {{66, 1, 5}, {38, 1, 6, 7}}},
    {"FragmentsWithNumber",
     "H265",
     "sprop-max-don-diff=1",
     {{98, 1, 0x93, 9, 9, 5}, {98, 1, 0x53, 6}},
     {{38, 1, 5, 6}}},
    {"StartCodeBeforeH265", "H265", "", {{0, 0, 0, 1, 38, 1, 5}}, {{38, 1, 5}}},
    {"StartCodesBetweenH265", "H265", "", {{0, 0, 1, 66, 1, 5, 0, 0, 0, 1, 38, 1, 6}}, {{66, 1, 5}, {38, 1, 6}}},
    {"Paci", "H265", "", {{100, 1, 1, 2, 3, 4}}, {}},
};

INSTANTIATE_TEST_SUITE_P(Packets, Depacketizer, testing::ValuesIn(kPayloads),
                         [](const testing::TestParamInfo<Payloads> &payloads) {
                             return std::string(payloads.param.pName);
                         });

TEST(Depacketizer, ForgetsAUnitWhoseRestWasLost)
{
    const std::unique_ptr<RtpDepacketizer> reader = depacketizer({"", "H264", "", {}, {}});
    UnitSink sink;
    const Bytes first = {0x7C, 0x85, 1};
    const Bytes last = {0x7C, 0x45, 2};
    RtpPacket packet;
    packet.payload = {first.data(), first.size()};
    reader->feed(packet, sink);
    reader->lose();
    packet.payload = {last.data(), last.size()};
    reader->feed(packet, sink);
    EXPECT_EQ(sink.units, (std::vector<Bytes>{{0x65, 1}}));
}

} // namespace
} // namespace selvik
