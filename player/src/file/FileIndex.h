#ifndef PLAYER_FILEINDEX_H
#define PLAYER_FILEINDEX_H

#include "player/src/core/Condition.h"

#include <array>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <optional>

namespace player
{

/**
 * When each picture of a file is shown, which place it has in the order of showing, and where decoding may begin.
 *
 * It grows from the file's beginning while it is built. The whole of a day takes some 12 MB: four bytes for a picture's
 * time, one for its place, and a record for each place at which decoding may begin, of which there are no more than one
 * for twelve pictures.
 *
 * Threads: any.
 * Units:   microseconds from the first picture. Numbers count packets in the order of the file, ordinals pictures in
 *          the order of showing.
 */
class FileIndex
{
public:
    /** A picture at which decoding may begin. */
    struct Key {
        std::int64_t number = 0;
        /** Of the first picture that is shown from there on. */
        std::int64_t ordinal = 0;
        // As the container has them, and what is to be added to them.
        std::int64_t pts = 0;
        std::int64_t dts = 0;
        std::int64_t shift = 0;
        std::int64_t bytePosition = -1;
        int size = 0;
        /** Where the container's own index, as far as it was built by reading, has its beginning. */
        std::int64_t entryPosition = -1;
        std::int64_t entryStamp = 0;
    };

    struct Place {
        std::int64_t ordinal = 0;
        std::int64_t time = 0;
    };

    explicit FileIndex(Clock &clock) : m_grown(clock) {}

    // The thread that builds it.
    /** The next picture in the order of showing. */
    void addPicture(std::int64_t number, std::int64_t time);
    /** In the order of showing, ahead of the picture itself. */
    void addKey(const Key &key);
    /** Wakes those who wait for it to grow. */
    void tellGrown();
    /** Every picture has been told. `end`: when the last one has been shown. */
    void complete(std::int64_t end);
    /** Nothing more comes: the file cannot be read, or nobody wants the index any more. */
    void giveUp();

    [[nodiscard]] bool isComplete() const;
    /** When the last picture has been shown; empty before it is complete. */
    [[nodiscard]] std::optional<std::int64_t> end() const;
    /** When the last picture begins; empty before it is complete. */
    [[nodiscard]] std::optional<std::int64_t> lastTime() const;
    [[nodiscard]] std::int64_t pictures() const;

    /** Empty for what has not been told yet. */
    [[nodiscard]] std::optional<Place> placeOf(std::int64_t number) const;
    [[nodiscard]] std::optional<std::int64_t> timeOf(std::int64_t ordinal) const;
    /** The picture on display at a time: the last one that does not begin after it. */
    [[nodiscard]] std::optional<std::int64_t> ordinalAt(std::int64_t time) const;
    /** Where decoding has to begin to come to a picture. */
    [[nodiscard]] std::optional<Key> keyFor(std::int64_t ordinal) const;
    /** A key by so many further back; the first one where there are not as many. */
    [[nodiscard]] std::optional<Key> keyBefore(const Key &key, std::size_t steps) const;

    /** Waits until it knows what is on display at a time or nothing more comes; for no longer than until then. */
    void waitFor(std::int64_t time, const std::function<bool()> &given, std::optional<Moment> deadline) const;
    /** Those who wait look whether they were given up. */
    void wake() const;

private:
    static constexpr std::size_t kMostInBlock = 256;
    /** How far places in the two orders may differ within a block: coders allow for sixteen pictures. */
    static constexpr std::int64_t kMostApart = 127;
    static constexpr std::int8_t kNone = -128;
    /** Keys nearer to each other are not worth a record. */
    static constexpr std::int64_t kLeastApart = 12;

    /** Times of successive pictures, each as a difference to the first. */
    struct Block {
        std::int64_t firstOrdinal;
        std::int64_t time;
    };

    /** Where the pictures of successive packets stand in the order of showing. */
    struct Places {
        Places()
        {
            apart.fill(kNone);
        }

        /** Ordinal less number of the one that was told first; the others differ by little from that. */
        std::optional<std::int64_t> difference;
        std::array<std::int8_t, kMostInBlock> apart;
    };

    [[nodiscard]] std::int64_t timeLocked(std::int64_t ordinal) const;
    [[nodiscard]] std::optional<std::int64_t> ordinalLocked(std::int64_t time) const;
    void setPlace(std::int64_t number, std::int64_t ordinal);

    // Guarded by m_mutex.
    mutable std::mutex m_mutex;
    mutable Condition m_grown;
    std::deque<Block> m_blocks;
    std::deque<std::uint32_t> m_times;
    std::deque<Places> m_places;
    std::deque<Key> m_keys;
    std::int64_t m_nLatest = 0;
    std::optional<std::int64_t> m_end;
    bool m_bGivenUp = false;
};

} // namespace player

#endif
