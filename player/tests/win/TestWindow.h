#ifndef PLAYER_TESTWINDOW_H
#define PLAYER_TESTWINDOW_H

#include <windows.h>

#include <optional>
#include <vector>

namespace player
{
class MemoryImage;
}

namespace player::test
{

/**
 * A window of the thread that makes it, with what it shows read back from the screen's own copy.
 *
 * Threads: the one that makes it.
 */
class TestWindow
{
public:
    explicit TestWindow(int width = 320, int height = 240, int left = 0, int top = 0);
    ~TestWindow();
    TestWindow(const TestWindow &) = delete;
    TestWindow &operator=(const TestWindow &) = delete;

    [[nodiscard]] HWND handle() const
    {
        return m_hWnd;
    }

    void resize(int width, int height);
    void destroy();
    /** The number that the picture in the window carries. */
    [[nodiscard]] std::optional<int> number() const;
    /** The pixels of one row as they are on the screen. */
    [[nodiscard]] std::vector<COLORREF> row(int top) const;
    /** Lets this thread's messages run until the window shows that picture; false after ten seconds. */
    bool waitForNumber(int number) const;
    /** Until it shows any picture, whose number is returned. */
    std::optional<int> waitForAnyNumber() const;

private:
    bool copyTo(MemoryImage &image) const;

    HWND m_hWnd = nullptr;
};

/** Lets this thread's messages run until then, or for ten seconds. */
template <typename Condition>
bool pumpUntil(Condition condition)
{
    const ULONGLONG deadline = GetTickCount64() + 10000;
    while (!condition()) {
        const ULONGLONG now = GetTickCount64();
        if (now >= deadline) {
            return false;
        }
        MsgWaitForMultipleObjects(0, nullptr, FALSE, 5, QS_ALLINPUT);
        for (MSG message; PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE);) {
            DispatchMessageW(&message);
        }
    }
    return true;
}

} // namespace player::test

#endif
