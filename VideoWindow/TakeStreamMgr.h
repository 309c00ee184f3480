#ifndef VIDEOWINDOW_TAKESTREAMMGR_H
#define VIDEOWINDOW_TAKESTREAMMGR_H

#include "preview/PreviewWork.h"

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
 * Threads: the pool is started, stopped and given work on the GUI thread; taken() is the tasks' own, on any.
 * Owns:    the pool. A task that says needDelete() is the pool's once it has been added; the others stay their
 *          creator's.
 * Locks:   m_mutex, in which nothing else is taken.
 */
class TakeStreamMgr final : public PreviewWorkers
{
public:
    /** The process's; made on first use, on any thread. It lives until the process ends. */
    [[nodiscard]] static TakeStreamMgr *getInstance();

    void startThreadPool();
    /** Waits for the tasks that run. Work that has not begun is settled here, in its order. */
    void stopThreadPool();
    /**
     * False without a pool: then the task is neither run nor deleted, and stays the caller's. `pWork`: what is settled
     * when the pool ends before the task has begun, and calls taken() when it begins; null for a task that may be lost.
     * Where memory runs out it throws, and the task stays the caller's.
     */
    bool addTask(publicdatacontroller::ThreadTask *pTask, PreviewWork *pWork = nullptr);

    void queueStart(PreviewStart &start) override;
    void queueStop(long lPreviewHandel) override;

    /** The work begins to run. */
    void taken(PreviewWork *pWork);

private:
    TakeStreamMgr();
    ~TakeStreamMgr() = default;

    // GUI thread.
    std::unique_ptr<publicdatacontroller::ThreadPool> m_pThreadPool;

    // Guarded by m_mutex.
    std::mutex m_mutex;
    /** What the pool has not begun, oldest first. */
    std::list<PreviewWork *> m_waiting;
};

} // namespace pellora

#endif
