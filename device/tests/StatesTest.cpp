// The states of previews as hosts are told them, of a camera without a network and on a time of its own.

#include "device/tests/CameraDouble.h"
#include "device/tests/FakeTime.h"
#include "device/tests/PreviewFixture.h"
#include "device/tests/StateRecorder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>

namespace selvik
{
namespace
{

using testing::ElementsAre;

constexpr unsigned int kStarting = SELVIK_STATE_STARTING;
constexpr unsigned int kPlaying = SELVIK_STATE_PLAYING;
constexpr unsigned int kLost = SELVIK_STATE_LOST;
constexpr unsigned int kFailed = SELVIK_STATE_FAILED;
constexpr unsigned int kStopped = SELVIK_STATE_STOPPED;

class States : public testing::Test
{
protected:
    States()
    {
        m_devices.setStateCallback(&StateRecorder::callback, &m_states);
    }
    ~States() override
    {
        m_devices.setStateCallback(nullptr, nullptr);
    }

    long start(StreamRecorder &recorder, long userID = -1, unsigned int channel = 1)
    {
        SELVIK_DCM_PREVIEW_INFO info = recorder.request(userID < 0 ? "rtsp://192.0.2.7/" : "");
        info.channel = channel;
        info.streamType = 3;
        try {
            return m_devices.startPreview(userID, &info);
        } catch (const Failure &failure) {
            m_nError = failure.error();
            return -1;
        }
    }

    FakeTime m_time;
    CameraDouble m_camera;
    StateRecorder m_states{m_time};
    Devices m_devices{m_time, m_camera.maker()};
    unsigned long m_nError = SELVIK_ERROR_NONE;
};

TEST_F(States, OfAPreviewAreStartingPlayingStopped)
{
    StreamRecorder recorder(m_time);
    const long userID = m_devices.login("rtsp://192.0.2.7/{channel}", "", "");
    const long handle = start(recorder, userID, 7);
    ASSERT_TRUE(m_states.waitFor(2, 1s));
    m_devices.stopPreview(handle);
    ASSERT_TRUE(m_states.waitFor(3, 1s));
    m_time.sleep(2s);
    EXPECT_THAT(m_states.states(), ElementsAre(kStarting, kPlaying, kStopped));
    EXPECT_EQ(m_states.all()[0].previewHandle, -1);
    EXPECT_EQ(m_states.all()[1].previewHandle, handle);
    EXPECT_EQ(m_states.all()[2].previewHandle, handle);
    for (const SELVIK_DCM_STATE &state : m_states.all()) {
        EXPECT_EQ(state.userID, userID);
        EXPECT_EQ(state.channel, 7U);
        EXPECT_EQ(state.streamType, 3U);
        EXPECT_EQ(state.error, static_cast<unsigned int>(SELVIK_ERROR_NONE));
    }
    EXPECT_NE(m_states.thread(), std::this_thread::get_id());
}

TEST_F(States, OfALossAreLostAndPlayingHoweverManyAttemptsItTakes)
{
    m_camera.script = [](int nConnection, int nUnit) {
        CameraDouble::Step step;
        step.error = nConnection == 0 && nUnit == 10 ? SELVIK_ERROR_HOST : SELVIK_ERROR_NONE;
        return step;
    };
    m_camera.opening = [](int nConnection) {
        CameraDouble::Step step{0ms};
        step.error = nConnection == 1 || nConnection == 2 ? SELVIK_ERROR_REFUSED : SELVIK_ERROR_NONE;
        return step;
    };
    StreamRecorder recorder(m_time);
    const long handle = start(recorder);
    ASSERT_TRUE(m_states.waitFor(4, 20s));
    m_devices.stopPreview(handle);
    ASSERT_TRUE(m_states.waitFor(5, 1s));
    EXPECT_THAT(m_states.states(), ElementsAre(kStarting, kPlaying, kLost, kPlaying, kStopped));
    EXPECT_EQ(m_states.all()[2].error, static_cast<unsigned int>(SELVIK_ERROR_HOST));
    EXPECT_EQ(m_states.all()[3].error, static_cast<unsigned int>(SELVIK_ERROR_NONE));
    EXPECT_EQ(m_states.all()[2].userID, -1);
    EXPECT_EQ(recorder.headers(), 2U);
}

TEST_F(States, OfAStartThatFailsTellTheAnswersCode)
{
    m_camera.opening = [](int) {
        CameraDouble::Step step{100ms};
        step.error = SELVIK_ERROR_REFUSED;
        return step;
    };
    StreamRecorder recorder(m_time);
    EXPECT_EQ(start(recorder), -1);
    ASSERT_TRUE(m_states.waitFor(2, 1s));
    m_time.sleep(2s);
    EXPECT_THAT(m_states.states(), ElementsAre(kStarting, kFailed));
    EXPECT_EQ(m_states.all()[1].error, static_cast<unsigned int>(SELVIK_ERROR_REFUSED));
    EXPECT_EQ(m_states.all()[1].previewHandle, -1);
}

TEST_F(States, OfAStartThatTheCameraNeverAnswersEndWithItsTimeOut)
{
    m_camera.opening = [](int) { return CameraDouble::Step{1h}; };
    StreamRecorder recorder(m_time);
    EXPECT_EQ(start(recorder), -1);
    ASSERT_TRUE(m_states.waitFor(2, 1s));
    m_time.sleep(2s);
    EXPECT_THAT(m_states.states(), ElementsAre(kStarting, kFailed));
    EXPECT_EQ(m_states.all()[1].error, static_cast<unsigned int>(SELVIK_ERROR_TIMEOUT));
}

TEST_F(States, TellAHostThatDoesNotStartPreviewsItselfWhyARequestIsBad)
{
    SELVIK_DCM_PREVIEW_INFO info = {};
    info.channel = 5;
    EXPECT_THROW((void)m_devices.startPreview(-1, &info), Failure);
    info.callback = &StreamRecorder::callback;
    EXPECT_THROW((void)m_devices.startPreview(77, &info), Failure);
    info.url = "nowhere";
    EXPECT_THROW((void)m_devices.startPreview(-1, &info), Failure);
    ASSERT_TRUE(m_states.waitFor(6, 1s));
    const std::vector<SELVIK_DCM_STATE> states = m_states.all();
    std::vector<unsigned int> errors;
    for (const SELVIK_DCM_STATE &state : states) {
        EXPECT_EQ(state.channel, 5U);
        if (state.state == kFailed) {
            errors.push_back(state.error);
        }
    }
    EXPECT_THAT(errors, ElementsAre(SELVIK_ERROR_ARGUMENT, SELVIK_ERROR_HANDLE, SELVIK_ERROR_ADDRESS));
    EXPECT_EQ(std::count_if(states.begin(), states.end(), [](const auto &state) { return state.userID == 77; }), 2);
}

TEST_F(States, EndWithTheLogOut)
{
    const long userID = m_devices.login("rtsp://192.0.2.7/", "", "");
    StreamRecorder first(m_time);
    StreamRecorder second(m_time);
    ASSERT_GE(start(first, userID), 0);
    ASSERT_GE(start(second, userID), 0);
    m_devices.logout(userID);
    ASSERT_TRUE(m_states.waitFor(6, 1s));
    const std::vector<unsigned int> states = m_states.states();
    EXPECT_EQ(std::count(states.begin(), states.end(), kStopped), 2);
}

TEST_F(States, OfAStartThatALogOutInterruptsEndAsTheStartDoes)
{
    m_camera.opening = [](int) { return CameraDouble::Step{1h}; };
    const long userID = m_devices.login("rtsp://192.0.2.7/", "", "");
    std::thread other([&, presence = m_time.presence()] {
        m_time.sleep(1s);
        m_devices.logout(userID);
    });
    StreamRecorder recorder(m_time);
    EXPECT_EQ(start(recorder, userID), -1);
    EXPECT_EQ(m_nError, static_cast<unsigned long>(SELVIK_ERROR_HANDLE));
    EXPECT_TRUE(m_states.waitFor(2, 1s));
    {
        const FakeTime::Absent absent(m_time);
        other.join();
    }
    EXPECT_THAT(m_states.states(), ElementsAre(kStarting, kFailed));
    EXPECT_EQ(m_states.all()[1].error, static_cast<unsigned int>(SELVIK_ERROR_HANDLE));
}

TEST_F(States, OfAPreviewThatIsStoppedInsideItsCallbackEndWhenThatHasReturned)
{
    StreamRecorder recorder(m_time);
    std::atomic<std::size_t> nToldInside{99};
    recorder.onData = [&](long handle, unsigned int type) {
        if (type == SELVIK_STREAM_DATA) {
            m_devices.stopPreview(handle);
            m_time.sleep(500ms);
            nToldInside = m_states.states().size();
        }
    };
    ASSERT_GE(start(recorder), 0);
    ASSERT_TRUE(m_states.waitFor(3, 2s));
    EXPECT_EQ(nToldInside, 2U);
    EXPECT_THAT(m_states.states(), ElementsAre(kStarting, kPlaying, kStopped));
}

TEST_F(States, MayStopWhatTheyTellOf)
{
    StreamRecorder recorder(m_time);
    std::atomic<int> nStops{0};
    m_states.onState = [&](const SELVIK_DCM_STATE &state) {
        if (state.state == kPlaying) {
            m_devices.stopPreview(state.previewHandle);
            ++nStops;
        }
    };
    (void)start(recorder);
    ASSERT_TRUE(m_states.waitFor(3, 2s));
    EXPECT_EQ(nStops, 1);
    EXPECT_THAT(m_states.states(), ElementsAre(kStarting, kPlaying, kStopped));
}

TEST_F(States, MayLogOutWhatTheyTellOf)
{
    const long userID = m_devices.login("rtsp://192.0.2.7/", "", "");
    StreamRecorder recorder(m_time);
    m_states.onState = [&](const SELVIK_DCM_STATE &state) {
        if (state.state == kPlaying) {
            m_devices.logout(state.userID);
        }
    };
    (void)start(recorder, userID);
    ASSERT_TRUE(m_states.waitFor(3, 2s));
    EXPECT_EQ(m_camera.openConnections(), 0);
}

TEST_F(States, AreToldToTheNextCallbackOnceTheFormerHasReturned)
{
    std::atomic<bool> bInside{false};
    m_states.onState = [&](const SELVIK_DCM_STATE &) {
        bInside = true;
        m_time.sleep(300ms);
        bInside = false;
    };
    StreamRecorder recorder(m_time);
    const long handle = start(recorder);
    ASSERT_TRUE(m_states.waitFor(1, 1s));
    StateRecorder next(m_time);
    m_devices.setStateCallback(&StateRecorder::callback, &next);
    EXPECT_FALSE(bInside);
    m_devices.stopPreview(handle);
    EXPECT_TRUE(next.waitFor(2, 1s));
    m_devices.setStateCallback(nullptr, nullptr);
    EXPECT_THAT(m_states.states(), ElementsAre(kStarting));
    // What the former one was not told yet is not lost.
    EXPECT_THAT(next.states(), ElementsAre(kPlaying, kStopped));
    EXPECT_EQ(next.all()[1].previewHandle, handle);
}

TEST_F(States, CanBeGivenToAnotherCallbackInsideTheFormer)
{
    StateRecorder next(m_time);
    m_states.onState = [&](const SELVIK_DCM_STATE &) { m_devices.setStateCallback(&StateRecorder::callback, &next); };
    StreamRecorder recorder(m_time);
    const long handle = start(recorder);
    m_devices.stopPreview(handle);
    EXPECT_TRUE(next.waitFor(2, 1s));
    m_devices.setStateCallback(nullptr, nullptr);
    EXPECT_THAT(m_states.states(), ElementsAre(kStarting));
    EXPECT_THAT(next.states(), ElementsAre(kPlaying, kStopped));
}

TEST_F(States, OfAPreviewThatIsOlderThanTheCallbackAreToldFromThenOn)
{
    m_devices.setStateCallback(nullptr, nullptr);
    StreamRecorder recorder(m_time);
    const long handle = start(recorder);
    ASSERT_TRUE(recorder.waitForRecords(1, 3, 1s));
    m_devices.setStateCallback(&StateRecorder::callback, &m_states);
    m_devices.stopPreview(handle);
    ASSERT_TRUE(m_states.waitFor(1, 1s));
    EXPECT_THAT(m_states.states(), ElementsAre(kStopped));
    EXPECT_EQ(m_states.all()[0].previewHandle, handle);
}

TEST_F(States, KeepTheLastOneHoweverLongTheHostTakes)
{
    m_camera.script = [](int, int nUnit) {
        CameraDouble::Step step;
        step.error = nUnit == 3 ? SELVIK_ERROR_HOST : SELVIK_ERROR_NONE;
        return step;
    };
    std::atomic<bool> bHolds{true};
    m_states.onState = [&](const SELVIK_DCM_STATE &) {
        while (bHolds) {
            m_time.sleep(100ms);
        }
    };
    StreamRecorder recorder(m_time);
    const long handle = start(recorder);
    // Lost and found again many more times than are kept.
    ASSERT_TRUE(recorder.waitForRecords(40, 1, 100s));
    m_devices.stopPreview(handle);
    bHolds = false;
    ASSERT_TRUE(waitUntil(
        m_time, [&] { return m_states.states().back() == kStopped; }, 10s));
    const std::vector<unsigned int> states = m_states.states();
    EXPECT_LE(states.size(), 9U);
    EXPECT_EQ(states[0], kStarting);
    EXPECT_EQ(states[1], kPlaying);
    for (std::size_t i = 2; i + 1 < states.size(); ++i) {
        EXPECT_EQ(states[i], states[i - 1] == kPlaying ? kLost : kPlaying);
    }
}

TEST_F(States, RefuseFurtherStartsRatherThanGrowWithoutEnd)
{
    std::atomic<bool> bHolds{true};
    m_states.onState = [&](const SELVIK_DCM_STATE &) {
        while (bHolds) {
            m_time.sleep(100ms);
        }
    };
    SELVIK_DCM_PREVIEW_INFO info = {};
    int nStarts = 0;
    const auto lastError = [&] {
        try {
            (void)m_devices.startPreview(-1, &info);
        } catch (const Failure &failure) {
            return failure.error();
        }
        return 0UL;
    };
    while (nStarts < 20000 && lastError() == SELVIK_ERROR_ARGUMENT) {
        ++nStarts;
    }
    EXPECT_LT(nStarts, 5000);
    EXPECT_EQ(lastError(), static_cast<unsigned long>(SELVIK_ERROR_RESOURCES));
    bHolds = false;
    // Every one that did begin is told to its end.
    ASSERT_TRUE(m_states.waitFor(2 * static_cast<std::size_t>(nStarts), 10s));
    EXPECT_EQ(lastError(), static_cast<unsigned long>(SELVIK_ERROR_ARGUMENT));
}

TEST_F(States, EndExactlyOnceWhoeverStopsWhen)
{
    // Stopped by its camera's script, by several threads, at each point of a preview's life.
    for (int nRound = 0; nRound < 40; ++nRound) {
        StreamRecorder recorder(m_time);
        const std::size_t nBefore = m_states.states().size();
        const long handle = start(recorder);
        ASSERT_GE(handle, 0);
        std::vector<std::thread> threads;
        for (int i = 0; i < 3; ++i) {
            threads.emplace_back([this, handle, nRound, presence = m_time.presence()] {
                m_time.sleep(Milliseconds(nRound));
                try {
                    m_devices.stopPreview(handle);
                } catch (const Failure &failure) {
                    EXPECT_EQ(failure.error(), static_cast<unsigned long>(SELVIK_ERROR_HANDLE));
                }
            });
        }
        {
            const FakeTime::Absent absent(m_time);
            for (std::thread &thread : threads) {
                thread.join();
            }
        }
        m_time.sleep(1s);
        const std::vector<unsigned int> states = m_states.states();
        EXPECT_THAT(std::vector<unsigned int>(states.begin() + static_cast<std::ptrdiff_t>(nBefore), states.end()),
                    ElementsAre(kStarting, kPlaying, kStopped));
    }
}

} // namespace
} // namespace selvik
