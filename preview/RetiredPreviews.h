#ifndef PREVIEW_RETIREDPREVIEWS_H
#define PREVIEW_RETIREDPREVIEWS_H

#include <deque>
#include <mutex>

namespace pellora
{

/**
 * Handles of previews whose stop is on its way. What the device still sends for one of them belongs to nobody.
 *
 * Threads: any.
 * Units:   at most kMost handles; when stops fail so often that there are more, the oldest are forgotten.
 * Locks:   its own, in which nothing else is taken.
 */
class RetiredPreviews
{
public:
    static constexpr std::size_t kMost = 4096;

    RetiredPreviews() = default;
    RetiredPreviews(const RetiredPreviews &) = delete;
    RetiredPreviews &operator=(const RetiredPreviews &) = delete;

    /** Those of the process: the device library hands out each handle once. Lives as long as the process. */
    [[nodiscard]] static RetiredPreviews &instance();

    void retire(long lPreviewHandel);
    /** The device library calls back for it no more. */
    void forget(long lPreviewHandel);
    [[nodiscard]] bool contains(long lPreviewHandel) const;

private:
    // Guarded by m_mutex. Oldest first.
    mutable std::mutex m_mutex;
    std::deque<long> m_handles;
};

} // namespace pellora

#endif
