#ifndef HOSTS_NODE_ENVIRONMENT_H
#define HOSTS_NODE_ENVIRONMENT_H

#include "hosts/node/src/Library.h"
#include "hosts/node/src/Value.h"
#include "hosts/node/src/Window.h"

#include <future>
#include <map>
#include <memory>
#include <set>
#include <vector>

namespace pellora::node
{

/**
 * One JavaScript environment, a page, a worker or the main thread, with its video windows and its log-ins.
 *
 * Threads: the JavaScript thread.
 * Owns:    what its JavaScript has made. What is left when it ends is closed and logged out, without waiting. At the
 * end of the main one, with which the process ends, the closing is waited for, two seconds at most.
 */
class Environment : public std::enable_shared_from_this<Environment>
{
public:
    using Operation = std::function<Value(Library &, Window &)>;

    /** Ends by itself with its environment; the main one (bMain) does so with its process. dispatch(object or null,
     * kind, values…) is told what happens. */
    static std::shared_ptr<Environment> make(napi_env env, Library &library, napi_value dispatch, bool bMain);

    Environment(const Environment &) = delete;
    Environment &operator=(const Environment &) = delete;
    ~Environment() = default;

    /** Ties a window to an object; it closes when the object is collected. Throws CallError. */
    std::shared_ptr<Window> adopt(napi_value object, HWND hHost);

    /** The window that an object is tied to; throws std::invalid_argument when it is tied to none. */
    [[nodiscard]] std::shared_ptr<Window> windowOf(napi_value object) const;

    /** A promise for what is done on the window's thread. */
    napi_value promise(const std::shared_ptr<Window> &pWindow, Operation operation);

    [[nodiscard]] long login(const std::string &address, const std::string &user, const std::string &password);

    /** A promise: the cameras' good-bye takes up to a second. */
    napi_value logout(long lLogin);

    void tell(unsigned nWindow, const char *pKind, const Value::List &values);
    void tellAll(const char *pKind, const Value::List &values);

    /** By itself at the latest; a second time it does nothing. Nothing can be opened afterwards. */
    void end();

    /** Runs what the queue brings, in a scope of its own. */
    void deliver(const ScriptQueue::Work &work);

private:
    struct Owned {
        std::shared_ptr<Window> pWindow;
        napi_ref object = nullptr;
    };

    /** What an object of JavaScript's is tied to. */
    struct Tie {
        std::shared_ptr<Environment> pEnvironment;
        unsigned nWindow;
    };

    /** How a promise ends. */
    struct Outcome {
        Value value;
        std::string function;
        std::string reason;
        bool bDone = false;
    };

    Environment(napi_env env, Library &library, bool bMain);

    static Outcome outcomeOf(const std::function<Value()> &operation);
    static void onCollected(napi_env env, void *pTie, void *pHint);
    static void onEnd(void *pSelf);
    void requireLife(const char *pFunction) const;
    napi_value newPromise(napi_deferred &deferred);
    void settle(napi_deferred deferred, const Outcome &outcome);
    void call(napi_value object, const char *pKind, const Value::List &values);
    std::shared_ptr<std::promise<void>> closeAll(const std::shared_ptr<WindowThread> &pThread,
                                                 const std::vector<std::shared_ptr<Window>> &windows);

    napi_env m_env;
    Library &m_library;
    const bool m_bMain;
    std::shared_ptr<ScriptQueue> m_pQueue;
    napi_ref m_dispatch = nullptr;
    bool m_bEnded = false;
    unsigned m_nLastWindow = 0;
    std::map<unsigned, Owned> m_windows;
    std::set<long> m_logins;
};

/** An error with the properties code, function and reason. */
[[nodiscard]] napi_value newError(napi_env env, const std::string &function, const std::string &reason);

} // namespace pellora::node

#endif
