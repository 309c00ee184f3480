#ifndef VIDEOWINDOW_HOSTCALLS_H
#define VIDEOWINDOW_HOSTCALLS_H

#include <functional>

namespace pellora
{

/**
 * Counts the calls on the stack in which host code may run, and after which a pane or its window is still used.
 *
 * The host may destroy the window in them. Calls nest when it runs a message loop of its own there.
 * Threads: the GUI thread.
 */
class HostCalls
{
public:
    HostCalls() = default;
    HostCalls(const HostCalls &) = delete;
    HostCalls &operator=(const HostCalls &) = delete;

    [[nodiscard]] bool isRunning() const;
    /** Calls this each time the outermost call has returned; it must not destroy the owner there and then. */
    void setWhenDone(std::function<void()> whenDone);

    /** Surrounds one call. */
    class Scope
    {
    public:
        explicit Scope(HostCalls &calls);
        ~Scope();
        Scope(const Scope &) = delete;
        Scope &operator=(const Scope &) = delete;

    private:
        HostCalls &m_calls;
    };

private:
    int m_nDepth = 0;
    std::function<void()> m_whenDone;
};

} // namespace pellora

#endif
