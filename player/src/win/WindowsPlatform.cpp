#include "player/src/win/WindowsPlatform.h"

#include "player/src/metadata/AnalysisPainter.h"
#include "player/src/win/FileBytes.h"
#include "player/src/win/WindowPresenter.h"

namespace player
{

std::unique_ptr<ByteSource> WindowsPlatform::openFile(const char *path)
{
    return FileBytes::open(path);
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

} // namespace player
