#ifndef VIDEOWINDOW_QUEUEDNOTICES_H
#define VIDEOWINDOW_QUEUEDNOTICES_H

#include <atomic>

namespace pellora
{

/**
 * Tells the notices of the source that plays from those of one that was stopped while they were queued.
 *
 * Notices of one kind arrive in the order in which they were sent, so that counting gives each its generation.
 * Threads: sent from any thread, all others on the GUI thread.
 */
class QueuedNotices
{
public:
    QueuedNotices() = default;
    QueuedNotices(const QueuedNotices &) = delete;
    QueuedNotices &operator=(const QueuedNotices &) = delete;

    /** Before the notice is queued. */
    void sent();
    /** For each notice that arrives; false when its source is gone. */
    [[nodiscard]] bool received();
    /** The source is gone and sends nothing more: whatever is under way is its own. */
    void beginGeneration();
    /** The number of the source that plays; changes with each beginGeneration. */
    [[nodiscard]] unsigned int generation() const;

private:
    std::atomic<int> m_nUnderWay{0};

    // GUI thread.
    int m_nOutdated = 0;
    unsigned int m_nGeneration = 0;
};

} // namespace pellora

#endif
