// Nine cameras in nine panes.

#include "tests/live/LiveFixture.h"

#include <algorithm>
#include <map>

namespace live
{
namespace
{

using cameras::addressOf;
using cameras::CameraBed;

class CameraWall : public LiveFixture, public testing::WithParamInterface<Route>
{
protected:
    void SetUp() override
    {
        LiveFixture::SetUp();
        split(9);
        for (int nChannel = 1; nChannel <= 9; ++nChannel) {
            m_cameras.push_back(cameras::wallCamera(nChannel));
        }
    }
    /** One log-in for all: the address's channel comes from each request. */
    void startAll()
    {
        const long userID =
            login("rtsp://127.0.0.1:" + std::to_string(bed().port(CameraBed::Port::Anybody)) + "/ch{channel}/{stream}");
        start(GetParam(), std::vector<long>(9, userID));
    }

    /** How many previews have been ended, by whichever thread. */
    [[nodiscard]] std::size_t stops() const
    {
        const std::vector<std::string> texts = m_log.texts();
        return static_cast<std::size_t>(std::count_if(texts.begin(), texts.end(), [](const std::string &text) {
            return text.rfind("INFO SELVIK_DCM_StopPreview success", 0) == 0;
        }));
    }

    std::vector<cameras::Camera> m_cameras;
};

INSTANTIATE_TEST_SUITE_P(Routes, CameraWall, testing::Values(Route::Task, Route::Direct),
                         [](const testing::TestParamInfo<Route> &parameter) {
                             return std::string(nameOf(parameter.param));
                         });

TEST_P(CameraWall, ShowsEachCameraInItsOwnPane)
{
    startAll();
    ASSERT_TRUE(waitForPictures(m_cameras));
    const std::vector<Sighting> sightings = watch(m_cameras, 30, 30'000);
    for (std::size_t i = 0; i < sightings.size(); ++i) {
        SCOPED_TRACE(i);
        EXPECT_GE(sightings[i].numbers.size(), 30U);
        EXPECT_EQ(sightings[i].nBroken, 0);
        EXPECT_EQ(sightings[i].nEmpty, 0);
        EXPECT_EQ(sightings[i].nStrangers, 0);
        EXPECT_EQ(sightings[i].nBack, 0);
    }
    ASSERT_TRUE(waitForStatuses(9));
    std::map<long, int> told;
    for (const tagPELLORA_PREVIEW_STATUS &status : statuses()) {
        EXPECT_EQ(status.byPlaying, 1);
        EXPECT_EQ(status.lChannel, static_cast<unsigned long>(status.lSubHandel + 1));
        ++told[status.lSubHandel];
    }
    EXPECT_EQ(told.size(), 9U);
    EXPECT_EQ(statuses().size(), 9U);

    report("NineStopsTook", stop(GetParam()).count());
    const int nGone = waitUntilGone(bed().port(CameraBed::Port::Anybody));
    report("ConnectionsGoneAfter", nGone);
    EXPECT_GE(nGone, 0);
}

TEST_P(CameraWall, ComesUpAgainAfterEachOfManyQuickStops)
{
    for (std::size_t i = 1; i <= 3; ++i) {
        startAll();
        // The first time at once, then somewhere between the first answer and the last picture.
        if (i > 1) {
            ASSERT_TRUE(waitForStatuses(statuses().size() + 1));
        }
        stop(GetParam());
        EXPECT_GE(waitUntilGone(bed().port(CameraBed::Port::Anybody)), 0);
        // A pane takes no start before its last one has come back; no connection may be there in between.
        ASSERT_TRUE(support::pumpUntil([&] { return stops() == 9 * i; }, 20'000)) << stops();
    }
    startAll();
    EXPECT_TRUE(waitForPictures(m_cameras));
    stop(GetParam());
}

TEST_P(CameraWall, PanesThatShareACameraJoinItInTheMiddleOfAGroupOfPictures)
{
    split(4);
    const cameras::Camera camera = cameras::cameraAt("bframes");
    const long userID = login(addressOf(bed().port(CameraBed::Port::Anybody), camera.path));
    start(GetParam(), {userID});
    ASSERT_TRUE(waitForPicture(0, camera));
    const std::vector<cameras::Camera> four(4, camera);
    start(GetParam(), std::vector<long>(4, userID));
    ASSERT_TRUE(waitForPictures(four));
    for (const Sighting &sighting : watch(four, 20)) {
        EXPECT_GE(sighting.numbers.size(), 20U);
        EXPECT_EQ(sighting.nBroken, 0);
        EXPECT_EQ(sighting.nBack, 0);
    }
    stop(GetParam());
}

} // namespace
} // namespace live
