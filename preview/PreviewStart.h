#ifndef PREVIEW_PREVIEWSTART_H
#define PREVIEW_PREVIEWSTART_H

#include "Selvikdcm.h"
#include "preview/LivePanes.h"
#include "preview/PreviewWork.h"
#include "preview/StartTicket.h"

#include <memory>
#include <optional>

namespace publicdatacontroller
{
class ThreadTask;
} // namespace publicdatacontroller

namespace pellora
{

/**
 * One start of a preview that the pool carries out for a pane; the pool's task derives from it.
 *
 * Who deletes it, and who stops the device: Release, and nobody else. The pane owns the start by an Owned pointer. When
 * the pane lets go of it
 *   - before the pool has taken it, or after the result has come, it is deleted there and then; a device whose handle
 *     nobody has taken is stopped;
 *   - otherwise the thread that carries it out stops the device that comes back, and deletes the start at its end.
 *
 * Threads: made and let go on the GUI thread; carried out on a thread of the pool; settled on the GUI thread when the
 *          pool has ended.
 * Owns:    a copy of the request and of the address. 255 characters of an address are kept; a longer one is never
 *          tried, since another camera might answer to its beginning.
 * Errors:  a failed start is a negative handle and a line in the log.
 */
class PreviewStart : public PreviewWork
{
public:
    struct Release {
        void operator()(PreviewStart *pStart) const noexcept;
    };
    using Owned = std::unique_ptr<PreviewStart, Release>;

    PreviewStart(long lUserID, const SELVIK_DCM_PREVIEW_INFO &request);
    /** Waits until a result that is being handed over on another thread has been queued. */
    ~PreviewStart() override;
    PreviewStart(const PreviewStart &) = delete;
    PreviewStart &operator=(const PreviewStart &) = delete;

    /** Before the pool gets it; afterwards it may be carried out at any time. */
    void setQueued(bool bQueued);
    [[nodiscard]] bool isQueued() const;

    /** The handle once the start has come back; from then on it is the caller's to stop. */
    [[nodiscard]] std::optional<long> takeResult();

    /** What the pool runs. */
    [[nodiscard]] virtual publicdatacontroller::ThreadTask &task() = 0;
    /** On the pool's thread. The start may be gone when it returns. */
    void carryOut();
    /** The pool has ended before it began: the owner gets -1, or the start is deleted. */
    void settle() override;

protected:
    /** Queues the result for the owner. Called once, under the ticket's lock. */
    virtual void deliver(long lPreviewHandel) = 0;

private:
    [[nodiscard]] long start() const;
    bool finish(StartTicket &ticket, long lPreviewHandel);
    void endUnclaimed();

    long m_lUserID;
    SELVIK_DCM_PREVIEW_INFO m_struPreviewInfo;
    char m_szUrl[256];
    bool m_bUrlCut = false;
    // GUI thread.
    bool m_bQueued = false;
    bool m_bTaken = false;
    /** Counts the start once nobody claims it; made beforehand. */
    LivePanes::UnclaimedStart m_unclaimed;
    /** Shared with carryOut(), which must not look into the start once the result is out. */
    std::shared_ptr<StartTicket> m_pTicket;
};

} // namespace pellora

#endif
