#ifndef HOSTS_NODE_WINDOWTHREAD_H
#define HOSTS_NODE_WINDOWTHREAD_H

#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <windows.h>

namespace pellora::node
{

/** Something to do on a window's thread, and what to do instead when that thread has ended. Neither throws. */
struct Job {
    std::function<void()> run;
    std::function<void(const std::string &reason)> abandon;
};

/**
 * Brings work to the thread that owns a host's window.
 *
 * A shell has its own message loop there, which knows nothing of us: a hook for the next message that the loop takes
 * makes a message-only window on the thread, and messages to that one bring the work. Such messages are delivered by
 * any loop, also by that of a menu or a message box.
 *
 * Threads: any. Nobody waits: a thread that hangs holds up its own work alone. On the window's own thread work is done
 *          at once.
 * Owns:    jobs that wait, in order, kMostJobs at most.
 */
class WindowThread : public std::enable_shared_from_this<WindowThread>
{
public:
    static constexpr std::size_t kMostJobs = 65536;

    /** The thread of a window; null, and why, when it is no window of this process. */
    static std::shared_ptr<WindowThread> of(HWND hwnd, std::string &reason);

    WindowThread(const WindowThread &) = delete;
    WindowThread &operator=(const WindowThread &) = delete;
    ~WindowThread();

    [[nodiscard]] bool isCurrent() const noexcept;

    /** At once on the window's thread, otherwise later there. */
    void run(Job job);

    /** Forgets what waits, untold: the process ends. */
    void clear();

    /** Later in any case: for callers that must not run the library's code where they are. */
    void post(Job job);

private:
    explicit WindowThread(DWORD dwThread, HWND hHost);

    static LRESULT CALLBACK onMessageTaken(int nCode, WPARAM wParam, LPARAM lParam);
    static LRESULT CALLBACK procedure(HWND hWnd, UINT message, WPARAM wParam, LPARAM lParam);
    static VOID CALLBACK onThreadEnd(PVOID pSelf, BOOLEAN bTimedOut);

    bool watchItsEnd();
    void arrive();
    bool makeWindow();
    bool wake();
    void work();
    bool takeJob(Job &job);
    void abandonAll(const std::string &reason);

    const DWORD m_dwThread;
    const HWND m_hHost;

    // The window's thread.
    bool m_bWorking = false;

    std::mutex m_mutex; // what follows
    std::deque<Job> m_jobs;
    bool m_bWoken = false;
    bool m_bEnded = false;
    HWND m_hWnd = nullptr;
    HHOOK m_hHook = nullptr;
    HANDLE m_hThread = nullptr;
};

} // namespace pellora::node

#endif
