#pragma once

#include "player/src/core/Platform.h"
#include "player/src/picture/PictureConverter.h"
#include "player/src/win/MemoryImage.h"

#include <windows.h>

namespace player
{

/**
 * Shows pictures in a window of any thread of this process, without ever sending that window a message.
 *
 * Threads: one presenting thread.
 * Owns:    a memory image of the window's client size, and the converter. Borrows the window, which may vanish.
 */
class WindowPresenter : public Presenter
{
public:
    explicit WindowPresenter(HWND hWnd);
    ~WindowPresenter() override;

    void present(const Picture &picture, const PixelRect &region, const Overlay &overlay) override;

private:
    [[nodiscard]] bool matchClientSize();

    HWND m_hWnd;
    MemoryImage m_image;
    PictureConverter m_converter;
};

} // namespace player
