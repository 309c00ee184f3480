#include "base/src/widgets/HostDestroyWatch.h"

#include "base/PinModule.h"
#include "base/src/base/LogException.h"

#include <algorithm>
#include <map>
#include <utility>

namespace Base
{

namespace
{

struct Watched {
    HWND hHostWnd;
    HostDestroyWatch::Callbacks callbacks;
    /** The host is about to go, unless somebody has kept it from it. */
    bool bHostGoes = false;
};

struct Watch {
    HHOOK hWindows = nullptr;
    /** Only while a host is about to go: it makes every message that is sent on this thread dearer. */
    HHOOK hSentMessages = nullptr;
    std::map<QWinWidget *, Watched> widgets;
};

Watch &instance()
{
    // Never destroyed: widgets may outlive static objects.
    static Watch *pWatch = new Watch;
    return *pWatch;
}

/** Takes the callback of one widget in this host out of the list; empty when there is none left. */
std::function<void()> takeNext(HWND hHostWnd)
{
    std::map<QWinWidget *, Watched> &widgets = instance().widgets;
    const auto it = std::find_if(widgets.begin(), widgets.end(),
                                 [hHostWnd](const auto &entry) { return entry.second.hHostWnd == hHostWnd; });
    if (it == widgets.end()) {
        return nullptr;
    }
    std::function<void()> onDestroy = std::move(it->second.callbacks.onDestroy);
    widgets.erase(it);
    return onDestroy;
}

void call(const std::function<void()> &callback)
{
    try {
        callback();
    } catch (...) {
        logException("HostDestroyWatch", "HostDestroyWatch::call");
    }
}

LRESULT CALLBACK onSentMessage(int nCode, WPARAM wParam, LPARAM lParam);

bool goesWith(const Watched &watched, HWND hWnd)
{
    return watched.hHostWnd == hWnd || IsChild(hWnd, watched.hHostWnd) != FALSE;
}

/** Sees to it that the end of the hosts that go with a window is not missed, whatever fails afterwards: no allocation.
 */
void waitForDestroy(HWND hWnd)
{
    Watch &watch = instance();
    for (auto &[pWidget, watched] : watch.widgets) {
        watched.bHostGoes = watched.bHostGoes || goesWith(watched, hWnd);
        if (watched.bHostGoes && watch.hSentMessages == nullptr) {
            watch.hSentMessages = SetWindowsHookExW(WH_CALLWNDPROC, onSentMessage, nullptr, GetCurrentThreadId());
        }
    }
}

/** Removes the hooks that nothing needs any more. No allocation: widgets call it while they are destroyed. */
void removeHooks()
{
    Watch &watch = instance();
    const bool bWaiting = std::any_of(watch.widgets.begin(), watch.widgets.end(),
                                      [](const auto &entry) { return entry.second.bHostGoes; });
    if (!bWaiting && watch.hSentMessages != nullptr) {
        UnhookWindowsHookEx(std::exchange(watch.hSentMessages, nullptr));
    }
    if (watch.widgets.empty() && watch.hWindows != nullptr) {
        UnhookWindowsHookEx(std::exchange(watch.hWindows, nullptr));
    }
}

void onDestructionWanted(HWND hWnd)
{
    waitForDestroy(hWnd);
    const std::map<QWinWidget *, Watched> before = instance().widgets;
    for (const auto &[pWidget, watched] : before) {
        if (goesWith(watched, hWnd) && instance().widgets.count(pWidget) != 0) {
            call(watched.callbacks.beforeDestroy);
        }
    }
}

void onHostDestroyed(HWND hHostWnd)
{
    // The list is looked at anew each time: a callback may destroy other widgets, which are not to be called then.
    while (const std::function<void()> onDestroy = takeNext(hHostWnd)) {
        call(onDestroy);
    }
}

LRESULT CALLBACK onSentMessage(int nCode, WPARAM wParam, LPARAM lParam)
{
    const auto *pMessage = reinterpret_cast<const CWPSTRUCT *>(lParam);
    if (nCode == HC_ACTION && pMessage->message == WM_DESTROY) {
        onHostDestroyed(pMessage->hwnd);
        removeHooks();
    }
    return CallNextHookEx(nullptr, nCode, wParam, lParam);
}

LRESULT CALLBACK onWindowEvent(int nCode, WPARAM wParam, LPARAM lParam)
{
    if (nCode == HCBT_DESTROYWND) {
        try {
            onDestructionWanted(reinterpret_cast<HWND>(wParam));
        } catch (...) {
            logException("HostDestroyWatch", "HostDestroyWatch::onWindowEvent");
        }
    }
    return CallNextHookEx(nullptr, nCode, wParam, lParam);
}

} // namespace

void HostDestroyWatch::watch(QWinWidget *pWidget, HWND hHostWnd, Callbacks callbacks)
{
    Watch &watch = instance();
    watch.widgets[pWidget] = {hHostWnd, std::move(callbacks)};
    if (watch.hWindows == nullptr) {
        pinModule(reinterpret_cast<const void *>(&onSentMessage));
        watch.hWindows = SetWindowsHookExW(WH_CBT, onWindowEvent, nullptr, GetCurrentThreadId());
    }
}

void HostDestroyWatch::forget(QWinWidget *pWidget)
{
    instance().widgets.erase(pWidget);
    removeHooks();
}

} // namespace Base
