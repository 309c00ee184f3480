#include "threadpool/PoolLog.h"

#include "logging/Log.h"

namespace publicdatacontroller
{

void logSyncQueueFull() noexcept
{
    pellora::logInfo(
        pellora::logAt(
            "threadpool\\SyncQueue",
            "bool __cdecl publicdatacontroller::SyncQueue<class publicdatacontroller::ThreadTask *>::NotFull(void)"),
        "SyncQueue is full.");
}

void logTaskThrew() noexcept
{
    pellora::logError(
        pellora::logAt("threadpool\\ThreadPool", "void __cdecl publicdatacontroller::ThreadPool::RunInThread(void)"),
        "ThreadTask::run threw an exception.");
}

} // namespace publicdatacontroller
