#include "tests/doubles/Recorder.h"

#include "tests/doubles/CallGates.h"
#include "tests/doubles/PreviewTable.h"

#include <algorithm>
#include <cstdio>
#include <deque>
#include <map>
#include <memory>
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

struct Port {
    PortCallbacks callbacks;
    /** Guarded by the state's mutex, as the callbacks. */
    PortKind kind = PortKind::Unopened;
    /** Held while a callback of the port runs, so that exchanging one waits for it; recursive for calls from inside. */
    std::recursive_mutex callbackMutex;
};

struct State {
    std::vector<Call> calls;
    std::map<std::string, Script> scripts;
    std::map<std::string, std::function<void()>> hooks;
    PlayerOutputs outputs;
    std::map<long, std::shared_ptr<Port>> ports;
    /** By thread and port. Not thread_local: MinGW may free such a map before it destroys it. */
    std::map<std::pair<unsigned long, long>, unsigned long> portErrors;
    long nextPort = 0;
    long nextLogin = 0;
};

std::mutex g_mutex;
State g_state;
thread_local unsigned long t_lastError = 0;

std::shared_ptr<Port> findPort(long port)
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    const auto found = g_state.ports.find(port);
    return found == g_state.ports.end() ? nullptr : found->second;
}

/** Calls back on a thread of its own, as the player does; `call` answers whether there was a callback. */
bool onPortsThread(long number, const std::function<bool(const PortCallbacks &)> &call)
{
    bool done = false;
    std::thread([&] {
        const std::shared_ptr<Port> port = findPort(number);
        if (port == nullptr) {
            return;
        }
        const std::lock_guard<std::recursive_mutex> lock(port->callbackMutex);
        PortCallbacks callbacks;
        {
            const std::lock_guard<std::mutex> stateLock(g_mutex);
            callbacks = port->callbacks;
        }
        done = call(callbacks);
    }).join();
    return done;
}

bool firePortCallback(long port, KAVUN_PORT_CALLBACK PortCallbacks::*callback, void *PortCallbacks::*user)
{
    return onPortsThread(port, [=](const PortCallbacks &callbacks) {
        if (callbacks.*callback == nullptr) {
            return false;
        }
        (callbacks.*callback)(port, callbacks.*user);
        return true;
    });
}

} // namespace

void reset()
{
    resetGates();
    resetPreviews();
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
    std::vector<long> numbers;
    for (const auto &entry : g_state.ports) {
        numbers.push_back(entry.first);
    }
    return numbers;
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
    return onPortsThread(port, [=](const PortCallbacks &callbacks) {
        if (callbacks.draw == nullptr) {
            return false;
        }
        callbacks.draw(port, dc, callbacks.drawUser);
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
    passGate(function);
    return error;
}

void setLastError(long port, unsigned long error)
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    g_state.portErrors[{GetCurrentThreadId(), port}] = error;
    t_lastError = error;
}

unsigned long lastError(long port)
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    const auto found = g_state.portErrors.find({GetCurrentThreadId(), port});
    if (g_state.ports.count(port) == 0) {
        return t_lastError;
    }
    return found == g_state.portErrors.end() ? 0 : found->second;
}

long takePort()
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    const long port = g_state.nextPort++;
    g_state.ports[port] = std::make_shared<Port>();
    return port;
}

bool isOpenPort(long port)
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    return g_state.ports.count(port) != 0;
}

void setPortKind(long port, PortKind kind)
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    const auto found = g_state.ports.find(port);
    if (found != g_state.ports.end()) {
        found->second->kind = kind;
    }
}

PortKind portKind(long port)
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    const auto found = g_state.ports.find(port);
    return found != g_state.ports.end() ? found->second->kind : PortKind::Unopened;
}

void freePort(long number)
{
    const std::shared_ptr<Port> port = findPort(number);
    if (port != nullptr) {
        const std::lock_guard<std::recursive_mutex> callbackLock(port->callbackMutex);
        const std::lock_guard<std::mutex> lock(g_mutex);
        port->callbacks = {};
        g_state.ports.erase(number);
    }
}

void changeCallbacks(long number, const std::function<void(PortCallbacks &)> &change)
{
    const std::shared_ptr<Port> port = findPort(number);
    if (port != nullptr) {
        const std::lock_guard<std::recursive_mutex> callbackLock(port->callbackMutex);
        const std::lock_guard<std::mutex> lock(g_mutex);
        change(port->callbacks);
    }
}

PlayerOutputs playerOutputs()
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    return g_state.outputs;
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
