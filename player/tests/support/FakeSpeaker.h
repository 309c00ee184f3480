#ifndef PLAYER_FAKESPEAKER_H
#define PLAYER_FAKESPEAKER_H

#include "player/src/core/Clock.h"
#include "player/src/sound/SoundOutput.h"

#include <atomic>
#include <chrono>
#include <memory>
#include <mutex>
#include <vector>

namespace player::test
{

/**
 * A sound device that plays by the test's clock and writes down what could be heard of its first channel.
 *
 * Threads: any.
 */
class FakeSpeaker
{
public:
    static constexpr int kRate = 48000;

    explicit FakeSpeaker(Clock &clock) : m_clock(clock) {}

    // Set before it is opened.
    /** A sample that finds nothing before it is heard after so long. */
    void setLatency(std::chrono::microseconds latency)
    {
        m_latency = latency;
    }
    /** Plays faster (positive) than its rate by so many parts in a million. */
    void setDrift(int parts)
    {
        m_nDrift = parts;
    }

    /** Gone: what was opened is lost, and nothing can be opened. */
    void setThere(bool there);
    [[nodiscard]] bool isThere() const
    {
        return m_bThere;
    }
    /** Another device is the one to play on: what was opened is lost. */
    void change();
    std::unique_ptr<SoundOutput> open();
    /** Outputs that exist now, and those that were ever opened. */
    [[nodiscard]] int outputs() const
    {
        return m_nOutputs;
    }
    [[nodiscard]] int opened() const
    {
        return m_nOpened;
    }

    /** One value for each 1/48000 s of a span that has passed; 0 where nothing was played. */
    [[nodiscard]] std::vector<float> heard(Moment from, std::chrono::microseconds span) const;

private:
    class Output;

    struct Piece {
        Moment begin;
        double secondsEach;
        std::vector<float> samples;
    };

    Clock &m_clock;
    std::chrono::microseconds m_latency{20000};
    int m_nDrift = 0;
    std::atomic<bool> m_bThere{true};
    std::atomic<int> m_nEpoch{0};
    std::atomic<int> m_nOutputs{0};
    std::atomic<int> m_nOpened{0};
    mutable std::mutex m_mutex;
    std::vector<Piece> m_pieces;
};

} // namespace player::test

#endif
