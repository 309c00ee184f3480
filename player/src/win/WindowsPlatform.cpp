#include "player/src/win/WindowsPlatform.h"

#include "companion/OwnModule.h"
#include "player/src/metadata/AnalysisPainter.h"
#include "player/src/win/FileBytes.h"
#include "player/src/win/WasapiOutput.h"
#include "player/src/win/WaveOutOutput.h"
#include "player/src/win/WindowPresenter.h"

namespace player
{

std::unique_ptr<ByteSource> WindowsPlatform::openFile(const char *path)
{
    return FileBytes::open(path);
}

void WindowsPlatform::keepCode()
{
    companion::keepLoaded();
}

void WindowsPlatform::yieldToOthers()
{
    // Reads of a thread in this mode also stand behind those of every other thread.
    SetThreadPriority(GetCurrentThread(), THREAD_MODE_BACKGROUND_BEGIN);
}

bool WindowsPlatform::isWindow(WindowHandle window)
{
    return IsWindow(static_cast<HWND>(window)) != 0;
}

std::unique_ptr<Presenter> WindowsPlatform::makePresenter(WindowHandle window)
{
    return std::make_unique<WindowPresenter>(static_cast<HWND>(window));
}

void WindowsPlatform::drawAnalysis(void *pContext, const AnalysisFrames &frames, const PictureShape &shape,
                                   const PixelRect &region)
{
    AnalysisPainter(static_cast<HDC>(pContext)).draw(frames, shape, region);
}

bool WindowsPlatform::hasSoundDevice()
{
    return waveOutGetNumDevs() > 0;
}

std::unique_ptr<SoundOutput> WindowsPlatform::makeSoundOutput()
{
    // Nobody waits for the thread that plays: a host that unloads the library must not take the code away from it.
    static const bool bKept = companion::keepLoaded();
    if (!bKept) {
        return nullptr;
    }
    // Little to do, and in time.
    SetThreadPriority(GetCurrentThread(), THREAD_PRIORITY_TIME_CRITICAL);
    if (auto pShared = WasapiOutput::open()) {
        return pShared;
    }
    return WaveOutOutput::open();
}

} // namespace player
