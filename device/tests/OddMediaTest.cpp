// Previews of a scripted camera whose media are odd: their packets, their time stamps, their senders.

#include "device/tests/PreviewFixture.h"

extern "C" {
#include <libavutil/avutil.h>
}

#include <atomic>
#include <vector>

namespace selvik
{
namespace
{

constexpr int kRecords = 60;
constexpr long long kInterval = 40;

/** A camera whose pictures all come out whole and in time, in spite of what it does. */
struct OddMedia {
    const char *pName;
    Script script;
    int nBehind = 0; /**< pictures that wait for the next one, since nothing else tells their end */
};

void PrintTo(const OddMedia &camera, std::ostream *pStream)
{
    *pStream << camera.pName;
}

template <typename Change>
OddMedia odd(const char *pName, Change change)
{
    OddMedia camera{pName, {}, 0};
    change(camera);
    return camera;
}

class OddMediaPreview : public PreviewFixture, public testing::WithParamInterface<OddMedia>
{
};

TEST_P(OddMediaPreview, LosesNoPictureAndNoTime)
{
    const ScriptedCamera camera(m_time, GetParam().script);
    StreamRecorder recorder(m_time);
    const int nTracks = 1 + (GetParam().script.bSound ? 1 : 0) + (GetParam().script.bMetadata ? 1 : 0);
    {
        const Started preview(*this, recorder, camera.url());
        ASSERT_GE(preview.handle(), 0) << "error " << preview.error();
        const Clock::time_point begin = m_time.now();
        ASSERT_TRUE(recorder.waitForRecords(1, kRecords, 20s)) << recorder.dataRecords();
        EXPECT_LE(since(begin), Milliseconds(kInterval * (kRecords / nTracks + GetParam().nBehind + 1)));
    }
    const StreamContents contents = recorder.read(0);
    EXPECT_EQ(recorder.headers(), 1U);
    EXPECT_TRUE(contents.bFirstIsKey);
    EXPECT_GE(contents.nPictures, kRecords / nTracks - 1);
    // The last ones may refer to one that was not recorded any more.
    EXPECT_GE(contents.nDecoded, contents.nPictures - 1);
    EXPECT_EQ(contents.nDecodeErrors, 0);
    for (std::size_t i = 1; i < contents.pictureTimes.size(); ++i) {
        EXPECT_NEAR(static_cast<double>(contents.pictureTimes[i] - contents.pictureTimes[i - 1]), kInterval, 2.0) << i;
    }
}

const OddMedia kOddMedia[] = {
    odd("Ordinary", [](OddMedia &) {}),
    odd("ConstantStamps", [](OddMedia &odd) { odd.script.bConstantStamps = true; }),
    odd("EachStampTwice", [](OddMedia &odd) { odd.script.nRepeatsStamps = 2; }),
    odd("ConstantStampsAndNoMarker",
        [](OddMedia &odd) {
            odd.script.bConstantStamps = odd.script.bNoMarker = true;
            odd.nBehind = 1;
        }),
    odd("ConstantStampsAndMarkerEverywhere",
        [](OddMedia &odd) {
            odd.script.bConstantStamps = odd.script.bMarkerEverywhere = true;
            odd.nBehind = 1;
        }),
    odd("LateMessages", [](OddMedia &odd) { odd.script.bLateMessages = true; }),
    odd("Aggregates", [](OddMedia &odd) { odd.script.bAggregates = true; }),
    odd("AggregatesOfH265",
        [](OddMedia &odd) {
            odd.script.bAggregates = true;
            odd.script.clip = "h265-mulaw.mkv";
        }),
    odd("StartCodesInsideH265",
        [](OddMedia &odd) {
            odd.script.bStartCodesInside = true;
            odd.script.clip = "h265-mulaw.mkv";
        }),
    odd("ForeignTypes", [](OddMedia &odd) { odd.script.bForeignTypes = true; }),
    odd("ForeignTypesAsDatagrams", [](OddMedia &odd) { odd.script.bForeignTypes = odd.script.bDatagramsOnly = true; }),
    odd("ReportsAmongMedia", [](OddMedia &odd) { odd.script.bReportsAmongMedia = true; }),
    odd("StraySource", [](OddMedia &odd) { odd.script.bStraySource = true; }),
    odd("StraySourceAsDatagrams", [](OddMedia &odd) { odd.script.bStraySource = odd.script.bDatagramsOnly = true; }),
    odd("SameChannels",
        [](OddMedia &odd) { odd.script.bSameChannels = odd.script.bSound = odd.script.bMetadata = true; }),
    odd("Strangers", [](OddMedia &odd) { odd.script.bStrangers = odd.script.bDatagramsOnly = true; }),
    odd("SetsInDescription", [](OddMedia &odd) { odd.script.bSetsInDescription = true; }),
    odd("SetsInDescriptionOfH265",
        [](OddMedia &odd) {
            odd.script.bSetsInDescription = true;
            odd.script.clip = "h265-mulaw.mkv";
        }),
};

INSTANTIATE_TEST_SUITE_P(Cameras, OddMediaPreview, testing::ValuesIn(kOddMedia),
                         [](const testing::TestParamInfo<OddMedia> &testCase) { return testCase.param.pName; });

/** Pictures that cannot be carried, and the line that says so. */
struct RefusedPictures {
    const char *pCoding;
    bool bSizelessJpegs;
    const char *pLine;
};

void PrintTo(const RefusedPictures &pictures, std::ostream *pStream)
{
    *pStream << pictures.pCoding;
}

class RefusedPicturesPreview : public PreviewFixture, public testing::WithParamInterface<RefusedPictures>
{
protected:
    RefusedPicturesPreview()
    {
        m_script.coding = GetParam().pCoding;
        m_script.bSizelessJpegs = GetParam().bSizelessJpegs;
        testing::internal::CaptureStderr();
    }
    void expectTold()
    {
        const std::string told = testing::internal::GetCapturedStderr();
        EXPECT_NE(told.find(GetParam().pLine), std::string::npos) << told;
    }

    Script m_script;
};

TEST_P(RefusedPicturesPreview, LeaveTheSoundAlive)
{
    m_script.bSound = true;
    const ScriptedCamera camera(m_time, m_script);
    StreamRecorder recorder(m_time);
    {
        const Started preview(*this, recorder, camera.url());
        ASSERT_GE(preview.handle(), 0) << "error " << preview.error();
        ASSERT_TRUE(recorder.waitForRecords(1, kRecords, 20s)) << recorder.dataRecords();
    }
    expectTold();
    const StreamContents contents = recorder.read(0);
    EXPECT_EQ(contents.mediaTypes, std::vector<int>{AVMEDIA_TYPE_AUDIO});
    EXPECT_GE(contents.nSounds, kRecords - 1);
    EXPECT_EQ(recorder.headers(), 1U);
}

TEST_P(RefusedPicturesPreview, AreNoUsableMediaWhereThereIsNoSound)
{
    const ScriptedCamera camera(m_time, m_script);
    StreamRecorder recorder(m_time);
    const Started preview(*this, recorder, camera.url());
    EXPECT_EQ(preview.error(), static_cast<unsigned long>(SELVIK_ERROR_MEDIA));
    expectTold();
}

INSTANTIATE_TEST_SUITE_P(Cameras, RefusedPicturesPreview,
                         testing::Values(RefusedPictures{"MP2T", false, "The camera's mp2t cannot be carried."},
                                         RefusedPictures{"MP2P", false, "The camera's mp2p cannot be carried."},
                                         RefusedPictures{"JPEG", true, "more than 2040 pixels"}),
                         [](const testing::TestParamInfo<RefusedPictures> &parameter) {
                             return std::string(parameter.param.pCoding);
                         });

class MediaPreview : public PreviewFixture
{
};

TEST_F(MediaPreview, StreamsThatAreOnlyRefreshedBeginAtARecoveryPoint)
{
    Script script;
    script.clip = "intra-refresh.mkv";
    script.nFirstPicture = 5;
    script.bSetsInDescription = true;
    const ScriptedCamera camera(m_time, script);
    StreamRecorder recorder(m_time);
    {
        const Started preview(*this, recorder, camera.url());
        ASSERT_GE(preview.handle(), 0) << preview.error();
        EXPECT_LT(preview.duration(), 1500ms);
        ASSERT_TRUE(recorder.waitForRecords(1, 50, 5s)) << recorder.dataRecords();
    }
    const StreamContents contents = recorder.read(0);
    EXPECT_TRUE(contents.bFirstIsKey);
    EXPECT_GT(contents.keyPictures.size(), 1U);
    // Before the first wave has passed, a decoder has nothing whole to show.
    EXPECT_GE(contents.nDecoded, contents.nPictures - 26);
}

TEST_F(MediaPreview, ACameraThatWaitsForDatagramsGetsThemUntilItSends)
{
    Script script;
    script.bDatagramsOnly = true;
    // From both of its sockets two come before PLAY and two behind it. The others follow as long as nothing is sent.
    script.nPunchesNeeded = 6;
    const ScriptedCamera camera(m_time, script);
    StreamRecorder recorder(m_time);
    const Started preview(*this, recorder, camera.url());
    ASSERT_GE(preview.handle(), 0) << preview.error();
    EXPECT_GE(preview.duration(), 400ms);
    EXPECT_LT(preview.duration(), 1200ms);
    EXPECT_TRUE(recorder.waitForRecords(1, 10, 2s));
}

TEST_F(MediaPreview, TheLeaveOfThePicturesEndsTheConnectionAtOnce)
{
    Script script;
    script.nByeAfter = 10;
    script.bSound = true;
    const ScriptedCamera camera(m_time, script);
    StreamRecorder recorder(m_time);
    const Started preview(*this, recorder, camera.url());
    ASSERT_GE(preview.handle(), 0);
    const Clock::time_point begin = m_time.now();
    ASSERT_TRUE(waitFor([&] { return camera.connectionTimes().size() == 2; }, 20s));
    // Ten pictures, and a second before the camera is asked again.
    EXPECT_LT(since(begin), 400ms + 1200ms);
    EXPECT_TRUE(recorder.waitForRecords(2, 5, 2s));
}

TEST_F(MediaPreview, TheLeaveOfTheSoundLeavesThePicturesAlone)
{
    Script script;
    script.nSoundByeAfter = 10;
    script.bSound = true;
    const ScriptedCamera camera(m_time, script);
    StreamRecorder recorder(m_time);
    const Started preview(*this, recorder, camera.url());
    ASSERT_GE(preview.handle(), 0);
    ASSERT_TRUE(recorder.waitForRecords(1, 100, 10s));
    EXPECT_EQ(recorder.headers(), 1U);
    EXPECT_EQ(camera.connectionTimes().size(), 1U);
}

TEST_F(MediaPreview, AFloodOfForeignDatagramsHoldsUpNoLogOut)
{
    Script script;
    script.bDatagramsOnly = true;
    const ScriptedCamera camera(m_time, script);
    const long userID = m_devices.login(camera.url().c_str(), "", "");
    StreamRecorder recorder(m_time);
    const Started preview(*this, recorder, {}, userID);
    ASSERT_GE(preview.handle(), 0) << preview.error();
    std::atomic<bool> over{false};
    const unsigned short port = camera.clientPort();
    ASSERT_NE(port, 0);
    std::thread flood([&] {
        const TestSocket socket = ::socket(AF_INET, SOCK_DGRAM, 0);
        const sockaddr_in target = loopback(port);
        const Bytes packet(40, 0x80);
        // It ends by itself, so that a log-out that waits for its end fails this test and does not hang it.
        const Clock::time_point end = Clock::now() + 20s;
        while (!over && Clock::now() < end) {
            sendto(socket, reinterpret_cast<const char *>(packet.data()), static_cast<int>(packet.size()), kSendFlags,
                   reinterpret_cast<const sockaddr *>(&target), sizeof target);
        }
        closeSocket(socket);
    });
    const Clock::time_point begin = Clock::now();
    m_devices.logout(userID);
    EXPECT_LT(Clock::now() - begin, 15s);
    over = true;
    flood.join();
    EXPECT_EQ(camera.requests("TEARDOWN"), 1);
}

} // namespace
} // namespace selvik
