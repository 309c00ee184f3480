// Previews of a simulated ONVIF device, whose streams come from a scripted RTSP camera.

#include "device/tests/PreviewFixture.h"
#include "device/tests/SimulatedOnvif.h"

#include <memory>
#include <thread>

namespace selvik
{
namespace
{

using Credentials = OnvifScript::Credentials;

/** A device that plays in spite of what it does. */
struct OddDevice {
    const char *pName;
    OnvifScript script;
    std::string streamHost = "127.0.0.1"; /**< in the stream's address */
};

void PrintTo(const OddDevice &device, std::ostream *pStream)
{
    *pStream << device.pName;
}

template <typename Change>
OddDevice odd(const char *pName, Change change)
{
    OddDevice device;
    device.pName = pName;
    change(device.script);
    return device;
}

OddDevice at(const char *pName, const char *pStreamHost, const char *pServiceHost = "")
{
    OddDevice device;
    device.pName = pName;
    device.streamHost = pStreamHost;
    device.script.host = pServiceHost;
    return device;
}

class OnvifPreview : public PreviewFixture
{
protected:
    /** A script whose streams are all this camera's. */
    static OnvifScript showing(const ScriptedCamera &camera, OnvifScript script = {},
                               const std::string &host = "127.0.0.1")
    {
        script.uri = [url = "rtsp://" + host + ":" + std::to_string(camera.port()) + "/live"](const std::string &) {
            return std::string(url);
        };
        return script;
    }
    /** The error of a start; none where it plays. */
    unsigned long errorOfStart(const std::string &url)
    {
        StreamRecorder recorder(m_time);
        const Started preview(*this, recorder, url);
        return preview.error();
    }
};

class OnvifDeviceThatPlays : public OnvifPreview, public testing::WithParamInterface<OddDevice>
{
};

TEST_P(OnvifDeviceThatPlays, Plays)
{
    Script cameraScript;
    cameraScript.credentials = Script::Credentials::DigestMd5;
    const ScriptedCamera camera(m_time, cameraScript);
    const SimulatedOnvif device(m_time, showing(camera, GetParam().script, GetParam().streamHost));
    StreamRecorder recorder(m_time);
    {
        Started preview(*this, recorder, device.url());
        ASSERT_GE(preview.handle(), 0) << "error " << preview.error() << " after " << preview.duration().count();
        EXPECT_LT(preview.duration(), GetParam().script.delay.count() > 0 ? 3000ms : 60ms);
        ASSERT_TRUE(recorder.waitForRecords(1, 10, 20s));
        EXPECT_EQ(preview.stop(), 0ms);
    }
    EXPECT_EQ(recorder.read(0).codec, "h264");
    EXPECT_EQ(device.received().find("s3cret/&@"), std::string::npos);
    EXPECT_EQ(device.received().find("s3cret/&amp;@"), std::string::npos);
}

const OddDevice kDevices[] = {
    odd("BothMediaServices", [](OnvifScript &) {}),
    odd("NoMedia2", [](OnvifScript &script) { script.bMedia2 = false; }),
    odd("NoMedia1", [](OnvifScript &script) { script.bMedia1 = false; }),
    odd("NoGetServices", [](OnvifScript &script) { script.bGetServices = script.bMedia2 = false; }),
    odd("Media2Fails", [](OnvifScript &script) { script.bMedia2Fails = true; }),
    odd("Media2HangsUp", [](OnvifScript &script) { script.bMedia2HangsUp = true; }),
    odd("KnowsUnicastOnly", [](OnvifScript &script) { script.bKnowsUnicastOnly = true; }),
    odd("NoVideoSources", [](OnvifScript &script) { script.bNoVideoSources = true; }),
    odd("ClockOf1970", [](OnvifScript &script) { script.clock = {1970, 1, 1, 0, 0, 30}; }),
    odd("ClockOf2099", [](OnvifScript &script) { script.clock = {2099, 12, 31, 23, 59, 59}; }),
    odd("NoCredentials", [](OnvifScript &script) { script.credentials = Credentials::None; }),
    odd("DigestBeforeSoap", [](OnvifScript &script) { script.credentials = Credentials::Digest; }),
    odd("DigestForTheClockToo",
        [](OnvifScript &script) {
            script.credentials = Credentials::Digest;
            script.bSecretClock = true;
        }),
    odd("NewNonceEachTime",
        [](OnvifScript &script) {
            script.credentials = Credentials::Digest;
            script.bNewNonceEachTime = true;
        }),
    odd("TokenOrDigest", [](OnvifScript &script) { script.credentials = Credentials::TokenOrDigest; }),
    odd("TokenAndDigest", [](OnvifScript &script) { script.credentials = Credentials::Both; }),
    odd("TokenIsAFaultOf400",
        [](OnvifScript &script) {
            script.credentials = Credentials::Digest;
            script.bTokenIsAFault = true;
        }),
    odd("TokenIsAFaultOf500",
        [](OnvifScript &script) {
            script.credentials = Credentials::Digest;
            script.bTokenIsAFault = true;
            script.nFaultStatus = 500;
        }),
    at("StaleAddress", "192.0.2.99", "192.0.2.98"),
    at("NameThatNobodyResolves", "camera.invalid", "camera.invalid"),
    at("NoAddressAtAll", "", "0.0.0.0"),
    odd("Chunked", [](OnvifScript &script) { script.bChunked = true; }),
    odd("ClosesAfterEachAnswer", [](OnvifScript &script) { script.bClosesEachTime = true; }),
    odd("HangsUpAfterEachAnswer", [](OnvifScript &script) { script.bHangsUpEachTime = true; }),
    odd("NoLength", [](OnvifScript &script) { script.bNoLength = true; }),
    odd("Slow", [](OnvifScript &script) { script.delay = 400ms; }),
    odd("Redirects", [](OnvifScript &script) { script.redirectsTo = "/elsewhere"; }),
};

INSTANTIATE_TEST_SUITE_P(Devices, OnvifDeviceThatPlays, testing::ValuesIn(kDevices),
                         [](const testing::TestParamInfo<OddDevice> &testCase) { return testCase.param.pName; });

TEST_F(OnvifPreview, SendsNoCredentialsTwiceOrWrongWhereTheFirstWayIsTaken)
{
    const ScriptedCamera camera(m_time);
    const SimulatedOnvif device(m_time, showing(camera));
    EXPECT_EQ(errorOfStart(device.url()), SELVIK_ERROR_NONE);
    EXPECT_EQ(device.wrongCredentials(), 0);
    // One connection, and each thing is asked for once.
    EXPECT_EQ(device.connections(), 1);
    EXPECT_EQ(device.requests(), 5);
    EXPECT_EQ(device.requests("GetStreamUri"), 1);
}

TEST_F(OnvifPreview, WrongCredentialsAreRefusedAfterFewAttempts)
{
    const ScriptedCamera camera(m_time);
    for (const Credentials credentials :
         {Credentials::Token, Credentials::Digest, Credentials::TokenOrDigest, Credentials::Both}) {
        for (const int nStatus : {400, 500}) {
            OnvifScript script;
            script.credentials = credentials;
            script.nFaultStatus = nStatus;
            const SimulatedOnvif device(m_time, showing(camera, script));
            EXPECT_EQ(errorOfStart(device.url("viewer:wrong@")), SELVIK_ERROR_REFUSED);
            // More would lock users out of devices that count.
            EXPECT_LE(device.wrongCredentials(), 2);
            EXPECT_EQ(errorOfStart(device.url("")), SELVIK_ERROR_REFUSED);
        }
    }
}

TEST_F(OnvifPreview, ChannelsAndStreamsThatAreNotThereAreError7)
{
    const ScriptedCamera camera(m_time);
    const SimulatedOnvif device(m_time, showing(camera));
    const long userID = m_devices.login(device.url("").c_str(), "viewer", "s3cret/&@");
    const unsigned int requests[][2] = {{0, 0}, {2, 0}, {1, 1}, {0xFFFFFFFF, 0}, {1, 0xFFFFFFFF}};
    for (const auto &[channel, streamType] : requests) {
        StreamRecorder recorder(m_time);
        SELVIK_DCM_PREVIEW_INFO info = recorder.request("");
        info.channel = channel;
        info.streamType = streamType;
        info.url = nullptr;
        try {
            (void)m_devices.startPreview(userID, &info);
            ADD_FAILURE() << channel << " " << streamType;
        } catch (const Failure &failure) {
            EXPECT_EQ(failure.error(), static_cast<unsigned long>(SELVIK_ERROR_CHANNEL));
        }
    }
}

TEST_F(OnvifPreview, ADeviceWithoutPicturesHasNoChannel)
{
    const ScriptedCamera camera(m_time);
    OnvifScript script;
    script.profiles = {{"sound", ""}};
    script.sources = {};
    const SimulatedOnvif device(m_time, showing(camera, script));
    EXPECT_EQ(errorOfStart(device.url()), SELVIK_ERROR_CHANNEL);
}

TEST_F(OnvifPreview, NobodyAtTheAddressIsError5)
{
    unsigned short port = 0;
    {
        const SimulatedOnvif device(m_time);
        port = device.port();
    }
    EXPECT_EQ(errorOfStart("onvif://127.0.0.1:" + std::to_string(port)), SELVIK_ERROR_HOST);
}

TEST_F(OnvifPreview, ACameraThatIsGoneBehindALivingDeviceIsError5)
{
    OnvifScript script;
    {
        const ScriptedCamera camera(m_time);
        script = showing(camera);
    }
    const SimulatedOnvif device(m_time, script);
    EXPECT_EQ(errorOfStart(device.url()), SELVIK_ERROR_HOST);
}

TEST_F(OnvifPreview, ADeviceThatNeverAnswersOrNeverEndsIsError8WithinFiveSeconds)
{
    OnvifScript silent;
    silent.bSaysNothing = true;
    OnvifScript dripping;
    dripping.dripEvery = 20ms;
    OnvifScript slow;
    slow.delay = 1500ms;
    for (const OnvifScript &script : {silent, dripping, slow}) {
        const SimulatedOnvif device(m_time, script);
        StreamRecorder recorder(m_time);
        const Started preview(*this, recorder, device.url());
        EXPECT_EQ(preview.error(), static_cast<unsigned long>(SELVIK_ERROR_TIMEOUT));
        EXPECT_LE(preview.duration(), 5000ms);
        EXPECT_GE(preview.duration(), 4500ms);
    }
}

struct NonsenseCase {
    const char *pName;
    std::string body;
    std::string rawAnswer;
    std::string uri = {};
};

void PrintTo(const NonsenseCase &nonsense, std::ostream *pStream)
{
    *pStream << nonsense.pName;
}

class OnvifNonsense : public OnvifPreview, public testing::WithParamInterface<NonsenseCase>
{
};

TEST_P(OnvifNonsense, IsError9)
{
    OnvifScript script;
    script.body = GetParam().body;
    script.rawAnswer = GetParam().rawAnswer;
    script.uri = [](const std::string &) { return GetParam().uri; };
    const SimulatedOnvif device(m_time, script);
    StreamRecorder recorder(m_time);
    const Started preview(*this, recorder, device.url());
    EXPECT_EQ(preview.error(), static_cast<unsigned long>(SELVIK_ERROR_MEDIA));
    EXPECT_LT(preview.duration(), 1000ms);
}

std::string headWith(const std::string &headers)
{
    return "HTTP/1.1 200 OK\r\n" + headers + "\r\n";
}

std::string manyHeaders()
{
    std::string text = "HTTP/1.1 200 OK\r\n";
    for (int i = 0; i < 200; ++i) {
        text += "X-" + std::to_string(i) + ": y\r\n";
    }
    return text;
}

const std::string kBomb =
    "<?xml version=\"1.0\"?><!DOCTYPE b [<!ENTITY a \"aaaaaaaaaa\"><!ENTITY b \"&a;&a;&a;&a;&a;\">"
    "<!ENTITY c \"&b;&b;&b;&b;&b;\">]><e:Envelope "
    "xmlns:e=\"http://www.w3.org/2003/05/soap-envelope\"><e:Body>&c;</e:Body></e:Envelope>";

INSTANTIATE_TEST_SUITE_P(
    Answers, OnvifNonsense,
    testing::Values(NonsenseCase{"AWebPage", "<html><body>Log in</body></html>", ""},
                    NonsenseCase{"NoXml", "hello", ""}, NonsenseCase{"AnEntityBomb", kBomb, ""},
                    NonsenseCase{"AnotherProtocol", "", "SSH-2.0-thing\r\n\r\n"},
                    NonsenseCase{"AnotherOperationsResponse", soap("<tds:GetHostnameResponse/>"), ""},
                    NonsenseCase{"AHugeLength", "", headWith("Content-Length: 999999999999\r\n")},
                    NonsenseCase{"ALengthThatIsNone", "", headWith("Content-Length: -1\r\n")},
                    NonsenseCase{"AHugeBody", std::string(std::size_t{3} << 20, ' '), ""},
                    NonsenseCase{"AHugeLine", "", "HTTP/1.1 200 OK\r\nX: " + std::string(100000, 'x')},
                    NonsenseCase{"EndlessHeaders", "", manyHeaders()},
                    NonsenseCase{"AHugeChunk", "", headWith("Transfer-Encoding: chunked\r\n") + "ffffffff\r\n"},
                    NonsenseCase{"AChunkSizeThatOverflows", "",
                                 headWith("Transfer-Encoding: chunked\r\n") + "fffffffffffffffff\r\n"},
                    NonsenseCase{"AFileAsAStream", "", "", "file:///etc/passwd"},
                    NonsenseCase{"AnotherDeviceAsAStream", "", "", "onvif://192.0.2.1/"},
                    NonsenseCase{"NoStreamAddress", "", "", ""},
                    NonsenseCase{"AStreamAddressWithALineBreak", "", "", "rtsp://a/b&#13;&#10;Injected: 1"}),
    [](const testing::TestParamInfo<NonsenseCase> &testCase) { return testCase.param.pName; });

TEST_F(OnvifPreview, ALogInKeepsTheStreamsAddressThatWorked)
{
    const ScriptedCamera camera(m_time);
    const SimulatedOnvif device(m_time, showing(camera));
    const long userID = m_devices.login(device.url("").c_str(), "viewer", "s3cret/&@");
    for (int i = 0; i < 2; ++i) {
        StreamRecorder recorder(m_time);
        const Started preview(*this, recorder, {}, userID);
        EXPECT_GE(preview.handle(), 0) << preview.error();
    }
    EXPECT_EQ(device.requests("GetStreamUri"), 1);
    EXPECT_EQ(device.connections(), 1);
    // Another log-in knows nothing of it.
    const long other = m_devices.login(device.url("").c_str(), "viewer", "s3cret/&@");
    StreamRecorder recorder(m_time);
    const Started preview(*this, recorder, {}, other);
    EXPECT_EQ(device.requests("GetStreamUri"), 2);
}

TEST_F(OnvifPreview, AKeptAddressThatIsNoStreamAnyMoreIsAskedForAnewAtOnce)
{
    auto camera = std::make_unique<ScriptedCamera>(m_time);
    const ScriptedCamera another(m_time);
    std::string url = camera->url();
    OnvifScript script;
    std::mutex mutex;
    script.uri = [&](const std::string &) {
        const std::lock_guard<std::mutex> lock(mutex);
        return url;
    };
    const SimulatedOnvif device(m_time, script);
    const long userID = m_devices.login(device.url("").c_str(), "viewer", "s3cret/&@");
    {
        StreamRecorder recorder(m_time);
        const Started preview(*this, recorder, {}, userID);
        ASSERT_GE(preview.handle(), 0) << preview.error();
    }
    const unsigned short port = camera->port();
    camera.reset();
    Script gone;
    gone.nDescribeStatus = 404;
    camera = std::make_unique<ScriptedCamera>(m_time, gone, port);
    {
        const std::lock_guard<std::mutex> lock(mutex);
        url = another.url();
    }
    StreamRecorder recorder(m_time);
    const Started preview(*this, recorder, {}, userID);
    EXPECT_GE(preview.handle(), 0) << preview.error();
    EXPECT_LT(preview.duration(), 400ms);
    EXPECT_EQ(camera->requests("DESCRIBE"), 1);
    EXPECT_EQ(device.requests("GetStreamUri"), 2);
}

TEST_F(OnvifPreview, ADeviceThatMovedItsStreamIsAskedAgainAtTheSecondAttempt)
{
    auto camera = std::make_unique<ScriptedCamera>(m_time);
    const ScriptedCamera another(m_time);
    std::string url = camera->url();
    OnvifScript script;
    std::mutex mutex;
    script.uri = [&](const std::string &) {
        const std::lock_guard<std::mutex> lock(mutex);
        return url;
    };
    const SimulatedOnvif device(m_time, script);
    StreamRecorder recorder(m_time);
    const Started preview(*this, recorder, device.url());
    ASSERT_TRUE(recorder.waitForRecords(1, 5, 2s));
    {
        const std::lock_guard<std::mutex> lock(mutex);
        url = another.url();
    }
    camera.reset();
    // After a second the kept address, which nobody is at any more; after two more the new one.
    EXPECT_TRUE(recorder.waitForRecords(2, 5, 5s));
    EXPECT_EQ(device.requests("GetStreamUri"), 2);
}

TEST_F(OnvifPreview, ALogOutEndsAStartThatWaitsForTheDevice)
{
    OnvifScript script;
    script.bSaysNothing = true;
    const SimulatedOnvif device(m_time, script);
    const long userID = m_devices.login(device.url().c_str(), "", "");
    std::thread starter([&, presence = m_time.presence()] {
        StreamRecorder recorder(m_time);
        const Started preview(*this, recorder, {}, userID);
        EXPECT_LT(preview.handle(), 0);
    });
    EXPECT_TRUE(waitFor([&] { return !device.received().empty(); }, 3s));
    const Clock::time_point begin = m_time.now();
    m_devices.logout(userID);
    EXPECT_LT(since(begin), 100ms);
    const FakeTime::Absent absent(m_time);
    starter.join();
}

} // namespace
} // namespace selvik
