#ifndef PLAYER_WALK_H
#define PLAYER_WALK_H

#include "player/src/port/Port.h"
#include "player/tests/support/FakeClock.h"
#include "player/tests/support/FakePlatform.h"
#include "player/tests/support/PlainDecoding.h"

#include <map>
#include <random>
#include <string>
#include <vector>

namespace player::test
{

/**
 * What a host does to a file, and what it may expect to see then: after each move the picture on display has to be the
 * one of that place, by its number, its pixels and its time, as far as these are given.
 *
 * Threads: one. Errors: GoogleTest's failures; after the first one nothing more is done.
 */
class Walk
{
public:
    /** Opens the file on a port of its own and holds it at its first picture. `seed`: of the moves. */
    Walk(const std::string &path, std::vector<PlainPicture> pictures, unsigned seed);
    ~Walk();
    Walk(const Walk &) = delete;
    Walk &operator=(const Walk &) = delete;

    /** Any moves, in any order. */
    void go(int moves);
    /** Plays from the beginning to the end, which is told once; none but pictures that nobody could see is left out. */
    void playThrough();
    /** Steps on from the first picture to the last, and back again. */
    void stepThrough();
    void seekAbout(int times);
    /** Plays to the end, seeks back from there and plays to it again: it is told once each time. */
    void endAgain(int speed);

private:
    int any(int from, int to)
    {
        return std::uniform_int_distribution<int>(from, to)(m_random);
    }
    [[nodiscard]] std::int64_t endTime() const
    {
        return m_pictures.back().time;
    }

    void seek();
    void seekTo(int milliseconds);
    void step(int direction);
    void stepOften(int direction, int times);
    void playFor(std::chrono::microseconds duration, int speed);
    void playToTheEnd(int speed);
    void changeSpeed(int speed);
    void check();
    void expectShown(const Shown &shown, const PlainPicture &expected);
    void note(const std::string &move);

    const std::vector<PlainPicture> m_pictures;
    std::mt19937 m_random;
    FakeClock m_clock;
    FakePlatform m_platform{m_clock};
    Port m_port{m_platform, 0, 0};
    std::atomic<int> m_nEnds{0};
    std::atomic<Moment> m_ended{Moment()};
    std::int64_t m_nTime = 0;
    std::size_t m_place = 0;
    /** At the end, so that playing begins anew. */
    bool m_bEnded = false;
    std::map<std::size_t, std::int64_t> m_times;
    std::string m_path;
};

} // namespace player::test

#endif
