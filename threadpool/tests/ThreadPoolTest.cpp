#include "threadpool/ThreadPool.h"

#include "threadpool/tests/PoolLogDouble.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <future>
#include <random>
#include <set>
#include <stdexcept>

namespace publicdatacontroller
{
namespace
{

constexpr auto kPatience = std::chrono::seconds(20);

/** What became of a test's tasks. */
struct Fate {
    std::atomic<int> runs{0};
    std::atomic<int> deletions{0};
};

/** Runs what it is given and counts its runs and its end. */
class CountedTask : public ThreadTask
{
public:
    explicit CountedTask(Fate &fate, std::function<void(CountedTask &)> work = {})
        : m_fate(fate), m_work(std::move(work))
    {
    }
    ~CountedTask() override
    {
        ++m_fate.deletions;
    }

    void run() override
    {
        ++m_fate.runs;
        if (m_work) {
            m_work(*this);
        }
    }

private:
    Fate &m_fate;
    std::function<void(CountedTask &)> m_work;
};

bool waitFor(const std::function<bool()> &condition)
{
    const auto deadline = std::chrono::steady_clock::now() + kPatience;
    while (!condition()) {
        if (std::chrono::steady_clock::now() > deadline) {
            return false;
        }
        std::this_thread::yield();
    }
    return true;
}

/** Holds workers until it is opened. */
class Gate
{
public:
    void wait() const
    {
        m_opened.wait();
    }
    void open()
    {
        m_open.set_value();
    }

private:
    std::promise<void> m_open;
    std::shared_future<void> m_opened = m_open.get_future().share();
};

class ThreadPoolTest : public testing::Test
{
protected:
    CaughtOutput m_output;
    int m_nFullBefore = poolLogCounts().full;
    int m_nThrewBefore = poolLogCounts().threw;
    Fate m_fate;
};

TEST_F(ThreadPoolTest, RunsATaskOnceAndDeletesIt)
{
    ThreadPool pool(2);
    pool.AddTask(new CountedTask(m_fate));
    ThreadTask *const pTask = new CountedTask(m_fate);
    pool.AddTask(pTask);
    EXPECT_TRUE(waitFor([this] { return m_fate.deletions == 2; }));
    pool.Stop();
    EXPECT_EQ(m_fate.runs, 2);
    EXPECT_EQ(m_fate.deletions, 2);
}

TEST_F(ThreadPoolTest, ANewTaskBelongsToThePoolUntilToldOtherwise)
{
    CountedTask task(m_fate);
    EXPECT_TRUE(task.needDelete());
    task.donotDelete();
    EXPECT_FALSE(task.needDelete());
    task.donotDelete();
    EXPECT_FALSE(task.needDelete());
}

TEST_F(ThreadPoolTest, LeavesATaskOfAnotherOwnerAlone)
{
    CountedTask task(m_fate);
    task.donotDelete();
    {
        ThreadPool pool(1);
        pool.AddTask(&task);
        EXPECT_TRUE(waitFor([this] { return m_fate.runs == 1; }));
    }
    EXPECT_EQ(m_fate.deletions, 0);
    EXPECT_FALSE(task.needDelete());
}

TEST_F(ThreadPoolTest, AnOwnerMayDeleteItsTaskFromInsideRun)
{
    // The sanitizers see a touch of the task after its end.
    ThreadPool pool(2);
    for (int i = 0; i < 100; ++i) {
        auto *pTask = new CountedTask(m_fate, [](CountedTask &task) { delete &task; });
        pTask->donotDelete();
        pool.AddTask(pTask);
    }
    EXPECT_TRUE(waitFor([this] { return m_fate.deletions == 100; }));
    pool.Stop();
    EXPECT_EQ(m_fate.deletions, 100);
}

TEST_F(ThreadPoolTest, ATaskMayKeepItselfWhileItRuns)
{
    std::atomic<CountedTask *> pKept{nullptr};
    {
        ThreadPool pool(1);
        pool.AddTask(new CountedTask(m_fate, [&pKept](CountedTask &task) {
            task.donotDelete();
            pKept = &task;
        }));
        EXPECT_TRUE(waitFor([&pKept] { return pKept != nullptr; }));
    }
    EXPECT_EQ(m_fate.deletions, 0);
    delete pKept.load();
    EXPECT_EQ(m_fate.deletions, 1);
}

TEST_F(ThreadPoolTest, OneWorkerRunsTasksInTheirOrder)
{
    std::vector<int> order;
    {
        ThreadPool pool(1);
        std::vector<ThreadTask *> tasks;
        for (int i = 0; i < 50; ++i) {
            tasks.push_back(new CountedTask(m_fate, [&order, i](CountedTask &) { order.push_back(i); }));
        }
        pool.AddTaskList(tasks);
        EXPECT_TRUE(waitFor([this] { return m_fate.deletions == 50; }));
    }
    ASSERT_EQ(order.size(), 50U);
    for (int i = 0; i < 50; ++i) {
        EXPECT_EQ(order[static_cast<std::size_t>(i)], i);
    }
}

TEST_F(ThreadPoolTest, TasksRunInParallel)
{
    Gate gate;
    ThreadPool pool(3);
    for (int i = 0; i < 3; ++i) {
        pool.AddTask(new CountedTask(m_fate, [&gate](CountedTask &) { gate.wait(); }));
    }
    EXPECT_TRUE(waitFor([this] { return m_fate.runs == 3; }));
    gate.open();
    pool.Stop();
    EXPECT_EQ(m_fate.deletions, 3);
}

TEST_F(ThreadPoolTest, TheDefaultIsOneWorkerForEachHardwareThread)
{
    const int nExpected = static_cast<int>(std::thread::hardware_concurrency());
    ASSERT_GT(nExpected, 0);
    Gate gate;
    ThreadPool pool;
    for (int i = 0; i < nExpected + 1; ++i) {
        pool.AddTask(new CountedTask(m_fate, [&gate](CountedTask &) { gate.wait(); }));
    }
    EXPECT_TRUE(waitFor([this, nExpected] { return m_fate.runs == nExpected; }));
    EXPECT_EQ(m_fate.runs, nExpected);
    gate.open();
    EXPECT_TRUE(waitFor([this, nExpected] { return m_fate.deletions == nExpected + 1; }));
}

class WorkerlessPool : public ThreadPoolTest, public testing::WithParamInterface<int>
{
};

TEST_P(WorkerlessPool, QueuesTasksAndNeverRunsThem)
{
    CountedTask task(m_fate);
    {
        ThreadPool pool(GetParam());
        pool.AddTask(&task);
    }
    EXPECT_EQ(m_fate.runs, 0);
    EXPECT_EQ(m_fate.deletions, 0);
    EXPECT_EQ(m_output.text(), "");
}

INSTANTIATE_TEST_SUITE_P(Counts, WorkerlessPool, testing::Values(0, -1));

TEST_F(ThreadPoolTest, WithTenThousandTasksQueuedAddingWaitsForAWorker)
{
    Gate gate;
    ThreadPool pool(1);
    pool.AddTask(new CountedTask(m_fate, [&gate](CountedTask &) { gate.wait(); }));
    ASSERT_TRUE(waitFor([this] { return m_fate.runs == 1; }));
    for (int i = 0; i < 10000; ++i) {
        pool.AddTask(new CountedTask(m_fate));
    }
    EXPECT_EQ(poolLogCounts().full, m_nFullBefore);

    std::atomic<bool> bAdded{false};
    std::thread producer([&] {
        pool.AddTask(new CountedTask(m_fate));
        bAdded = true;
    });
    ASSERT_TRUE(waitFor([this] { return poolLogCounts().full > m_nFullBefore; }));
    EXPECT_FALSE(bAdded);
    gate.open();
    producer.join();
    EXPECT_TRUE(waitFor([this] { return m_fate.deletions == 10002; }));
    pool.Stop();
    EXPECT_EQ(occurrences(m_output.text(), "full, waiting\xA3\xAC"
                                           "thread id: "),
              poolLogCounts().full - m_nFullBefore);
}

TEST_F(ThreadPoolTest, AListIsAddedWholeToAnAlmostFullQueue)
{
    Gate gate;
    ThreadPool pool(1);
    pool.AddTask(new CountedTask(m_fate, [&gate](CountedTask &) { gate.wait(); }));
    ASSERT_TRUE(waitFor([this] { return m_fate.runs == 1; }));
    for (int i = 0; i < 9999; ++i) {
        pool.AddTask(new CountedTask(m_fate));
    }
    std::vector<ThreadTask *> tasks;
    for (int i = 0; i < 5; ++i) {
        tasks.push_back(new CountedTask(m_fate));
    }
    pool.AddTaskList(tasks);
    EXPECT_EQ(poolLogCounts().full, m_nFullBefore);
    gate.open();
    EXPECT_TRUE(waitFor([this] { return m_fate.deletions == 10005; }));
}

TEST_F(ThreadPoolTest, StopReleasesAProducerWhoseTaskIsNeitherQueuedNorDeleted)
{
    // Without a worker the queue stays full.
    std::vector<std::unique_ptr<CountedTask>> queued;
    CountedTask late(m_fate);
    {
        ThreadPool pool(0);
        for (int i = 0; i < 10000; ++i) {
            queued.push_back(std::make_unique<CountedTask>(m_fate));
            pool.AddTask(queued.back().get());
        }
        std::thread producer([&] { pool.AddTask(&late); });
        EXPECT_TRUE(waitFor([this] { return poolLogCounts().full > m_nFullBefore; }));
        pool.Stop();
        producer.join();
    }
    EXPECT_EQ(m_fate.runs, 0);
    EXPECT_EQ(m_fate.deletions, 0);
}

TEST_F(ThreadPoolTest, StopWaitsForARunningTaskAndDropsTheQueuedOnes)
{
    Gate gate;
    CountedTask queued(m_fate);
    ThreadPool pool(1);
    pool.AddTask(new CountedTask(m_fate, [&gate](CountedTask &) { gate.wait(); }));
    ASSERT_TRUE(waitFor([this] { return m_fate.runs == 1; }));
    pool.AddTask(&queued);
    std::future<void> stopped = std::async(std::launch::async, [&pool] { pool.Stop(); });
    EXPECT_EQ(stopped.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    gate.open();
    stopped.get();
    EXPECT_EQ(m_fate.runs, 1);
    EXPECT_EQ(m_fate.deletions, 1);
}

TEST_F(ThreadPoolTest, ATaskAddedAfterTheStopIsDropped)
{
    CountedTask task(m_fate);
    ThreadPool pool(1);
    pool.Stop();
    pool.AddTask(&task);
    pool.AddTaskList({&task});
    pool.Stop();
    EXPECT_EQ(m_fate.runs, 0);
    EXPECT_EQ(m_fate.deletions, 0);
}

TEST_F(ThreadPoolTest, StoppingTwiceAlsoFromTwoThreadsIsHarmless)
{
    ThreadPool pool(2);
    std::thread other([&pool] { pool.Stop(); });
    pool.Stop();
    other.join();
    pool.Stop();
}

TEST_F(ThreadPoolTest, ANullTaskRetiresOneWorker)
{
    std::set<std::thread::id> workers;
    std::mutex mutex;
    ThreadPool pool(2);
    pool.AddTask(nullptr);
    for (int i = 0; i < 50; ++i) {
        pool.AddTask(new CountedTask(m_fate, [&](CountedTask &) {
            const std::lock_guard<std::mutex> lock(mutex);
            workers.insert(std::this_thread::get_id());
        }));
    }
    EXPECT_TRUE(waitFor([this] { return m_fate.deletions == 50; }));
    pool.Stop();
    EXPECT_EQ(workers.size(), 1U);
}

TEST_F(ThreadPoolTest, ATaskThatThrowsIsLoggedDeletedAndLeavesItsWorker)
{
    ThreadPool pool(1);
    pool.AddTask(new CountedTask(m_fate, [](CountedTask &) { throw std::runtime_error("work failed"); }));
    pool.AddTask(new CountedTask(m_fate));
    EXPECT_TRUE(waitFor([this] { return m_fate.deletions == 2; }));
    EXPECT_EQ(poolLogCounts().threw - m_nThrewBefore, 1);
}

TEST_F(ThreadPoolTest, AnIdleWorkerTellsEachTimeThatItWaits)
{
    {
        ThreadPool pool(1);
        EXPECT_TRUE(waitFor([this] { return m_output.lines() == 1; }));
        pool.AddTask(new CountedTask(m_fate));
        EXPECT_TRUE(waitFor([this] { return m_output.lines() == 2; }));
    }
    EXPECT_EQ(occurrences(m_output.text(), "empty,waiting\xA3\xAC"
                                           "thread id: "),
              2);
}

TEST_F(ThreadPoolTest, RacingProducersAndAStopLeaveEachTaskRunOrDropped)
{
    std::mt19937 random(20240);
    for (int nRound = 0; nRound < 50; ++nRound) {
        Fate fate;
        std::vector<std::unique_ptr<CountedTask>> tasks;
        for (int i = 0; i < 60; ++i) {
            tasks.push_back(std::make_unique<CountedTask>(fate));
            tasks.back()->donotDelete();
        }
        ThreadPool pool(2);
        std::vector<std::thread> producers;
        for (std::size_t nProducer = 0; nProducer < 3; ++nProducer) {
            producers.emplace_back([&tasks, &pool, nProducer] {
                for (std::size_t i = nProducer * 20; i < nProducer * 20 + 20; ++i) {
                    pool.AddTask(tasks[i].get());
                }
            });
        }
        const int nEnough = static_cast<int>(random() % 50);
        EXPECT_TRUE(waitFor([&fate, nEnough] { return fate.runs >= nEnough; }));
        pool.Stop();
        const int nRuns = fate.runs;
        for (std::thread &producer : producers) {
            producer.join();
        }
        EXPECT_GE(nRuns, nEnough);
        EXPECT_EQ(fate.runs, nRuns) << "ran after the stop";
        EXPECT_EQ(fate.deletions, 0);
    }
}

} // namespace
} // namespace publicdatacontroller
