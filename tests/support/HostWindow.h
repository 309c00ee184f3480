#ifndef TESTS_SUPPORT_HOSTWINDOW_H
#define TESTS_SUPPORT_HOSTWINDOW_H

#include <windows.h>

#include <functional>
#include <map>
#include <vector>

namespace support
{

/** Lets the calling thread's messages run until the condition holds; false when the time is over. */
[[nodiscard]] bool pumpUntil(const std::function<bool()> &condition, unsigned milliseconds = 30'000);
/** Lets run what has been posted to the calling thread so far. */
void pumpPosted();

/**
 * A plain top-level window such as a host brings, with its own window procedure.
 *
 * Threads: the one that made it.
 * Owns:    the window and its children.
 * Units:   pixels of the client area.
 */
class HostWindow
{
public:
    explicit HostWindow(int width = 640, int height = 480);
    ~HostWindow();
    HostWindow(const HostWindow &) = delete;
    HostWindow &operator=(const HostWindow &) = delete;

    [[nodiscard]] HWND handle() const;
    /** A child of a class of that name, registered when it is new, as a browser's page brings them. */
    HWND addChild(const wchar_t *className, int x = 0, int y = 0, int width = 50, int height = 50);
    void destroy();
    /** How often its own procedure got the message. */
    [[nodiscard]] int received(UINT message) const;

private:
    static LRESULT CALLBACK procedure(HWND hWnd, UINT message, WPARAM wParam, LPARAM lParam);

    HWND m_hWnd = nullptr;
    std::map<UINT, int> m_received;
};

/** Direct children from top to bottom. */
[[nodiscard]] std::vector<HWND> childrenOf(HWND parent);

} // namespace support

#endif
