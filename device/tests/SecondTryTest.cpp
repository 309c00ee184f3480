// Cameras that play, but not on the direct way.

#include "device/tests/PreviewFixture.h"
#include "device/tests/TunnelServer.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace selvik
{
namespace
{

class SecondTry : public PreviewFixture
{
protected:
    void expectPictures(const std::string &url)
    {
        StreamRecorder recorder(m_time);
        {
            Started preview(*this, recorder, url);
            ASSERT_GE(preview.handle(), 0) << "error " << preview.error() << " after " << preview.duration().count();
            // One try after the other, without waiting for either.
            EXPECT_LT(preview.duration(), 100ms);
            ASSERT_TRUE(recorder.waitForRecords(1, 40, 20s)) << recorder.dataRecords();
            EXPECT_EQ(preview.stop(), 0ms);
        }
        const StreamContents contents = recorder.read(0);
        EXPECT_EQ(contents.codec, "h264");
        EXPECT_TRUE(contents.bFirstIsKey);
        EXPECT_GT(contents.nPictures, 30);
        EXPECT_EQ(contents.nDecodeErrors, 0);
        EXPECT_EQ(recorder.headers(), 1U);
    }
};

TEST_F(SecondTry, PlaysACameraThatTakesRtspOnlyInsideHttp)
{
    const ScriptedCamera camera(m_time);
    const TunnelServer server(m_time, camera.port());
    expectPictures(server.url());
    EXPECT_THAT(server.requests(), testing::ElementsAre("OPTIONS " + server.url() + " RTSP/1.0", "GET /live HTTP/1.1",
                                                        "POST /live HTTP/1.1"));
    EXPECT_TRUE(waitFor([&] { return camera.requests("TEARDOWN") == 1; }, 1s));
}

TEST_F(SecondTry, AnswersTheQuestionsOfBothInsideHttp)
{
    Script script;
    script.credentials = Script::Credentials::DigestMd5;
    const ScriptedCamera camera(m_time, script);
    const TunnelServer server(m_time, camera.port(), "s3cret/&@");
    expectPictures(server.url("viewer:s3cret%2F%26%40@"));
    StreamRecorder recorder(m_time);
    const Started wrong(*this, recorder, server.url("viewer:wrong@"));
    EXPECT_EQ(wrong.error(), static_cast<unsigned long>(SELVIK_ERROR_REFUSED));
}

TEST_F(SecondTry, IsBoundedLikeTheFirst)
{
    Script script;
    script.bAcceptsAndSaysNothing = true;
    const ScriptedCamera camera(m_time, script);
    const TunnelServer server(m_time, camera.port());
    StreamRecorder recorder(m_time);
    const Started preview(*this, recorder, server.url());
    EXPECT_EQ(preview.error(), static_cast<unsigned long>(SELVIK_ERROR_TIMEOUT));
    EXPECT_LE(preview.duration(), 5s);
}

TEST_F(SecondTry, PlaysACameraThatSendsToAMulticastGroupOnly)
{
    Script script;
    script.bMulticastOnly = true;
    const ScriptedCamera camera(m_time, script);
    expectPictures(camera.url());
    EXPECT_TRUE(waitFor([&] { return camera.requests("TEARDOWN") == 1; }, 1s));
    EXPECT_EQ(camera.connectionTimes().size(), 2U);
}

TEST_F(SecondTry, JoinsNoGroupThatIsNone)
{
    Script script;
    script.bMulticastOnly = true;
    script.multicastGroup = "127.0.0.1";
    const ScriptedCamera camera(m_time, script);
    StreamRecorder recorder(m_time);
    const Started preview(*this, recorder, camera.url());
    EXPECT_EQ(preview.error(), static_cast<unsigned long>(SELVIK_ERROR_MEDIA));
}

} // namespace
} // namespace selvik
