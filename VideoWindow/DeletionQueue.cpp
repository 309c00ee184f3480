#include "VideoWindow/DeletionQueue.h"

#include "VideoWindow/VideoWindow.h"
#include "base/PinModule.h"
#include "logging/LogException.h"

#include <algorithm>
#include <utility>

namespace pellora
{

namespace
{

const char *const kFile = "VideoWindow\\DeletionQueue";
constexpr wchar_t kClassName[] = L"PelloraDeletionQueue";
constexpr UINT kDeleteIdle = WM_APP;

} // namespace

DeletionQueue::DeletionQueue() = default;

DeletionQueue::~DeletionQueue() = default;

void DeletionQueue::add(std::unique_ptr<VideoWindow> pWindow)
{
    VideoWindow &window = *pWindow;
    createMessageWindow();
    m_windows.push_back(std::move(pWindow));
    // Last: the host hears of changes of the focus, and may destroy further windows.
    window.retire([this] { post(); });
}

LRESULT CALLBACK DeletionQueue::messageProcedure(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam)
{
    if (nMessage == kDeleteIdle) {
        auto *pQueue = reinterpret_cast<DeletionQueue *>(GetWindowLongPtrW(hWnd, GWLP_USERDATA));
        contained(logAt(kFile, "void __cdecl pellora::DeletionQueue::deleteIdle(void)"),
                  [pQueue] { pQueue->deleteIdle(); });
        return 0;
    }
    return DefWindowProcW(hWnd, nMessage, wParam, lParam);
}

void DeletionQueue::createMessageWindow()
{
    if (m_hMessageWnd != nullptr) {
        return;
    }
    Base::pinModule(reinterpret_cast<const void *>(&messageProcedure));
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
        logError(logAt(kFile, "void __cdecl pellora::DeletionQueue::createMessageWindow(void)"),
                 "CreateWindowExW error: %d, without a message window destroyed video windows stay in memory",
                 GetLastError());
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
        const auto it =
            std::find_if(m_windows.begin(), m_windows.end(), [](const auto &pWindow) { return !pWindow->isInUse(); });
        if (it == m_windows.end()) {
            return;
        }
        const std::unique_ptr<VideoWindow> pIdle = std::move(*it);
        m_windows.erase(it);
    }
}

} // namespace pellora
