#ifndef PLAYER_FAKEPLATFORM_H
#define PLAYER_FAKEPLATFORM_H

#include "player/src/core/Platform.h"

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <vector>

namespace player::test
{

/** One picture that a port has shown. */
struct Shown {
    int number = -1;
    std::int64_t time = 0;
    PixelRect region;
    std::chrono::steady_clock::time_point moment;
};

/**
 * Files by way of the C library, and a screen that writes down what it is shown.
 *
 * Threads: any.
 */
class FakePlatform : public Platform
{
public:
    std::unique_ptr<ByteSource> openFile(const char *path) override;
    [[nodiscard]] bool isWindow(WindowHandle window) override;
    std::unique_ptr<Presenter> makePresenter(WindowHandle window) override;

    /** A window handle to play into; never used as an address. */
    WindowHandle window()
    {
        return &m_window;
    }

    void note(const Shown &shown);
    [[nodiscard]] std::vector<Shown> shown() const;
    void forget();
    /** The shortest time that so many pictures in a row came after the one before them; what a busy machine adds to
     *  others is not in it. The longest time there is while fewer were shown. */
    [[nodiscard]] std::chrono::steady_clock::duration quickest(std::size_t pictures) const;
    /** Waits until a picture is shown for which the condition holds; false when that takes longer. */
    bool waitFor(const std::function<bool(const Shown &)> &condition,
                 std::chrono::milliseconds patience = std::chrono::seconds(30));
    bool waitForNumber(int number);
    /** For playback by a clock, which skips pictures where the machine is busy. */
    bool waitForNumberOrLater(int number);
    /** The presenters that exist now: one for each thread that shows pictures. */
    [[nodiscard]] int presenters() const
    {
        return m_nPresenters;
    }

private:
    friend class FakePresenter;

    int m_window = 0;
    std::atomic<int> m_nPresenters{0};
    mutable std::mutex m_mutex;
    std::condition_variable m_noted;
    std::vector<Shown> m_shown;
};

} // namespace player::test

#endif
