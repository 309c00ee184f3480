#ifndef PLAYER_COLLECTOR_H
#define PLAYER_COLLECTOR_H

#include "player/src/live/LiveFeed.h"
#include "player/tests/support/FakeClock.h"
#include "player/tests/support/PushedStream.h"

#include <vector>

namespace player::test
{

/**
 * Collects every picture that a feed gives out. By the stream's own clock, which is the usual, none is left out for the
 * sake of time.
 */
class Collector
{
public:
    explicit Collector(const Bytes &header, std::size_t bufferSize = 64 * 1024 * 1024,
                       StreamMode mode = StreamMode::File);

    /** Has to be taken. */
    void push(const Record &record);
    void push(const PushedStream &stream, std::size_t from, std::size_t to);
    /** The same, a record every so often. */
    void pushPaced(const PushedStream &stream, std::size_t from, std::size_t to, std::chrono::microseconds interval);

    /** The numbers of all that come out of what was pushed. */
    std::vector<int> numbers();
    const std::vector<Picture> &pictures();
    Error failure();

    LiveFeed &feed()
    {
        return m_feed;
    }

    FakeClock &clock()
    {
        return m_clock;
    }

private:
    void take();

    const StreamMode m_mode;
    FakeClock m_clock;
    std::vector<int> m_numbers;
    std::vector<Picture> m_pictures;
    LiveFeed m_feed;
};

[[nodiscard]] std::vector<int> range(int from, int to);
[[nodiscard]] std::vector<int> operator+(std::vector<int> left, const std::vector<int> &right);
/** Of the picture with that number. */
[[nodiscard]] std::size_t place(const PushedStream &stream, int number);
/** The greatest difference between two pictures' brightness; those of different sizes are as different as can be. */
[[nodiscard]] int apart(const Picture &left, const Picture &right);

/** The pictures are those of the whole stream, pixel by pixel. */
void expectWhole(Collector &collector, const PushedStream &whole);

} // namespace player::test

#endif
