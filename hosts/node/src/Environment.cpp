#include "hosts/node/src/Environment.h"

#include "hosts/node/src/Contained.h"
#include "hosts/node/src/Operations.h"

#include <chrono>
#include <utility>

namespace pellora::node
{
namespace
{

constexpr std::chrono::seconds kLongestEnd(2);

/** Runs on a thread of the system's pool; where there is none, here. */
void inBackground(std::function<void()> function)
{
    auto pFunction = std::make_unique<std::function<void()>>(std::move(function));
    const LPTHREAD_START_ROUTINE pfnRun = [](LPVOID pParameter) -> DWORD {
        const std::unique_ptr<std::function<void()>> pOwned(static_cast<std::function<void()> *>(pParameter));
        contained(*pOwned);
        return 0;
    };
    if (QueueUserWorkItem(pfnRun, pFunction.get(), WT_EXECUTELONGFUNCTION) != 0) {
        (void)pFunction.release();
    } else {
        (*pFunction)();
    }
}

void setText(napi_env env, napi_value object, const char *pName, const std::string &text)
{
    g_napi.napi_set_named_property(env, object, pName, toScript(env, Value(text)));
}

} // namespace

napi_value newError(napi_env env, const std::string &function, const std::string &reason)
{
    napi_value error = nullptr;
    g_napi.napi_create_error(env, toScript(env, Value("ERR_PELLORA")), toScript(env, Value(function + ": " + reason)),
                             &error);
    setText(env, error, "function", function);
    setText(env, error, "reason", reason);
    return error;
}

std::shared_ptr<Environment> Environment::make(napi_env env, Library &library, napi_value dispatch, bool bMain)
{
    std::shared_ptr<Environment> pSelf(new Environment(env, library, bMain));
    // The environment ends its queue before it goes.
    Environment &self = *pSelf;
    pSelf->m_pQueue = ScriptQueue::make(
        env, {[&self](const ScriptQueue::Work &work) { self.deliver(work); },
              [&self](std::size_t nEvents) {
                  self.deliver([nEvents](Environment &each) { each.tellAll("lost", {Value(nEvents)}); });
              }});
    if (pSelf->m_pQueue == nullptr || g_napi.napi_create_reference(env, dispatch, 1, &pSelf->m_dispatch) != napi_ok) {
        throw CallError("start", "the engine is out of resources");
    }
    // Its end comes before the queue's own, which was made earlier.
    g_napi.napi_add_env_cleanup_hook(env, &Environment::onEnd, new std::shared_ptr<Environment>(pSelf));
    library.listen(pSelf->m_pQueue);
    return pSelf;
}

Environment::Environment(napi_env env, Library &library, bool bMain) : m_env(env), m_library(library), m_bMain(bMain) {}

std::shared_ptr<Window> Environment::adopt(napi_value object, HWND hHost)
{
    requireLife("PELLORA_CreateWindow");
    auto pWindow = std::make_shared<Window>();
    std::string reason;
    pWindow->pThread = WindowThread::of(hHost, reason);
    if (pWindow->pThread == nullptr) {
        throw CallError("PELLORA_CreateWindow", reason);
    }
    pWindow->nId = ++m_nLastWindow;
    pWindow->hHost = hHost;
    pWindow->pQueue = m_pQueue;
    auto pTie = std::make_unique<Tie>(Tie{shared_from_this(), pWindow->nId});
    Owned owned{pWindow, nullptr};
    if (g_napi.napi_wrap(m_env, object, pTie.get(), &Environment::onCollected, nullptr, &owned.object) != napi_ok) {
        throw std::invalid_argument("the object has a window already");
    }
    (void)pTie.release();
    m_windows.emplace(pWindow->nId, owned);
    return pWindow;
}

std::shared_ptr<Window> Environment::windowOf(napi_value object) const
{
    void *pTie = nullptr;
    if (g_napi.napi_unwrap(m_env, object, &pTie) == napi_ok) {
        const auto found = m_windows.find(static_cast<Tie *>(pTie)->nWindow);
        if (found != m_windows.end()) {
            return found->second.pWindow;
        }
    }
    throw std::invalid_argument("this is no open video window");
}

void Environment::onCollected(napi_env env, void *pTie, void *)
{
    const std::unique_ptr<Tie> pOwned(static_cast<Tie *>(pTie));
    Environment &self = *pOwned->pEnvironment;
    const auto found = self.m_windows.find(pOwned->nWindow);
    if (found == self.m_windows.end()) {
        return;
    }
    const std::shared_ptr<Window> pWindow = found->second.pWindow;
    g_napi.napi_delete_reference(env, found->second.object);
    self.m_windows.erase(found);
    // Never here: this is inside a collection of garbage, and closing a window brings messages.
    contained([&] {
        pWindow->pThread->post(
            {[pWindow, &library = self.m_library] { outcomeOf([&] { return closeWindow(library, *pWindow); }); },
             [](const std::string &) {}});
    });
}

napi_value Environment::newPromise(napi_deferred &deferred)
{
    napi_value promise = nullptr;
    if (g_napi.napi_create_promise(m_env, &deferred, &promise) != napi_ok) {
        throw CallError("promise", "the engine is out of resources");
    }
    m_pQueue->hold(m_env);
    return promise;
}

Environment::Outcome Environment::outcomeOf(const std::function<Value()> &operation)
{
    Outcome outcome;
    try {
        outcome.value = operation();
        outcome.bDone = true;
    } catch (const CallError &error) {
        outcome.function = error.function;
        outcome.reason = error.what();
    } catch (const std::exception &error) {
        outcome.function = "pellora";
        outcome.reason = error.what();
    }
    return outcome;
}

napi_value Environment::promise(const std::shared_ptr<Window> &pWindow, Operation operation)
{
    napi_deferred deferred = nullptr;
    napi_value promise = newPromise(deferred);
    const auto finish = [pQueue = m_pQueue, deferred](const Outcome &outcome) {
        pQueue->postOutcome([deferred, outcome](Environment &environment) { environment.settle(deferred, outcome); });
    };
    pWindow->pThread->run({[pWindow, operation = std::move(operation), finish, &library = m_library] {
                               finish(outcomeOf([&] { return operation(library, *pWindow); }));
                           },
                           [finish](const std::string &reason) {
                               Outcome outcome;
                               outcome.function = "pellora";
                               outcome.reason = reason;
                               finish(outcome);
                           }});
    return promise;
}

void Environment::settle(napi_deferred deferred, const Outcome &outcome)
{
    if (outcome.bDone) {
        g_napi.napi_resolve_deferred(m_env, deferred, toScript(m_env, outcome.value));
    } else {
        g_napi.napi_reject_deferred(m_env, deferred, newError(m_env, outcome.function, outcome.reason));
    }
    m_pQueue->letGo(m_env);
}

long Environment::login(const std::string &address, const std::string &user, const std::string &password)
{
    requireLife("SELVIK_DCM_Login");
    const SelvikFunctions &devices = m_library.devices();
    const long lLogin = devices.SELVIK_DCM_Login(address.c_str(), user.c_str(), password.c_str());
    if (lLogin < 0) {
        throw CallError("SELVIK_DCM_Login", devices.SELVIK_DCM_GetErrorText(devices.SELVIK_DCM_GetLastError()));
    }
    m_logins.insert(lLogin);
    return lLogin;
}

napi_value Environment::logout(long lLogin)
{
    napi_deferred deferred = nullptr;
    napi_value promise = newPromise(deferred);
    const bool bOwn = m_logins.erase(lLogin) != 0;
    inBackground([lLogin, bOwn, deferred, pQueue = m_pQueue, &library = m_library] {
        Outcome outcome;
        outcome.bDone = bOwn && library.devices().SELVIK_DCM_Logout(lLogin) != 0;
        outcome.function = "SELVIK_DCM_Logout";
        outcome.reason = library.devices().SELVIK_DCM_GetErrorText(SELVIK_ERROR_HANDLE);
        pQueue->postOutcome([deferred, outcome](Environment &environment) { environment.settle(deferred, outcome); });
    });
    return promise;
}

void Environment::tell(unsigned nWindow, const char *pKind, const Value::List &values)
{
    const auto found = m_windows.find(nWindow);
    napi_value object = nullptr;
    if (found != m_windows.end() && g_napi.napi_get_reference_value(m_env, found->second.object, &object) == napi_ok &&
        object != nullptr) {
        call(object, pKind, values);
    }
}

void Environment::tellAll(const char *pKind, const Value::List &values)
{
    napi_value nobody = nullptr;
    g_napi.napi_get_null(m_env, &nobody);
    call(nobody, pKind, values);
    // A listener may close windows.
    std::vector<unsigned> windows;
    for (const auto &entry : m_windows) {
        windows.push_back(entry.first);
    }
    for (const unsigned nWindow : windows) {
        tell(nWindow, pKind, values);
    }
}

void Environment::call(napi_value object, const char *pKind, const Value::List &values)
{
    napi_value dispatch = nullptr;
    napi_value undefined = nullptr;
    g_napi.napi_get_reference_value(m_env, m_dispatch, &dispatch);
    g_napi.napi_get_undefined(m_env, &undefined);
    std::vector<napi_value> arguments{object, toScript(m_env, Value(pKind))};
    for (const Value &value : values) {
        arguments.push_back(toScript(m_env, value));
    }
    if (g_napi.napi_call_function(m_env, undefined, dispatch, arguments.size(), arguments.data(), nullptr) ==
        napi_pending_exception) {
        // A listener has thrown: as for any other event, that is the process's matter.
        napi_value error = nullptr;
        g_napi.napi_get_and_clear_last_exception(m_env, &error);
        g_napi.napi_fatal_exception(m_env, error);
    }
}

void Environment::deliver(const ScriptQueue::Work &work)
{
    const std::shared_ptr<Environment> pKept = shared_from_this();
    napi_handle_scope scope = nullptr;
    if (g_napi.napi_open_handle_scope(m_env, &scope) == napi_ok) {
        contained([&] { work(*this); });
        g_napi.napi_close_handle_scope(m_env, scope);
    }
}

void Environment::onEnd(void *pSelf)
{
    const std::unique_ptr<std::shared_ptr<Environment>> pOwned(static_cast<std::shared_ptr<Environment> *>(pSelf));
    contained([&pOwned] { (*pOwned)->end(); });
}

std::shared_ptr<std::promise<void>> Environment::closeAll(const std::shared_ptr<WindowThread> &pThread,
                                                          const std::vector<std::shared_ptr<Window>> &windows)
{
    auto pClosed = std::make_shared<std::promise<void>>();
    const auto abandon = [pClosed](const std::string &) { pClosed->set_value(); };
    if (m_bMain) {
        // Nobody is told any more how the calls before would have ended.
        pThread->clear();
    }
    pThread->run({[pThread, windows, pClosed, abandon, &library = m_library] {
                      for (const std::shared_ptr<Window> &pWindow : windows) {
                          outcomeOf([&] { return closeWindow(library, *pWindow); });
                      }
                      // The library leaves the native windows to a later message of the thread.
                      pThread->post({[pClosed] { pClosed->set_value(); }, abandon});
                  },
                  abandon});
    return pClosed;
}

void Environment::requireLife(const char *pFunction) const
{
    if (m_bEnded) {
        throw CallError(pFunction, "the process ends");
    }
}

void Environment::end()
{
    if (std::exchange(m_bEnded, true)) {
        return;
    }
    m_pQueue->close();
    std::map<std::shared_ptr<WindowThread>, std::vector<std::shared_ptr<Window>>> threads;
    for (const auto &[nId, owned] : m_windows) {
        threads[owned.pWindow->pThread].push_back(owned.pWindow);
    }
    m_windows.clear();
    for (const auto &[pThread, windows] : threads) {
        const std::shared_ptr<std::promise<void>> pClosed = closeAll(pThread, windows);
        if (m_bMain && !pThread->isCurrent()) {
            // The process ends next, and its other threads with it, wherever they are. One that is stopped in the
            // middle of a window's end may leave locks behind for which the end of the process would wait. A thread
            // that hangs is left alone.
            pClosed->get_future().wait_for(kLongestEnd);
        }
    }
    if (m_bMain) {
        return;
    }
    if (!m_logins.empty()) {
        inBackground([logins = std::move(m_logins), &library = m_library] {
            for (const long lLogin : logins) {
                library.devices().SELVIK_DCM_Logout(lLogin);
            }
        });
        m_logins.clear();
    }
}

} // namespace pellora::node
