#ifndef DEVICE_CALLBACKWAITS_H
#define DEVICE_CALLBACKWAITS_H

#include <mutex>
#include <thread>

namespace selvik
{

/**
 * Which thread waits for which other one to come back from the host's callback.
 *
 * Callbacks may stop each other's previews: two that wait for each other, or more of them in a circle, would wait for
 * ever. Whoever would close such a circle does not wait.
 *
 * Threads: any. Allocates nothing, so that a stop cannot fail.
 */
class CallbackWaits
{
public:
    /** One wait of the calling thread, for as long as the object lives. */
    class Wait
    {
    public:
        Wait(CallbackWaits &waits, std::thread::id target)
            : m_waits(waits), m_waiter(std::this_thread::get_id()), m_target(target)
        {
            const std::lock_guard<std::mutex> lock(m_waits.m_mutex);
            m_bCircle = m_waits.leadsTo(m_target, m_waiter);
            m_pNext = m_waits.m_pFirst;
            m_waits.m_pFirst = this;
        }
        ~Wait()
        {
            const std::lock_guard<std::mutex> lock(m_waits.m_mutex);
            Wait **ppWait = &m_waits.m_pFirst;
            while (*ppWait != this) {
                ppWait = &(*ppWait)->m_pNext;
            }
            *ppWait = m_pNext;
        }
        Wait(const Wait &) = delete;
        Wait &operator=(const Wait &) = delete;

        /** The target waits, by itself or through others, for this thread; or it is this thread. */
        [[nodiscard]] bool isCircle() const
        {
            return m_bCircle;
        }

    private:
        friend class CallbackWaits;

        CallbackWaits &m_waits;
        const std::thread::id m_waiter;
        std::thread::id m_target; /**< none any more once it has left its callback */
        bool m_bCircle = false;
        Wait *m_pNext = nullptr;
    };

    CallbackWaits() = default;
    CallbackWaits(const CallbackWaits &) = delete;
    CallbackWaits &operator=(const CallbackWaits &) = delete;

    /** The calling thread has come back from the host: who waited for that is only about to notice. */
    void hasReturned()
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        for (Wait *pWait = m_pFirst; pWait != nullptr; pWait = pWait->m_pNext) {
            if (pWait->m_target == std::this_thread::get_id()) {
                pWait->m_target = {};
            }
        }
    }

private:
    /** Whether following the waits from `from` arrives at `to`. There is no circle among those that wait. */
    [[nodiscard]] bool leadsTo(std::thread::id from, std::thread::id to) const
    {
        while (from != to && from != std::thread::id()) {
            std::thread::id next;
            for (const Wait *pWait = m_pFirst; pWait != nullptr; pWait = pWait->m_pNext) {
                if (pWait->m_waiter == from && !pWait->m_bCircle) {
                    next = pWait->m_target;
                    break;
                }
            }
            from = next;
        }
        return from == to;
    }

    std::mutex m_mutex;
    Wait *m_pFirst = nullptr; /**< guarded by m_mutex */
};

} // namespace selvik

#endif
