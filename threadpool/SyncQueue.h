#ifndef THREADPOOL_SYNCQUEUE_H
#define THREADPOOL_SYNCQUEUE_H

#include "threadpool/PoolLog.h"

#include <condition_variable>
#include <iostream>
#include <list>
#include <mutex>
#include <sstream>
#include <thread>
#include <utility>
#include <vector>

namespace publicdatacontroller
{

/**
 * A bounded queue between threads: putters wait while it is full, takers while it is empty.
 *
 * Threads: any.
 * Owns:    its nodes, never what the items point to: an item that is dropped, or left when the queue ends, is not
 *          deleted.
 * Units:   the capacity is a number of items; a list put at once may exceed it.
 * Errors:  none; after Stop() nothing is added and nothing taken. Each wait is told on the standard output.
 */
template <typename T>
class SyncQueue
{
public:
    explicit SyncQueue(int maxSize) : m_maxSize(maxSize), m_needStop(false) {}
    SyncQueue(const SyncQueue &) = delete;
    SyncQueue &operator=(const SyncQueue &) = delete;

    void Put(const T &x)
    {
        Add(x);
    }

    void Put(T &&x)
    {
        Add(std::move(x));
    }

    void PutList(const std::vector<T> &list)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_notFull.wait(lock, [this] { return m_needStop || NotFull(); });
        if (m_needStop) {
            return;
        }
        // The capacity is tested once for the whole list, which stays together;
        // docs/compatibility.md: pool-list-overfills.
        m_queue.insert(m_queue.end(), list.begin(), list.end());
        m_notEmpty.notify_one();
    }

    /** Leaves `x` as it is when the queue was stopped. */
    void Take(T &x)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_notEmpty.wait(lock, [this] { return m_needStop || NotEmpty(); });
        if (m_needStop) {
            return;
        }
        x = m_queue.front();
        m_queue.pop_front();
        m_notFull.notify_one();
    }

    void Stop()
    {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_needStop = true;
        }
        m_notFull.notify_all();
        m_notEmpty.notify_all();
    }

private:
    template <typename Item>
    void Add(Item &&x)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_notFull.wait(lock, [this] { return m_needStop || NotFull(); });
        if (m_needStop) {
            return;
        }
        m_queue.push_back(std::forward<Item>(x));
        m_notEmpty.notify_one();
    }

    bool NotFull() const
    {
        const bool bFull = static_cast<int>(m_queue.size()) >= m_maxSize;
        if (bFull) {
            Tell("full, waiting");
            logSyncQueueFull();
        }
        return !bFull;
    }

    bool NotEmpty() const
    {
        const bool bEmpty = m_queue.empty();
        if (bEmpty) {
            Tell("empty,waiting");
        }
        return !bEmpty;
    }

    static void Tell(const char *pWhat) noexcept
    {
        // The comma is the full-width one of code page 936, whatever this file's encoding;
        // docs/compatibility.md: pool-console-lines.
        try {
            std::ostringstream line;
            line << pWhat << "\xA3\xAC"
                 << "thread id: " << std::this_thread::get_id() << '\n';
            std::cout << line.str() << std::flush;
        } catch (...) {
            // No memory for the text. A worker that waits, and the process with it, must not end for a line.
            return;
        }
    }

    // Guarded by m_mutex.
    std::list<T> m_queue;
    std::mutex m_mutex;
    std::condition_variable m_notEmpty;
    std::condition_variable m_notFull;
    int m_maxSize;
    bool m_needStop;
};

} // namespace publicdatacontroller

#endif
