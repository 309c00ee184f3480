#ifndef HOSTS_NODE_CLICKWATCH_H
#define HOSTS_NODE_CLICKWATCH_H

namespace pellora::node
{

/**
 * Sees the clicks that go to the library's windows.
 *
 * The library reports a click into a pane by the callback that also tells the outcome of a start, with equal records.
 * A click that the thread's loop has taken a moment ago is taken for the next record's reason. That is right nearly
 * always: a click in which a rule is drawn brings no record, and what is drawn over may have an outcome in that moment.
 *
 * Threads: the host window's.
 * Limits:  a click that another thread sends, instead of posting it as Windows does, is not seen.
 */
class ClickWatch
{
public:
    ClickWatch() = delete;

    /** Once; it goes with the thread. */
    static void begin();

    /** Whether the record that comes now is probably a click's. Each click is taken once. */
    [[nodiscard]] static bool takeClick();
};

} // namespace pellora::node

#endif
