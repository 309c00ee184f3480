#include "player/src/win/WindowsPlatform.h"

#include "player/src/win/FileBytes.h"
#include "player/src/win/WindowPresenter.h"

namespace player
{

std::unique_ptr<ByteSource> WindowsPlatform::openFile(const char *path)
{
    return FileBytes::open(path);
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

} // namespace player
