#ifndef PLAYER_FAKEPLATFORM_H
#define PLAYER_FAKEPLATFORM_H

#include "player/src/core/Platform.h"
#include "player/src/sound/SoundPlayer.h"
#include "player/tests/support/FakeSpeaker.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace player::test
{

/** One picture that a port has shown. */
struct Shown {
    int number = -1;
    std::int64_t time = 0;
    PixelRect region;
    /** When it was shown, its overlay included. */
    Moment moment;
    std::thread::id thread{};
    /** Of what its analysis has found, as far as it was drawn. */
    std::vector<std::string> labels{};
    /** Of its pixels, where these are summed. */
    std::uint32_t checksum = 0;
};

/**
 * Files by way of the C library, a screen that writes down what it is shown, a loudspeaker that does so with what it
 * plays, and the test's own clock.
 *
 * Threads: any.
 */
class FakePlatform : public Platform
{
public:
    template <class AwaitedClock>
    explicit FakePlatform(AwaitedClock &clock)
        : m_clock(clock),
          m_awaitThreads([&clock] { clock.awaitThreads(); }),
          m_speaker(clock),
          m_pSound(std::make_unique<SoundPlayer>(*this))
    {
    }

    ~FakePlatform() override
    {
        end();
    }

    [[nodiscard]] Clock &clock() override
    {
        return m_clock;
    }

    std::unique_ptr<ByteSource> openFile(const char *path) override;
    /** Two where somebody waits, whatever the size: small clips show what happens to large ones. */
    [[nodiscard]] DecoderThreads decoderThreads(int /*width*/, int /*height*/) override
    {
        return {1, 2};
    }
    [[nodiscard]] bool isWindow(WindowHandle window) override;
    std::unique_ptr<Presenter> makePresenter(WindowHandle window) override;
    void drawAnalysis(void *pContext, const AnalysisFrames &frames, const PictureShape &shape,
                      const PixelRect &region) override;

    [[nodiscard]] bool hasSoundDevice() override
    {
        return m_speaker.isThere();
    }

    std::unique_ptr<SoundOutput> makeSoundOutput() override
    {
        return m_speaker.open();
    }

    [[nodiscard]] SoundPlayer &sound() override
    {
        return *m_pSound;
    }

    /** Opens files in this way from now on. */
    void openBy(std::function<std::unique_ptr<ByteSource>(const char *path)> open)
    {
        m_open = std::move(open);
    }

    /** What sound is played on; it is there at first. */
    [[nodiscard]] FakeSpeaker &speaker()
    {
        return m_speaker;
    }

    /** A window handle to play into; never used as an address. */
    WindowHandle window()
    {
        return &m_window;
    }

    /** Whether the window can be seen; it can be at first. */
    void setSeen(bool seen)
    {
        m_bSeen = seen;
    }

    /** The pixels of what is shown are summed from now on. */
    void sumPictures()
    {
        m_bSums = true;
    }

    [[nodiscard]] std::vector<Shown> shown() const;
    /** The same without what was only drawn anew. */
    [[nodiscard]] std::vector<Shown> changes() const;
    /** The numbers of the pictures that were shown, without those that were only drawn anew. */
    [[nodiscard]] std::vector<int> numbers() const;
    /** What is on the screen now; -1 when nothing was shown since forget(). */
    [[nodiscard]] int number() const;
    void forget();
    void forgetAllButLast();
    /** The presenters that exist now: one for each thread that shows pictures. */
    [[nodiscard]] int presenters() const
    {
        return m_nPresenters;
    }

protected:
    /**
     * Waits for the clock's threads: an opening that a port has given up outlives the port, and uses the platform.
     * Derived ones with an openFile() of their own call it from their destructors, too.
     */
    void end()
    {
        m_pSound.reset();
        m_awaitThreads();
    }

private:
    friend class FakePresenter;

    Clock &m_clock;
    std::function<void()> m_awaitThreads;
    int m_window = 0;
    std::atomic<int> m_nPresenters{0};
    std::atomic<bool> m_bSeen{true};
    std::atomic<bool> m_bSums{false};
    std::function<std::unique_ptr<ByteSource>(const char *path)> m_open;
    mutable std::mutex m_mutex;
    std::vector<Shown> m_shown;
    FakeSpeaker m_speaker;
    std::unique_ptr<SoundPlayer> m_pSound;
};

} // namespace player::test

#endif
