/** The functions that lib/index.js calls, and the module's registration. */
#include "hosts/node/src/Environment.h"
#include "hosts/node/src/Operations.h"
#include "hosts/node/src/Text.h"

#include <array>

namespace pellora::node
{
namespace
{

/** What a function was called with, and the environment that it belongs to: null before start. */
struct Call {
    napi_env env;
    std::shared_ptr<Environment> *pEnvironment;
    std::array<napi_value, 8> arguments;

    [[nodiscard]] Environment &environment() const
    {
        if (*pEnvironment == nullptr) {
            throw CallError("pellora", "the library is not loaded");
        }
        return **pEnvironment;
    }

    [[nodiscard]] Value at(std::size_t i) const
    {
        return fromScript(env, arguments.at(i));
    }

    [[nodiscard]] std::string text(std::size_t i) const
    {
        return at(i).as<std::string>();
    }

    template <class Number>
    [[nodiscard]] Number number(std::size_t i) const
    {
        return numberOf<Number>(at(i));
    }

    [[nodiscard]] std::shared_ptr<Window> window() const
    {
        return environment().windowOf(arguments[0]);
    }
};

/** start(path of Pellora.dll, dispatch, whether this is the process's main script) */
napi_value start(const Call &call)
{
    if (*call.pEnvironment == nullptr) {
        Library &library = Library::load(wide(call.text(0)));
        *call.pEnvironment = Environment::make(call.env, library, call.arguments[1], call.number<int>(2) != 0);
    }
    return nullptr;
}

/** end(): the process ends, and engines do not tell add-ons of every end */
napi_value end(const Call &call)
{
    call.environment().end();
    return nullptr;
}

/** findWindow(title): the shell's window of this process with that title, or null */
napi_value findWindow(const Call &call)
{
    const std::wstring title = wide(call.text(0));
    DWORD dwProcess = 0;
    HWND hWindow = nullptr;
    // Other processes may show the same page.
    do {
        hWindow = FindWindowExW(nullptr, hWindow, L"Chrome_WidgetWin_1", title.c_str());
        GetWindowThreadProcessId(hWindow, &dwProcess);
    } while (hWindow != nullptr && dwProcess != GetCurrentProcessId());
    return toScript(call.env, hWindow == nullptr ? Value() : Value(reinterpret_cast<UINT_PTR>(hWindow)));
}

/** clientSize(window): width and height of what a window's children are placed in, or null; waits for no thread */
napi_value clientSize(const Call &call)
{
    const auto hWindow = reinterpret_cast<HWND>(static_cast<UINT_PTR>(call.number<unsigned long>(0)));
    RECT client = {};
    if (GetClientRect(hWindow, &client) == FALSE) {
        return toScript(call.env, Value());
    }
    return toScript(call.env, Value(Value::List{Value(client.right), Value(client.bottom)}));
}

/** open(object, host window, embed mode) */
napi_value open(const Call &call)
{
    const auto hHost = reinterpret_cast<HWND>(static_cast<UINT_PTR>(call.number<unsigned long>(1)));
    const auto embedMode = call.number<unsigned char>(2);
    const auto pWindow = call.environment().adopt(call.arguments[0], hHost);
    return call.environment().promise(
        pWindow, [embedMode](Library &library, Window &window) { return openWindow(library, window, embedMode); });
}

/** hasHost(object): 1 while the host window is there; waits for no thread */
napi_value hasHost(const Call &call)
{
    return toScript(call.env, Value(IsWindow(call.window()->hHost) != 0 ? 1 : 0));
}

/** close(object) */
napi_value close(const Call &call)
{
    return call.environment().promise(call.window(), &closeWindow);
}

/** call(object, function, expect, pane, arguments) */
napi_value callOne(const Call &call)
{
    return call.environment().promise(call.window(),
                                      [function = call.text(1), expect = static_cast<Expect>(call.number<int>(2)),
                                       nPane = call.number<int>(3),
                                       arguments = call.at(4).as<Value::List>()](Library &library, Window &window) {
                                          return callFunction(library, window, function, expect, nPane, arguments);
                                      });
}

/** playFile(object, pane, file, loop, overlay) */
napi_value play(const Call &call)
{
    return call.environment().promise(
        call.window(), [nPane = call.number<int>(1), file = call.text(2), bLoop = call.number<int>(3) != 0,
                        bOverlay = call.number<int>(4) != 0](Library &library, Window &window) {
            return playFile(library, window, nPane, file, bLoop, bOverlay);
        });
}

/** capture(object, pane, part or null, quality) */
napi_value takeCapture(const Call &call)
{
    return call.environment().promise(call.window(),
                                      [nPane = call.number<int>(1), part = call.at(2),
                                       dwQuality = call.number<unsigned long>(3)](Library &library, Window &window) {
                                          return capture(library, window, nPane, part, dwQuality);
                                      });
}

/** batch(object, requests) */
napi_value batch(const Call &call)
{
    return call.environment().promise(call.window(),
                                      [requests = call.at(1).as<Value::List>()](Library &library, Window &window) {
                                          return previewBatch(library, window, requests);
                                      });
}

/** getRule(object, pane, rule) */
napi_value readRule(const Call &call)
{
    return call.environment().promise(
        call.window(), [nPane = call.number<int>(1), lRule = call.number<long>(2)](Library &library, Window &window) {
            return getRule(library, window, nPane, lRule);
        });
}

/** setRule(object, pane, rule, record, first byte of coordinates in pixels, their number or 0) */
napi_value writeRule(const Call &call)
{
    return call.environment().promise(call.window(),
                                      [nPane = call.number<int>(1), lRule = call.number<long>(2),
                                       record = call.at(3).as<Bytes>(), nFirst = call.number<unsigned>(4),
                                       nWords = call.number<unsigned>(5)](Library &library, Window &window) {
                                          return setRule(library, window, nPane, lRule, record, nFirst, nWords);
                                      });
}

/** login(address, user, password) */
napi_value login(const Call &call)
{
    return toScript(call.env, Value(call.environment().login(call.text(0), call.text(1), call.text(2))));
}

/** logout(log-in) */
napi_value logout(const Call &call)
{
    return call.environment().logout(call.number<long>(0));
}

/** What C++ throws becomes an exception of JavaScript's. */
template <napi_value (*pfnFunction)(const Call &)>
napi_value guarded(napi_env env, napi_callback_info info)
{
    std::string function = "pellora";
    std::string reason;
    try {
        Call call{env, nullptr, {}};
        std::size_t nArguments = call.arguments.size();
        void *pData = nullptr;
        g_napi.napi_get_cb_info(env, info, &nArguments, call.arguments.data(), nullptr, &pData);
        call.pEnvironment = static_cast<std::shared_ptr<Environment> *>(pData);
        return pfnFunction(call);
    } catch (const CallError &error) {
        function = error.function;
        reason = error.what();
    } catch (const std::exception &error) {
        reason = error.what();
    }
    g_napi.napi_throw(env, newError(env, function, reason));
    return nullptr;
}

void add(napi_env env, napi_value exports, const char *pName, napi_callback pfnCallback, void *pData)
{
    napi_value function = nullptr;
    g_napi.napi_create_function(env, pName, NAPI_AUTO_LENGTH, pfnCallback, pData, &function);
    g_napi.napi_set_named_property(env, exports, pName, function);
}

napi_value registerModule(napi_env env, napi_value exports)
{
    // The functions' own; freed with the environment, after its windows.
    auto *const pEnvironment = new std::shared_ptr<Environment>();
    g_napi.napi_add_env_cleanup_hook(
        env, [](void *pData) { delete static_cast<std::shared_ptr<Environment> *>(pData); }, pEnvironment);
    add(env, exports, "start", &guarded<start>, pEnvironment);
    add(env, exports, "end", &guarded<end>, pEnvironment);
    add(env, exports, "findWindow", &guarded<findWindow>, pEnvironment);
    add(env, exports, "clientSize", &guarded<clientSize>, pEnvironment);
    add(env, exports, "open", &guarded<open>, pEnvironment);
    add(env, exports, "hasHost", &guarded<hasHost>, pEnvironment);
    add(env, exports, "close", &guarded<close>, pEnvironment);
    add(env, exports, "call", &guarded<callOne>, pEnvironment);
    add(env, exports, "playFile", &guarded<play>, pEnvironment);
    add(env, exports, "capture", &guarded<takeCapture>, pEnvironment);
    add(env, exports, "batch", &guarded<batch>, pEnvironment);
    add(env, exports, "getRule", &guarded<readRule>, pEnvironment);
    add(env, exports, "setRule", &guarded<writeRule>, pEnvironment);
    add(env, exports, "login", &guarded<login>, pEnvironment);
    add(env, exports, "logout", &guarded<logout>, pEnvironment);
    return exports;
}

} // namespace
} // namespace pellora::node

/** The name that Node.js, Electron and NW.js look for in a module. */
extern "C" __declspec(dllexport) napi_value napi_register_module_v1(napi_env env, napi_value exports)
{
    return pellora::node::findNodeApi() ? pellora::node::registerModule(env, exports) : nullptr;
}
