#include "VideoWindow/VideoWindowMgr.h"

#include "VideoWindow/HostStacking.h"
#include "VideoWindow/VideoWindow.h"
#include "base/CSingleton.h"
#include "logging/Log.h"

#include <QApplication>

#include <algorithm>
#include <exception>
#include <utility>

namespace pellora
{

namespace
{

LogLocation at(const char *pSignature, int nLine = PELLORA_CALLER_LINE)
{
    return {"VideoWindow\\VideoWindowMgr", pSignature, nLine};
}

WNDPROC procedureOf(HWND hWnd)
{
    return reinterpret_cast<WNDPROC>(GetWindowLongPtrW(hWnd, GWLP_WNDPROC));
}

WNDPROC replaceProcedure(HWND hWnd, WNDPROC pProcedure)
{
    return reinterpret_cast<WNDPROC>(SetWindowLongPtrW(hWnd, GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(pProcedure)));
}

/** Why no video window can live in this window; null when one can. */
const char *obstacle(HWND hHostWnd)
{
    if (qobject_cast<QApplication *>(QCoreApplication::instance()) == nullptr) {
        return "there is no application object";
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

} // namespace

VideoWindowMgr::VideoWindowMgr()
{
    logInfo(at("__cdecl pellora::VideoWindowMgr::VideoWindowMgr(void)"), "VideoWindowMgr: %p", this);
}

long VideoWindowMgr::createVideoWindow(HWND hHostWnd, unsigned char embedMode)
{
    const char *pObstacle = obstacle(hHostWnd);
    if (pObstacle != nullptr) {
        logError(at("long __cdecl pellora::VideoWindowMgr::createVideoWindow(struct HWND__ *,unsigned char)"),
                 "no video window in %p: %s", hHostWnd, pObstacle);
        return -1;
    }
    auto pWindow = std::make_unique<VideoWindow>(hHostWnd);
    pWindow->show();
    attachHostWindow(pWindow.get(), embedMode);
    // A window for which there is no slot stays shown and attached: hosts see it although they get no handle.
    return pushVideoWindow(pWindow.release());
}

long VideoWindowMgr::pushVideoWindow(VideoWindow *pWindow)
{
    const auto it = std::find(m_windows.begin(), m_windows.end(), nullptr);
    if (it == m_windows.end()) {
        logInfo(at("long __cdecl pellora::VideoWindowMgr::pushVideoWindow(class pellora::VideoWindow *)"),
                "the container of VideoWindow is full, the max count is: %d", static_cast<int>(kMaxWindows));
        return -1;
    }
    *it = pWindow;
    return static_cast<long>(it - m_windows.begin());
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
    const auto it = m_hosts.find(hHostWnd);
    if (it == m_hosts.end()) {
        // The entry is there before the procedure, which swallows messages of hosts without one.
        HostEntry &entry = m_hosts[hHostWnd];
        entry.pPreviousProcedure = procedureOf(hHostWnd);
        entry.windows.insert(pWindow);
        entry.embedMode = embedMode;
        entry.pPreviousProcedure = replaceProcedure(hHostWnd, &NewWindowProc);
        return true;
    }
    if (it->second.windows.empty()) {
        // It only passed messages on, for somebody who subclassed the host later.
        it->second.embedMode = embedMode;
    }
    it->second.windows.insert(pWindow);
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
    if (!it->second.windows.empty()) {
        return true;
    }
    if (procedureOf(hHostWnd) == &NewWindowProc) {
        replaceProcedure(hHostWnd, it->second.pPreviousProcedure);
        m_hosts.erase(it);
    }
    // Otherwise somebody has subclassed the host since and calls NewWindowProc: the entry stays to pass messages on.
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

WNDPROC VideoWindowMgr::previousProcedure(HWND hHostWnd) const
{
    const auto it = m_hosts.find(hHostWnd);
    return it != m_hosts.end() ? it->second.pPreviousProcedure : nullptr;
}

void VideoWindowMgr::onHostMessage(HWND hHostWnd, UINT nMessage)
{
    const HostEntry &entry = m_hosts.at(hHostWnd);
    switch (nMessage) {
    case WM_PAINT:
    case WM_GETMINMAXINFO:
        if (!entry.windows.empty()) {
            stackAmongHostWindows(hHostWnd, entry.embedMode, windowsOf(entry));
        }
        break;
    case WM_NCDESTROY:
        onHostGone(hHostWnd);
        break;
    default:
        break;
    }
}

void VideoWindowMgr::onHostGone(HWND hHostWnd)
{
    const auto it = m_hosts.find(hHostWnd);
    const WindowList windows = windowsOf(it->second);
    if (procedureOf(hHostWnd) == &NewWindowProc) {
        replaceProcedure(hHostWnd, it->second.pPreviousProcedure);
    }
    m_hosts.erase(it);
    for (const QPointer<VideoWindow> &pWindow : windows) {
        if (!pWindow) {
            continue;
        }
        pWindow->setHostGone();
        if (!isRegistered(pWindow)) {
            // It never had a handle, so that nobody could destroy it.
            m_deletions.add(std::unique_ptr<VideoWindow>(pWindow));
        }
    }
}

LRESULT CALLBACK NewWindowProc(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam)
{
    VideoWindowMgr *pRegistry = Base::CSingleton<VideoWindowMgr>::getInstance();
    // Taken first: the host may destroy video windows in what follows, and the entry with the last of them.
    WNDPROC pPrevious = pRegistry->previousProcedure(hWnd);
    if (pPrevious == nullptr) {
        return 0;
    }
    try {
        pRegistry->onHostMessage(hWnd, nMessage);
    } catch (const std::exception &exception) {
        // The system calls this procedure and knows no exceptions.
        writeLog(LogLevel::Error,
                 at("__int64 __cdecl pellora::NewWindowProc(struct HWND__ *,unsigned int,unsigned __int64,__int64)"),
                 exception.what());
    }
    return CallWindowProcW(pPrevious, hWnd, nMessage, wParam, lParam);
}

} // namespace pellora
