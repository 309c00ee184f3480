// Cameras that are known by the address of their device alone.

#include "tests/live/LiveFixture.h"

#include <algorithm>

namespace live
{
namespace
{

using cameras::CameraBed;

class CameraOnvif : public LiveFixture
{
protected:
    static std::string device()
    {
        return "onvif://127.0.0.1:" + std::to_string(bed().port(CameraBed::Port::Onvif));
    }
};

TEST_F(CameraOnvif, EachChannelIsInItsOwnPaneByOneLogIn)
{
    split(4);
    const long userID = login(device(), cameras::kUser, cameras::kPassword);
    start(Route::Task, std::vector<long>(4, userID));
    std::vector<cameras::Camera> wanted;
    for (int nChannel = 1; nChannel <= 4; ++nChannel) {
        wanted.push_back(cameras::wallCamera(nChannel));
    }
    ASSERT_TRUE(waitForPictures(wanted));
    for (const Sighting &sighting : watch(wanted, 10)) {
        EXPECT_GE(sighting.numbers.size(), 10U);
        EXPECT_EQ(sighting.nStrangers, 0);
        EXPECT_EQ(sighting.nBroken, 0);
    }
}

TEST_F(CameraOnvif, AWrongPasswordIsToldAsAFailure)
{
    split(1);
    start(Route::Task, {login(device(), cameras::kUser, cameras::kWrongPassword)});
    ASSERT_TRUE(waitForStatuses(1));
    EXPECT_EQ(statuses().front().byPlaying, 0);
    const std::vector<std::string> texts = m_log.texts();
    EXPECT_TRUE(std::any_of(texts.begin(), texts.end(), [](const std::string &text) {
        return text.find("SELVIK_DCM_StartPreview error: 6") != std::string::npos;
    }));
}

} // namespace
} // namespace live
