#ifndef PLAYER_WINDOWSPLATFORM_H
#define PLAYER_WINDOWSPLATFORM_H

#include "player/src/core/Platform.h"
#include "player/src/core/SystemClock.h"

namespace player
{

/** Windows' time, files and windows. Threads: any. */
class WindowsPlatform : public Platform
{
public:
    [[nodiscard]] Clock &clock() override
    {
        return m_clock;
    }

    std::unique_ptr<ByteSource> openFile(const char *path) override;
    [[nodiscard]] bool isWindow(WindowHandle window) override;
    std::unique_ptr<Presenter> makePresenter(WindowHandle window) override;
    void drawAnalysis(void *pContext, const AnalysisFrames &frames, const PictureShape &shape,
                      const PixelRect &region) override;

private:
    SystemClock m_clock;
};

} // namespace player

#endif
