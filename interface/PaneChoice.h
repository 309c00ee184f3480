#ifndef INTERFACE_PANECHOICE_H
#define INTERFACE_PANECHOICE_H

#include "VideoWindow/VideoWindow.h"
#include "VideoWindow/VideoWindowMgr.h"
#include "VideoWindow/VideoWnd.h"
#include "base/CSingleton.h"
#include "interface/Boundary.h"
#include "interface/PelloraTypes.h"

#include <functional>

namespace pellora
{

// How exports find what they act on. Each answers with `Result`, 0 when the window or the pane is missing.

[[nodiscard]] inline VideoWindowMgr &registry()
{
    return *Base::CSingleton<VideoWindowMgr>::getInstance();
}

/** Calls the operation, a member of VideoWindow or a function that takes one, on the window with this handle. */
template <typename Result, typename Operation, typename... Arguments>
Result onWindow(const LogLocation &where, long lHandle, Operation operation, Arguments... arguments) noexcept
{
    return guarded(where, Result{}, [&] {
        VideoWindow *pWindow = registry().getVideoWindow(lHandle);
        if (pWindow == nullptr) {
            return Result{};
        }
        // Windows calls the host while the focus and the screen change; it may destroy the window then.
        const HostCalls::Scope scope(pWindow->hostCalls());
        return static_cast<Result>(std::invoke(operation, *pWindow, arguments...));
    });
}

/** Calls the operation, a member of VideoWnd or a function that takes one, on a pane or the current one. */
template <typename Result, typename Operation, typename... Arguments>
Result onPane(const LogLocation &where, long lHandle, long lSubHandel, Operation operation,
              Arguments... arguments) noexcept
{
    return onWindow<Result>(where, lHandle, [&](VideoWindow &window) {
        VideoWnd *pPane = lSubHandel == PELLORA_CURRENT_PANE ? window.getCurWnd() : window.getWnd(lSubHandel);
        return pPane != nullptr ? static_cast<Result>(std::invoke(operation, *pPane, arguments...)) : Result{};
    });
}

/** As onPane, on the current pane. */
template <typename Result, typename Operation, typename... Arguments>
Result onCurrentPane(const LogLocation &where, long lHandle, Operation operation, Arguments... arguments) noexcept
{
    return onPane<Result>(where, lHandle, PELLORA_CURRENT_PANE, operation, arguments...);
}

/** Calls the operation, a member of PanePort, on the current pane's port. */
template <typename Result, typename Operation, typename... Arguments>
Result onCurrentPort(const LogLocation &where, long lHandle, Operation operation, Arguments... arguments) noexcept
{
    return onCurrentPane<Result>(where, lHandle,
                                 [&](VideoWnd &pane) { return std::invoke(operation, pane.port(), arguments...); });
}

} // namespace pellora

#endif
