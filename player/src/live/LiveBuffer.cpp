#include "player/src/live/LiveBuffer.h"

#include <algorithm>
#include <cstring>

namespace player
{

namespace
{

constexpr std::size_t kFirstSize = 64 * 1024;
/** Records that come sooner after each other share one mark, and so do all of them when there are this many. */
constexpr std::chrono::milliseconds kFinestMark{1};
constexpr std::size_t kMostMarks = 4096;
/** Marks of bytes that were read are kept for as far back as a demuxer may have read ahead. */
constexpr std::int64_t kRememberedBytes = 512 * 1024;

std::uint64_t sumOf(const std::uint8_t *pData, std::size_t size)
{
    // FNV-1a. Tells a record that is pushed again from the one after it; nothing depends on it but a picture or two.
    std::uint64_t sum = 14695981039346656037U;
    for (std::size_t i = 0; i < size; ++i) {
        sum = (sum ^ pData[i]) * 1099511628211U;
    }
    return sum;
}

} // namespace

Error LiveBuffer::push(const std::uint8_t *pData, std::size_t size)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_bInterrupted) {
            return Error::Order;
        }
        if (size > m_nCapacity - m_nCount) {
            if (m_nRefusedSize == 0 || !isRetryOfRefused(pData, size)) {
                // Two that were refused one after the other cannot both be pushed again.
                m_bDiscarded = m_bDiscarded || m_nRefusedSize != 0;
                m_nRefusedSize = size;
                m_nRefusedSum = sumOf(pData, size);
            }
            return Error::BufferFull;
        }
        const bool bAfterGap = m_bDiscarded || (m_nRefusedSize != 0 && !isRetryOfRefused(pData, size));
        reserve(size);
        mark(bAfterGap);
        m_bDiscarded = false;
        m_nRefusedSize = 0;
        const std::size_t end = (m_nFirst + m_nCount) % m_ring.size();
        const std::size_t upToWrap = std::min(size, m_ring.size() - end);
        std::memcpy(m_ring.data() + end, pData, upToWrap);
        std::memcpy(m_ring.data(), pData + upToWrap, size - upToWrap);
        m_nCount += size;
    }
    m_changed.notifyAll();
    return Error::None;
}

bool LiveBuffer::isRetryOfRefused(const std::uint8_t *pData, std::size_t size) const
{
    return size == m_nRefusedSize && sumOf(pData, size) == m_nRefusedSum;
}

void LiveBuffer::reserve(std::size_t size)
{
    const std::size_t needed = m_nCount + size;
    if (needed <= m_ring.size()) {
        return;
    }
    const std::size_t doubled = std::max(kFirstSize, m_ring.size() * 2);
    std::vector<std::uint8_t> ring(std::min(m_nCapacity, std::max(needed, doubled)));
    copyOut(ring.data(), m_nCount);
    m_ring.swap(ring);
    m_nFirst = 0;
}

void LiveBuffer::mark(bool afterGap)
{
    const auto now = m_clock.now();
    const bool bShare = !afterGap && !m_marks.empty() &&
                        (m_marks.size() >= kMostMarks || now - m_marks.back().arrival.moment < kFinestMark);
    if (!bShare) {
        if (m_marks.size() >= kMostMarks) {
            m_marks.pop_front();
        }
        m_marks.push_back(
            {m_nReadPosition + static_cast<std::int64_t>(m_nCount), Arrival{now, m_clock.utc()}, afterGap});
    }
}

void LiveBuffer::discard()
{
    const std::lock_guard lock(m_mutex);
    m_nReadPosition += static_cast<std::int64_t>(m_nCount);
    m_nFirst = 0;
    m_nCount = 0;
    m_marks.clear();
    m_nRefusedSize = 0;
    m_bDiscarded = true;
}

void LiveBuffer::wake()
{
    {
        const std::lock_guard lock(m_mutex);
        m_bWake = true;
    }
    m_changed.notifyAll();
}

void LiveBuffer::interrupt()
{
    {
        const std::lock_guard lock(m_mutex);
        m_bInterrupted = true;
    }
    m_changed.notifyAll();
}

bool LiveBuffer::isInterrupted() const
{
    const std::lock_guard lock(m_mutex);
    return m_bInterrupted;
}

void LiveBuffer::copyOut(std::uint8_t *pBuffer, std::size_t count) const
{
    if (count == 0) {
        return;
    }
    const std::size_t upToWrap = std::min(count, m_ring.size() - m_nFirst);
    std::memcpy(pBuffer, m_ring.data() + m_nFirst, upToWrap);
    std::memcpy(pBuffer + upToWrap, m_ring.data(), count - upToWrap);
}

std::size_t LiveBuffer::readable() const
{
    for (const Mark &mark : m_marks) {
        if (mark.afterGap && mark.begin > m_nReadPosition) {
            return static_cast<std::size_t>(mark.begin - m_nReadPosition);
        }
    }
    return m_nCount;
}

LiveBuffer::Result LiveBuffer::read(std::uint8_t *pBuffer, std::size_t size)
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [&] { return m_bInterrupted || m_bWake || m_nCount > 0; });
    if (m_bInterrupted) {
        return {Outcome::Interrupted};
    }
    if (m_bWake) {
        m_bWake = false;
        return {Outcome::Woken};
    }
    for (const Mark &mark : m_marks) {
        if (mark.afterGap && mark.begin <= m_nReadPosition) {
            m_nLatestGap = std::max(m_nLatestGap, mark.begin);
        }
    }
    const std::size_t count = std::min(size, readable());
    copyOut(pBuffer, count);
    m_nFirst = (m_nFirst + count) % m_ring.size();
    m_nCount -= count;
    m_nReadPosition += static_cast<std::int64_t>(count);
    forgetOldMarks();
    return {Outcome::Bytes, count};
}

void LiveBuffer::forgetOldMarks()
{
    while (m_marks.size() > 1 && m_marks[1].begin <= m_nReadPosition - kRememberedBytes) {
        m_marks.pop_front();
    }
}

LiveBuffer::Outcome LiveBuffer::peek(std::size_t known, std::size_t most, std::vector<std::uint8_t> &bytes)
{
    std::unique_lock lock(m_mutex);
    m_changed.wait(lock, [&] { return m_bInterrupted || m_bWake || m_nCount > known; });
    if (m_bInterrupted) {
        return Outcome::Interrupted;
    }
    if (m_bWake) {
        m_bWake = false;
        return Outcome::Woken;
    }
    bytes.resize(std::min(m_nCount, most));
    copyOut(bytes.data(), bytes.size());
    return Outcome::Bytes;
}

std::size_t LiveBuffer::available() const
{
    const std::lock_guard lock(m_mutex);
    return m_nCount;
}

std::int64_t LiveBuffer::readPosition() const
{
    const std::lock_guard lock(m_mutex);
    return m_nReadPosition;
}

LiveBuffer::Arrival LiveBuffer::arrivalOf(std::int64_t position) const
{
    const std::lock_guard lock(m_mutex);
    if (m_marks.empty()) {
        return {m_clock.now(), m_clock.utc()};
    }
    const auto after = std::upper_bound(m_marks.begin(), m_marks.end(), position,
                                        [](std::int64_t p, const Mark &mark) { return p < mark.begin; });
    return after == m_marks.begin() ? after->arrival : std::prev(after)->arrival;
}

std::int64_t LiveBuffer::latestGap() const
{
    const std::lock_guard lock(m_mutex);
    return m_nLatestGap;
}

} // namespace player
