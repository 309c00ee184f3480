#ifndef THREADPOOL_POOLLOG_H
#define THREADPOOL_POOLLOG_H

namespace publicdatacontroller
{

// The pool's log lines, defined in one file, which alone knows the process's logger: the rest of the pool builds where
// that logger does not.

/** "SyncQueue is full." at info level. */
void logSyncQueueFull() noexcept;

/** A task's run() threw; error level. */
void logTaskThrew() noexcept;

} // namespace publicdatacontroller

#endif
