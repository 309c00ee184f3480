#include "tests/doubles/Recorder.h"

#include <algorithm>
#include <cstdio>
#include <deque>
#include <map>
#include <mutex>
#include <thread>
#include <utility>

namespace doubles
{

namespace
{

struct Script {
    std::deque<unsigned long> errors;
    unsigned long afterwards = 0;
};

struct Preview {
    SELVIK_DCM_STREAM_CB callback = nullptr;
    void *user = nullptr;
};

struct State {
    std::vector<Call> calls;
    std::map<std::string, Script> scripts;
    std::map<std::string, std::function<void()>> hooks;
    PlayerOutputs outputs;
    std::map<long, PortCallbacks> ports;
    std::map<long, Preview> previews;
    long nextPort = 0;
    long nextPreview = 0;
    long nextLogin = 0;
};

std::mutex g_mutex;
State g_state;
/** Held while a callback runs, so that exchanging one waits for it; recursive for calls from inside. */
std::recursive_mutex g_callbackMutex;

thread_local std::map<long, unsigned long> t_portErrors;
thread_local unsigned long t_lastError = 0;

/** Runs `body` on a thread of its own, as the libraries' callbacks do. */
bool onOwnThread(const std::function<bool()> &body)
{
    bool done = false;
    std::thread([&] {
        const std::lock_guard<std::recursive_mutex> lock(g_callbackMutex);
        done = body();
    }).join();
    return done;
}

PortCallbacks callbacksOf(long port)
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    const auto found = g_state.ports.find(port);
    return found == g_state.ports.end() ? PortCallbacks() : found->second;
}

bool firePortCallback(long port, KAVUN_PORT_CALLBACK PortCallbacks::*callback, void *PortCallbacks::*user)
{
    return onOwnThread([=] {
        const PortCallbacks callbacks = callbacksOf(port);
        if (callbacks.*callback == nullptr) {
            return false;
        }
        (callbacks.*callback)(port, callbacks.*user);
        return true;
    });
}

template <typename Value>
std::vector<long> keys(const std::map<long, Value> &map)
{
    std::vector<long> numbers;
    for (const auto &entry : map) {
        numbers.push_back(entry.first);
    }
    return numbers;
}

} // namespace

void reset()
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    g_state = State();
}

std::vector<Call> calls()
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    return g_state.calls;
}

std::vector<std::string> callTexts()
{
    std::vector<std::string> texts;
    for (Call &call : calls()) {
        texts.push_back(std::move(call.text));
    }
    return texts;
}

void clearCalls()
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    g_state.calls.clear();
}

std::vector<long> openPorts()
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    return keys(g_state.ports);
}

std::vector<long> openPreviews()
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    return keys(g_state.previews);
}

void script(const std::string &function, std::vector<unsigned long> errors, unsigned long afterwards)
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    g_state.scripts[function] = {{errors.begin(), errors.end()}, afterwards};
}

void setPlayerOutputs(const PlayerOutputs &outputs)
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    g_state.outputs = outputs;
}

void whenCalled(const std::string &function, std::function<void()> action)
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    g_state.hooks[function] = std::move(action);
}

bool fireFileEnd(long port)
{
    return firePortCallback(port, &PortCallbacks::fileEnd, &PortCallbacks::fileEndUser);
}

bool fireFileRef(long port)
{
    return firePortCallback(port, &PortCallbacks::fileRef, &PortCallbacks::fileRefUser);
}

bool fireDraw(long port, HDC dc)
{
    return onOwnThread([=] {
        const PortCallbacks callbacks = callbacksOf(port);
        if (callbacks.draw == nullptr) {
            return false;
        }
        callbacks.draw(port, dc, callbacks.drawUser);
        return true;
    });
}

bool sendStream(long previewHandle, unsigned int type, const std::string &bytes)
{
    return onOwnThread([&] {
        Preview preview;
        {
            const std::lock_guard<std::mutex> lock(g_mutex);
            const auto found = g_state.previews.find(previewHandle);
            if (found != g_state.previews.end()) {
                preview = found->second;
            }
        }
        if (preview.callback == nullptr) {
            return false;
        }
        std::vector<unsigned char> buffer(bytes.begin(), bytes.end());
        const SELVIK_DCM_STREAM_DATA data = {type, static_cast<unsigned int>(buffer.size()), buffer.data()};
        preview.callback(previewHandle, &data, preview.user);
        return true;
    });
}

unsigned long recordCall(const std::string &function, const std::string &arguments)
{
    std::function<void()> hook;
    unsigned long error = 0;
    {
        const std::lock_guard<std::mutex> lock(g_mutex);
        g_state.calls.push_back({function + "(" + arguments + ")", GetCurrentThreadId()});
        const auto scripted = g_state.scripts.find(function);
        if (scripted != g_state.scripts.end()) {
            Script &steps = scripted->second;
            error = steps.afterwards;
            if (!steps.errors.empty()) {
                error = steps.errors.front();
                steps.errors.pop_front();
            }
        }
        const auto hooked = g_state.hooks.find(function);
        if (hooked != g_state.hooks.end()) {
            hook = hooked->second;
        }
    }
    if (hook) {
        hook();
    }
    return error;
}

void setLastError(long port, unsigned long error)
{
    t_portErrors[port] = error;
    t_lastError = error;
}

unsigned long lastError(long port)
{
    return isOpenPort(port) ? t_portErrors[port] : t_lastError;
}

long takePort()
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    const long port = g_state.nextPort++;
    g_state.ports[port] = PortCallbacks();
    return port;
}

bool isOpenPort(long port)
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    return g_state.ports.count(port) != 0;
}

void freePort(long port)
{
    const std::lock_guard<std::recursive_mutex> callbackLock(g_callbackMutex);
    const std::lock_guard<std::mutex> lock(g_mutex);
    g_state.ports.erase(port);
}

void changeCallbacks(long port, const std::function<void(PortCallbacks &)> &change)
{
    const std::lock_guard<std::recursive_mutex> callbackLock(g_callbackMutex);
    const std::lock_guard<std::mutex> lock(g_mutex);
    const auto found = g_state.ports.find(port);
    if (found != g_state.ports.end()) {
        change(found->second);
    }
}

PlayerOutputs playerOutputs()
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    return g_state.outputs;
}

long takePreview(SELVIK_DCM_STREAM_CB callback, void *user)
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    const long handle = g_state.nextPreview++;
    g_state.previews[handle] = {callback, user};
    return handle;
}

bool dropPreview(long previewHandle)
{
    const std::lock_guard<std::recursive_mutex> callbackLock(g_callbackMutex);
    const std::lock_guard<std::mutex> lock(g_mutex);
    return g_state.previews.erase(previewHandle) != 0;
}

long takeLogin()
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    return g_state.nextLogin++;
}

std::string spell(const void *pointer)
{
    if (pointer == nullptr) {
        return "null";
    }
    char text[32];
    std::snprintf(text, sizeof(text), "0x%llX", static_cast<unsigned long long>(reinterpret_cast<UINT_PTR>(pointer)));
    return text;
}

std::string spellText(const char *text)
{
    return text == nullptr ? "null" : '"' + std::string(text) + '"';
}

std::string spellBytes(const unsigned char *bytes, unsigned long size)
{
    if (bytes == nullptr) {
        return "null";
    }
    std::string text = "[";
    for (unsigned long i = 0; i < size; ++i) {
        char digits[4];
        std::snprintf(digits, sizeof(digits), "%02X", bytes[i]);
        text += digits;
    }
    return text + "]";
}

std::string spellOut(const void *pointer)
{
    return pointer == nullptr ? "null" : "out";
}

} // namespace doubles
