// Previews of cameras that send a container over HTTP, on loopback.

#include "device/tests/HttpCamera.h"
#include "device/tests/PreviewFixture.h"
#include "tests/support/TemporaryFile.h"

#include <gtest/gtest.h>

namespace selvik
{
namespace
{

class HttpPreview : public PreviewFixture
{
protected:
    static HttpScript sending(const std::string &clipName)
    {
        HttpScript script;
        script.body = readClip(clipName);
        return script;
    }
    /** The requests that carry credentials of any kind. */
    static int withCredentials(const HttpCamera &camera)
    {
        int nCount = 0;
        for (const std::string &request : camera.requests()) {
            const bool bSecret = request.find("uthorization") != std::string::npos ||
                                 request.find("viewer") != std::string::npos ||
                                 request.find("s3cret") != std::string::npos;
            nCount += bSecret ? 1 : 0;
        }
        return nCount;
    }
};

struct HttpFormat {
    const char *pName;
    const char *pClip;
    const char *pCodec;
    bool bChunked;
    bool bEndless;
};

void PrintTo(const HttpFormat &format, std::ostream *pStream)
{
    *pStream << format.pName;
}

class HttpFormats : public HttpPreview, public testing::WithParamInterface<HttpFormat>
{
};

TEST_P(HttpFormats, Play)
{
    HttpScript script = sending(GetParam().pClip);
    script.bChunked = GetParam().bChunked;
    script.bEndless = GetParam().bEndless;
    const HttpCamera camera(m_time, script);
    StreamRecorder recorder(m_time);
    Started preview(*this, recorder, camera.url());
    ASSERT_GE(preview.handle(), 0) << preview.error();
    ASSERT_TRUE(recorder.waitForRecords(1, 60, 20s));
    EXPECT_EQ(preview.stop(), 0ms);
    const StreamContents contents = recorder.read(0);
    EXPECT_EQ(contents.codec, GetParam().pCodec);
    EXPECT_EQ(contents.nWidth, 320);
    EXPECT_TRUE(contents.bFirstIsKey);
    EXPECT_GT(contents.nPictures, 20);
    EXPECT_EQ(contents.nDecodeErrors, 0);
    EXPECT_EQ(recorder.headers(), 1U);
    EXPECT_EQ(camera.bodies(), 1);
}

INSTANTIATE_TEST_SUITE_P(Formats, HttpFormats,
                         testing::Values(HttpFormat{"TransportStream", "h264.ts", "h264", false, true},
                                         HttpFormat{"TransportStreamInChunks", "h264.ts", "h264", true, true},
                                         HttpFormat{"TransportStreamOfKnownLength", "h264.ts", "h264", false, false},
                                         HttpFormat{"Flv", "h264.flv", "h264", true, true},
                                         HttpFormat{"Matroska", "live.mkv", "h264", false, true},
                                         HttpFormat{"FragmentedMp4", "fragmented.mp4", "h264", true, true}),
                         [](const testing::TestParamInfo<HttpFormat> &testCase) { return testCase.param.pName; });

TEST_F(HttpPreview, PausesOfTwoAndAHalfSecondsAreNoLoss)
{
    HttpScript script = sending("h264.ts");
    script.nPausesAt = 50;
    script.pauseTime = 2500ms;
    const HttpCamera camera(m_time, script);
    StreamRecorder recorder(m_time);
    const Started preview(*this, recorder, camera.url());
    ASSERT_GE(preview.handle(), 0);
    // The whole of it: four seconds of pictures, and the pause.
    m_time.sleep(6300ms);
    EXPECT_EQ(camera.bodies(), 1);
    EXPECT_EQ(recorder.headers(), 1U);
    EXPECT_GT(recorder.read(0).nPictures, 90);
}

TEST_F(HttpPreview, ASilentCameraIsNoticedAfterFiveSecondsAndTakenUpAgain)
{
    HttpScript script = sending("h264.ts");
    script.nPausesAt = 50;
    script.pauseTime = 1h;
    const HttpCamera camera(m_time, script);
    StreamRecorder recorder(m_time);
    const Clock::time_point begin = m_time.now();
    Started preview(*this, recorder, camera.url());
    ASSERT_GE(preview.handle(), 0);
    ASSERT_TRUE(recorder.waitForRecords(2, 1, 20s));
    EXPECT_GT(since(begin), 2s + 5s);
    EXPECT_LT(since(begin), 2s + 5s + 2s);
    EXPECT_EQ(preview.stop(), 0ms);
}

TEST_F(HttpPreview, ACameraThatHangsUpIsTakenUpAgain)
{
    const HttpCamera camera(m_time, sending("h264.ts"));
    StreamRecorder recorder(m_time);
    const Started preview(*this, recorder, camera.url());
    ASSERT_TRUE(recorder.waitForRecords(2, 5, 20s));
    EXPECT_EQ(recorder.read(1).nDecodeErrors, 0);
}

TEST_F(HttpPreview, CredentialsAreSentByDigestWhereThatIsOffered)
{
    for (const bool bBasicToo : {false, true}) {
        HttpScript script = sending("h264.ts");
        script.bDigest = true;
        script.bBasic = bBasicToo;
        const HttpCamera camera(m_time, script);
        StreamRecorder recorder(m_time);
        const Started preview(*this, recorder, camera.url("viewer:s3cret@", "/a b?c=d"));
        EXPECT_GE(preview.handle(), 0) << preview.error();
        for (const std::string &request : camera.requests()) {
            EXPECT_EQ(request.find("Basic"), std::string::npos);
            EXPECT_EQ(request.substr(0, request.find("\r\n")), "GET /a%20b?c=d HTTP/1.1");
        }
    }
}

TEST_F(HttpPreview, CredentialsAreSentInBasicWhereNothingElseIsOffered)
{
    HttpScript script = sending("h264.ts");
    script.bBasic = true;
    const HttpCamera camera(m_time, script);
    StreamRecorder recorder(m_time);
    const Started preview(*this, recorder, camera.url("viewer:s3cret@"));
    EXPECT_GE(preview.handle(), 0) << preview.error();
    const Started wrong(*this, recorder, camera.url("viewer:wrong@"));
    EXPECT_EQ(wrong.error(), static_cast<unsigned long>(SELVIK_ERROR_REFUSED));
    // Nobody is told before asking.
    EXPECT_EQ(camera.requests().front().find("uthorization"), std::string::npos);
}

TEST_F(HttpPreview, ARedirectionWithinTheHostTakesTheCredentialsAlong)
{
    HttpScript script = sending("h264.ts");
    script.bDigest = true;
    const HttpCamera camera(m_time, script);
    HttpScript redirecting;
    redirecting.nStatus = 302;
    for (const std::string &location : {camera.url(), camera.url().substr(5)}) {
        redirecting.location = location;
        const HttpCamera door(m_time, redirecting);
        StreamRecorder recorder(m_time);
        const Started preview(*this, recorder, door.url("viewer:s3cret@"));
        EXPECT_GE(preview.handle(), 0) << preview.error();
        EXPECT_EQ(withCredentials(door), 0);
    }
}

TEST_F(HttpPreview, ARedirectionToAnotherHostIsFollowedWithoutCredentials)
{
    for (const bool bBasic : {false, true}) {
        HttpScript script = sending("h264.ts");
        script.bBasic = bBasic;
        const HttpCamera foreign(m_time, script, "127.0.0.2");
        HttpScript redirecting;
        redirecting.nStatus = 301;
        redirecting.bDigest = true;
        redirecting.location = foreign.url();
        const HttpCamera door(m_time, redirecting);
        StreamRecorder recorder(m_time);
        const Started preview(*this, recorder, door.url("viewer:s3cret@"));
        EXPECT_EQ(preview.handle() >= 0, !bBasic);
        EXPECT_EQ(preview.error(), static_cast<unsigned long>(bBasic ? SELVIK_ERROR_REFUSED : SELVIK_ERROR_NONE));
        EXPECT_EQ(withCredentials(door), 1);
        EXPECT_EQ(foreign.requests().size(), 1U);
        EXPECT_EQ(withCredentials(foreign), 0);
    }
}

struct HttpFailure {
    const char *pName;
    int nStatus;
    const char *pLocation;
    unsigned long error;
};

void PrintTo(const HttpFailure &failure, std::ostream *pStream)
{
    *pStream << failure.pName;
}

class HttpFailures : public HttpPreview, public testing::WithParamInterface<HttpFailure>
{
};

TEST_P(HttpFailures, AreTold)
{
    HttpScript script;
    script.nStatus = GetParam().nStatus;
    script.location = GetParam().pLocation;
    const HttpCamera camera(m_time, script);
    StreamRecorder recorder(m_time);
    const Started preview(*this, recorder, camera.url());
    EXPECT_EQ(preview.handle(), -1);
    EXPECT_EQ(preview.error(), GetParam().error);
    EXPECT_LE(camera.requests().size(), 6U);
}

INSTANTIATE_TEST_SUITE_P(
    Reasons, HttpFailures,
    testing::Values(HttpFailure{"NotFound", 404, "", SELVIK_ERROR_CHANNEL},
                    HttpFailure{"Forbidden", 403, "", SELVIK_ERROR_REFUSED},
                    HttpFailure{"Unauthorised", 401, "", SELVIK_ERROR_REFUSED},
                    HttpFailure{"TooManyViewers", 503, "", SELVIK_ERROR_RESOURCES},
                    HttpFailure{"Broken", 500, "", SELVIK_ERROR_HOST},
                    HttpFailure{"RedirectsInCircles", 302, "/again", SELVIK_ERROR_CHANNEL},
                    HttpFailure{"RedirectsToAFile", 302, "file:///etc/passwd", SELVIK_ERROR_CHANNEL},
                    HttpFailure{"RedirectsToAnotherScheme", 302, "rtsp://127.0.0.1/", SELVIK_ERROR_CHANNEL}),
    [](const testing::TestParamInfo<HttpFailure> &testCase) { return testCase.param.pName; });

TEST_F(HttpPreview, OpensNothingThatADescriptionOrPlaylistNames)
{
    const HttpCamera secret(m_time, sending("h264.ts"));
    const std::string port = secret.url().substr(17, secret.url().find('/', 17) - 17);
    const std::vector<std::string> texts = {"v=0\r\no=- 1 1 IN IP4 127.0.0.1\r\ns=x\r\nt=0 0\r\nm=video " + port +
                                                " RTP/AVP 96\r\nc=IN IP4 127.0.0.1\r\n"
                                                "a=rtpmap:96 H264/90000\r\n",
                                            "#EXTM3U\n#EXT-X-TARGETDURATION:5\n#EXTINF:5,\n" + secret.url() + "\n",
                                            "ffconcat version 1.0\nfile " + secret.url() + "\n"};
    for (const std::string &text : texts) {
        HttpScript script;
        script.body = Bytes(text.begin(), text.end());
        script.bEndless = false;
        const HttpCamera camera(m_time, script);
        StreamRecorder recorder(m_time);
        const Started overHttp(*this, recorder, camera.url());
        EXPECT_EQ(overHttp.error(), static_cast<unsigned long>(SELVIK_ERROR_MEDIA));
        const testsupport::TemporaryFile file("selvik-description.txt");
        file.append(text);
        const Started fromFile(*this, recorder, "file:" + file.path());
        EXPECT_EQ(fromFile.error(), static_cast<unsigned long>(SELVIK_ERROR_MEDIA));
    }
    EXPECT_TRUE(secret.requests().empty());
}

/** An FLV file's pictures alone at first, as its head says, and its sound from the second half on. */
Bytes withLateSound(const Bytes &flv)
{
    constexpr std::size_t kHead = 13;
    constexpr std::uint8_t kSound = 8;
    Bytes result(flv.begin(), flv.begin() + kHead);
    result[4] = 1;
    for (std::size_t at = kHead; at + 15 <= flv.size();) {
        const std::size_t size = (read32(flv.data() + at) & 0xFFFFFF) + 15;
        if ((flv[at] & 0x1F) != kSound || at > flv.size() / 2) {
            const auto begin = flv.begin() + static_cast<std::ptrdiff_t>(at);
            result.insert(result.end(), begin, begin + static_cast<std::ptrdiff_t>(std::min(size, flv.size() - at)));
        }
        at += size;
    }
    return result;
}

TEST_F(HttpPreview, SoundThatBeginsLateIsLeftOutOfThePictures)
{
    HttpScript script;
    script.body = withLateSound(readClip("h264-alaw.flv"));
    const HttpCamera camera(m_time, script);
    StreamRecorder recorder(m_time);
    const Started preview(*this, recorder, camera.url());
    ASSERT_GE(preview.handle(), 0) << preview.error();
    m_time.sleep(4100ms);
    const StreamContents contents = recorder.read(0);
    EXPECT_GT(contents.nPictures, 90);
    EXPECT_EQ(contents.nDecodeErrors, 0);
    EXPECT_EQ(contents.nDecoded, contents.nPictures);
    EXPECT_EQ(contents.nSounds, 0);
}

} // namespace
} // namespace selvik
