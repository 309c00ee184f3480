#ifndef VIDEOWINDOW_TAKESTREAMMGR_H
#define VIDEOWINDOW_TAKESTREAMMGR_H

#include <list>
#include <memory>
#include <mutex>

namespace publicdatacontroller
{
class ThreadPool;
class ThreadTask;
} // namespace publicdatacontroller

namespace pellora
{

/**
 * The pool on which previews are started and stopped, so that the GUI thread never waits for a device.
 *
 * Threads: the pool is started, stopped and given tasks on the GUI thread; taken() is the tasks' own, on any.
 * Owns:    the pool. Tasks belong to the pool or to their creator, as they say.
 * Locks:   m_mutex, in which nothing else is taken.
 */
class TakeStreamMgr
{
public:
    /** The process's; made on first use, on any thread. It lives until the process ends. */
    [[nodiscard]] static TakeStreamMgr *getInstance();
    ~TakeStreamMgr() = delete;
    TakeStreamMgr(const TakeStreamMgr &) = delete;
    TakeStreamMgr &operator=(const TakeStreamMgr &) = delete;

    void startThreadPool();
    /**
     * Waits for the tasks that run. Of those that have not begun, starts are answered with -1 and stops are carried
     * out here.
     */
    void stopThreadPool();
    /** False without a pool: then the task is neither run nor deleted, and stays the caller's. */
    bool addTask(publicdatacontroller::ThreadTask *pTask);

    /** A start or stop task begins to run. */
    void taken(publicdatacontroller::ThreadTask *pTask);

private:
    TakeStreamMgr();

    void settle(publicdatacontroller::ThreadTask *pTask);

    // GUI thread.
    std::unique_ptr<publicdatacontroller::ThreadPool> m_pThreadPool;

    // Guarded by m_mutex.
    std::mutex m_mutex;
    /** Starts and stops that the pool has not begun, oldest first. */
    std::list<publicdatacontroller::ThreadTask *> m_waiting;
};

} // namespace pellora

#endif
