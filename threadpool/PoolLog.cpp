#include "threadpool/PoolLog.h"

#include "logging/Log.h"

namespace publicdatacontroller
{

void logSyncQueueFull() noexcept
{
    static constexpr pellora::LogLocation location = {
        "threadpool\\SyncQueue",
        "bool __cdecl publicdatacontroller::SyncQueue<class publicdatacontroller::ThreadTask *>::NotFull(void)",
        __LINE__};
    pellora::writeLog(pellora::LogLevel::Info, location, "SyncQueue is full.");
}

void logTaskThrew() noexcept
{
    static constexpr pellora::LogLocation location = {
        "threadpool\\ThreadPool", "void __cdecl publicdatacontroller::ThreadPool::RunInThread(void)", __LINE__};
    pellora::writeLog(pellora::LogLevel::Error, location, "ThreadTask::run threw an exception.");
}

} // namespace publicdatacontroller
