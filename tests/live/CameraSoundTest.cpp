// The sound of cameras and files as a host hears it: the exports for sound and volume, from end to end.

#include "tests/live/LiveFixture.h"
#include "tests/support/SoundEar.h"
#include "tests/support/SoundMeter.h"

#include <cmath>

namespace live
{
namespace
{

using cameras::addressOf;
using cameras::CameraBed;
using support::SoundEar;

constexpr double kHertz = 440;
/** Of the sine in the cameras' clips, on one channel. */
constexpr double kLevel = 0.125;
// After a camera's return its next attempt comes within 8.8 seconds; the rest is for a busy machine.
constexpr unsigned kBackWithin = 40'000;

class CameraSound : public LiveFixture, public testing::WithParamInterface<const char *>
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_ear.listens()) << "run this program with tools/with-sound.sh";
        LiveFixture::SetUp();
        EXPECT_TRUE(hearsSilence());
    }

    void TearDown() override
    {
        bed().command("clean");
        LiveFixture::TearDown();
    }

    void play(const char *pPath)
    {
        const cameras::Camera camera = cameras::cameraAt(pPath);
        start(Route::Direct, {login(addressOf(bed().port(CameraBed::Port::Anybody), camera.path))});
        ASSERT_TRUE(waitForPicture(0, camera));
    }

    bool hearsSilence()
    {
        return m_ear.waitFor(300, [](const std::vector<float> &heard) { return testsupport::soundingOf(heard) == 0; });
    }

    bool hearsTheSine(double level, unsigned milliseconds = 15'000)
    {
        const auto isTheSine = [level](const std::vector<float> &heard) {
            return std::fabs(testsupport::frequencyOf(heard) - kHertz) < 5 &&
                   std::fabs(testsupport::levelOf(heard) - level) < level * 0.1;
        };
        return m_ear.waitFor(200, isTheSine, milliseconds);
    }

    SoundEar m_ear;
};

TEST_P(CameraSound, IsHeardWhenItIsOpenedAtTheVolumeOfItsPane)
{
    play(GetParam());
    EXPECT_TRUE(hearsSilence());
    ASSERT_EQ(PELLORA_OpenSound(m_lHandle), 1);
    EXPECT_TRUE(hearsTheSine(kLevel));
    ASSERT_EQ(PELLORA_SetVolume(m_lHandle, 0x8000), 1);
    EXPECT_EQ(PELLORA_GetVolume(m_lHandle), 0x8000);
    EXPECT_TRUE(hearsTheSine(kLevel / 2));
    ASSERT_EQ(PELLORA_CloseSound(m_lHandle), 1);
    EXPECT_TRUE(hearsSilence());
}

INSTANTIATE_TEST_SUITE_P(Codecs, CameraSound, testing::Values("alaw", "mulaw", "aac"),
                         [](const auto &row) { return std::string(row.param); });

class CameraSoundFault : public CameraSound
{
};

TEST_F(CameraSoundFault, SoundAndVolumeComeBackWithTheCamera)
{
    play("alaw");
    ASSERT_EQ(PELLORA_OpenSound(m_lHandle), 1);
    ASSERT_EQ(PELLORA_SetVolume(m_lHandle, 0x8000), 1);
    EXPECT_TRUE(hearsTheSine(kLevel / 2));
    bed().command("kill");
    EXPECT_TRUE(hearsSilence());
    bed().command("start");
    EXPECT_TRUE(hearsTheSine(kLevel / 2, kBackWithin));
    EXPECT_EQ(PELLORA_GetVolume(m_lHandle), 0x8000);
}

TEST_F(CameraSoundFault, ACameraWithoutSoundCannotBeHeard)
{
    play("h264");
    EXPECT_EQ(PELLORA_OpenSound(m_lHandle), 0);
    EXPECT_TRUE(hearsSilence());
}

TEST_F(CameraSoundFault, TheSoundEndsWithItsPreview)
{
    play("mulaw");
    ASSERT_EQ(PELLORA_OpenSound(m_lHandle), 1);
    EXPECT_TRUE(hearsTheSine(kLevel));
    stop(Route::Direct);
    EXPECT_TRUE(hearsSilence());
}

} // namespace
} // namespace live
