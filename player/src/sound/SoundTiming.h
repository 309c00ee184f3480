#ifndef PLAYER_SOUNDTIMING_H
#define PLAYER_SOUNDTIMING_H

#include <cstddef>
#include <cstdint>
#include <deque>
#include <optional>

namespace player
{

/**
 * When the sound of a live stream is to be heard: with its pictures, which it follows, but not before it has come.
 *
 * All that is asked and told are "zeros": the moment at which something with the stream's time 0 happened or would
 * happen. What the pictures say is the middle of the last two seconds. Sound that comes with its picture is late by
 * what a device needs, which is why it may lag behind the pictures a little; sound that comes early waits for them.
 *
 * Threads: none of its own; guarded by its owner.
 * Units:   microseconds; moments count from any point in time, always the same one.
 */
class SoundTiming
{
public:
    void pictureShown(std::int64_t time, std::int64_t moment);
    /** Of the first sample of a packet. */
    void packetCame(std::int64_t time, std::int64_t moment);
    /** Forgets everything. */
    void clear();

    /**
     * The zero that the sound should have, where a sample can be heard no sooner than `margin` after it has come.
     * Empty while nothing has come.
     */
    [[nodiscard]] std::optional<std::int64_t> zero(std::int64_t margin) const;

private:
    struct Entry {
        std::int64_t zero;
        std::int64_t moment;
    };

    /** The zeros of the last two seconds; a time that jumps begins them anew. */
    class Window
    {
    public:
        void add(std::int64_t time, std::int64_t moment);
        void clear();
        [[nodiscard]] bool isEmpty() const
        {
            return m_entries.empty();
        }
        [[nodiscard]] std::int64_t least() const;
        [[nodiscard]] std::int64_t most() const;
        [[nodiscard]] std::int64_t middle() const;

    private:
        std::deque<Entry> m_entries;
    };

    Window m_pictures;
    Window m_packets;
};

} // namespace player

#endif
