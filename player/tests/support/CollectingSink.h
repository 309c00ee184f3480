#ifndef PLAYER_COLLECTINGSINK_H
#define PLAYER_COLLECTINGSINK_H

#include "player/src/core/PacketSink.h"

#include <atomic>
#include <mutex>
#include <vector>

namespace player::test
{

/** Writes down what it is given. Threads: any. */
class CollectingSink : public PacketSink
{
public:
    struct Entry {
        std::int64_t time;
        unsigned generation;
    };

    bool begin(const AVCodecParameters &parameters, AVRational) override
    {
        m_codec = parameters.codec_id;
        return !m_bUseless;
    }

    void take(SidePacket packet) override
    {
        const std::lock_guard lock(m_mutex);
        m_entries.push_back({packet.time, packet.generation});
    }

    void flush(unsigned generation, std::int64_t) override
    {
        m_nGeneration = generation;
    }

    void end() override
    {
        ++m_nEnds;
    }

    [[nodiscard]] bool hasEnough() const override
    {
        return m_bEnough;
    }

    [[nodiscard]] std::vector<Entry> entries() const
    {
        const std::lock_guard lock(m_mutex);
        return m_entries;
    }

    void forget()
    {
        const std::lock_guard lock(m_mutex);
        m_entries.clear();
    }

    // Set by the test.
    std::atomic<bool> m_bEnough{false};
    std::atomic<bool> m_bUseless{false};

    // Told by the reader.
    std::atomic<int> m_codec{0};
    std::atomic<unsigned> m_nGeneration{0};
    std::atomic<int> m_nEnds{0};

private:
    mutable std::mutex m_mutex;
    std::vector<Entry> m_entries;
};

} // namespace player::test

#endif
