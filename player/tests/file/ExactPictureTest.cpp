// The picture on display is the one that plain decoding says, whatever led there.
#include "player/src/port/Port.h"
#include "player/tests/support/Clips.h"
#include "player/tests/support/FakeClock.h"
#include "player/tests/support/FakePlatform.h"
#include "player/tests/support/MemoryBytes.h"
#include "player/tests/support/PlainDecoding.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <map>
#include <random>

namespace
{

using namespace std::chrono_literals;
using player::Error;
using player::Port;
using player::test::Clip;
using player::test::FakeClock;
using player::test::FakePlatform;
using player::test::PlainPicture;

/** What a host does to a file, and what it may expect to see then. */
class Walk
{
public:
    Walk(const std::string &path, unsigned seed) : Walk(path, player::test::decodePlainly(path), seed) {}

    Walk(const std::string &path, std::vector<PlainPicture> pictures, unsigned seed)
        : m_pictures(std::move(pictures)), m_random(seed)
    {
        EXPECT_EQ(m_port.openFile(path.c_str()), Error::None);
        EXPECT_EQ(m_port.play(m_platform.window()), Error::None);
        EXPECT_EQ(m_port.pause(1), Error::None);
        m_clock.settle();
    }

    ~Walk()
    {
        m_port.close();
    }

    void go(int moves)
    {
        for (int i = 0; i < moves && !testing::Test::HasFailure(); ++i) {
            switch (any(0, 5)) {
            case 0:
                seek();
                break;
            case 1:
                step(1);
                break;
            case 2:
                step(-1);
                break;
            case 3:
                stepOften(any(0, 1) == 0 ? -1 : 1, any(2, 12));
                break;
            case 4:
                playFor(any(1, 900) * 1ms, 0);
                break;
            default:
                playFor(any(1, 60) * 1ms, any(-2, 4));
                break;
            }
        }
    }

private:
    int any(int from, int to)
    {
        return std::uniform_int_distribution<int>(from, to)(m_random);
    }

    std::int64_t endTime() const
    {
        return m_pictures.back().time;
    }

    void seek()
    {
        const int milliseconds = any(0, static_cast<int>(endTime() / 1000) + 100);
        note("seek to " + std::to_string(milliseconds));
        ASSERT_EQ(m_port.seek(static_cast<unsigned long>(milliseconds)), Error::None);
        m_nTime = std::min<std::int64_t>(milliseconds * std::int64_t{1000}, endTime());
        m_place = player::test::pictureAt(m_pictures, m_nTime);
        check();
    }

    void step(int direction)
    {
        note(direction > 0 ? "step" : "step back");
        const bool bEnd = direction > 0 ? m_place + 1 == m_pictures.size() : m_place == 0;
        const Error error = direction > 0 ? m_port.stepForward() : m_port.stepBack();
        ASSERT_EQ(error, bEnd ? Error::End : Error::None) << m_path;
        if (!bEnd) {
            m_place += static_cast<std::size_t>(direction);
            m_nTime = m_pictures[m_place].time;
        }
        check();
    }

    void stepOften(int direction, int times)
    {
        for (int i = 0; i < times && !testing::Test::HasFailure(); ++i) {
            step(direction);
        }
    }

    void playFor(std::chrono::microseconds duration, int speed)
    {
        const std::int64_t passed = speed < 0 ? duration.count() >> -speed : duration.count() << speed;
        if (m_nTime + passed >= endTime()) {
            return;
        }
        note("play for " + std::to_string(duration.count()) + " at " + std::to_string(speed));
        ASSERT_EQ(m_port.play(nullptr), Error::None);
        for (int i = 0; i < std::abs(speed); ++i) {
            ASSERT_EQ(m_port.changeSpeed(speed > 0 ? 1 : -1), Error::None);
        }
        m_clock.advance(duration);
        ASSERT_EQ(m_port.pause(1), Error::None);
        m_nTime += passed;
        m_place = player::test::pictureAt(m_pictures, m_nTime);
        check();
    }

    void check()
    {
        m_clock.settle();
        const PlainPicture &expected = m_pictures[m_place];
        ASSERT_EQ(m_platform.number(), expected.number) << m_path;
        const std::int64_t time = m_platform.shown().back().time;
        ASSERT_EQ(m_times.emplace(m_place, time).first->second, time) << m_path << "; another time than before";
        ASSERT_EQ(time, expected.time) << m_path;
    }

    void note(const std::string &move)
    {
        m_path += m_path.empty() ? move : ", " + move;
        if (m_path.size() > 400) {
            m_path.erase(0, m_path.size() - 400);
        }
    }

    const std::vector<PlainPicture> m_pictures;
    std::mt19937 m_random;
    FakeClock m_clock;
    FakePlatform m_platform{m_clock};
    Port m_port{m_platform, 0, 0};
    std::int64_t m_nTime = 0;
    std::size_t m_place = 0;
    std::map<std::size_t, std::int64_t> m_times;
    std::string m_path;
};

class ExactPicture : public testing::TestWithParam<Clip>
{
};

TEST_P(ExactPicture, IsOnDisplayAfterAnyMoves)
{
    if (GetParam().pictures > 400) {
        GTEST_SKIP() << "the same as others, only longer";
    }
    Walk(GetParam().path(), 11).go(40);
}

INSTANTIATE_TEST_SUITE_P(Clips, ExactPicture, testing::ValuesIn(player::test::numberedClips()),
                         [](const auto &row) { return player::test::testName(row.param.file); });

/** Recordings put one behind the other, as by copying their bytes. */
struct Joined {
    const char *first;
    const char *second;
};

void PrintTo(const Joined &joined, std::ostream *pStream)
{
    *pStream << joined.first << " and " << joined.second;
}

class JoinedFiles : public testing::TestWithParam<Joined>
{
};

TEST_P(JoinedFiles, PlayThroughTheirSeamWhateverTheirStampsSay)
{
    const std::string path = testing::TempDir() + "joined-" + GetParam().first;
    {
        std::ofstream file(path, std::ios::binary);
        for (const char *part : {GetParam().first, GetParam().second}) {
            const auto bytes = player::test::bytesOf(player::test::mediaPath(part));
            file.write(reinterpret_cast<const char *>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
        }
    }
    // Each picture of both lasts 40 ms.
    std::vector<PlainPicture> pictures;
    for (const char *part : {GetParam().first, GetParam().second}) {
        for (int number = 0; number < player::test::clip(part).pictures; ++number) {
            pictures.push_back({number, static_cast<std::int64_t>(pictures.size()) * 40000, 0});
        }
    }
    Walk(path, pictures, 5).go(40);
    std::remove(path.c_str());
}

INSTANTIATE_TEST_SUITE_P(Containers, JoinedFiles,
                         testing::Values(Joined{"h264.ts", "h264.ts"}, Joined{"h264.ts", "start-1h.ts"},
                                         Joined{"start-1h.ts", "h264.ts"}, Joined{"mpeg2.mpg", "mpeg2.mpg"},
                                         Joined{"raw.h264", "raw.h264"}, Joined{"raw.h265", "raw.h265"}),
                         [](const auto &row) {
                             return player::test::testName(std::string(row.param.first) + "_" + row.param.second);
                         });

} // namespace
