#include "tests/embedding/RendererThread.h"

#include "tests/embedding/PageWindow.h"
#include "tests/support/HostWindow.h"

namespace embedding
{

namespace
{

constexpr UINT kDie = WM_APP;

} // namespace

RendererThread::RendererThread(HWND hHostWnd, const wchar_t *pClassName)
    : m_hHostWnd(hHostWnd), m_pClassName(pClassName)
{
    // Not a std::thread: it may be killed.
    m_hThread = CreateThread(nullptr, 0, &RendererThread::run, this, 0, &m_dwThread);
}

RendererThread::~RendererThread()
{
    static_cast<void>(support::pumpUntil([this] { return page() != nullptr || hasEnded(); }));
    quit();
    static_cast<void>(support::pumpUntil([this] { return hasEnded(); }));
    CloseHandle(m_hThread);
}

HWND RendererThread::page() const
{
    return m_hPage;
}

void RendererThread::quit()
{
    PostThreadMessageW(m_dwThread, WM_QUIT, 0, 0);
}

void RendererThread::kill()
{
    PostThreadMessageW(m_dwThread, kDie, 0, 0);
}

bool RendererThread::hasEnded() const
{
    return WaitForSingleObject(m_hThread, 0) == WAIT_OBJECT_0;
}

DWORD WINAPI RendererThread::run(void *pThread)
{
    auto &self = *static_cast<RendererThread *>(pThread);
    PageWindow page(self.m_hHostWnd, self.m_pClassName, 5, 5, 80, 60);
    self.m_hPage = page.handle();
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        if (message.hwnd == nullptr && message.message == kDie) {
            TerminateThread(GetCurrentThread(), 1);
        }
        DispatchMessageW(&message);
    }
    return 0;
}

} // namespace embedding
