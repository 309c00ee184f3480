#include "base/src/widgets/HostDestroyWatch.h"

#include <map>
#include <utility>
#include <vector>

namespace base
{

namespace
{

struct Watched {
    HWND hHostWnd;
    std::function<void()> onDestroy;
};

struct Watch {
    HHOOK hHook = nullptr;
    std::map<QWinWidget *, Watched> widgets;
};

Watch &instance()
{
    // Never destroyed: widgets may outlive static objects.
    static Watch *pWatch = new Watch;
    return *pWatch;
}

void onHostDestroyed(HWND hHostWnd)
{
    std::map<QWinWidget *, Watched> &widgets = instance().widgets;
    std::vector<std::function<void()>> calls;
    for (auto it = widgets.begin(); it != widgets.end();) {
        if (it->second.hHostWnd == hHostWnd) {
            calls.push_back(std::move(it->second.onDestroy));
            it = widgets.erase(it);
        } else {
            ++it;
        }
    }
    for (const std::function<void()> &call : calls) {
        call();
    }
}

LRESULT CALLBACK onSentMessage(int nCode, WPARAM wParam, LPARAM lParam)
{
    const auto *pMessage = reinterpret_cast<const CWPSTRUCT *>(lParam);
    if (nCode == HC_ACTION && pMessage->message == WM_DESTROY) {
        onHostDestroyed(pMessage->hwnd);
    }
    return CallNextHookEx(nullptr, nCode, wParam, lParam);
}

} // namespace

void HostDestroyWatch::watch(QWinWidget *pWidget, HWND hHostWnd, std::function<void()> onDestroy)
{
    Watch &watch = instance();
    watch.widgets[pWidget] = {hHostWnd, std::move(onDestroy)};
    if (watch.hHook == nullptr) {
        watch.hHook = SetWindowsHookExW(WH_CALLWNDPROC, onSentMessage, nullptr, GetCurrentThreadId());
    }
}

void HostDestroyWatch::forget(QWinWidget *pWidget)
{
    Watch &watch = instance();
    watch.widgets.erase(pWidget);
    if (watch.widgets.empty() && watch.hHook != nullptr) {
        UnhookWindowsHookEx(watch.hHook);
        watch.hHook = nullptr;
    }
}

} // namespace base
