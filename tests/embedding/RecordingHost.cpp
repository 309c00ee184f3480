#include "tests/embedding/RecordingHost.h"

#include <algorithm>
#include <iterator>

namespace embedding
{

namespace
{

std::string hex(unsigned long long nValue)
{
    char text[24];
    std::snprintf(text, sizeof(text), "%llx", nValue);
    return text;
}

std::string spelled(UINT nMessage, WPARAM wParam, LPARAM lParam)
{
    return hex(nMessage) + " " + hex(wParam) + " " + hex(static_cast<unsigned long long>(lParam)) +
           (InSendMessage() != FALSE ? " sent by another thread" : "");
}

/** Messages that applications give each other, and whose parameters are plain numbers here. */
bool isPlain(UINT nMessage)
{
    static constexpr UINT kPlain[] = {WM_COMMAND,      WM_TIMER,   WM_KEYDOWN,      WM_KEYUP,           WM_CHAR,
                                      WM_HSCROLL,      WM_VSCROLL, WM_INITMENU,     WM_QUERYENDSESSION, WM_ENDSESSION,
                                      WM_CLOSE,        WM_HOTKEY,  WM_APPCOMMAND,   WM_POWERBROADCAST,  WM_DPICHANGED,
                                      WM_DEVICECHANGE, WM_NOTIFY,  WM_MOUSEWHEEL,   WM_CONTEXTMENU,     WM_SYSCOMMAND,
                                      WM_NULL,         WM_ENABLE,  WM_DISPLAYCHANGE};
    return nMessage >= WM_USER || std::find(std::begin(kPlain), std::end(kPlain), nMessage) != std::end(kPlain);
}

} // namespace

RecordingHost::RecordingHost()
{
    WNDCLASSEXW description = {};
    description.cbSize = sizeof(description);
    description.lpfnWndProc = &RecordingHost::procedure;
    description.hInstance = GetModuleHandleW(nullptr);
    description.lpszClassName = L"PelloraRecordingHost";
    // Registered already: fine.
    RegisterClassExW(&description);
    m_hWnd = CreateWindowExW(0, description.lpszClassName, L"host", WS_POPUP | WS_THICKFRAME, 40, 40, 640, 480, nullptr,
                             nullptr, description.hInstance, this);
    ShowWindow(m_hWnd, SW_SHOWNOACTIVATE);
}

RecordingHost::~RecordingHost()
{
    DestroyWindow(m_hWnd);
}

HWND RecordingHost::handle() const
{
    return m_hWnd;
}

const std::vector<std::string> &RecordingHost::record() const
{
    return m_record;
}

void RecordingHost::note(const std::string &line)
{
    m_record.push_back(line);
}

LRESULT CALLBACK RecordingHost::procedure(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam)
{
    if (nMessage == WM_NCCREATE) {
        const auto *pCreate = reinterpret_cast<const CREATESTRUCTW *>(lParam);
        SetWindowLongPtrW(hWnd, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(pCreate->lpCreateParams));
    }
    auto *pHost = reinterpret_cast<RecordingHost *>(GetWindowLongPtrW(hWnd, GWLP_USERDATA));
    if (pHost == nullptr || nMessage == WM_NCCREATE) {
        return DefWindowProcW(hWnd, nMessage, wParam, lParam);
    }
    pHost->m_hWnd = hWnd;
    return pHost->onMessage(nMessage, wParam, lParam);
}

LRESULT RecordingHost::onMessage(UINT nMessage, WPARAM wParam, LPARAM lParam)
{
    switch (nMessage) {
    case WM_PAINT:
        return onPaint();
    case WM_COPYDATA:
        return onCopyData(wParam, lParam);
    case WM_GETMINMAXINFO:
        // Not noted: how often the system asks is its own matter. What comes of it is tested.
        reinterpret_cast<MINMAXINFO *>(lParam)->ptMinTrackSize = {kLeastWidth, kLeastHeight};
        return 0;
    case WM_SETTEXT:
        note("WM_SETTEXT " + std::to_string(lstrlenW(reinterpret_cast<const wchar_t *>(lParam))));
        return DefWindowProcW(m_hWnd, nMessage, wParam, lParam);
    default:
        break;
    }
    if (!isPlain(nMessage)) {
        return DefWindowProcW(m_hWnd, nMessage, wParam, lParam);
    }
    note(spelled(nMessage, wParam, lParam));
    if (nMessage == kNesting) {
        onNesting();
    }
    // An answer that tells which message it was for.
    return static_cast<LRESULT>(nMessage * 1000 + wParam) - lParam;
}

LRESULT RecordingHost::onPaint()
{
    RECT update = {};
    const BOOL bUpdate = GetUpdateRect(m_hWnd, &update, FALSE);
    note("WM_PAINT " + std::to_string(bUpdate) + " " + std::to_string(update.left) + " " + std::to_string(update.top) +
         " " + std::to_string(update.right) + " " + std::to_string(update.bottom));
    PAINTSTRUCT paint = {};
    BeginPaint(m_hWnd, &paint);
    FillRect(paint.hdc, &paint.rcPaint, static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH)));
    EndPaint(m_hWnd, &paint);
    return 0;
}

LRESULT RecordingHost::onCopyData(WPARAM wParam, LPARAM lParam)
{
    const auto &data = *reinterpret_cast<const COPYDATASTRUCT *>(lParam);
    note("WM_COPYDATA " + hex(wParam) + " " + hex(data.dwData) + " " +
         std::string(static_cast<const char *>(data.lpData), data.cbData) +
         (InSendMessage() != FALSE ? " from another thread" : ""));
    return 4711;
}

void RecordingHost::onNesting()
{
    PostMessageW(m_hWnd, kNesting + 1, 1, 2);
    note("answer " + std::to_string(SendMessageW(m_hWnd, kNesting + 2, 3, 4)));
}

} // namespace embedding
