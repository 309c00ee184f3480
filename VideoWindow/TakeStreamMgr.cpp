#include "VideoWindow/TakeStreamMgr.h"

#include "VideoWindow/StopTakeStreamTask.h"
#include "logging/Log.h"
#include "preview/PreviewStart.h"
#include "threadpool/ThreadPool.h"

using publicdatacontroller::ThreadPool;
using publicdatacontroller::ThreadTask;

namespace pellora
{

namespace
{

constexpr int kThreads = 2;

} // namespace

TakeStreamMgr *TakeStreamMgr::getInstance()
{
    // Never destroyed: while the process ends its threads are gone already, and joining them would hang it.
    static auto *const pInstance = new TakeStreamMgr;
    return pInstance;
}

TakeStreamMgr::TakeStreamMgr()
{
    logInfo(logAt("VideoWindow\\TakeStreamMgr", "__cdecl pellora::TakeStreamMgr::TakeStreamMgr(void)"),
            "TakeStreamMgr: %p", this);
}

void TakeStreamMgr::startThreadPool()
{
    if (m_pThreadPool == nullptr) {
        m_pThreadPool = std::make_unique<ThreadPool>(kThreads);
    }
}

void TakeStreamMgr::stopThreadPool()
{
    m_pThreadPool.reset();
    std::list<PreviewWork *> waiting;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        waiting.swap(m_waiting);
    }
    for (PreviewWork *pWork : waiting) {
        pWork->settle();
    }
}

bool TakeStreamMgr::addTask(ThreadTask *pTask, PreviewWork *pWork)
{
    if (m_pThreadPool == nullptr) {
        return false;
    }
    if (pWork != nullptr) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_waiting.push_back(pWork);
    }
    // Without the lock: it waits while the queue is full, and tasks that begin take the lock.
    try {
        m_pThreadPool->AddTask(pTask);
    } catch (...) {
        taken(pWork);
        throw;
    }
    return true;
}

void TakeStreamMgr::queueStart(PreviewStart &start)
{
    // Before, since it may come back before addTask() does.
    start.setQueued(m_pThreadPool != nullptr);
    try {
        addTask(&start.task(), &start);
    } catch (...) {
        start.setQueued(false);
        throw;
    }
}

void TakeStreamMgr::queueStop(long lPreviewHandel)
{
    auto pTask = std::make_unique<StopTakeStreamTask>(lPreviewHandel);
    if (addTask(pTask.get(), pTask.get())) {
        // The pool's now, and perhaps gone already.
        static_cast<void>(pTask.release());
    } else {
        // Without a pool nobody else would ever stop it.
        pTask->run();
    }
}

void TakeStreamMgr::taken(PreviewWork *pWork)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_waiting.remove(pWork);
}

} // namespace pellora
