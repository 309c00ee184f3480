// What counts as the loss of a camera: of one without a network, on a time of its own.

#include "device/src/LossWatch.h"
#include "device/tests/CameraDouble.h"
#include "device/tests/PreviewFixture.h"

#include <gtest/gtest.h>

#include <map>

namespace selvik
{
namespace
{

class Loss : public testing::Test
{
protected:
    /** Starts a preview; it is stopped with the fixture. */
    void start(const std::string &url = "rtsp://192.0.2.7/")
    {
        const SELVIK_DCM_PREVIEW_INFO info = m_recorder.request(url);
        ASSERT_GE(m_devices.startPreview(-1, &info), 0);
        m_begin = m_time.now();
    }
    /** Before these pictures of each connection, so long is waited instead of 40 ms. */
    void pause(const std::map<int, Milliseconds> &pauses)
    {
        m_camera.script = [pauses](int, int nUnit) {
            CameraDouble::Step step;
            const auto found = pauses.find(nUnit);
            step.wait = found != pauses.end() ? found->second : step.wait;
            return step;
        };
    }
    /** How long after the first picture the camera was asked for the n-th time; nothing within ten minutes: -1. */
    Milliseconds askedAfter(int nConnections)
    {
        if (!waitUntil(
                m_time, [&] { return m_camera.connections() >= nConnections; }, 600s)) {
            return Milliseconds(-1);
        }
        return std::chrono::duration_cast<Milliseconds>(
            m_camera.connectionTimes()[static_cast<std::size_t>(nConnections) - 1] - m_begin);
    }
    // Between a loss and the next connection: a second, more or less a tenth of it.
    static void expectLossAt(Milliseconds asked, Milliseconds loss)
    {
        EXPECT_GE(asked, loss + 900ms);
        EXPECT_LE(asked, loss + 1100ms);
    }

    FakeTime m_time;
    CameraDouble m_camera;
    StreamRecorder m_recorder{m_time};
    Devices m_devices{m_time, m_camera.maker()};
    Clock::time_point m_begin;
};

TEST_F(Loss, IsFiveSecondsWithoutPictures)
{
    pause({{10, 1h}});
    start();
    expectLossAt(askedAfter(2), 9 * 40ms + 5s);
}

TEST_F(Loss, IsNotAPauseOfLessThanFiveSeconds)
{
    pause({{10, 4900ms}, {11, 4900ms}});
    start();
    m_time.sleep(15s);
    EXPECT_EQ(m_camera.connections(), 1);
}

TEST_F(Loss, OfACameraThatPausesIsThreeTimesItsLongestPause)
{
    pause({{10, 4s}, {20, 11900ms}, {30, 35s}, {40, 1h}});
    start();
    // 36 pictures at their pace, three pauses that it comes back from, and then the longest time that is granted.
    expectLossAt(askedAfter(2), 36 * 40ms + 4s + 11900ms + 35s + 60s);
}

TEST_F(Loss, IsKnownAsTheCamerasOwnPauseAfterAReconnectionToo)
{
    pause({{10, 4s}, {20, 1h}});
    start();
    const Milliseconds first = askedAfter(2);
    expectLossAt(first, 18 * 40ms + 4s + 12s);
    m_camera.script = [](int, int nUnit) {
        CameraDouble::Step step;
        step.wait = nUnit == 5 ? Milliseconds(11s) : step.wait;
        return step;
    };
    m_time.sleep(60s);
    EXPECT_EQ(m_camera.connections(), 2);
}

TEST_F(Loss, OfThePicturesIsSeenBesideLivingSound)
{
    m_camera.script = [](int, int nUnit) {
        CameraDouble::Step step;
        step.bSound = nUnit >= 10;
        return step;
    };
    start();
    expectLossAt(askedAfter(2), 9 * 40ms + 5s);
}

TEST_F(Loss, OfACameraWithoutPicturesIsThatOfItsSound)
{
    m_camera.bPictures = false;
    pause({{100, 1h}});
    start();
    expectLossAt(askedAfter(2), 99 * 40ms + 5s);
}

TEST_F(Loss, DoesNotHappenToAFile)
{
    pause({{10, 20s}});
    start("file:/pauses.mp4");
    m_time.sleep(30s);
    EXPECT_EQ(m_camera.connections(), 1);
    EXPECT_EQ(m_recorder.headers(), 1U);
}

TEST(LossWatch, DoesNotTakeTheTimeUntilTheFirstPictureForAPause)
{
    LossWatch watch;
    const Clock::time_point begin{};
    watch.begin(begin);
    EXPECT_EQ(watch.lostAt(), begin + 5s);
    watch.sawPicture(begin + 4s);
    EXPECT_EQ(watch.lostAt(), begin + 9s);
    watch.sawPicture(begin + 6s);
    EXPECT_EQ(watch.lostAt(), begin + 12s);
}

} // namespace
} // namespace selvik
