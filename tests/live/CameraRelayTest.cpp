// Cameras behind a relay, which fetches each of them once for all its viewers.

#include "tests/live/LiveFixture.h"

namespace live
{
namespace
{

using cameras::addressOf;
using cameras::CameraBed;

class CameraRelay : public LiveFixture
{
protected:
    void SetUp() override
    {
        LiveFixture::SetUp();
        m_nCameras = bed().addProxy(CameraBed::Port::Anybody);
        m_nRelay = bed().command("relay " + std::to_string(m_nCameras)).at(0);
    }
    void TearDown() override
    {
        bed().command("clean");
        LiveFixture::TearDown();
    }

    /** How many connections the cameras have had. */
    [[nodiscard]] int connectionsToCameras() const
    {
        return bed().command("accepted " + std::to_string(m_nCameras)).at(0);
    }

    int m_nCameras = 0; /**< the port by which the relay reaches them */
    int m_nRelay = 0;
};

TEST_F(CameraRelay, ShowsTheWholeWallThroughIt)
{
    split(9);
    std::vector<cameras::Camera> wall;
    for (int nChannel = 1; nChannel <= 9; ++nChannel) {
        wall.push_back(cameras::wallCamera(nChannel));
    }
    const long userID = login("rtsp://127.0.0.1:" + std::to_string(m_nRelay) + "/ch{channel}/{stream}");
    start(Route::Task, std::vector<long>(9, userID));
    ASSERT_TRUE(waitForPictures(wall));
    for (const Sighting &sighting : watch(wall, 20, 30'000)) {
        EXPECT_GE(sighting.numbers.size(), 20U);
        EXPECT_EQ(sighting.nStrangers, 0);
        EXPECT_EQ(sighting.nBack, 0);
    }
    EXPECT_EQ(connectionsToCameras(), 9);
    stop(Route::Task);
}

TEST_F(CameraRelay, ReachesTheCameraOnceHoweverManyPanesShowIt)
{
    split(9);
    const cameras::Camera camera = cameras::wallCamera(3);
    const long userID = login(addressOf(m_nRelay, camera.path));
    start(Route::Task, std::vector<long>(9, userID));
    const std::vector<cameras::Camera> nine(9, camera);
    ASSERT_TRUE(waitForPictures(nine));
    for (const Sighting &sighting : watch(nine, 10, 30'000)) {
        EXPECT_GE(sighting.numbers.size(), 10U);
        EXPECT_EQ(sighting.nStrangers, 0);
    }
    EXPECT_EQ(connectionsToCameras(), 1);
    stop(Route::Task);
}

TEST_F(CameraRelay, ShowsTheCameraAgainThatWasGoneBehindIt)
{
    const cameras::Camera camera = cameras::wallCamera(5);
    start(Route::Task, {login(addressOf(m_nRelay, camera.path))});
    ASSERT_TRUE(waitForPicture(0, camera));
    bed().command("kill");
    ASSERT_GE(waitUntilGone(m_nCameras), 0) << "the relay holds on to a dead camera";
    bed().command("start");
    // It begins at any of its pictures.
    ASSERT_GE(watch({camera}, 5, 60'000).front().numbers.size(), 5U);
    expectAdvancing(camera);
    EXPECT_GE(connectionsToCameras(), 2);
    stop(Route::Task);
}

} // namespace
} // namespace live
