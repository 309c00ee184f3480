#include "player/src/file/FileIndex.h"

#include <algorithm>
#include <limits>

namespace player
{

void FileIndex::addPicture(std::int64_t number, std::int64_t time)
{
    const std::lock_guard lock(m_mutex);
    const auto ordinal = static_cast<std::int64_t>(m_times.size());
    constexpr std::int64_t kMostInBlockTime = std::numeric_limits<std::uint32_t>::max();
    if (m_blocks.empty() || time - m_blocks.back().time > kMostInBlockTime ||
        ordinal - m_blocks.back().firstOrdinal >= static_cast<std::int64_t>(kMostInBlock)) {
        m_blocks.push_back({ordinal, time});
    }
    m_times.push_back(static_cast<std::uint32_t>(time - m_blocks.back().time));
    m_nLatest = time;
    setPlace(number, ordinal);
}

void FileIndex::setPlace(std::int64_t number, std::int64_t ordinal)
{
    const auto place = static_cast<std::size_t>(number);
    while (m_places.size() <= place / kMostInBlock) {
        m_places.emplace_back();
    }
    Places &places = m_places[place / kMostInBlock];
    places.difference = places.difference.value_or(ordinal - number);
    const std::int64_t apart = ordinal - number - *places.difference;
    if (std::abs(apart) <= kMostApart) {
        places.apart[place % kMostInBlock] = static_cast<std::int8_t>(apart);
    }
}

void FileIndex::addKey(const Key &key)
{
    const std::lock_guard lock(m_mutex);
    if (m_keys.empty() || key.number - m_keys.back().number >= kLeastApart) {
        m_keys.push_back(key);
        m_keys.back().ordinal = static_cast<std::int64_t>(m_times.size());
    }
}

void FileIndex::tellGrown()
{
    m_grown.notifyAll();
}

void FileIndex::complete(std::int64_t end)
{
    {
        const std::lock_guard lock(m_mutex);
        m_end = end;
    }
    m_grown.notifyAll();
}

void FileIndex::giveUp()
{
    {
        const std::lock_guard lock(m_mutex);
        m_bGivenUp = true;
    }
    m_grown.notifyAll();
}

bool FileIndex::isComplete() const
{
    const std::lock_guard lock(m_mutex);
    return m_end.has_value();
}

std::optional<std::int64_t> FileIndex::end() const
{
    const std::lock_guard lock(m_mutex);
    return m_end;
}

std::optional<std::int64_t> FileIndex::lastTime() const
{
    const std::lock_guard lock(m_mutex);
    return m_end ? std::optional(m_nLatest) : std::nullopt;
}

std::int64_t FileIndex::pictures() const
{
    const std::lock_guard lock(m_mutex);
    return static_cast<std::int64_t>(m_times.size());
}

std::optional<FileIndex::Place> FileIndex::placeOf(std::int64_t number) const
{
    const std::lock_guard lock(m_mutex);
    const auto place = static_cast<std::size_t>(number);
    if (number < 0 || place / kMostInBlock >= m_places.size()) {
        return std::nullopt;
    }
    const Places &places = m_places[place / kMostInBlock];
    const std::int8_t apart = places.apart[place % kMostInBlock];
    if (apart == kNone) {
        return std::nullopt;
    }
    const std::int64_t ordinal = number + *places.difference + apart;
    return Place{ordinal, timeLocked(ordinal)};
}

std::optional<std::int64_t> FileIndex::timeOf(std::int64_t ordinal) const
{
    const std::lock_guard lock(m_mutex);
    const bool bKnown = ordinal >= 0 && ordinal < static_cast<std::int64_t>(m_times.size());
    return bKnown ? std::optional(timeLocked(ordinal)) : std::nullopt;
}

std::int64_t FileIndex::timeLocked(std::int64_t ordinal) const
{
    const auto behind = std::upper_bound(m_blocks.begin(), m_blocks.end(), ordinal,
                                         [](std::int64_t o, const Block &block) { return o < block.firstOrdinal; });
    return std::prev(behind)->time + m_times[static_cast<std::size_t>(ordinal)];
}

std::optional<std::int64_t> FileIndex::ordinalAt(std::int64_t time) const
{
    const std::lock_guard lock(m_mutex);
    return ordinalLocked(time);
}

std::optional<std::int64_t> FileIndex::ordinalLocked(std::int64_t time) const
{
    if (m_times.empty() || (!m_end && time >= m_nLatest)) {
        return std::nullopt;
    }
    const auto behind = std::upper_bound(m_blocks.begin(), m_blocks.end(), time,
                                         [](std::int64_t t, const Block &block) { return t < block.time; });
    if (behind == m_blocks.begin()) {
        return 0;
    }
    const Block &block = *std::prev(behind);
    const auto first = m_times.begin() + block.firstOrdinal;
    const auto last = behind == m_blocks.end() ? m_times.end() : m_times.begin() + behind->firstOrdinal;
    const std::int64_t within = time - block.time;
    const auto found =
        std::upper_bound(first, last, within, [](std::int64_t t, std::uint32_t difference) { return t < difference; });
    return std::distance(m_times.begin(), found) - 1;
}

std::optional<FileIndex::Key> FileIndex::keyFor(std::int64_t ordinal) const
{
    const std::lock_guard lock(m_mutex);
    const auto behind = std::upper_bound(m_keys.begin(), m_keys.end(), ordinal,
                                         [](std::int64_t o, const Key &key) { return o < key.ordinal; });
    if (behind == m_keys.begin()) {
        return std::nullopt;
    }
    return *std::prev(behind);
}

std::optional<FileIndex::Key> FileIndex::keyBefore(const Key &key, std::size_t steps) const
{
    const std::lock_guard lock(m_mutex);
    const auto found = std::lower_bound(m_keys.begin(), m_keys.end(), key.number,
                                        [](const Key &k, std::int64_t number) { return k.number < number; });
    const auto back = std::min<std::ptrdiff_t>(static_cast<std::ptrdiff_t>(steps), found - m_keys.begin());
    return back == 0 ? std::nullopt : std::optional(*(found - back));
}

void FileIndex::waitFor(std::int64_t time, const std::function<bool()> &given, std::optional<Moment> deadline) const
{
    std::unique_lock lock(m_mutex);
    while (!m_bGivenUp && !given() && !ordinalLocked(time)) {
        if (!deadline) {
            m_grown.wait(lock, [&] { return m_bGivenUp || given() || ordinalLocked(time); });
        } else if (!m_grown.waitUntil(lock, *deadline)) {
            return;
        }
    }
}

void FileIndex::wake() const
{
    {
        // Who has looked but does not wait yet must not miss the notice.
        const std::lock_guard lock(m_mutex);
    }
    m_grown.notifyAll();
}

} // namespace player
