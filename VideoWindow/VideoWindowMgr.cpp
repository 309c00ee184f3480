#include "VideoWindow/VideoWindowMgr.h"

#include "VideoWindow/HostStacking.h"
#include "VideoWindow/VideoWindow.h"
#include "base/CSingleton.h"
#include "logging/LogException.h"

#include <QApplication>
#include <QScopedValueRollback>

#include <algorithm>
#include <utility>

namespace pellora
{

namespace
{

const char *const kFile = "VideoWindow\\VideoWindowMgr";

/** Why no video window can live in this window; null when one can. */
const char *obstacle(HWND hHostWnd)
{
    if (QCoreApplication::instance() == nullptr) {
        return "there is no application object";
    }
    if (qobject_cast<QApplication *>(QCoreApplication::instance()) == nullptr) {
        return "the application object is no QApplication";
    }
    DWORD dwProcess = 0;
    const DWORD dwThread = GetWindowThreadProcessId(hHostWnd, &dwProcess);
    if (dwThread == 0) {
        return "there is no such window";
    }
    if (dwProcess != GetCurrentProcessId()) {
        return "the window is another process's";
    }
    if (dwThread != GetCurrentThreadId()) {
        return "the window is another thread's";
    }
    return nullptr;
}

void reportObstacle(HWND hHostWnd, const char *pObstacle)
{
    logError(logAt(kFile, "long __cdecl pellora::VideoWindowMgr::createVideoWindow(struct HWND__ *,unsigned char)"),
             "no video window in %p: %s", hHostWnd, pObstacle);
}

} // namespace

VideoWindowMgr::VideoWindowMgr() : m_subclass(*new WindowSubclass(&NewWindowProc, L"PelloraNewWindowProc"))
{
    logInfo(logAt(kFile, "__cdecl pellora::VideoWindowMgr::VideoWindowMgr(void)"), "VideoWindowMgr: %p", this);
}

long VideoWindowMgr::createVideoWindow(HWND hHostWnd, unsigned char embedMode)
{
    const char *pObstacle = obstacle(hHostWnd);
    if (pObstacle == nullptr && isGoing(hHostWnd)) {
        pObstacle = "the window is being destroyed";
    }
    if (pObstacle == nullptr && m_bMaking) {
        // Windows tells a host of its children while they are made, and Qt 5.15 cannot make two at the same time.
        pObstacle = "another one is being made";
    }
    if (pObstacle != nullptr) {
        reportObstacle(hHostWnd, pObstacle);
        return -1;
    }
    const QScopedValueRollback<bool> making(m_bMaking, true);
    std::unique_ptr<VideoWindow> pWindow;
    try {
        pWindow = std::make_unique<VideoWindow>(hHostWnd);
    } catch (const QWinWidget::NoWindow &exception) {
        reportObstacle(hHostWnd, exception.what());
        return -1;
    }
    pWindow->show();
    attachHostWindow(pWindow.get(), embedMode);
    // A window for which there is no slot stays shown and attached; docs/compatibility.md: tenth-window-shown.
    return pushVideoWindow(pWindow.release());
}

long VideoWindowMgr::pushVideoWindow(VideoWindow *pWindow)
{
    auto it = std::find(m_windows.begin(), m_windows.end(), nullptr);
    if (it == m_windows.end()) {
        // Windows that a host has left behind dead must not keep it from new ones for ever.
        it = std::find_if(m_windows.begin(), m_windows.end(),
                          [](const VideoWindow *pOther) { return pOther->hasLeftHost(); });
    }
    if (it == m_windows.end()) {
        const LogLocation where =
            logAt(kFile, "long __cdecl pellora::VideoWindowMgr::pushVideoWindow(class pellora::VideoWindow *)");
        logInfo(where, "the container of VideoWindow is full, the max count is: %d", static_cast<int>(kMaxWindows));
        logWarn(where, "a video window in %p gets no handle: it is shown, and stays until its host window is destroyed",
                pWindow->parentWindow());
        return -1;
    }
    std::unique_ptr<VideoWindow> pDead(std::exchange(*it, pWindow));
    const long lHandle = static_cast<long>(it - m_windows.begin());
    if (pDead) {
        m_deletions.add(std::move(pDead));
    }
    return lHandle;
}

VideoWindow *VideoWindowMgr::getVideoWindow(long lHandle) const
{
    return lHandle >= 0 && lHandle < static_cast<long>(kMaxWindows) ? m_windows[lHandle] : nullptr;
}

bool VideoWindowMgr::destroyVideoWindow(long lHandle)
{
    detachHostWindow(getVideoWindow(lHandle));
    if (lHandle < 0 || lHandle >= static_cast<long>(kMaxWindows)) {
        return false;
    }
    std::unique_ptr<VideoWindow> pWindow(std::exchange(m_windows[lHandle], nullptr));
    if (pWindow) {
        m_deletions.add(std::move(pWindow));
    }
    return true;
}

void VideoWindowMgr::takeStartResults()
{
    for (VideoWindow *pWindow : m_windows) {
        if (pWindow != nullptr) {
            pWindow->takeStartResults();
        }
    }
}

bool VideoWindowMgr::attachHostWindow(VideoWindow *pWindow, unsigned char embedMode)
{
    HWND hHostWnd = pWindow->parentWindow();
    if (!m_subclass.install(hHostWnd)) {
        // The host has gone while the window was made.
        return true;
    }
    HostEntry &entry = m_hosts[hHostWnd];
    if (entry.windows.empty()) {
        // A new host, one that only passed messages on, or one that has come to the number of a host that is gone.
        entry.embedMode = embedMode;
        entry.bGoing = false;
    }
    entry.windows.insert(pWindow);
    pWindow->setWhenHostDestroyed([this, pWindow] { onHostDestroyed(pWindow); });
    return true;
}

bool VideoWindowMgr::detachHostWindow(VideoWindow *pWindow)
{
    if (pWindow == nullptr) {
        return false;
    }
    HWND hHostWnd = pWindow->parentWindow();
    const auto it = m_hosts.find(hHostWnd);
    if (it == m_hosts.end() || it->second.windows.erase(pWindow) == 0) {
        return false;
    }
    // Where somebody has subclassed the host since and calls NewWindowProc, the entry stays to pass messages on.
    if (it->second.windows.empty() && m_subclass.remove(hHostWnd)) {
        m_hosts.erase(hHostWnd);
    }
    return true;
}

VideoWindowMgr::WindowList VideoWindowMgr::windowsOf(const HostEntry &entry)
{
    return {entry.windows.begin(), entry.windows.end()};
}

bool VideoWindowMgr::isRegistered(const VideoWindow *pWindow) const
{
    return std::find(m_windows.begin(), m_windows.end(), pWindow) != m_windows.end();
}

WindowSubclass &VideoWindowMgr::subclass() const
{
    return m_subclass;
}

/** False for a window that has come to the number of one that is gone. */
bool VideoWindowMgr::isGoing(HWND hHostWnd)
{
    const auto it = m_hosts.find(hHostWnd);
    return it != m_hosts.end() && it->second.bGoing && m_subclass.isReached(hHostWnd);
}

void VideoWindowMgr::onHostMessage(HWND hHostWnd, UINT nMessage)
{
    const auto it = m_hosts.find(hHostWnd);
    if (it == m_hosts.end()) {
        return;
    }
    switch (nMessage) {
    case WM_PAINT:
    case WM_GETMINMAXINFO:
        if (!it->second.windows.empty()) {
            stackAmongHostWindows(hHostWnd, it->second.embedMode, windowsOf(it->second));
        }
        break;
    case WM_DESTROY:
        it->second.bGoing = true;
        break;
    case WM_NCDESTROY:
        m_subclass.forget(hHostWnd);
        m_hosts.erase(it);
        break;
    default:
        break;
    }
}

/**
 * Called before the host hears of its end itself. Its entry stays for its last messages, if they come by at all: a
 * host may have put its own procedure back.
 */
void VideoWindowMgr::onHostDestroyed(VideoWindow *pWindow)
{
    HWND hHostWnd = pWindow->parentWindow();
    const auto it = m_hosts.find(hHostWnd);
    if (it == m_hosts.end() || it->second.windows.erase(pWindow) == 0) {
        return;
    }
    if (it->second.windows.empty() && !m_subclass.isReached(hHostWnd)) {
        m_subclass.forget(hHostWnd);
        m_hosts.erase(hHostWnd);
    }
    if (!isRegistered(pWindow)) {
        // It never had a handle, so that nobody could destroy it.
        m_deletions.add(std::unique_ptr<VideoWindow>(pWindow));
    }
}

LRESULT CALLBACK NewWindowProc(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam)
{
    VideoWindowMgr *pRegistry = Base::CSingleton<VideoWindowMgr>::getInstance();
    if (pRegistry->subclass().takesProbe(nMessage)) {
        return 0;
    }
    // Taken first: the host may destroy video windows in what follows, and the entry with the last of them.
    const WNDPROC pPrevious = pRegistry->subclass().previous(hWnd);
    if (pPrevious == nullptr) {
        return 0;
    }
    contained(
        logAt(kFile, "__int64 __cdecl pellora::NewWindowProc(struct HWND__ *,unsigned int,unsigned __int64,__int64)"),
        [&] { pRegistry->onHostMessage(hWnd, nMessage); });
    return CallWindowProcW(pPrevious, hWnd, nMessage, wParam, lParam);
}

} // namespace pellora
