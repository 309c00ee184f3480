// A pane, its tasks and a device that is as late as it likes, without windows, so that the thread sanitizer sees what
// they share: the worker pool, the table of live panes, tickets and gates.
#include "preview/LivePanes.h"
#include "preview/RetiredPreviews.h"
#include "preview/StartTicket.h"
#include "preview/StreamGate.h"
#include "threadpool/ThreadPool.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <map>
#include <memory>
#include <random>
#include <thread>

using namespace pellora;
using publicdatacontroller::ThreadPool;
using publicdatacontroller::ThreadTask;

namespace
{

int rounds()
{
    const char *const pRounds = std::getenv("PELLORA_RACE_ROUNDS");
    return pRounds != nullptr ? std::atoi(pRounds) : 200;
}

/** Short, random, and the same for the same seed. */
class Delays
{
public:
    explicit Delays(unsigned nSeed) : m_random(nSeed) {}

    void wait()
    {
        int nMicroseconds = 0;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            nMicroseconds = std::uniform_int_distribution<int>(0, 2000)(m_random);
        }
        if (nMicroseconds > 500) {
            std::this_thread::sleep_for(std::chrono::microseconds(nMicroseconds));
        }
    }

    int number(int nBelow)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return std::uniform_int_distribution<int>(0, nBelow - 1)(m_random);
    }

private:
    std::mutex m_mutex;
    std::mt19937 m_random;
};

/** Sends a header, then data, on a thread per preview, until it is stopped; each of its steps takes its time. */
class Device
{
public:
    explicit Device(Delays &delays) : m_delays(delays) {}

    long start(const void *pUser)
    {
        m_delays.wait();
        auto pPreview = std::make_shared<Preview>();
        long lHandle = 0;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            lHandle = m_nNext++;
            m_previews[lHandle] = pPreview;
        }
        pPreview->thread = std::thread([this, pPreview, lHandle, pUser] { send(*pPreview, lHandle, pUser); });
        m_delays.wait();
        return lHandle;
    }

    bool stop(long lHandle)
    {
        std::shared_ptr<Preview> pPreview;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            const auto found = m_previews.find(lHandle);
            if (found == m_previews.end()) {
                return false;
            }
            pPreview = found->second;
            m_previews.erase(found);
        }
        pPreview->bStop = true;
        pPreview->thread.join();
        return true;
    }

    std::size_t previews() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_previews.size();
    }

private:
    struct Preview {
        std::thread thread;
        std::atomic<bool> bStop{false};
    };

    void send(const Preview &preview, long lHandle, const void *pUser)
    {
        unsigned char bytes[4] = {};
        unsigned int nType = 1;
        while (!preview.bStop) {
            const std::shared_ptr<StreamSink> pSink = LivePanes::instance().find(pUser);
            if (pSink != nullptr) {
                pSink->input(lHandle, nType, bytes, sizeof(bytes));
            }
            nType = m_delays.number(4) == 0 ? 1 : 2;
            m_delays.wait();
        }
    }

    Delays &m_delays;
    mutable std::mutex m_mutex;
    std::map<long, std::shared_ptr<Preview>> m_previews;
    long m_nNext = 0;
};

std::atomic<int> g_nTasks{0};
std::atomic<int> g_nOpenPorts{0};

/** What a pane's stream does with its port, with a counter for the port. */
class Stream : public StreamSink
{
public:
    void input(long lHandle, unsigned int nType, unsigned char *pBytes, unsigned int nLength) override
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        switch (m_gate.admit(lHandle)) {
        case StreamGate::Verdict::Pass:
            feed(nType);
            break;
        case StreamGate::Verdict::Keep:
            m_gate.keep(lHandle, nType, pBytes, nLength);
            break;
        case StreamGate::Verdict::Drop:
            break;
        }
    }

    void open(bool bOthers)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_gate.open(bOthers);
    }

    void bind(long lHandle)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        for (const StreamRecord &record : m_gate.bind(lHandle)) {
            feed(record.nType);
        }
    }

    void close()
    {
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_gate.close();
        }
        // Nobody else touches the port from here on.
        if (m_bPortOpen) {
            m_bPortOpen = false;
            --g_nOpenPorts;
        }
    }

private:
    void feed(unsigned int nType)
    {
        if (nType == 1 && !m_bPortOpen) {
            m_bPortOpen = true;
            ++g_nOpenPorts;
        }
    }

    std::mutex m_mutex;
    StreamGate m_gate;
    bool m_bPortOpen = false;
};

class StopTask : public ThreadTask
{
public:
    StopTask(Device &device, long lHandle) : m_device(device), m_lHandle(lHandle)
    {
        ++g_nTasks;
    }
    ~StopTask() override
    {
        --g_nTasks;
    }

    void run() override
    {
        m_device.stop(m_lHandle);
        RetiredPreviews::instance().forget(m_lHandle);
    }

private:
    Device &m_device;
    long m_lHandle;
};

/** Results on their way to the one thread that owns the panes. */
class Results
{
public:
    void post(std::function<void()> result)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_results.push_back(std::move(result));
    }

    void deliver()
    {
        std::vector<std::function<void()>> results;
        {
            const std::lock_guard<std::mutex> lock(m_mutex);
            results.swap(m_results);
        }
        for (const auto &result : results) {
            result();
        }
    }

private:
    std::mutex m_mutex;
    std::vector<std::function<void()>> m_results;
};

class Pane;

class StartTask : public ThreadTask
{
public:
    StartTask(Device &device, const void *pUser, std::function<void(long)> post)
        : m_device(device), m_pUser(pUser), m_post(std::move(post))
    {
        ++g_nTasks;
        donotDelete();
    }
    ~StartTask() override
    {
        m_pTicket->awaitDelivery();
        --g_nTasks;
    }

    void run() override
    {
        const std::shared_ptr<StartTicket> pTicket = m_pTicket;
        if (!pTicket->begin()) {
            end();
            return;
        }
        const long lHandle = m_device.start(m_pUser);
        if (!pTicket->finish(lHandle, m_post)) {
            m_device.stop(lHandle);
            end();
        }
    }

    [[nodiscard]] std::optional<long> abandon()
    {
        LivePanes::instance().addUnclaimedStart(m_pUser);
        const std::shared_ptr<StartTicket> pTicket = m_pTicket;
        const void *const pUser = m_pUser;
        const std::optional<long> result = pTicket->abandon();
        if (result) {
            LivePanes::instance().removeUnclaimedStart(pUser);
        }
        return result;
    }

private:
    void end()
    {
        LivePanes::instance().removeUnclaimedStart(m_pUser);
        delete this;
    }

    Device &m_device;
    const void *m_pUser;
    std::function<void(long)> m_post;
    std::shared_ptr<StartTicket> m_pTicket = std::make_shared<StartTicket>();
};

/** The order of steps of a video pane; everything on the test's own thread but what the tasks and the device do. */
class Pane
{
public:
    Pane(Device &device, ThreadPool &pool, Results &results) : m_device(device), m_pool(pool), m_results(results)
    {
        LivePanes::instance().add(this, m_pStream);
    }

    ~Pane()
    {
        *m_pAlive = false;
        if (m_pTask != nullptr) {
            const std::optional<long> result = m_pTask->abandon();
            if (result) {
                delete m_pTask;
                m_device.stop(*result);
            }
            m_pTask = nullptr;
        }
        stopDirect();
        LivePanes::instance().remove(this);
    }

    Pane(const Pane &) = delete;
    Pane &operator=(const Pane &) = delete;

    void start()
    {
        if (m_pTask != nullptr) {
            return;
        }
        stop();
        m_pStream->open(LivePanes::instance().hasUnclaimedStart(this));
        m_pTask = new StartTask(m_device, this, [this, pAlive = m_pAlive](long lHandle) {
            m_results.post([this, pAlive, lHandle] {
                if (*pAlive) {
                    settle(lHandle);
                }
            });
        });
        m_pool.AddTask(m_pTask);
    }

    void stop()
    {
        m_pStream->close();
        if (m_lHandle != -1) {
            stopOnPool(m_lHandle);
            m_lHandle = -1;
        } else if (m_pTask != nullptr) {
            m_bStopPending = true;
        }
    }

    void startDirect()
    {
        stopDirect();
        m_pStream->open(m_pTask != nullptr || LivePanes::instance().hasUnclaimedStart(this));
        m_lHandle = m_device.start(this);
        m_pStream->bind(m_lHandle);
    }

    void stopDirect()
    {
        m_pStream->close();
        if (m_pTask != nullptr) {
            m_bStopPending = true;
        }
        if (m_lHandle != -1) {
            m_device.stop(m_lHandle);
            m_lHandle = -1;
        }
    }

private:
    void settle(long lHandle)
    {
        delete m_pTask;
        m_pTask = nullptr;
        if (!m_bStopPending) {
            m_lHandle = lHandle;
            m_pStream->bind(lHandle);
            return;
        }
        m_bStopPending = false;
        stopOnPool(lHandle);
    }

    void stopOnPool(long lHandle)
    {
        RetiredPreviews::instance().retire(lHandle);
        m_pool.AddTask(new StopTask(m_device, lHandle));
    }

    Device &m_device;
    ThreadPool &m_pool;
    Results &m_results;
    std::shared_ptr<Stream> m_pStream = std::make_shared<Stream>();
    /** Read and written by the owning thread only. */
    std::shared_ptr<bool> m_pAlive = std::make_shared<bool>(true);
    StartTask *m_pTask = nullptr;
    long m_lHandle = -1;
    bool m_bStopPending = false;
};

class PreviewRaceTest : public testing::Test
{
protected:
    void TearDown() override
    {
        // What tasks are under way ends, and what they started is stopped by whoever got it.
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(60);
        while ((g_nTasks > 0 || m_device.previews() > 0) && std::chrono::steady_clock::now() < deadline) {
            m_results.deliver();
            std::this_thread::yield();
        }
        m_pool.Stop();
        EXPECT_EQ(m_device.previews(), 0U);
        EXPECT_EQ(g_nOpenPorts, 0);
        EXPECT_EQ(g_nTasks, 0);
    }

    Delays m_delays{20261121};
    Device m_device{m_delays};
    ThreadPool m_pool{2};
    Results m_results;
};

TEST_F(PreviewRaceTest, LeavesNothingAfterStartsAndStops)
{
    Pane pane(m_device, m_pool, m_results);
    for (int i = 0; i < rounds(); ++i) {
        pane.start();
        m_delays.wait();
        m_results.deliver();
        pane.stop();
        m_results.deliver();
    }
    pane.stop();
}

TEST_F(PreviewRaceTest, LeavesNothingWhenPanesGoWithStartsUnderWay)
{
    for (int i = 0; i < rounds(); ++i) {
        Pane pane(m_device, m_pool, m_results);
        pane.start();
        m_delays.wait();
        if (m_delays.number(2) == 0) {
            m_results.deliver();
        }
        if (m_delays.number(3) == 0) {
            pane.stop();
        }
    }
}

TEST_F(PreviewRaceTest, LeavesNothingAfterBothRoutesOnNinePanes)
{
    std::vector<std::unique_ptr<Pane>> panes;
    for (int i = 0; i < 9; ++i) {
        panes.push_back(std::make_unique<Pane>(m_device, m_pool, m_results));
    }
    for (int i = 0; i < rounds(); ++i) {
        Pane &pane = *panes[static_cast<std::size_t>(m_delays.number(9))];
        switch (m_delays.number(4)) {
        case 0:
            pane.start();
            break;
        case 1:
            pane.stop();
            break;
        case 2:
            pane.startDirect();
            break;
        default:
            pane.stopDirect();
        }
        if (m_delays.number(2) == 0) {
            m_results.deliver();
        }
    }
    panes.clear();
}

} // namespace
