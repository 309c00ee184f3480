#include "player/tests/support/Walk.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace player::test
{

namespace
{

using namespace std::chrono_literals;

/** No screen shows pictures that come faster. */
constexpr std::chrono::milliseconds kLeastInterval{10};

} // namespace

Walk::Walk(const std::string &path, std::vector<PlainPicture> pictures, unsigned seed)
    : m_pictures(std::move(pictures)), m_random(seed)
{
    m_platform.sumPictures();
    m_port.callbacks().fileEnd.set([this] {
        ++m_nEnds;
        m_ended = m_clock.now();
    });
    EXPECT_EQ(m_port.openFile(path.c_str()), Error::None);
    EXPECT_EQ(m_port.play(m_platform.window()), Error::None);
    EXPECT_EQ(m_port.pause(1), Error::None);
    m_clock.settle();
}

Walk::~Walk()
{
    m_port.close();
}

void Walk::go(int moves)
{
    for (int i = 0; i < moves && !testing::Test::HasFailure(); ++i) {
        switch (any(0, 6)) {
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
        case 5:
            playFor(any(1, 60) * 1ms, any(-2, 4));
            break;
        default:
            playToTheEnd(any(-4, 4));
            break;
        }
    }
}

void Walk::seekAbout(int times)
{
    for (int i = 0; i < times && !testing::Test::HasFailure(); ++i) {
        seek();
    }
}

void Walk::stepThrough()
{
    seekTo(0);
    stepOften(1, static_cast<int>(m_pictures.size()));
    stepOften(-1, static_cast<int>(m_pictures.size()));
}

void Walk::playThrough()
{
    seekTo(0);
    note("play through");
    const int ends = m_nEnds;
    m_platform.forget();
    const Moment begun = m_clock.now();
    ASSERT_EQ(m_port.play(nullptr), Error::None);
    ASSERT_TRUE(m_clock.advanceUntil([&] { return m_nEnds > ends; })) << m_path;
    EXPECT_GE(m_ended.load() - begun, std::chrono::microseconds(endTime()));
    ASSERT_EQ(m_port.pause(1), Error::None);
    const std::vector<Shown> all = m_platform.shown();
    std::size_t place = 0;
    const Shown *pLatest = nullptr;
    for (const Shown &shown : all) {
        while (place + 1 < m_pictures.size() && m_pictures[place].time < shown.time) {
            // It was left out: the next one has to have come before anything could be shown again.
            ++place;
            const Moment due = begun + std::chrono::microseconds(m_pictures[place].time);
            const bool bSeen = pLatest && pLatest->time == m_pictures[place - 1].time;
            ASSERT_TRUE(bSeen || (pLatest && due < pLatest->moment + kLeastInterval)) << "picture " << place - 1;
        }
        expectShown(shown, m_pictures[place]);
        if (testing::Test::HasFailure()) {
            return;
        }
        pLatest = &shown;
    }
    EXPECT_EQ(place + 1, m_pictures.size()) << "the last picture";
    m_clock.advance(1s);
    EXPECT_EQ(m_nEnds, ends + 1) << "the end is told once";
    m_place = m_pictures.size() - 1;
    m_nTime = endTime();
    m_bEnded = true;
}

void Walk::seek()
{
    seekTo(any(0, static_cast<int>(endTime() / 1000) + 100));
}

void Walk::seekTo(int milliseconds)
{
    note("seek to " + std::to_string(milliseconds));
    ASSERT_EQ(m_port.seek(static_cast<unsigned long>(milliseconds)), Error::None);
    m_bEnded = false;
    m_nTime = std::min<std::int64_t>(milliseconds * std::int64_t{1000}, endTime());
    m_place = pictureAt(m_pictures, m_nTime);
    check();
}

void Walk::step(int direction)
{
    note(direction > 0 ? "step" : "step back");
    const bool bEnd = direction > 0 ? m_place + 1 == m_pictures.size() : m_place == 0;
    const Error error = direction > 0 ? m_port.stepForward() : m_port.stepBack();
    ASSERT_EQ(error, bEnd ? Error::End : Error::None) << m_path;
    if (!bEnd) {
        m_bEnded = false;
        m_place += static_cast<std::size_t>(direction);
        m_nTime = m_pictures[m_place].time;
    }
    check();
}

void Walk::stepOften(int direction, int times)
{
    for (int i = 0; i < times && !testing::Test::HasFailure(); ++i) {
        step(direction);
    }
}

void Walk::changeSpeed(int speed)
{
    for (int i = 0; i < std::abs(speed); ++i) {
        ASSERT_EQ(m_port.changeSpeed(speed > 0 ? 1 : -1), Error::None);
    }
}

void Walk::playFor(std::chrono::microseconds duration, int speed)
{
    const std::int64_t passed = speed < 0 ? duration.count() >> -speed : duration.count() << speed;
    const std::int64_t from = m_bEnded ? 0 : m_nTime;
    if (from + passed >= endTime()) {
        return;
    }
    note((m_bEnded ? "play anew for " : "play for ") + std::to_string(duration.count()) + " at " +
         std::to_string(speed));
    ASSERT_EQ(m_port.play(nullptr), Error::None);
    changeSpeed(speed);
    m_clock.advance(duration);
    ASSERT_EQ(m_port.pause(1), Error::None);
    m_bEnded = false;
    m_nTime = from + passed;
    m_place = pictureAt(m_pictures, m_nTime);
    check();
}

void Walk::playToTheEnd(int speed)
{
    if (m_bEnded || endTime() - m_nTime > 1000000) {
        seekTo(static_cast<int>(std::max<std::int64_t>(endTime() / 1000 - any(0, 500), 0)));
    }
    note("play to the end at " + std::to_string(speed));
    const int ends = m_nEnds;
    ASSERT_EQ(m_port.play(nullptr), Error::None);
    changeSpeed(speed);
    ASSERT_TRUE(m_clock.advanceUntil([&] { return m_nEnds > ends; })) << m_path;
    m_clock.advance(1s);
    ASSERT_EQ(m_nEnds, ends + 1) << m_path << "; the end is told once";
    ASSERT_EQ(m_port.pause(1), Error::None);
    m_bEnded = true;
    m_nTime = endTime();
    m_place = m_pictures.size() - 1;
    check();
}

void Walk::endAgain(int speed)
{
    playToTheEnd(speed);
    const int ends = m_nEnds;
    const auto back = static_cast<unsigned long>(std::max<std::int64_t>(endTime() / 1000 - 100, 0));
    note("seek back and go on at " + std::to_string(speed));
    ASSERT_EQ(m_port.seek(back), Error::None);
    ASSERT_EQ(m_port.pause(0), Error::None);
    ASSERT_TRUE(m_clock.advanceUntil([&] { return m_nEnds > ends; })) << m_path;
    m_clock.advance(1s);
    EXPECT_EQ(m_nEnds, ends + 1) << m_path << "; the end is told once";
    check();
}

void Walk::check()
{
    m_clock.settle();
    const auto all = m_platform.shown();
    ASSERT_FALSE(all.empty()) << m_path;
    expectShown(all.back(), m_pictures[m_place]);
    const std::int64_t time = all.back().time;
    ASSERT_EQ(m_times.emplace(m_place, time).first->second, time) << m_path << "; another time than before";
    // What was shown long ago is not asked for any more.
    m_platform.forgetAllButLast();
}

void Walk::expectShown(const Shown &shown, const PlainPicture &expected)
{
    ASSERT_EQ(shown.number, expected.number) << m_path;
    ASSERT_EQ(shown.time, expected.time) << m_path << "; picture " << &expected - m_pictures.data();
    ASSERT_TRUE(expected.checksum == 0 || shown.checksum == expected.checksum)
        << m_path << "; the pixels of picture " << &expected - m_pictures.data();
}

void Walk::note(const std::string &move)
{
    m_path += m_path.empty() ? move : ", " + move;
    if (m_path.size() > 400) {
        m_path.erase(0, m_path.size() - 400);
    }
}

} // namespace player::test
