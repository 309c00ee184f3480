#include "VideoWindow/DeletionQueue.h"

#include "VideoWindow/VideoWindow.h"
#include "logging/Log.h"

#include <algorithm>
#include <utility>

namespace pellora
{

namespace
{

constexpr wchar_t kClassName[] = L"PelloraDeletionQueue";
constexpr UINT kDeleteIdle = WM_APP;

} // namespace

DeletionQueue::DeletionQueue() = default;

DeletionQueue::~DeletionQueue() = default;

void DeletionQueue::add(std::unique_ptr<VideoWindow> pWindow)
{
    if (!pWindow->isInHostCall()) {
        return;
    }
    createMessageWindow();
    pWindow->retire([this] { post(); });
    m_windows.push_back(std::move(pWindow));
}

LRESULT CALLBACK DeletionQueue::messageProcedure(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam)
{
    if (nMessage == kDeleteIdle) {
        reinterpret_cast<DeletionQueue *>(GetWindowLongPtrW(hWnd, GWLP_USERDATA))->deleteIdle();
        return 0;
    }
    return DefWindowProcW(hWnd, nMessage, wParam, lParam);
}

void DeletionQueue::createMessageWindow()
{
    if (m_hMessageWnd != nullptr) {
        return;
    }
    HMODULE hModule = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&messageProcedure), &hModule);
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof(windowClass);
    windowClass.lpfnWndProc = messageProcedure;
    windowClass.hInstance = hModule;
    windowClass.lpszClassName = kClassName;
    RegisterClassExW(&windowClass);
    m_hMessageWnd = CreateWindowExW(0, kClassName, nullptr, 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, hModule, nullptr);
    if (m_hMessageWnd == nullptr) {
        logError(logAt("VideoWindow\\DeletionQueue", "void __cdecl pellora::DeletionQueue::createMessageWindow(void)"),
                 "CreateWindowExW error: %d.", GetLastError());
        return;
    }
    SetWindowLongPtrW(m_hMessageWnd, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(this));
}

void DeletionQueue::post() const
{
    PostMessageW(m_hMessageWnd, kDeleteIdle, 0, 0);
}

void DeletionQueue::deleteIdle()
{
    // One at a time: a destructor talks to native windows, whose procedures may destroy further video windows.
    for (;;) {
        const auto it = std::find_if(m_windows.begin(), m_windows.end(),
                                     [](const auto &pWindow) { return !pWindow->isInHostCall(); });
        if (it == m_windows.end()) {
            return;
        }
        const std::unique_ptr<VideoWindow> pIdle = std::move(*it);
        m_windows.erase(it);
    }
}

} // namespace pellora
