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

// How exports find what they act on. Each answers with `Result`, and 0 when the window is missing or dead, or the pane
// is missing. A warning says so of the last two.

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
            return static_cast<Result>(refuseWindow(where, lHandle));
        }
        if (pWindow->hasLeftHost()) {
            return static_cast<Result>(refuse(
                where, "window %d is dead, since its host window was destroyed: only PELLORA_DestroyWindow takes it",
                lHandle));
        }
        // Windows calls the host while the focus and the screen change; it may destroy the window then.
        const HostCalls::Scope scope(pWindow->hostCalls());
        return static_cast<Result>(std::invoke(operation, *pWindow, arguments...));
    });
}

/** Says that the window has no such pane; false. */
inline bool refusePane(const LogLocation &where, long lHandle, long lSubHandel) noexcept
{
    return refuse(where, "window %d has no pane %d", lHandle, lSubHandel);
}

/** Calls the operation, a member of VideoWnd or a function that takes one, on a pane or the current one. */
template <typename Result, typename Operation, typename... Arguments>
Result onPane(const LogLocation &where, long lHandle, long lSubHandel, Operation operation,
              Arguments... arguments) noexcept
{
    return onWindow<Result>(where, lHandle, [&](VideoWindow &window) {
        VideoWnd *pPane = lSubHandel == PELLORA_CURRENT_PANE ? window.getCurWnd() : window.getWnd(lSubHandel);
        if (pPane == nullptr) {
            return static_cast<Result>(refusePane(where, lHandle, lSubHandel));
        }
        return static_cast<Result>(std::invoke(operation, *pPane, arguments...));
    });
}

/** As onPane, for what acts on a source: that nothing plays in the pane is said where the operation fails for it. */
template <typename Result, typename Operation, typename... Arguments>
Result onSource(const LogLocation &where, long lHandle, long lSubHandel, Operation operation,
                Arguments... arguments) noexcept
{
    return onPane<Result>(where, lHandle, lSubHandel, [&](VideoWnd &pane) {
        const bool bPlaying = pane.isPlaying();
        const auto result = static_cast<Result>(std::invoke(operation, pane, arguments...));
        if (!bPlaying && result == Result{}) {
            refuse(where, "nothing plays in pane %d of window %d", pane.subHandel(), lHandle);
        }
        return result;
    });
}

/** As onPane, on the current pane. */
template <typename Result, typename Operation, typename... Arguments>
Result onCurrentPane(const LogLocation &where, long lHandle, Operation operation, Arguments... arguments) noexcept
{
    return onPane<Result>(where, lHandle, PELLORA_CURRENT_PANE, operation, arguments...);
}

/** As onSource, with a member of PanePort on the current pane's port. */
template <typename Result, typename Operation, typename... Arguments>
Result onCurrentPort(const LogLocation &where, long lHandle, Operation operation, Arguments... arguments) noexcept
{
    return onSource<Result>(where, lHandle, PELLORA_CURRENT_PANE,
                            [&](VideoWnd &pane) { return std::invoke(operation, pane.port(), arguments...); });
}

} // namespace pellora

#endif
