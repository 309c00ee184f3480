// The worker pool without memory: tasks that are not taken, and workers that go on waiting.

#include "tests/soak/MemoryRuns.h"
#include "threadpool/ThreadPool.h"

#include <chrono>
#include <future>
#include <memory>

namespace
{

using namespace std::chrono_literals;

/** Tells that it has run. */
class Told : public publicdatacontroller::ThreadTask
{
public:
    Told()
    {
        donotDelete();
    }
    void run() override
    {
        // The task may be gone before the call returns.
        const std::shared_ptr<std::promise<void>> pTold = m_pTold;
        pTold->set_value();
    }
    [[nodiscard]] bool hasRun()
    {
        return m_pTold->get_future().wait_for(20s) == std::future_status::ready;
    }

private:
    const std::shared_ptr<std::promise<void>> m_pTold = std::make_shared<std::promise<void>>();
};

TEST(PoolMemory, WorkersGoOnWaitingAndRunWhatComesLater)
{
    publicdatacontroller::ThreadPool pool(2);
    const auto runOne = [&pool] {
        Told task;
        pool.AddTask(&task);
        // Queued, hence run: a task that is not is told by an exception.
        EXPECT_TRUE(task.hasRun());
    };
    soak::runOutOfMemory(
        [&] {
            for (int i = 0; i < 10; ++i) {
                soak::attempt(runOne);
            }
        },
        runOne);
}

} // namespace
