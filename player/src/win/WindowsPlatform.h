#ifndef PLAYER_WINDOWSPLATFORM_H
#define PLAYER_WINDOWSPLATFORM_H

#include "player/src/core/Platform.h"
#include "player/src/core/SystemClock.h"
#include "player/src/sound/SoundPlayer.h"

namespace player
{

/** Windows' time, files, windows and sound. Threads: any. */
class WindowsPlatform : public Platform
{
public:
    [[nodiscard]] Clock &clock() override
    {
        return m_clock;
    }

    std::unique_ptr<ByteSource> openFile(const char *path) override;
    void keepCode() override;
    void yieldToOthers() override;
    [[nodiscard]] bool isWindow(WindowHandle window) override;
    std::unique_ptr<Presenter> makePresenter(WindowHandle window) override;
    void drawAnalysis(void *pContext, const AnalysisFrames &frames, const PictureShape &shape,
                      const PixelRect &region) override;
    [[nodiscard]] bool hasSoundDevice() override;
    /** By the shared audio or, where that fails, by waveOut. The calling thread is one that does nothing but this. */
    std::unique_ptr<SoundOutput> makeSoundOutput() override;
    [[nodiscard]] SoundPlayer &sound() override
    {
        return m_sound;
    }

private:
    SystemClock m_clock;
    SoundPlayer m_sound{*this};
};

} // namespace player

#endif
