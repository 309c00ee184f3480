// Which of a simulated ONVIF device's streams a channel and a stream type mean.

#include "device/src/onvif/OnvifDevice.h"
#include "device/tests/FakeTime.h"
#include "device/tests/SimulatedOnvif.h"

#include <gtest/gtest.h>

namespace selvik
{
namespace
{

class OnvifStreams : public testing::Test
{
protected:
    static OnvifScript recorder()
    {
        OnvifScript script;
        script.sources = {"input1", "input2", "input3"};
        // As devices list them: neither by channel nor by size, and not all of them with a picture.
        script.profiles = {{"two-sub", "input2", 640, 360},    {"sound", "", 0, 0},
                           {"one-sub", "input1", 352, 288},    {"one-third", "input1", 352, 288},
                           {"one-main", "input1", 3840, 2160}, {"two-main", "input2", 1920, 1080},
                           {"extra", "input9", 704, 576}};
        script.uri = [](const std::string &token) { return "rtsp://10.0.0.5/" + token; };
        return script;
    }

    /** The path of the stream's address; the error's number where there is none. */
    std::string streamOf(const SimulatedOnvif &device, unsigned int channel, unsigned int streamType)
    {
        static const std::atomic<bool> never{false};
        const Patience patience(m_time, never, m_time.now() + std::chrono::seconds(4));
        try {
            return OnvifDevice(*Address::parse(device.url(), {}), m_time)
                .streamOf(channel, streamType, patience)
                .path();
        } catch (const Failure &failure) {
            return std::to_string(failure.error());
        }
    }

    FakeTime m_time;
};

TEST_F(OnvifStreams, AreChosenByVideoSourceAndSize)
{
    for (const bool bNewer : {true, false}) {
        OnvifScript script = recorder();
        script.bMedia2 = bNewer;
        const SimulatedOnvif device(m_time, script);
        EXPECT_EQ(streamOf(device, 1, 0), "/one-main");
        EXPECT_EQ(streamOf(device, 1, 1), "/one-sub");
        EXPECT_EQ(streamOf(device, 1, 2), "/one-third");
        EXPECT_EQ(streamOf(device, 1, 3), "7");
        EXPECT_EQ(streamOf(device, 2, 0), "/two-main");
        EXPECT_EQ(streamOf(device, 2, 1), "/two-sub");
        // A source that has no stream now is a channel all the same.
        EXPECT_EQ(streamOf(device, 3, 0), "7");
        EXPECT_EQ(streamOf(device, 4, 0), "/extra");
        EXPECT_EQ(streamOf(device, 5, 0), "7");
        EXPECT_EQ(streamOf(device, 0, 0), "7");
    }
}

TEST_F(OnvifStreams, AreInTheOrderOfProfilesWhereNobodyTellsTheSources)
{
    for (const bool bMedia1 : {true, false}) {
        OnvifScript script = recorder();
        script.bMedia1 = bMedia1;
        script.bNoVideoSources = true;
        const SimulatedOnvif device(m_time, script);
        EXPECT_EQ(streamOf(device, 1, 0), "/two-main");
        EXPECT_EQ(streamOf(device, 2, 0), "/one-main");
        EXPECT_EQ(streamOf(device, 3, 0), "/extra");
    }
}

TEST_F(OnvifStreams, OfADeviceWithAnotherEntryPointAreFoundByThePathInTheAddress)
{
    OnvifScript script = recorder();
    script.redirectsTo = "/other/entry";
    const SimulatedOnvif device(m_time, script);
    static const std::atomic<bool> never{false};
    const Patience patience(m_time, never, m_time.now() + std::chrono::seconds(4));
    OnvifDevice asked(*Address::parse(device.url() + "/other/entry", {}), m_time);
    EXPECT_EQ(asked.streamOf(2, 0, patience).url(), "rtsp://127.0.0.1/two-main");
}

TEST_F(OnvifStreams, AreCountedOnlyUpToABound)
{
    OnvifScript script = recorder();
    script.profiles.clear();
    script.sources.clear();
    for (int i = 0; i < 2100; ++i) {
        script.profiles.push_back({"p" + std::to_string(i), "s" + std::to_string(i), 64, 64});
    }
    const SimulatedOnvif device(m_time, script);
    EXPECT_EQ(streamOf(device, 2048, 0), "/p2047");
    EXPECT_EQ(streamOf(device, 2049, 0), "7");
}

} // namespace
} // namespace selvik
