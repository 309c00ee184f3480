#ifndef TESTS_EMBEDDING_RENDERERTHREAD_H
#define TESTS_EMBEDDING_RENDERERTHREAD_H

#include <windows.h>

#include <atomic>

namespace embedding
{

/**
 * A page's windows on a thread of their own, which ends as a renderer does: in order, or killed.
 *
 * Threads: one makes and ends it, and lets its own messages run meanwhile where it owns the host.
 * Owns:    the thread; the page's window goes with it.
 */
class RendererThread
{
public:
    /** The page appears some time later. */
    RendererThread(HWND hHostWnd, const wchar_t *pClassName);
    ~RendererThread();
    RendererThread(const RendererThread &) = delete;
    RendererThread &operator=(const RendererThread &) = delete;

    /** The page's window; null until it is there. */
    [[nodiscard]] HWND page() const;
    /** Asks it, once its page is there, to destroy that and to end; it may need the host's thread for it. */
    void quit();
    /**
     * Ends it some time later without a word to anybody: between two messages, since Wine 8 keeps the locks of its
     * windows in the process. A thread that is ended while it has one leaves the whole program waiting for it.
     */
    void kill();
    [[nodiscard]] bool hasEnded() const;

private:
    static DWORD WINAPI run(void *pThread);

    const HWND m_hHostWnd;
    const wchar_t *const m_pClassName;
    std::atomic<HWND> m_hPage{nullptr};
    DWORD m_dwThread = 0;
    HANDLE m_hThread = nullptr;
};

} // namespace embedding

#endif
