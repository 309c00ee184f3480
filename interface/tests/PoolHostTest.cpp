// The worker pool as a host uses it: through the classes that the library exports.
#include "threadpool/ThreadPool.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <future>

using publicdatacontroller::ThreadPool;
using publicdatacontroller::ThreadTask;

namespace
{

/** Derived in the host, run by the library. */
class HostTask : public ThreadTask
{
public:
    HostTask(std::promise<unsigned long> &ran, std::atomic<int> &nAlive) : m_ran(ran), m_nAlive(nAlive)
    {
        ++m_nAlive;
    }
    ~HostTask() override
    {
        --m_nAlive;
    }

    void run() override
    {
        m_ran.set_value(GetCurrentThreadId());
    }

private:
    std::promise<unsigned long> &m_ran;
    std::atomic<int> &m_nAlive;
};

TEST(PoolHostTest, RunsATaskOfTheHostsOnAThreadOfThePool)
{
    std::atomic<int> nAlive{0};
    std::promise<unsigned long> ran;
    std::future<unsigned long> thread = ran.get_future();
    {
        ThreadPool pool(2);
        pool.AddTask(new HostTask(ran, nAlive));
        ASSERT_EQ(thread.wait_for(std::chrono::seconds(20)), std::future_status::ready);
    }
    EXPECT_NE(thread.get(), GetCurrentThreadId());
    EXPECT_EQ(nAlive, 0) << "the pool deletes a task that is its own";
}

TEST(PoolHostTest, LeavesATaskToAHostThatKeepsIt)
{
    std::atomic<int> nAlive{0};
    std::promise<unsigned long> ran;
    std::future<unsigned long> thread = ran.get_future();
    HostTask task(ran, nAlive);
    task.donotDelete();
    EXPECT_FALSE(task.needDelete());
    {
        ThreadPool pool;
        pool.AddTaskList({&task});
        ASSERT_EQ(thread.wait_for(std::chrono::seconds(20)), std::future_status::ready);
        pool.Stop();
    }
    EXPECT_EQ(nAlive, 1);
}

} // namespace
