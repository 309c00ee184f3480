#include "hosts/node/src/WindowThread.h"

#include "hosts/node/src/Contained.h"

#include <map>
#include <utility>

namespace pellora::node
{
namespace
{

constexpr UINT kWork = WM_APP;
constexpr ULONGLONG kLongestTurn = 10; // ms
constexpr const wchar_t *kWindowClass = L"PelloraNodeThread";
constexpr const char *kThreadEnded = "the thread of the host window has ended";

// One for each thread with a host window, until the thread ends.
std::mutex g_mutex;
std::map<DWORD, std::shared_ptr<WindowThread>> g_threads;

std::shared_ptr<WindowThread> known(DWORD dwThread)
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    const auto found = g_threads.find(dwThread);
    return found == g_threads.end() ? nullptr : found->second;
}

/** Hook and window call into this module: it stays. */
HMODULE pinned()
{
    static const HMODULE hModule = [] {
        HMODULE hSelf = nullptr;
        GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                           reinterpret_cast<LPCWSTR>(&known), &hSelf);
        return hSelf;
    }();
    return hModule;
}

} // namespace

std::shared_ptr<WindowThread> WindowThread::of(HWND hwnd, std::string &reason)
{
    DWORD dwProcess = 0;
    const DWORD dwThread = GetWindowThreadProcessId(hwnd, &dwProcess);
    if (dwThread == 0) {
        reason = "there is no such host window";
        return nullptr;
    }
    if (dwProcess != GetCurrentProcessId()) {
        reason = "the host window is another process's";
        return nullptr;
    }
    if (auto pKnown = known(dwThread)) {
        return pKnown;
    }
    pinned();
    const std::shared_ptr<WindowThread> pThread(new WindowThread(dwThread, hwnd));
    if (!pThread->watchItsEnd()) {
        reason = kThreadEnded;
        return nullptr;
    }
    const std::lock_guard<std::mutex> lock(g_mutex);
    return g_threads.emplace(dwThread, pThread).first->second;
}

WindowThread::WindowThread(DWORD dwThread, HWND hHost) : m_dwThread(dwThread), m_hHost(hHost) {}

WindowThread::~WindowThread()
{
    if (m_hThread != nullptr) {
        CloseHandle(m_hThread);
    }
}

bool WindowThread::isCurrent() const noexcept
{
    return GetCurrentThreadId() == m_dwThread;
}

bool WindowThread::watchItsEnd()
{
    m_hThread = OpenThread(SYNCHRONIZE, FALSE, m_dwThread);
    if (m_hThread == nullptr) {
        return false;
    }
    auto pSelf = std::make_unique<std::shared_ptr<WindowThread>>(shared_from_this());
    HANDLE hWait = nullptr;
    if (RegisterWaitForSingleObject(&hWait, m_hThread, &WindowThread::onThreadEnd, pSelf.get(), INFINITE,
                                    WT_EXECUTEONLYONCE) == 0) {
        return false;
    }
    // The wait is left to the process: a thread with windows ends once, mostly with it.
    (void)pSelf.release();
    return true;
}

VOID CALLBACK WindowThread::onThreadEnd(PVOID pSelf, BOOLEAN)
{
    const std::unique_ptr<std::shared_ptr<WindowThread>> pOwned(static_cast<std::shared_ptr<WindowThread> *>(pSelf));
    const std::shared_ptr<WindowThread> &pThread = *pOwned;
    {
        const std::lock_guard<std::mutex> lock(g_mutex);
        const auto found = g_threads.find(pThread->m_dwThread);
        if (found != g_threads.end() && found->second == pThread) {
            g_threads.erase(found);
        }
    }
    contained([&pThread] { pThread->abandonAll(kThreadEnded); });
}

void WindowThread::run(Job job)
{
    if (isCurrent()) {
        job.run();
        return;
    }
    post(std::move(job));
}

void WindowThread::post(Job job)
{
    const char *pReason = nullptr;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_bEnded) {
            pReason = kThreadEnded;
        } else if (m_jobs.size() >= kMostJobs) {
            pReason = "too many calls wait for the thread of the host window";
        } else {
            m_jobs.push_back(std::move(job));
            m_bWoken = m_bWoken || wake();
            if (m_bWoken) {
                return;
            }
            job = std::move(m_jobs.back());
            m_jobs.pop_back();
            pReason = kThreadEnded;
        }
    }
    job.abandon(pReason);
}

/** With the lock, which nobody holds who could keep these system calls. */
bool WindowThread::wake()
{
    if (m_hWnd != nullptr) {
        return PostMessageW(m_hWnd, kWork, 0, 0) != 0;
    }
    if (isCurrent()) {
        return makeWindow() && PostMessageW(m_hWnd, kWork, 0, 0) != 0;
    }
    if (m_hHook == nullptr) {
        m_hHook = SetWindowsHookExW(WH_GETMESSAGE, &WindowThread::onMessageTaken, nullptr, m_dwThread);
    }
    // A message that says nothing, so that the loop takes one. To the thread, since the window may be gone by now.
    return m_hHook != nullptr &&
           (PostMessageW(m_hHost, WM_NULL, 0, 0) != 0 || PostThreadMessageW(m_dwThread, WM_NULL, 0, 0) != 0);
}

LRESULT CALLBACK WindowThread::onMessageTaken(int nCode, WPARAM wParam, LPARAM lParam)
{
    if (nCode >= 0) {
        contained([] {
            if (const auto pThread = known(GetCurrentThreadId())) {
                pThread->arrive();
            }
        });
    }
    return CallNextHookEx(nullptr, nCode, wParam, lParam);
}

void WindowThread::arrive()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_hHook != nullptr) {
        UnhookWindowsHookEx(m_hHook);
        m_hHook = nullptr;
    }
    if (m_hWnd == nullptr && makeWindow()) {
        PostMessageW(m_hWnd, kWork, 0, 0);
    }
}

bool WindowThread::makeWindow()
{
    WNDCLASSEXW description{};
    description.cbSize = sizeof(description);
    description.lpfnWndProc = &WindowThread::procedure;
    description.hInstance = pinned();
    description.lpszClassName = kWindowClass;
    // A second thread finds it registered.
    RegisterClassExW(&description);
    m_hWnd = CreateWindowExW(0, kWindowClass, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, pinned(), nullptr);
    return m_hWnd != nullptr;
}

LRESULT CALLBACK WindowThread::procedure(HWND hWnd, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message == kWork) {
        contained([] {
            if (const auto pThread = known(GetCurrentThreadId())) {
                pThread->work();
            }
        });
        return 0;
    }
    return DefWindowProcW(hWnd, message, wParam, lParam);
}

void WindowThread::work()
{
    // A job that runs a message loop, as a change to full screen may, is not interrupted by the next one.
    if (m_bWorking) {
        return;
    }
    m_bWorking = true;
    const ULONGLONG begin = GetTickCount64();
    Job job;
    while (takeJob(job)) {
        contained(job.run);
        job = Job();
        if (GetTickCount64() - begin >= kLongestTurn) {
            // The thread has messages of its own.
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_bWoken = m_jobs.empty() ? false : wake();
            break;
        }
    }
    m_bWorking = false;
}

bool WindowThread::takeJob(Job &job)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_jobs.empty()) {
        m_bWoken = false;
        return false;
    }
    job = std::move(m_jobs.front());
    m_jobs.pop_front();
    return true;
}

void WindowThread::clear()
{
    std::deque<Job> jobs;
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_jobs.swap(jobs);
}

void WindowThread::abandonAll(const std::string &reason)
{
    std::deque<Job> jobs;
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_bEnded = true;
        jobs.swap(m_jobs);
    }
    for (const Job &job : jobs) {
        job.abandon(reason);
    }
}

} // namespace pellora::node
