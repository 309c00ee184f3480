// Which credentials a preview sends to whom, when a camera asks for them or sends its client elsewhere.

#include "device/src/Location.h"
#include "device/tests/PreviewFixture.h"

#include <optional>

namespace selvik
{
namespace
{

const char *const kViewer = "viewer:s3cret%2F%26%40@";

class CameraCredentials : public PreviewFixture
{
};

TEST_F(CameraCredentials, AreNotSentInClearWhereDigestIsOfferedInTheSameLine)
{
    Script script;
    script.credentials = Script::Credentials::DigestMd5;
    script.bOneLine = true;
    const ScriptedCamera camera(m_time, script);
    StreamRecorder recorder(m_time);
    const Started preview(*this, recorder, camera.url(kViewer));
    EXPECT_GE(preview.handle(), 0) << preview.error();
    EXPECT_EQ(camera.requests("Basic"), 0);
    EXPECT_GT(camera.requests("Digest"), 0);
}

TEST_F(CameraCredentials, FollowARedirectionToAnotherPortOfTheSameHost)
{
    Script wanted;
    wanted.credentials = Script::Credentials::DigestMd5;
    const ScriptedCamera target(m_time, wanted);
    Script script;
    script.redirects = "DESCRIBE";
    script.location = target.url("liar:lies@");
    const ScriptedCamera camera(m_time, script);
    StreamRecorder recorder(m_time);
    const Started preview(*this, recorder, camera.url(kViewer));
    EXPECT_GE(preview.handle(), 0) << preview.error();
    EXPECT_TRUE(recorder.waitForRecords(1, 5, 1s));
}

class AnotherHost : public CameraCredentials, public testing::WithParamInterface<const char *>
{
};

TEST_P(AnotherHost, NeverHearsThem)
{
    Script wanted;
    wanted.credentials = Script::Credentials::Basic;
    wanted.pHost = "127.0.0.2";
    const ScriptedCamera target(m_time, wanted);
    Script script;
    script.redirects = GetParam();
    script.location = target.url();
    script.credentials = Script::Credentials::DigestMd5;
    const ScriptedCamera camera(m_time, script);
    StreamRecorder recorder(m_time);
    const Started preview(*this, recorder, camera.url(kViewer));
    EXPECT_EQ(preview.handle(), -1);
    EXPECT_EQ(preview.error(), static_cast<unsigned long>(SELVIK_ERROR_REFUSED));
    EXPECT_GT(target.requests("DESCRIBE"), 0);
    EXPECT_EQ(target.requests("Basic"), 0);
    EXPECT_EQ(target.requests("Digest"), 0);
}

TEST_P(AnotherHost, IsFollowedWithoutThem)
{
    Script open;
    open.pHost = "127.0.0.2";
    const ScriptedCamera target(m_time, open);
    Script script;
    script.redirects = GetParam();
    script.location = target.url();
    const ScriptedCamera camera(m_time, script);
    StreamRecorder recorder(m_time);
    const Started preview(*this, recorder, camera.url(kViewer));
    ASSERT_GE(preview.handle(), 0) << preview.error();
    EXPECT_TRUE(recorder.waitForRecords(1, 5, 1s));
    EXPECT_EQ(camera.requests("TEARDOWN"), std::string(GetParam()) == "PLAY" ? 1 : 0);
    EXPECT_TRUE(waitFor([&] { return camera.openConnections() == 0; }, 1s));
}

INSTANTIATE_TEST_SUITE_P(Methods, AnotherHost, testing::Values("DESCRIBE", "SETUP", "PLAY"));

TEST_F(CameraCredentials, ARelativeLocationLeadsToTheSameCamera)
{
    for (const char *pMethod : {"DESCRIBE", "SETUP", "PLAY"}) {
        for (const char *pLocation : {"/live", "live", "?again"}) {
            Script script;
            script.redirects = pMethod;
            script.location = pLocation;
            script.credentials = Script::Credentials::DigestSha256;
            const ScriptedCamera camera(m_time, script);
            StreamRecorder recorder(m_time);
            const Started preview(*this, recorder, camera.url(kViewer));
            EXPECT_GE(preview.handle(), 0) << pMethod << " " << pLocation << ": " << preview.error();
            // Twice each time: the question for credentials comes anew with a connection.
            EXPECT_EQ(camera.requests("DESCRIBE"), 4);
        }
    }
}

struct LocationCase {
    const char *pLogin;
    const char *pPresent;
    const char *pLocation;
    const char *pTarget; /**< null: none */
    bool bCredentials;
};

void PrintTo(const LocationCase &location, std::ostream *pStream)
{
    *pStream << location.pLogin << " at " << location.pPresent << " to " << location.pLocation;
}

class Location : public testing::TestWithParam<LocationCase>
{
};

TEST_P(Location, LeadsTo)
{
    const std::optional<Address> login = Address::parse(GetParam().pLogin, {"me", "word"});
    const std::optional<Address> present = Address::parse(GetParam().pPresent, {});
    ASSERT_TRUE(login && present);
    const std::optional<Address> target = resolveLocation(*login, "192.0.2.7", *present, GetParam().pLocation);
    ASSERT_EQ(target.has_value(), GetParam().pTarget != nullptr);
    if (target) {
        EXPECT_EQ(target->url(), GetParam().pTarget);
        EXPECT_EQ(target->credentials().user, GetParam().bCredentials ? "me" : "");
        EXPECT_EQ(target->credentials().password, GetParam().bCredentials ? "word" : "");
    }
}

INSTANTIATE_TEST_SUITE_P(
    Cases, Location,
    testing::Values(LocationCase{"rtsp://cam/a", "rtsp://cam/a", "rtsp://cam:8554/b", "rtsp://cam:8554/b", true},
                    LocationCase{"rtsp://Cam/a", "rtsp://Cam/a", "rtsp://cAM/b", "rtsp://cAM/b", true},
                    LocationCase{"rtsp://cam/a", "rtsp://cam/a", "rtsp://192.0.2.7/b", "rtsp://192.0.2.7/b", true},
                    LocationCase{"rtsp://cam/a", "rtsp://cam/a", "rtsp://192.0.2.8/b", "rtsp://192.0.2.8/b", false},
                    LocationCase{"rtsp://cam/a", "rtsp://cam/a", "rtsp://cam.evil/b", "rtsp://cam.evil/b", false},
                    LocationCase{"rtsp://cam/a", "rtsp://cam/a", "rtsp://you:pw@evil/b", "rtsp://evil/b", false},
                    LocationCase{"rtsp://cam/a", "rtsp://cam/a", "rtsp://you:pw@cam/b", "rtsp://cam/b", true},
                    LocationCase{"rtsp://cam/a", "rtsp://cam/a", "rtsp://cam@evil/b", "rtsp://evil/b", false},
                    LocationCase{"rtsp://cam/a", "rtsp://cam/a", "rtsps://cam/b", "rtsps://cam/b", true},
                    LocationCase{"rtsps://cam/a", "rtsps://cam/a", "rtsp://cam/b", "rtsp://cam/b", false},
                    LocationCase{"rtsps://cam/a", "rtsp://cam/b", "/c", "rtsp://cam/c", false},
                    LocationCase{"rtsps://cam/a", "rtsp://evil/b", "rtsps://cam/c", "rtsps://cam/c", true},
                    LocationCase{"rtsp://cam/a", "rtsp://evil/b", "/c", "rtsp://evil/c", false},
                    LocationCase{"rtsp://cam/a", "rtsp://cam/a/b?c/d", "e", "rtsp://cam/a/e", true},
                    LocationCase{"rtsp://cam/a", "rtsp://cam:1/a/b", "/e?f", "rtsp://cam:1/e?f", true},
                    LocationCase{"rtsp://cam/a", "rtsp://cam/a", "//other:9/x", "rtsp://other:9/x", false},
                    LocationCase{"rtsp://cam/a", "rtsp://cam/a/b?c", "?d", "rtsp://cam/a/b?d", true},
                    LocationCase{"rtsp://cam", "rtsp://cam", "x", "rtsp://cam/x", true},
                    LocationCase{"rtsp://cam/a", "rtsp://cam/a", "http://cam/x", nullptr, false},
                    LocationCase{"rtsp://cam/a", "rtsp://cam/a", "file:///etc/passwd", nullptr, false},
                    LocationCase{"rtsp://cam/a", "rtsp://cam/a", "", nullptr, false},
                    LocationCase{"rtsp://cam/a", "rtsp://cam/a", "rtsp://", nullptr, false}));

} // namespace
} // namespace selvik
