#ifndef THREADPOOL_THREADPOOL_H
#define THREADPOOL_THREADPOOL_H

#include "threadpool/PoolExport.h"
#include "threadpool/SyncQueue.h"
#include "threadpool/ThreadTask.h"

#include <atomic>
#include <list>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace publicdatacontroller
{

/**
 * A fixed number of worker threads that run tasks from one queue, oldest first.
 *
 * Threads: tasks are added from any thread, in parallel; stopped and destroyed on a thread that is not a worker.
 * Owns:    its threads, and each task from AddTask on until it has run, unless the task said donotDelete(). Tasks that
 *          are still queued when the pool stops, or come later, are neither run nor deleted.
 * Errors:  none. Adding waits while 10000 tasks are queued. docs/compatibility.md: pool-forgets-at-stop, and a null
 *          task ends the worker that takes it (pool-null-task).
 */
class PELLORA_POOL_API ThreadPool
{
public:
    /** As many workers as the machine runs threads at once. */
    ThreadPool();
    /** With 0 or less there is no worker: tasks are queued and never run. */
    explicit ThreadPool(int numThreads);
    ~ThreadPool();
    ThreadPool(const ThreadPool &) = delete;
    ThreadPool &operator=(const ThreadPool &) = delete;

    void AddTask(ThreadTask *&&task);
    void AddTask(ThreadTask *const &task);
    void AddTaskList(const std::vector<ThreadTask *> &tasks);

    /** For good. Waits for the tasks that are running; only the first call has an effect. */
    void Stop();

private:
    void Start(int numThreads);
    void RunInThread();
    void StopThreadGroup();

    std::list<std::shared_ptr<std::thread>> m_threadgroup;
    SyncQueue<ThreadTask *> m_queue;
    std::atomic<bool> m_running;
    std::once_flag m_flag;
};

} // namespace publicdatacontroller

#endif
