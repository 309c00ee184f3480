#ifndef PREVIEW_REENTRANTMUTEX_H
#define PREVIEW_REENTRANTMUTEX_H

#include <atomic>
#include <cstddef>
#include <mutex>
#include <thread>

namespace pellora
{

/**
 * A mutex that the thread which holds it may lock again.
 *
 * In place of std::recursive_mutex, which has no destructor with GCC 12 for Windows: of each one that two threads
 * wanted at the same time an event of the system stays, and some bytes of each one at all. std::mutex has one.
 *
 * Threads: any. Errors: as std::mutex.
 */
class ReentrantMutex
{
public:
    void lock()
    {
        const std::thread::id self = std::this_thread::get_id();
        // Nobody else writes this thread's own name there.
        if (m_owner.load(std::memory_order_relaxed) != self) {
            m_mutex.lock();
            m_owner.store(self, std::memory_order_relaxed);
        }
        ++m_nDepth;
    }
    void unlock()
    {
        if (--m_nDepth == 0) {
            m_owner.store(std::thread::id(), std::memory_order_relaxed);
            m_mutex.unlock();
        }
    }

private:
    std::mutex m_mutex;
    std::atomic<std::thread::id> m_owner{std::thread::id()};
    std::size_t m_nDepth = 0; // guarded by m_mutex
};

} // namespace pellora

#endif
