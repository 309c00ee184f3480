#ifndef HOSTS_NODE_SCRIPTQUEUE_H
#define HOSTS_NODE_SCRIPTQUEUE_H

#include "hosts/node/src/NodeApi.h"

#include <deque>
#include <functional>
#include <memory>
#include <mutex>

namespace pellora::node
{

class Environment;

/**
 * Brings outcomes and events to the thread of one JavaScript environment, in the order in which they came.
 *
 * Threads: post from any thread; the rest on the JavaScript thread.
 * Bounded: of events that wait kMostEvents; later ones are counted and left out. Outcomes are as many as there are
 *          calls, which are bounded elsewhere.
 */
class ScriptQueue
{
public:
    using Work = std::function<void(Environment &)>;
    /** What the queue is for: both run on the JavaScript thread, until close. */
    struct Receiver {
        std::function<void(const Work &)> deliver;
        std::function<void(std::size_t nEvents)> lost;
    };
    static constexpr std::size_t kMostEvents = 65536;

    /** Null when the engine refuses. */
    static std::shared_ptr<ScriptQueue> make(napi_env env, Receiver receiver);

    ScriptQueue() = default;
    ScriptQueue(const ScriptQueue &) = delete;
    ScriptQueue &operator=(const ScriptQueue &) = delete;

    void postOutcome(Work work);
    void postEvent(Work work);

    /** The process lives on while something is waited for, and not for events alone. */
    void hold(napi_env env);
    void letGo(napi_env env);

    /** When it returns, nothing comes to the environment any more. */
    void close();

private:
    struct Entry {
        Work work;
        bool bEvent;
    };

    static void onCall(napi_env env, napi_value function, void *pContext, void *pData);
    static void onFinalize(napi_env env, void *pData, void *pContext);
    void post(Entry entry);
    void deliver();

    // The JavaScript thread.
    Receiver m_receiver;
    bool m_bClosed = false;
    std::size_t m_nHolds = 0;

    std::mutex m_mutex; // what follows
    napi_threadsafe_function m_function = nullptr;
    std::deque<Entry> m_entries;
    std::size_t m_nEvents = 0;
    std::size_t m_nLost = 0;
    bool m_bCalled = false;
};

} // namespace pellora::node

#endif
