#include "VideoWindow/TakeStreamMgr.h"

#include "VideoWindow/StopTakeStreamTask.h"
#include "VideoWindow/TakeStreamTask.h"
#include "logging/Log.h"
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
    std::list<ThreadTask *> waiting;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        waiting.swap(m_waiting);
    }
    for (ThreadTask *pTask : waiting) {
        settle(pTask);
    }
}

void TakeStreamMgr::settle(ThreadTask *pTask)
{
    if (auto *pStart = dynamic_cast<TakeStreamTask *>(pTask)) {
        pStart->settle();
        return;
    }
    const bool bOwned = pTask->needDelete();
    pTask->run();
    if (bOwned) {
        delete pTask;
    }
}

bool TakeStreamMgr::addTask(ThreadTask *pTask)
{
    if (m_pThreadPool == nullptr) {
        return false;
    }
    // Only these say when they begin.
    if (dynamic_cast<TakeStreamTask *>(pTask) != nullptr || dynamic_cast<StopTakeStreamTask *>(pTask) != nullptr) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_waiting.push_back(pTask);
    }
    // Without the lock: it waits while the queue is full, and tasks that begin take the lock.
    m_pThreadPool->AddTask(pTask);
    return true;
}

void TakeStreamMgr::taken(ThreadTask *pTask)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_waiting.remove(pTask);
}

} // namespace pellora
