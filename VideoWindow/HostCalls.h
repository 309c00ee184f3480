#ifndef VIDEOWINDOW_HOSTCALLS_H
#define VIDEOWINDOW_HOSTCALLS_H

#include <functional>

namespace pellora
{

/**
 * Counts the calls into host code that one pane has on the stack, since the host may destroy the pane's window in them.
 *
 * Threads: the GUI thread. Calls nest when the host runs a message loop of its own inside a callback.
 */
class HostCalls
{
public:
    HostCalls() = default;
    HostCalls(const HostCalls &) = delete;
    HostCalls &operator=(const HostCalls &) = delete;

    [[nodiscard]] bool isRunning() const;
    /** Calls this each time the outermost call has returned; it must not destroy the pane there and then. */
    void setWhenDone(std::function<void()> whenDone);

    /** Surrounds one call into the host. */
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
