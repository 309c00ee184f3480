#include "threadpool/ThreadPool.h"

#include "threadpool/PoolLog.h"

#include <utility>

namespace publicdatacontroller
{

namespace
{

constexpr int kMaxQueuedTasks = 10000;

/** Runs one task and deletes it if it is the pool's. */
void runTask(ThreadTask *pTask)
{
    // Asked before: the owner of a task may delete it as soon as its result is there, even before run() has returned.
    const bool bOwned = pTask->needDelete();
    try {
        pTask->run();
    } catch (...) {
        logTaskThrew();
    }
    // Asked again: a task may have found out in run() that somebody else keeps it.
    if (bOwned && pTask->needDelete()) {
        delete pTask;
    }
}

} // namespace

ThreadPool::ThreadPool() : ThreadPool(static_cast<int>(std::thread::hardware_concurrency())) {}

ThreadPool::ThreadPool(int numThreads) : m_queue(kMaxQueuedTasks), m_running(false)
{
    Start(numThreads);
}

ThreadPool::~ThreadPool()
{
    Stop();
}

void ThreadPool::AddTask(ThreadTask *&&task)
{
    m_queue.Put(task);
}

void ThreadPool::AddTask(ThreadTask *const &task)
{
    m_queue.Put(task);
}

void ThreadPool::AddTaskList(const std::vector<ThreadTask *> &tasks)
{
    m_queue.PutList(tasks);
}

void ThreadPool::Stop()
{
    std::call_once(m_flag, [this] { StopThreadGroup(); });
}

void ThreadPool::Start(int numThreads)
{
    m_running = true;
    try {
        for (int i = 0; i < numThreads; ++i) {
            m_threadgroup.push_back(std::make_shared<std::thread>(&ThreadPool::RunInThread, this));
        }
    } catch (...) {
        // Threads that did start must not outlive a pool that never came to be.
        Stop();
        throw;
    }
}

void ThreadPool::RunInThread()
{
    while (m_running) {
        ThreadTask *pTask = nullptr;
        m_queue.Take(pTask);
        // Null: the queue was stopped, or somebody queued a null task, which retires this worker.
        if (!m_running || pTask == nullptr) {
            return;
        }
        runTask(pTask);
    }
}

void ThreadPool::StopThreadGroup()
{
    m_queue.Stop();
    m_running = false;
    for (const std::shared_ptr<std::thread> &pThread : m_threadgroup) {
        if (pThread->joinable()) {
            pThread->join();
        }
    }
    m_threadgroup.clear();
}

} // namespace publicdatacontroller
