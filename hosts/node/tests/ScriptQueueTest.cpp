#include "hosts/node/src/ScriptQueue.h"

#include <gtest/gtest.h>

#include <array>
#include <thread>
#include <vector>

namespace pellora::node
{

NodeApi g_napi;

/** What is delivered goes here, in place of a script. */
class Environment
{
public:
    std::vector<int> m_seen;
};

namespace
{

/** The engine: one thread-safe function, which is called when the test says so. */
struct Engine {
    napi_threadsafe_function_call_js pfnCall = nullptr;
    napi_finalize pfnFinalize = nullptr;
    void *pContext = nullptr;
    void *pShare = nullptr;
    int nCalls = 0;
    int nReferences = 1;
    bool bReleased = false;

    /** What the engine does on the JavaScript thread. */
    void turn()
    {
        if (nCalls > 0) {
            --nCalls;
            // Any but none: the queue asks nothing of it.
            pfnCall(reinterpret_cast<napi_env>(this), nullptr, pContext, nullptr);
        }
    }
};

Engine *g_pEngine = nullptr;

void fillNodeApi()
{
    g_napi.napi_create_string_utf8 = [](napi_env, const char *, std::size_t, napi_value *) { return napi_ok; };
    g_napi.napi_create_threadsafe_function =
        [](napi_env, napi_value, napi_value, napi_value, std::size_t, std::size_t, void *pShare, napi_finalize pfnEnd,
           void *pContext, napi_threadsafe_function_call_js pfnCall, napi_threadsafe_function *pResult) {
            g_pEngine->pShare = pShare;
            g_pEngine->pfnFinalize = pfnEnd;
            g_pEngine->pContext = pContext;
            g_pEngine->pfnCall = pfnCall;
            *pResult = reinterpret_cast<napi_threadsafe_function>(g_pEngine);
            return napi_ok;
        };
    // The queue calls it under its lock, so that the number needs none.
    g_napi.napi_call_threadsafe_function = [](napi_threadsafe_function, void *, napi_threadsafe_function_call_mode) {
        ++g_pEngine->nCalls;
        return napi_ok;
    };
    g_napi.napi_ref_threadsafe_function = [](napi_env, napi_threadsafe_function) {
        ++g_pEngine->nReferences;
        return napi_ok;
    };
    g_napi.napi_unref_threadsafe_function = [](napi_env, napi_threadsafe_function) {
        --g_pEngine->nReferences;
        return napi_ok;
    };
    g_napi.napi_release_threadsafe_function = [](napi_threadsafe_function, napi_threadsafe_function_release_mode) {
        g_pEngine->bReleased = true;
        return napi_ok;
    };
}

class ScriptQueueTest : public testing::Test
{
protected:
    ScriptQueueTest()
    {
        g_pEngine = &m_engine;
        fillNodeApi();
        m_pQueue = ScriptQueue::make(nullptr,
                                     {[this](const ScriptQueue::Work &work) { work(m_environment); },
                                      [this](std::size_t nEvents) { m_environment.m_seen.push_back(-int(nEvents)); }});
    }

    ~ScriptQueueTest() override
    {
        m_pQueue->close();
        EXPECT_TRUE(m_engine.bReleased);
        m_engine.pfnFinalize(nullptr, m_engine.pShare, nullptr);
    }

    void event(int n)
    {
        m_pQueue->postEvent([n](Environment &environment) { environment.m_seen.push_back(n); });
    }

    void outcome(int n)
    {
        m_pQueue->postOutcome([n](Environment &environment) { environment.m_seen.push_back(n); });
    }

    Engine m_engine;
    Environment m_environment;
    std::shared_ptr<ScriptQueue> m_pQueue;
};

TEST_F(ScriptQueueTest, DeliversInTheOrderInWhichThingsCame)
{
    event(1);
    outcome(2);
    event(3);
    EXPECT_TRUE(m_environment.m_seen.empty());
    EXPECT_EQ(m_engine.nCalls, 1);
    m_engine.turn();
    EXPECT_EQ(m_environment.m_seen, (std::vector<int>{1, 2, 3}));
    event(4);
    m_engine.turn();
    EXPECT_EQ(m_environment.m_seen.back(), 4);
}

TEST_F(ScriptQueueTest, LosesNothingOfWhatManyThreadsPost)
{
    constexpr int kEach = 5000;
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([this, i] {
            for (int n = 0; n < kEach; ++n) {
                event(i * kEach + n);
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    m_engine.turn();
    EXPECT_EQ(m_environment.m_seen.size(), std::size_t{4} * kEach);
    std::array<int, 4> last{-1, -1, -1, -1};
    for (const int n : m_environment.m_seen) {
        int &previous = last[static_cast<std::size_t>(n / kEach)];
        EXPECT_EQ(n % kEach, previous + 1);
        previous = n % kEach;
    }
}

TEST_F(ScriptQueueTest, CountsTheEventsThatItLeavesOutAndKeepsEveryOutcome)
{
    constexpr int kMost = static_cast<int>(ScriptQueue::kMostEvents);
    for (int n = 0; n < kMost + 20; ++n) {
        event(n);
    }
    outcome(kMost);
    m_engine.turn();
    ASSERT_EQ(m_environment.m_seen.size(), static_cast<std::size_t>(kMost) + 2);
    EXPECT_EQ(m_environment.m_seen[kMost - 1], kMost - 1);
    EXPECT_EQ(m_environment.m_seen[kMost], kMost);
    EXPECT_EQ(m_environment.m_seen.back(), -20);
    event(7);
    m_engine.turn();
    EXPECT_EQ(m_environment.m_seen.back(), 7);
}

TEST_F(ScriptQueueTest, KeepsTheProcessOnlyWhileSomethingIsWaitedFor)
{
    EXPECT_EQ(m_engine.nReferences, 0);
    m_pQueue->hold(nullptr);
    m_pQueue->hold(nullptr);
    EXPECT_EQ(m_engine.nReferences, 1);
    m_pQueue->letGo(nullptr);
    EXPECT_EQ(m_engine.nReferences, 1);
    m_pQueue->letGo(nullptr);
    EXPECT_EQ(m_engine.nReferences, 0);
}

TEST_F(ScriptQueueTest, DeliversNothingAfterItsEnd)
{
    event(1);
    m_pQueue->close();
    m_engine.turn();
    event(2);
    outcome(3);
    m_pQueue->hold(nullptr);
    m_pQueue->letGo(nullptr);
    EXPECT_EQ(m_engine.nCalls, 0);
    EXPECT_TRUE(m_environment.m_seen.empty());
}

TEST_F(ScriptQueueTest, StopsWhereAListenerEndsIt)
{
    event(1);
    m_pQueue->postEvent([this](Environment &) { m_pQueue->close(); });
    event(2);
    m_engine.turn();
    EXPECT_EQ(m_environment.m_seen, (std::vector<int>{1}));
}

} // namespace
} // namespace pellora::node
