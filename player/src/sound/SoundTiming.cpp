#include "player/src/sound/SoundTiming.h"

#include <algorithm>
#include <cstdlib>
#include <vector>

namespace player
{

namespace
{

constexpr std::int64_t kSpan = 2000000;
constexpr std::size_t kMostEntries = 256;
/** At few pictures a second, so many of them are kept however old they are. */
constexpr std::size_t kLeastEntries = 5;
/** Another beginning of the times, rather than a network that stutters. */
constexpr std::int64_t kJump = 1000000;
/** How far sound that comes unevenly may lag behind the pictures: the ear begins to notice at 80 ms. */
constexpr std::int64_t kMostLag = 50000;
/** Times of sound and pictures that lie further apart are no times of the same clock. */
constexpr std::int64_t kMostApart = 10000000;

} // namespace

void SoundTiming::Window::add(std::int64_t time, std::int64_t moment)
{
    const std::int64_t zero = moment - time;
    if (!m_entries.empty() && std::abs(zero - m_entries.back().zero) > kJump) {
        m_entries.clear();
    }
    m_entries.push_back({zero, moment});
    while (m_entries.size() > kMostEntries ||
           (m_entries.size() > kLeastEntries && m_entries.front().moment < moment - kSpan)) {
        m_entries.pop_front();
    }
}

void SoundTiming::Window::clear()
{
    m_entries.clear();
}

std::int64_t SoundTiming::Window::least() const
{
    std::int64_t least = m_entries.front().zero;
    for (const Entry &entry : m_entries) {
        least = std::min(least, entry.zero);
    }
    return least;
}

std::int64_t SoundTiming::Window::most() const
{
    std::int64_t most = m_entries.front().zero;
    for (const Entry &entry : m_entries) {
        most = std::max(most, entry.zero);
    }
    return most;
}

std::int64_t SoundTiming::Window::middle() const
{
    std::vector<std::int64_t> zeros;
    zeros.reserve(m_entries.size());
    for (const Entry &entry : m_entries) {
        zeros.push_back(entry.zero);
    }
    const auto middle = zeros.begin() + static_cast<std::ptrdiff_t>(zeros.size() / 2);
    std::nth_element(zeros.begin(), middle, zeros.end());
    return *middle;
}

void SoundTiming::pictureShown(std::int64_t time, std::int64_t moment)
{
    m_pictures.add(time, moment);
}

void SoundTiming::packetCame(std::int64_t time, std::int64_t moment)
{
    m_packets.add(time, moment);
}

void SoundTiming::clear()
{
    m_pictures.clear();
    m_packets.clear();
}

std::optional<std::int64_t> SoundTiming::zero(std::int64_t margin) const
{
    if (m_packets.isEmpty()) {
        return std::nullopt;
    }
    // Sooner than the first, nothing can be heard; by the second, everything has come.
    const std::int64_t soonest = m_packets.least() + margin;
    const std::int64_t surely = m_packets.most() + margin;
    if (m_pictures.isEmpty()) {
        return surely;
    }
    const std::int64_t pictures = m_pictures.middle();
    if (pictures > surely + kMostApart || pictures < soonest - kMostApart) {
        return surely;
    }
    const std::int64_t late = std::min(std::max(pictures, surely), pictures + kMostLag);
    return std::max(late, soonest);
}

} // namespace player
