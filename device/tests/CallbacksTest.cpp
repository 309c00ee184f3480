// What may go on inside callbacks at the same time, and starts that race with log-outs.

#include "device/tests/CameraDouble.h"
#include "device/tests/PreviewFixture.h"
#include "device/tests/StateRecorder.h"

#include <gtest/gtest.h>

#include <atomic>
#include <memory>

namespace selvik
{
namespace
{

class Callbacks : public testing::Test
{
protected:
    long start(StreamRecorder &recorder)
    {
        const SELVIK_DCM_PREVIEW_INFO info = recorder.request("rtsp://192.0.2.7/");
        return m_devices.startPreview(-1, &info);
    }

    FakeTime m_time;
    CameraDouble m_camera;
    Devices m_devices{m_time, m_camera.maker()};
};

/** How many previews stop the next one in the ring from inside their callbacks, all at the same time. */
class CallbackRing : public Callbacks, public testing::WithParamInterface<int>
{
};

TEST_P(CallbackRing, OfStopsEnds)
{
    const auto nPreviews = static_cast<std::size_t>(GetParam());
    std::vector<std::unique_ptr<StreamRecorder>> recorders;
    std::vector<std::atomic<long>> handles(nPreviews);
    std::atomic<std::size_t> nInside{0};
    std::atomic<std::size_t> nStops{0};
    std::atomic<bool> bGo{false};
    for (std::size_t i = 0; i < nPreviews; ++i) {
        recorders.push_back(std::make_unique<StreamRecorder>(m_time));
        recorders.back()->onData = [&, i](long, unsigned int type) {
            if (type == SELVIK_STREAM_DATA && bGo) {
                ++nInside;
                EXPECT_TRUE(waitUntil(
                    m_time, [&] { return nInside == nPreviews; }, 10s));
                m_devices.stopPreview(handles[(i + 1) % nPreviews]);
                ++nStops;
            }
        };
        handles[i] = start(*recorders.back());
        ASSERT_GE(handles[i], 0);
    }
    bGo = true;
    EXPECT_TRUE(waitUntil(
        m_time, [&] { return nStops == nPreviews; }, 10s));
    EXPECT_TRUE(waitUntil(
        m_time, [&] { return m_camera.openConnections() == 0; }, 1s));
    EXPECT_EQ(nStops, nPreviews);
}

INSTANTIATE_TEST_SUITE_P(OfPreviews, CallbackRing, testing::Values(1, 2, 3, 9));

TEST_F(Callbacks, AStopInsideOneWaitsForAnotherThatDoesNotWaitForIt)
{
    StreamRecorder slow(m_time);
    StreamRecorder stopper(m_time);
    std::atomic<bool> bInside{false};
    std::atomic<bool> bInsideAfterStop{true};
    std::atomic<long> slowHandle{-1};
    slow.onData = [&](long, unsigned int) {
        bInside = true;
        m_time.sleep(300ms);
        bInside = false;
    };
    stopper.onData = [&](long handle, unsigned int) {
        if (bInside) {
            m_devices.stopPreview(slowHandle);
            bInsideAfterStop = bInside.load();
            m_devices.stopPreview(handle);
        }
    };
    slowHandle = start(slow);
    (void)start(stopper);
    EXPECT_TRUE(waitUntil(
        m_time, [&] { return m_camera.openConnections() == 0; }, 5s));
    EXPECT_FALSE(bInsideAfterStop);
}

TEST_F(Callbacks, OfStatesAndOfAStreamMayWaitForEachOther)
{
    StateRecorder states(m_time);
    StreamRecorder stream(m_time);
    std::atomic<bool> bStateInside{false};
    std::atomic<bool> bStreamInside{false};
    std::atomic<bool> bDone{false};
    states.onState = [&](const SELVIK_DCM_STATE &state) {
        if (state.state == SELVIK_STATE_PLAYING) {
            bStateInside = true;
            EXPECT_TRUE(waitUntil(
                m_time, [&] { return bStreamInside.load(); }, 10s));
            m_devices.stopPreview(state.previewHandle);
            bDone = true;
        }
    };
    stream.onData = [&](long, unsigned int) {
        bStreamInside = true;
        EXPECT_TRUE(waitUntil(
            m_time, [&] { return bStateInside.load(); }, 10s));
        m_devices.setStateCallback(nullptr, nullptr);
    };
    m_devices.setStateCallback(&StateRecorder::callback, &states);
    (void)start(stream);
    EXPECT_TRUE(waitUntil(
        m_time, [&] { return bDone.load(); }, 10s));
    EXPECT_TRUE(waitUntil(
        m_time, [&] { return m_camera.openConnections() == 0; }, 1s));
}

TEST_F(Callbacks, MayLogEachOtherOut)
{
    const long userID = m_devices.login("rtsp://192.0.2.7/", nullptr, nullptr);
    std::vector<std::unique_ptr<StreamRecorder>> recorders;
    std::atomic<int> nInside{0};
    std::atomic<int> nDone{0};
    for (int i = 0; i < 2; ++i) {
        recorders.push_back(std::make_unique<StreamRecorder>(m_time));
        recorders.back()->onData = [&](long, unsigned int type) {
            if (type == SELVIK_STREAM_DATA) {
                ++nInside;
                EXPECT_TRUE(waitUntil(
                    m_time, [&] { return nInside == 2; }, 10s));
                try {
                    m_devices.logout(userID);
                } catch (const Failure &failure) {
                    EXPECT_EQ(failure.error(), static_cast<unsigned long>(SELVIK_ERROR_HANDLE));
                }
                ++nDone;
            }
        };
        const SELVIK_DCM_PREVIEW_INFO info = recorders.back()->request({});
        EXPECT_GE(m_devices.startPreview(userID, &info), 0);
    }
    EXPECT_TRUE(waitUntil(
        m_time, [&] { return nDone == 2 && m_camera.openConnections() == 0; }, 10s));
}

void ignoreStream(long /*handle*/, const SELVIK_DCM_STREAM_DATA * /*pData*/, void * /*pUser*/) {}

TEST(LogOut, IsOutlivedByNoPreviewThatStartsMeanwhile)
{
    constexpr int kRounds = 100;
    constexpr int kThreads = 6;
    CameraDouble camera;
    camera.script = [](int, int nUnit) {
        CameraDouble::Step step;
        step.wait = nUnit == 0 ? 0ms : 40ms;
        return step;
    };
    Devices devices(realTime(), camera.maker());
    std::atomic<int> nOutlived{0};
    std::atomic<int> nStarted{0};
    for (int nRound = 0; nRound < kRounds; ++nRound) {
        const long userID = devices.login("rtsp://192.0.2.7/{channel}", "", "");
        std::vector<std::thread> threads;
        std::vector<long> handles(kThreads, -1);
        const int nBefore = camera.connections();
        for (std::size_t i = 0; i < kThreads; ++i) {
            threads.emplace_back([&, i] {
                SELVIK_DCM_PREVIEW_INFO info = {};
                info.callback = &ignoreStream;
                try {
                    handles[i] = devices.startPreview(userID, &info);
                    ++nStarted;
                } catch (const Failure &failure) {
                    EXPECT_EQ(failure.error(), static_cast<unsigned long>(SELVIK_ERROR_HANDLE));
                }
            });
        }
        // From none of them to all of them have begun to connect.
        while (camera.connections() - nBefore < nRound % (kThreads + 1)) {
            std::this_thread::yield();
        }
        devices.logout(userID);
        for (std::thread &thread : threads) {
            thread.join();
        }
        for (const long handle : handles) {
            try {
                devices.stopPreview(handle);
                ++nOutlived;
            } catch (const Failure &) {
                // It had ended, or had never begun.
                continue;
            }
        }
    }
    EXPECT_EQ(nOutlived, 0);
    EXPECT_GT(nStarted, 0);
}

} // namespace
} // namespace selvik
