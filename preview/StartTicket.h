#ifndef PREVIEW_STARTTICKET_H
#define PREVIEW_STARTTICKET_H

#include "preview/ReentrantMutex.h"

#include <mutex>
#include <optional>

namespace pellora
{

/**
 * What the start of a preview and its owner share, so that the device that comes back meets exactly one of them:
 * the owner, or, when the owner has given up, whoever carries the start out.
 *
 * Threads: the owner's and the one that carries the start out.
 * Owns:    nothing; both sides hold it by a shared pointer, since either may go first.
 * Locks:   its own. It is held while the result is handed over, which therefore must only queue it; a slot that is
 *          called there and then may come back in on the same thread.
 */
class StartTicket
{
public:
    StartTicket() = default;
    StartTicket(const StartTicket &) = delete;
    StartTicket &operator=(const StartTicket &) = delete;

    /** Carrier: false when the owner gave up before the start was made. Then there is nothing to start any more. */
    [[nodiscard]] bool begin();

    /**
     * Carrier: the start came back. Hands the handle to `deliver`, or answers false when the owner has given up: then
     * the caller stops what it started.
     */
    template <typename Deliver>
    [[nodiscard]] bool finish(long lPreviewHandel, Deliver deliver)
    {
        const std::lock_guard<ReentrantMutex> lock(m_mutex);
        if (m_bAbandoned) {
            return false;
        }
        m_result = lPreviewHandel;
        deliver(lPreviewHandel);
        return true;
    }

    /** The handle once the start has come back. */
    [[nodiscard]] std::optional<long> result() const;

    /** Owner: waits until a result that is being handed over on another thread has been queued. */
    void awaitDelivery() const;

    /**
     * Owner: gives up. The handle when the start had come back already: then the owner stops the preview. None: the
     * carrier will, and nothing is delivered any more.
     */
    std::optional<long> abandon();

private:
    // Guarded by m_mutex.
    mutable ReentrantMutex m_mutex;
    bool m_bAbandoned = false;
    std::optional<long> m_result;
};

} // namespace pellora

#endif
