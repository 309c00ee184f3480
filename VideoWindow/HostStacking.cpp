#include "VideoWindow/HostStacking.h"

#include "VideoWindow/VideoWindow.h"
#include "logging/Log.h"

namespace pellora
{

namespace
{

constexpr unsigned char kRenderWidgetMode = 0;
constexpr unsigned char kD3dWindowMode = 1;

// The place is the host's window procedure; docs/compatibility.md: log-places.
const char *const kFile = "VideoWindow\\VideoWindowMgr";
const char *const kFunction =
    "__int64 __cdecl pellora::NewWindowProc(struct HWND__ *,unsigned int,unsigned __int64,__int64)";

/** Calls `place` with each native video window and its size on the screen. */
template <typename Place>
void forEachNativeWindow(const std::vector<QPointer<VideoWindow>> &videoWindows, Place place)
{
    for (const QPointer<VideoWindow> &pWindow : videoWindows) {
        if (!pWindow || pWindow->hasLeftHost()) {
            continue;
        }
        HWND hVideoWnd = pWindow->nativeWindow();
        if (hVideoWnd == nullptr) {
            logError(logAt(kFile, kFunction), "hwndQtWindow is null");
            continue;
        }
        RECT rect{};
        GetWindowRect(hVideoWnd, &rect);
        place(hVideoWnd, rect.right - rect.left, rect.bottom - rect.top);
    }
}

/**
 * The page lies behind the video, all but transparent, and lets the mouse pass.
 * It stays so; docs/compatibility.md: page-stays-changed.
 */
void putRenderWidgetBehind(HWND hHostWnd, const std::vector<QPointer<VideoWindow>> &videoWindows)
{
    HWND hPage = FindWindowExW(hHostWnd, nullptr, L"Chrome_RenderWidgetHostHWND", nullptr);
    if (hPage == nullptr) {
        logError(logAt(kFile, kFunction), "hwndChromeLegacyWindow is null, %d", GetLastError());
        return;
    }
    SetWindowLongW(hPage, GWL_EXSTYLE, WS_EX_LAYERED | WS_EX_TRANSPARENT);
    SetLayeredWindowAttributes(hPage, 0, 1, LWA_ALPHA);
    forEachNativeWindow(videoWindows, [hPage](HWND hVideoWnd, int nWidth, int nHeight) {
        SetWindowPos(hPage, hVideoWnd, 0, 0, nWidth, nHeight, SWP_SHOWWINDOW);
    });
}

/**
 * The video lies directly behind the page, which is transparent where it wants the video to be seen. A hidden one is
 * shown; docs/compatibility.md: stacking-shows.
 */
void putVideoBehindD3dWindow(HWND hHostWnd, const std::vector<QPointer<VideoWindow>> &videoWindows)
{
    HWND hPage = FindWindowExW(hHostWnd, nullptr, L"Intermediate D3D Window", nullptr);
    if (hPage == nullptr) {
        logError(logAt(kFile, kFunction), "hwndIntermediateD3DWindow is null, %d", GetLastError());
        return;
    }
    forEachNativeWindow(videoWindows, [hPage](HWND hVideoWnd, int nWidth, int nHeight) {
        SetWindowPos(hVideoWnd, hPage, 0, 0, nWidth, nHeight, SWP_NOSIZE | SWP_NOMOVE | SWP_SHOWWINDOW);
    });
}

} // namespace

void stackAmongHostWindows(HWND hHostWnd, unsigned char embedMode,
                           const std::vector<QPointer<VideoWindow>> &videoWindows)
{
    if (embedMode == kRenderWidgetMode) {
        putRenderWidgetBehind(hHostWnd, videoWindows);
    } else if (embedMode == kD3dWindowMode) {
        putVideoBehindD3dWindow(hHostWnd, videoWindows);
    }
}

} // namespace pellora
