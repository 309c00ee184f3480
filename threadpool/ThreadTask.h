#ifndef THREADPOOL_THREADTASK_H
#define THREADPOOL_THREADTASK_H

#include "threadpool/PoolExport.h"

namespace publicdatacontroller
{

/**
 * One piece of work for a ThreadPool.
 *
 * Threads: made on any thread, run on one of the pool's. donotDelete() is called before the task is handed over, or
 *          from inside its run().
 * Owns:    itself, once handed over: the pool deletes it after run(), unless donotDelete() was called. Then it stays
 *          its creator's, who may delete it as soon as the result of run() is there.
 * Errors:  what run() throws is logged by the pool and goes no further.
 */
class PELLORA_POOL_API ThreadTask
{
public:
    ThreadTask();
    // The order of the virtual functions is part of the exported interface: destructor, then run().
    virtual ~ThreadTask();
    virtual void run() = 0;

    ThreadTask(const ThreadTask &) = delete;
    ThreadTask &operator=(const ThreadTask &) = delete;

    [[nodiscard]] bool needDelete();
    /** There is no way back. */
    void donotDelete();

private:
    bool m_bNeedDelete;
};

} // namespace publicdatacontroller

#endif
