#include "device/src/RtpTrack.h"
#include "device/src/Failure.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

namespace selvik
{
namespace
{

SdpMedia h264()
{
    return Sdp::parse("m=video 0 RTP/AVP 96\na=rtpmap:96 H264/90000\n").media.front();
}

Bytes rtp(std::uint16_t sequence, std::uint32_t time, bool bMarker, const Bytes &payload, std::uint32_t source = 1)
{
    Bytes packet(12 + payload.size());
    packet[0] = 0x80;
    packet[1] = static_cast<std::uint8_t>(96 | (bMarker ? 0x80 : 0));
    packet[2] = static_cast<std::uint8_t>(sequence >> 8);
    packet[3] = static_cast<std::uint8_t>(sequence);
    write32(&packet[4], time);
    write32(&packet[8], source);
    std::copy(payload.begin(), payload.end(), packet.begin() + 12);
    return packet;
}

// Behind the unit's type: "first macroblock 0", then the kind of slice, 7 for I and 5 for P.
const Bytes kKeyPicture = {0x65, 0x88, 2, 3};
const Bytes kOtherPicture = {0x41, 0x9A, 2, 3};
const Bytes kIntraPicture = {0x41, 0x88, 2, 3};
// The slice of another macroblock than the first.
const Bytes kSecondSlice = {0x41, 0x46, 2, 3};

/** Packets arrive at the moment that is named, else all at one. */
std::vector<MediaUnit> feed(RtpTrack &track, const Bytes &packet, Milliseconds arrival = Milliseconds(0))
{
    std::vector<MediaUnit> units;
    (void)track.feed({packet.data(), packet.size()}, Clock::time_point(arrival), units);
    return units;
}

Bytes bytesOf(const MediaUnit &unit)
{
    return {unit.bytes().begin(), unit.bytes().end()};
}

/** The units with start codes before them. */
Bytes withStartCodes(const std::vector<Bytes> &units)
{
    Bytes bytes;
    for (const Bytes &unit : units) {
        bytes.insert(bytes.end(), {0, 0, 0, 1});
        bytes.insert(bytes.end(), unit.begin(), unit.end());
    }
    return bytes;
}

Bytes withType(Bytes packet, int nType)
{
    packet[1] = static_cast<std::uint8_t>((packet[1] & 0x80) | nType);
    return packet;
}

/** A report of the sender, or its leave. */
Bytes report(int nType, std::uint32_t source)
{
    Bytes bytes(nType == 203 ? 8 : 28);
    bytes[0] = nType == 203 ? 0x81 : 0x80;
    bytes[1] = static_cast<std::uint8_t>(nType);
    bytes[3] = static_cast<std::uint8_t>(bytes.size() / 4 - 1);
    write32(&bytes[4], source);
    return bytes;
}

TEST(RtpTrack, HandsAPictureOverWithItsMarker)
{
    RtpTrack track(h264());
    EXPECT_TRUE(feed(track, rtp(1, 0, false, {0x67, 1, 2})).empty());
    const std::vector<MediaUnit> units = feed(track, rtp(2, 0, true, kKeyPicture));
    ASSERT_EQ(units.size(), 1U);
    EXPECT_TRUE(units[0].isKey());
    EXPECT_EQ(Bytes(units[0].bytes().begin(), units[0].bytes().end()), withStartCodes({{0x67, 1, 2}, kKeyPicture}));
}

TEST(RtpTrack, CountsMicrosecondsAcrossTheWrapOfTheClock)
{
    RtpTrack track(h264());
    (void)feed(track, rtp(0xFFFF, 0xFFFFFFFF - 44999, true, kKeyPicture));
    const std::vector<MediaUnit> units = feed(track, rtp(0, 45000, true, kOtherPicture), Milliseconds(1000));
    ASSERT_EQ(units.size(), 1U);
    EXPECT_EQ(units[0].packet->pts, 1000000);
}

TEST(RtpTrack, AfterALossItWaitsForAKeyPicture)
{
    RtpTrack track(h264());
    EXPECT_EQ(feed(track, rtp(1, 0, true, kKeyPicture)).size(), 1U);
    EXPECT_EQ(feed(track, rtp(2, 3600, true, kOtherPicture)).size(), 1U);
    EXPECT_TRUE(feed(track, rtp(4, 10800, true, kOtherPicture)).empty());
    EXPECT_TRUE(feed(track, rtp(5, 14400, true, kOtherPicture)).empty());
    EXPECT_EQ(feed(track, rtp(6, 18000, true, kKeyPicture)).size(), 1U);
    EXPECT_EQ(feed(track, rtp(7, 21600, true, kOtherPicture)).size(), 1U);
}

TEST(RtpTrack, IgnoresPacketsThatCameBefore)
{
    RtpTrack track(h264());
    EXPECT_EQ(feed(track, rtp(5, 3600, true, kKeyPicture)).size(), 1U);
    EXPECT_TRUE(feed(track, rtp(5, 3600, true, kKeyPicture)).empty());
    EXPECT_TRUE(feed(track, rtp(4, 0, true, kOtherPicture)).empty());
    EXPECT_EQ(feed(track, rtp(6, 7200, true, kOtherPicture)).size(), 1U);
}

TEST(RtpTrack, OnePacketOfAnotherSourceChangesNothing)
{
    RtpTrack track(h264());
    EXPECT_EQ(feed(track, rtp(5, 3600, true, kKeyPicture)).size(), 1U);
    for (std::uint16_t n = 0; n < 20; ++n) {
        const auto nTime = static_cast<std::uint32_t>(7200 + 3600 * n);
        EXPECT_TRUE(feed(track, rtp(static_cast<std::uint16_t>(900 + n), 99, true, kOtherPicture, 2)).empty()) << n;
        EXPECT_EQ(feed(track, rtp(static_cast<std::uint16_t>(6 + n), nTime, true, kOtherPicture)).size(), 1U) << n;
    }
}

TEST(RtpTrack, ANewSourceIsTakenOnceTheOldOneIsSilentAndLosesNoPicture)
{
    RtpTrack track(h264());
    for (std::uint16_t n = 0; n < 5; ++n) {
        EXPECT_EQ(
            feed(track, rtp(n, 3600U * n, true, n == 0 ? kKeyPicture : kOtherPicture), Milliseconds(40) * n).size(),
            1U);
    }
    std::size_t nPictures = 0;
    for (std::uint16_t n = 0; n < 50; ++n) {
        const Bytes packet =
            rtp(static_cast<std::uint16_t>(900 + n), 3600U * n, true, n == 0 ? kKeyPicture : kOtherPicture, 2);
        nPictures += feed(track, packet, Milliseconds(200 + 40 * n)).size();
    }
    EXPECT_EQ(nPictures, 50U);
}

TEST(RtpTrack, ANewSourceIsTakenAtOnceWhenTheOldOneHasTakenLeave)
{
    RtpTrack track(h264());
    for (std::uint16_t n = 0; n < 5; ++n) {
        EXPECT_EQ(feed(track, rtp(n, 3600U * n, true, n == 0 ? kKeyPicture : kOtherPicture)).size(), 1U);
    }
    const Bytes leave = report(203, 1);
    track.feedReport({leave.data(), leave.size()});
    EXPECT_EQ(feed(track, rtp(900, 99, true, kKeyPicture, 2)).size(), 1U);
    EXPECT_EQ(feed(track, rtp(901, 3699, true, kOtherPicture, 2)).size(), 1U);
}

TEST(RtpTrack, OneNumberFarAwayChangesNothing)
{
    RtpTrack track(h264());
    EXPECT_EQ(feed(track, rtp(5, 3600, true, kKeyPicture)).size(), 1U);
    EXPECT_TRUE(feed(track, rtp(30000, 1, true, kOtherPicture)).empty());
    EXPECT_EQ(feed(track, rtp(6, 7200, true, kOtherPicture)).size(), 1U);
}

TEST(RtpTrack, FollowsACameraThatNumbersAnew)
{
    RtpTrack track(h264());
    EXPECT_EQ(feed(track, rtp(5, 3600, true, kKeyPicture)).size(), 1U);
    std::size_t nPictures = 0;
    for (std::uint16_t n = 0; n < 10; ++n) {
        nPictures += feed(track, rtp(static_cast<std::uint16_t>(30000 + n), 3600U * n, true,
                                     n == 0 ? kKeyPicture : kOtherPicture))
                         .size();
    }
    EXPECT_EQ(nPictures, 10U);
}

struct ForeignPacket {
    const char *pName;
    Bytes bytes;
};

void PrintTo(const ForeignPacket &foreign, std::ostream *pStream)
{
    *pStream << foreign.pName;
}

class ForeignPackets : public testing::TestWithParam<ForeignPacket>
{
};

TEST_P(ForeignPackets, BetweenThePacketsOfAPictureAreLeftOut)
{
    RtpTrack track(
        Sdp::parse("m=video 0 RTP/AVP 96 97\na=rtpmap:96 H264/90000\na=rtpmap:97 rtx/90000\n").media.front());
    EXPECT_EQ(feed(track, rtp(4, 0, true, kKeyPicture)).size(), 1U);
    for (std::uint16_t n = 0; n < 10; ++n) {
        const auto nTime = static_cast<std::uint32_t>(3600 * (n + 1));
        EXPECT_TRUE(feed(track, rtp(static_cast<std::uint16_t>(5 + 2 * n), nTime, false, kOtherPicture)).empty());
        EXPECT_TRUE(feed(track, GetParam().bytes).empty());
        const std::vector<MediaUnit> units =
            feed(track, rtp(static_cast<std::uint16_t>(6 + 2 * n), nTime, true, kSecondSlice));
        ASSERT_EQ(units.size(), 1U) << n;
        EXPECT_EQ(bytesOf(units[0]), withStartCodes({kOtherPicture, kSecondSlice}));
    }
}

const ForeignPacket kForeignPackets[] = {
    {"ComfortNoise", withType(rtp(7, 11, true, {0x40}), 13)},
    {"Retransmission", withType(rtp(40000, 11, true, kOtherPicture), 97)},
    {"ErrorCorrection", withType(rtp(7, 3600, true, kOtherPicture), 127)},
    {"ErrorCorrectionOfAnotherSource", withType(rtp(7, 3600, true, kOtherPicture, 9), 127)},
    {"AnotherSource", rtp(700, 3600, true, kOtherPicture, 9)},
    {"SenderReport", report(200, 1)},
    {"ReceiverReport", report(201, 1)},
    {"SourceDescription", report(202, 1)},
    {"LeaveOfAnotherSource", report(203, 9)},
    {"Headless", {0x80, 96, 0, 6}},
};

INSTANTIATE_TEST_SUITE_P(Packets, ForeignPackets, testing::ValuesIn(kForeignPackets),
                         [](const testing::TestParamInfo<ForeignPacket> &foreign) {
                             return std::string(foreign.param.pName);
                         });

TEST(RtpTrack, TakesAnotherPayloadTypeThanTheDescribedOneWhereThatNeverComes)
{
    RtpTrack track(h264());
    std::size_t nPictures = 0;
    for (std::uint16_t n = 0; n < 10; ++n) {
        const Bytes packet = rtp(n, 3600U * n, true, n == 0 ? kKeyPicture : kOtherPicture);
        nPictures += feed(track, withType(packet, 100)).size();
    }
    EXPECT_EQ(nPictures, 10U);
}

TEST(RtpTrack, PicturesThatShareOneTimeStampAreToldApart)
{
    RtpTrack track(h264());
    for (std::uint16_t n = 0; n < 20; ++n) {
        const std::vector<MediaUnit> units =
            feed(track, rtp(n, 77, true, n == 0 ? kKeyPicture : kOtherPicture), Milliseconds(40) * n);
        ASSERT_EQ(units.size(), 1U) << n;
        EXPECT_NEAR(static_cast<double>(units[0].packet->pts), 40000.0 * n, 1000.0) << "arrival tells the time";
    }
}

TEST(RtpTrack, PicturesWithoutMarkerThatShareOneTimeStampAreToldApart)
{
    RtpTrack track(h264());
    for (std::uint16_t n = 0; n < 20; ++n) {
        const auto nNumber = static_cast<std::uint16_t>(2 * n);
        const std::vector<MediaUnit> units = feed(track, rtp(nNumber, 77, false, n == 0 ? kKeyPicture : kOtherPicture));
        ASSERT_EQ(units.size(), n == 0 ? 0U : 1U) << n;
        if (n > 1) {
            EXPECT_EQ(bytesOf(units[0]), withStartCodes({kOtherPicture, kSecondSlice}));
        }
        EXPECT_TRUE(feed(track, rtp(static_cast<std::uint16_t>(nNumber + 1), 77, false, kSecondSlice)).empty());
    }
}

TEST(RtpTrack, EachTimeStampTwiceIsTwoPictures)
{
    RtpTrack track(h264());
    for (std::uint16_t n = 0; n < 20; ++n) {
        const std::vector<MediaUnit> units =
            feed(track, rtp(n, 7200U * (n / 2), true, n == 0 ? kKeyPicture : kOtherPicture), Milliseconds(40) * n);
        ASSERT_EQ(units.size(), 1U) << n;
        EXPECT_NEAR(static_cast<double>(units[0].packet->pts), 40000.0 * n, 1000.0);
    }
}

TEST(RtpTrack, ClocksThatCreepAreLeftForTheArrival)
{
    RtpTrack track(h264());
    std::int64_t nLast = 0;
    for (std::uint16_t n = 0; n < 200; ++n) {
        const std::vector<MediaUnit> units =
            feed(track, rtp(n, n, true, n == 0 ? kKeyPicture : kOtherPicture), Milliseconds(40) * n);
        ASSERT_EQ(units.size(), 1U) << n;
        EXPECT_GE(units[0].packet->pts, nLast);
        if (n > 100) {
            EXPECT_NEAR(static_cast<double>(units[0].packet->pts - nLast), 40000.0, 1000.0);
        }
        nLast = units[0].packet->pts;
    }
}

TEST(RtpTrack, AStallOfTheNetworkLeavesTheStampsInForce)
{
    RtpTrack track(h264());
    for (std::uint16_t n = 0; n < 200; ++n) {
        // For three seconds nothing comes, then all at once.
        const int nSent = 40 * n;
        const int nArrival = nSent > 2000 && nSent < 5000 ? 5000 : nSent;
        const std::vector<MediaUnit> units =
            feed(track, rtp(n, 3600U * n, true, n == 0 ? kKeyPicture : kOtherPicture), Milliseconds(nArrival));
        ASSERT_EQ(units.size(), 1U) << n;
        EXPECT_NEAR(static_cast<double>(units[0].packet->pts), 1000.0 * nSent, 1000.0) << n;
    }
}

TEST(RtpTrack, ALateSeiCostsNoPictureItsDelay)
{
    RtpTrack track(h264());
    EXPECT_EQ(feed(track, rtp(0, 0, true, kKeyPicture)).size(), 1U);
    for (std::uint16_t n = 1; n < 10; ++n) {
        const auto nTime = static_cast<std::uint32_t>(3600 * n);
        const auto nNumber = static_cast<std::uint16_t>(2 * n - 1);
        const std::vector<MediaUnit> units = feed(track, rtp(nNumber, nTime, true, kOtherPicture));
        ASSERT_EQ(units.size(), 1U) << n;
        EXPECT_EQ(bytesOf(units[0]), withStartCodes({kOtherPicture}));
        EXPECT_TRUE(feed(track, rtp(static_cast<std::uint16_t>(nNumber + 1), nTime, n % 2 == 0, {0x06, 5, 1, 9, 0x80}))
                        .empty());
    }
}

TEST(RtpTrack, ASliceBehindTheMarkerEndsTheTrustInMarkers)
{
    RtpTrack track(h264());
    // Until the trust is lost, half a picture has gone out. The next key picture is whole.
    EXPECT_EQ(feed(track, rtp(0, 0, true, {0x65, 0x88, 1})).size(), 1U);
    EXPECT_TRUE(feed(track, rtp(1, 0, true, {0x65, 0x46, 1})).empty());
    EXPECT_TRUE(feed(track, rtp(2, 3600, true, kKeyPicture)).empty());
    EXPECT_TRUE(feed(track, rtp(3, 3600, true, {0x65, 0x46, 2})).empty());
    const std::vector<MediaUnit> units = feed(track, rtp(4, 7200, true, kOtherPicture));
    ASSERT_EQ(units.size(), 1U);
    EXPECT_EQ(bytesOf(units[0]), withStartCodes({kKeyPicture, {0x65, 0x46, 2}}));
}

TEST(RtpTrack, ParameterSetsBetweenTheSlicesOfAPictureDoNotEndIt)
{
    RtpTrack track(h264());
    EXPECT_TRUE(feed(track, rtp(0, 0, false, kKeyPicture)).empty());
    EXPECT_TRUE(feed(track, rtp(1, 0, false, {0x68, 1})).empty());
    const std::vector<MediaUnit> units = feed(track, rtp(2, 0, true, {0x65, 0x46, 2}));
    ASSERT_EQ(units.size(), 1U);
    EXPECT_EQ(bytesOf(units[0]), withStartCodes({kKeyPicture, {0x68, 1}, {0x65, 0x46, 2}}));
}

TEST(RtpTrack, TimeStampsThatChangeInsideAPictureDoNotTearIt)
{
    RtpTrack track(h264());
    EXPECT_TRUE(feed(track, rtp(0, 0, false, kKeyPicture)).empty());
    const std::vector<MediaUnit> units = feed(track, rtp(1, 3, true, {0x65, 0x46, 2}));
    ASSERT_EQ(units.size(), 1U);
    EXPECT_EQ(bytesOf(units[0]), withStartCodes({kKeyPicture, {0x65, 0x46, 2}}));
}

const Bytes kRecoveryPoint = {0x06, 6, 1, 0xC4, 0x80};

TEST(RtpTrack, ARecoveryPointIsABeginningWhereTheDescriptionHasTheParameterSets)
{
    const std::string sets = "a=fmtp:96 sprop-parameter-sets=Z2QADKzZQUH7ARAAAAMAEAAAAwPA8UKZYA==,aOvjyyLA\n";
    RtpTrack track(Sdp::parse("m=video 0 RTP/AVP 96\na=rtpmap:96 H264/90000\n" + sets).media.front());
    // Nothing can be decoded yet, but the header may be made of such a picture.
    const std::vector<MediaUnit> before = feed(track, rtp(1, 0, true, kOtherPicture));
    ASSERT_EQ(before.size(), 1U);
    EXPECT_FALSE(before[0].isKey());
    EXPECT_TRUE(feed(track, rtp(2, 3600, false, kRecoveryPoint)).empty());
    const std::vector<MediaUnit> units = feed(track, rtp(3, 3600, true, kOtherPicture));
    ASSERT_EQ(units.size(), 1U);
    EXPECT_TRUE(units[0].isKey());
    const std::vector<MediaUnit> others = feed(track, rtp(4, 7200, true, kOtherPicture));
    ASSERT_EQ(others.size(), 1U);
    EXPECT_FALSE(others[0].isKey());
}

TEST(RtpTrack, AnIntraPictureIsABeginningAfterASecondWithoutABetterOne)
{
    RtpTrack track(h264());
    std::vector<int> entries;
    for (std::uint16_t n = 0; n < 50; ++n) {
        const Bytes &picture = n % 10 == 0 ? kIntraPicture : kOtherPicture;
        for (const MediaUnit &unit : feed(track, rtp(n, 3600U * n, true, picture), Milliseconds(40) * n)) {
            if (unit.isKey()) {
                entries.push_back(n);
            }
        }
    }
    EXPECT_EQ(entries, (std::vector<int>{30, 40}));
}

TEST(RtpTrack, AnyPictureIsABeginningWhereNoBetterOneEverComes)
{
    RtpTrack track(h264());
    int nFirst = -1;
    for (int n = 0; n < 125 && nFirst < 0; ++n) {
        const auto nNumber = static_cast<std::uint16_t>(n);
        const Bytes packet = rtp(nNumber, 3600U * nNumber, true, kOtherPicture);
        const std::vector<MediaUnit> units = feed(track, packet, Milliseconds(40) * n);
        ASSERT_EQ(units.size(), 1U);
        nFirst = units[0].isKey() ? 40 * n : -1;
    }
    EXPECT_GE(nFirst, 3500);
    EXPECT_LE(nFirst, 4500);
}

TEST(RtpTrack, TellsThatItsSourceHasTakenLeave)
{
    RtpTrack track(h264());
    const Bytes others = report(203, 2);
    const Bytes own = report(203, 1);
    track.feedReport({own.data(), own.size()});
    EXPECT_FALSE(track.hasEnded()) << "of a stream before this one";
    (void)feed(track, rtp(1, 0, true, kKeyPicture));
    track.feedReport({others.data(), others.size()});
    EXPECT_FALSE(track.hasEnded());
    track.feedReport({own.data(), own.size()});
    EXPECT_TRUE(track.hasEnded());
}

TEST(RtpTrack, TellsTheTimeOfDayOfAPicture)
{
    RtpTrack track(h264());
    Bytes report(28);
    report[0] = 0x80;
    report[1] = 200;
    report[3] = 6;
    write32(&report[4], 1);
    write32(&report[8], 2208988800U + 1000);
    write32(&report[12], 0x80000000U);
    write32(&report[16], 90000);
    track.feedReport({report.data(), report.size()});
    const std::vector<MediaUnit> units = feed(track, rtp(1, 0, true, kKeyPicture));
    ASSERT_EQ(units.size(), 1U);
    EXPECT_EQ(units[0].captureTime, 1000500000 - 1000000);
    // A report of somebody else tells nothing about this clock.
    Bytes foreign = report;
    write32(&foreign[4], 9);
    write32(&foreign[8], 2208988800U + 5000);
    track.feedReport({foreign.data(), foreign.size()});
    const std::vector<MediaUnit> others = feed(track, rtp(2, 3600, true, kOtherPicture), Milliseconds(40));
    ASSERT_EQ(others.size(), 1U);
    EXPECT_EQ(others[0].captureTime, 1000500000 - 1000000 + 40000);
}

TEST(RtpTrack, BoundsAMetadataDocumentWithoutEnd)
{
    RtpTrack track(Sdp::parse("m=application 0 RTP/AVP 107\na=rtpmap:107 vnd.onvif.metadata/90000\n").media.front());
    for (std::uint16_t n = 0; n < 3000; ++n) {
        for (const MediaUnit &unit : feed(track, withType(rtp(n, 0, false, Bytes(1400, 'x')), 107))) {
            ASSERT_LE(unit.packet->size, 1 << 20);
        }
    }
    // What has grown too large is given up: the rest of it is no document.
    EXPECT_TRUE(feed(track, withType(rtp(3000, 0, true, {'/', '>'}), 107)).empty());
    EXPECT_EQ(feed(track, withType(rtp(3001, 9, true, {'<', '>'}), 107)).size(), 1U);
}

TEST(RtpTrack, AMetadataDocumentWithoutMarkerEndsWithTheNextTimeStamp)
{
    RtpTrack track(Sdp::parse("m=application 0 RTP/AVP 107\na=rtpmap:107 vnd.onvif.metadata/90000\n").media.front());
    EXPECT_TRUE(feed(track, withType(rtp(1, 0, false, {'<', 'a'}), 107)).empty());
    EXPECT_TRUE(feed(track, withType(rtp(2, 0, false, {'/', '>'}), 107)).empty());
    const std::vector<MediaUnit> units = feed(track, withType(rtp(3, 90, false, {'<', 'b'}), 107));
    ASSERT_EQ(units.size(), 1U);
    EXPECT_EQ(std::string(units[0].bytes().begin(), units[0].bytes().end()), "<a/>");
    EXPECT_EQ(units[0].packet->pts, 0);
}

TEST(RtpTrack, JoinsAMetadataDocument)
{
    RtpTrack track(Sdp::parse("m=application 0 RTP/AVP 107\na=rtpmap:107 vnd.onvif.metadata/90000\n").media.front());
    EXPECT_TRUE(feed(track, withType(rtp(1, 0, false, {'<', 'a'}), 107)).empty());
    const std::vector<MediaUnit> units = feed(track, withType(rtp(2, 0, true, {'/', '>'}), 107));
    ASSERT_EQ(units.size(), 1U);
    EXPECT_EQ(std::string(units[0].bytes().begin(), units[0].bytes().end()), "<a/>");
}

TEST(RtpTrack, TakesTheUnitsOfAacApart)
{
    RtpTrack track(Sdp::parse("m=audio 0 RTP/AVP 96\na=rtpmap:96 mpeg4-generic/16000/1\n"
                              "a=fmtp:96 streamtype=5;profile-level-id=1;mode=AAC-hbr;sizelength=13;indexlength=3;"
                              "indexdeltalength=3;config=1408\n")
                       .media.front());
    EXPECT_EQ(track.parameters().codec_id, AV_CODEC_ID_AAC);
    EXPECT_EQ(track.parameters().extradata_size, 2);
    // Two headers of 16 bits: sizes of 3 and 2 bytes.
    const std::vector<MediaUnit> units = feed(track, rtp(1, 0, true, {0, 32, 0, 24, 0, 16, 1, 2, 3, 4, 5}));
    ASSERT_EQ(units.size(), 2U);
    EXPECT_EQ(Bytes(units[0].bytes().begin(), units[0].bytes().end()), (Bytes{1, 2, 3}));
    EXPECT_EQ(Bytes(units[1].bytes().begin(), units[1].bytes().end()), (Bytes{4, 5}));
    EXPECT_EQ(units[1].packet->pts - units[0].packet->pts, 64000);
}

TEST(RtpTrack, MakesAJpegPictureOutOfItsPieces)
{
    RtpTrack track(Sdp::parse("m=video 0 RTP/AVP 26\n").media.front());
    EXPECT_EQ(track.parameters().codec_id, AV_CODEC_ID_MJPEG);
    EXPECT_TRUE(feed(track, withType(rtp(1, 0, false, {0, 0, 0, 0, 1, 50, 4, 4, 9, 9, 9, 9}), 26)).empty());
    const std::vector<MediaUnit> units =
        feed(track, withType(rtp(2, 0, true, {0, 0, 0, 4, 1, 50, 4, 4, 8, 8, 8, 8}), 26));
    ASSERT_EQ(units.size(), 1U);
    EXPECT_TRUE(units[0].isKey());
    EXPECT_EQ(read16(units[0].bytes().begin()), 0xFFD8);
    EXPECT_EQ(read16(units[0].bytes().end() - 2), 0xFFD9);
}

/** The size in a JPEG picture's head; {0, 0} where there is none. */
std::pair<int, int> jpegSize(const Bytes &picture)
{
    for (std::size_t i = 0; i + 9 < picture.size(); ++i) {
        if (picture[i] == 0xFF && picture[i + 1] == 0xC0) {
            return {read16(&picture[i + 7]), read16(&picture[i + 5])};
        }
    }
    return {0, 0};
}

// Width and height are 0: more than the head can say.
const Bytes kLargeJpeg = {0, 0, 0, 0, 1, 50, 0, 0, 9, 9, 9, 9};

TEST(RtpTrack, TakesTheSizeOfALargeJpegPictureFromTheDescription)
{
    for (const char *pAttribute :
         {"a=framesize:26 3072-1728", "a=x-dimensions:3072,1728", "a=x-dimensions: 3072, 1728"}) {
        RtpTrack track(Sdp::parse(std::string("m=video 0 RTP/AVP 26\n") + pAttribute + "\n").media.front());
        const std::vector<MediaUnit> units = feed(track, withType(rtp(1, 0, true, kLargeJpeg), 26));
        ASSERT_EQ(units.size(), 1U) << pAttribute;
        EXPECT_EQ(jpegSize(bytesOf(units[0])), std::make_pair(3072, 1728)) << pAttribute;
    }
}

TEST(RtpTrack, TakesTheSizeOfALargeJpegPictureFromItsExtension)
{
    RtpTrack track(Sdp::parse("m=video 0 RTP/AVP 26\n").media.front());
    Bytes packet = withType(rtp(1, 0, true, kLargeJpeg), 26);
    packet[0] |= 0x10;
    // Three words: the head of a frame of 2160 rows and 3840 columns, and two bytes to fill up.
    const Bytes extension = {0xFF, 0xD8, 0, 3, 0xFF, 0xC0, 0, 17, 8, 0x08, 0x70, 0x0F, 0x00, 3, 0, 0};
    packet.insert(packet.begin() + 12, extension.begin(), extension.end());
    const std::vector<MediaUnit> units = feed(track, packet);
    ASSERT_EQ(units.size(), 1U);
    EXPECT_EQ(jpegSize(bytesOf(units[0])), std::make_pair(3840, 2160));
}

TEST(RtpTrack, RefusesALargeJpegPictureOfWhichNobodyKnowsTheSize)
{
    RtpTrack track(Sdp::parse("m=video 0 RTP/AVP 26\n").media.front());
    testing::internal::CaptureStderr();
    EXPECT_THROW((void)feed(track, withType(rtp(1, 0, true, kLargeJpeg), 26)), Failure);
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_NE(told.find("more than 2040 pixels"), std::string::npos) << told;
}

TEST(RtpTrack, TurnsTheCodesOfG726IntoTheOrderOfFiles)
{
    struct Packing {
        const char *pName;
        Bytes sent;
        Bytes kept;
    };
    // The codes 1, 2, 3, 0 of two bits; 1, 2 of four; 1 to 8 (of which 8 is 0) of three; 1 to 8 of five.
    const Packing packings[] = {{"G726-16", {0x39}, {0x6C}},
                                {"G726-32", {0x21}, {0x12}},
                                {"G726-24", {0xD1, 0x58, 0x1F}, {0x29, 0xCB, 0xB8}},
                                {"G726-40", {0x41, 0x0C, 0x52, 0xCC, 0x41}, {0x08, 0x86, 0x42, 0x98, 0xE8}},
                                {"AAL2-G726-32", {0x21}, {0x21}}};
    for (const Packing &packing : packings) {
        const std::string text = std::string("m=audio 0 RTP/AVP 97\na=rtpmap:97 ") + packing.pName + "/8000\n";
        RtpTrack track(Sdp::parse(text).media.front());
        const std::vector<MediaUnit> units = feed(track, withType(rtp(1, 0, false, packing.sent), 97));
        ASSERT_EQ(units.size(), 1U) << packing.pName;
        EXPECT_EQ(bytesOf(units[0]), packing.kept) << packing.pName;
    }
}

TEST(RtpTrack, GoesOnWhenFfmpegWantsToReport)
{
    // It does so for every 280 kilobytes.
    RtpTrack track(Sdp::parse("m=video 0 RTP/AVP 96\na=rtpmap:96 MP4V-ES/90000\n").media.front());
    Bytes payload(1200, 7);
    const Bytes head = {0, 0, 1, 0xB6, 0x10};
    std::copy(head.begin(), head.end(), payload.begin());
    for (std::uint16_t nSequence = 0; nSequence < 1000; ++nSequence) {
        ASSERT_EQ(feed(track, rtp(nSequence, 3600U * nSequence, true, payload)).size(), 1U) << nSequence;
    }
}

TEST(RtpTrack, RefusesWhatCannotBeCarried)
{
    EXPECT_THROW(RtpTrack(Sdp::parse("m=video 0 RTP/AVP 96\na=rtpmap:96 UNHEARD/90000\n").media.front()),
                 std::exception);
    EXPECT_THROW(RtpTrack(Sdp::parse("m=audio 0 RTP/AVP 97\na=rtpmap:97 mpeg4-generic/48000/2\n").media.front()),
                 std::exception);
}

/** Random packets that get past the first look: with heads, aggregates, fragments and jumps that make sense. */
class PacketMaker
{
public:
    explicit PacketMaker(bool bH265) : m_bH265(bH265) {}

    [[nodiscard]] std::size_t below(std::size_t limit)
    {
        return m_random() % limit;
    }
    [[nodiscard]] Bytes bytes(std::size_t size)
    {
        Bytes result(size);
        for (std::uint8_t &byte : result) {
            // Start codes and all that looks like one are to be frequent.
            byte = static_cast<std::uint8_t>(below(3) == 0 ? below(2) : m_random());
        }
        return result;
    }
    [[nodiscard]] Bytes packet()
    {
        const int nKind = static_cast<int>(below(200));
        if (nKind == 0) {
            m_nSequence = static_cast<std::uint16_t>(m_random());
        } else if (nKind == 1) {
            m_nTime = static_cast<std::uint32_t>(m_random());
        } else if (nKind == 2) {
            m_nSource = static_cast<std::uint32_t>(below(3));
        }
        m_nTime += below(3) == 0 ? 3600U : 0U;
        Bytes packet = rtp(m_nSequence++, m_nTime, below(3) == 0, payload(), m_nSource);
        if (below(8) == 0) {
            packet[0] = static_cast<std::uint8_t>(0x80 | below(64));
        }
        packet.resize(below(30) == 0 ? below(packet.size()) : packet.size());
        return packet;
    }
    /** A sender report, a leave, and whatever else. */
    [[nodiscard]] Bytes control()
    {
        Bytes whole;
        for (std::size_t n = 1 + below(3); n > 0; --n) {
            Bytes part = report(static_cast<int>(200 + below(5)), m_nSource);
            for (std::size_t i = 8; i < part.size(); ++i) {
                part[i] = static_cast<std::uint8_t>(m_random());
            }
            part[3] = below(6) == 0 ? static_cast<std::uint8_t>(m_random()) : part[3];
            whole.insert(whole.end(), part.begin(), part.end());
        }
        return whole;
    }

private:
    [[nodiscard]] Bytes unit()
    {
        static const Bytes h264 = {0x67, 0x68, 0x65, 0x41, 0x06, 0x09, 0x0C, 0x01};
        static const Bytes h265 = {64, 66, 68, 38, 2, 78, 80, 0};
        Bytes unit = bytes(2 + below(40));
        unit[0] = (m_bH265 ? h265 : h264)[below(h264.size())];
        unit[1] = m_bH265 ? 1 : unit[1];
        return unit;
    }
    [[nodiscard]] Bytes payload()
    {
        const std::size_t nKind = below(4);
        Bytes payload = unit();
        if (nKind == 0) {
            return bytes(below(60));
        }
        if (nKind == 1) {
            // In fragments: flags, and the unit's type.
            const auto nFlags =
                static_cast<std::uint8_t>(below(4) << 6 | (m_bH265 ? payload[0] >> 1 : payload[0] & 31));
            payload[0] = m_bH265 ? 98 : static_cast<std::uint8_t>(28 + below(2));
            payload.insert(payload.begin() + (m_bH265 ? 2 : 1), nFlags);
        } else if (nKind == 2) {
            payload = m_bH265 ? Bytes{96, 1} : Bytes{static_cast<std::uint8_t>(24 + below(4))};
            for (std::size_t n = below(5); n > 0; --n) {
                const Bytes inner = unit();
                const std::size_t size = below(10) == 0 ? below(0x10000) : inner.size();
                payload.push_back(static_cast<std::uint8_t>(size >> 8));
                payload.push_back(static_cast<std::uint8_t>(size));
                payload.insert(payload.end(), inner.begin(), inner.end());
            }
        }
        return payload;
    }

    const bool m_bH265;
    std::mt19937 m_random{815};
    std::uint16_t m_nSequence = 65000;
    std::uint32_t m_nTime = 0xFFFFF000;
    std::uint32_t m_nSource = 1;
};

TEST(RtpTrack, SurvivesAnyPacket)
{
    for (const std::string name : {"H264", "H265", "JPEG", "VP8", "MP4V-ES"}) {
        const std::string numbers = name == "H265" ? "a=fmtp:96 sprop-max-don-diff=2\n" : "";
        for (const std::string &parameters : {std::string(), numbers}) {
            RtpTrack track(
                Sdp::parse("m=video 0 RTP/AVP 96\na=rtpmap:96 " + name + "/90000\n" + parameters).media.front());
            PacketMaker maker(name == "H265");
            std::vector<MediaUnit> units;
            std::size_t nStamped = 0;
            if (maker.below(2) == 0) {
                track.useDatagrams();
            }
            for (int n = 0; n < 4000; ++n) {
                const Bytes packet = maker.below(10) == 0 ? maker.control() : maker.packet();
                const ByteView view = {packet.data(), packet.size()};
                const Clock::time_point now = Clock::time_point(Milliseconds(10) * n);
                try {
                    (void)track.feed(view, now, units);
                } catch (const Failure &) {
                    ASSERT_EQ(name, "JPEG");
                }
                track.feedReport(view);
                track.wait(now, units);
            }
            for (const MediaUnit &unit : units) {
                EXPECT_GT(unit.packet->size, 0);
                nStamped += unit.captureTime != AV_NOPTS_VALUE ? 1 : 0;
            }
            if (name == "H264" || name == "H265") {
                EXPECT_GT(units.size(), 20U) << "pictures were made of " << name;
                EXPECT_GT(nStamped, 5U) << "reports were believed";
            }
        }
    }
}

TEST(RtpTrack, NoStampsAndNoClockOverflowItsTimes)
{
    RtpTrack track(Sdp::parse("m=video 0 RTP/AVP 96\na=rtpmap:96 H264/1\n").media.front());
    for (std::uint16_t n = 0; n < 20000; ++n) {
        // Forward by half of what a stamp can hold, again and again.
        for (const MediaUnit &unit : feed(track, rtp(n, 0x7FFFFFFFU * n, true, kKeyPicture), Milliseconds(40) * n)) {
            ASSERT_LE(std::abs(unit.packet->pts), std::int64_t(1) << 61);
        }
    }
}

TEST(RtpTrack, ParameterSetsWithoutAPictureAreBounded)
{
    RtpTrack track(h264());
    for (std::uint16_t nSequence = 1; nSequence <= 2000; ++nSequence) {
        EXPECT_TRUE(feed(track, rtp(nSequence, 3600U * nSequence, true, {0x67, 1, 2})).empty());
    }
    const std::vector<MediaUnit> units = feed(track, rtp(2001, 3600U * 2001, true, kKeyPicture));
    ASSERT_EQ(units.size(), 1U);
    EXPECT_LT(units[0].bytes().size, 1000U);
}

TEST(RtpTrack, APictureOfAnySizeIsBounded)
{
    RtpTrack track(h264());
    EXPECT_EQ(feed(track, rtp(0, 0, true, kKeyPicture)).size(), 1U);
    Bytes fragment(1400, 7);
    fragment[0] = 0x7C;
    std::size_t nLargest = 0;
    for (std::uint16_t n = 1; n < 20000; ++n) {
        fragment[1] = n == 1 ? 0x85 : 0x05;
        fragment[2] = 0x88;
        for (const MediaUnit &unit : feed(track, rtp(n, 3600, false, fragment))) {
            nLargest = std::max(nLargest, unit.bytes().size);
        }
    }
    EXPECT_LE(nLargest, std::size_t(16) << 20);
    EXPECT_TRUE(feed(track, rtp(20000, 7200, true, kOtherPicture)).empty()) << "the picture before it is missing";
    EXPECT_EQ(feed(track, rtp(20001, 10800, true, kKeyPicture)).size(), 1U);
}

TEST(RtpTrack, APictureWithATornMessageIsHandedOnAsItCame)
{
    RtpTrack track(h264());
    EXPECT_EQ(feed(track, rtp(0, 0, true, kKeyPicture)).size(), 1U);
    const Bytes torn = {0x06, 0xFF, 0xFF, 0xFF, 0xFF};
    EXPECT_TRUE(feed(track, rtp(1, 3600, false, torn)).empty());
    const std::vector<MediaUnit> units = feed(track, rtp(2, 3600, true, kOtherPicture));
    ASSERT_EQ(units.size(), 1U);
    EXPECT_FALSE(units[0].isKey());
    EXPECT_EQ(bytesOf(units[0]), withStartCodes({torn, kOtherPicture}));
}

} // namespace
} // namespace selvik
