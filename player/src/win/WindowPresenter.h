#ifndef PLAYER_WINDOWPRESENTER_H
#define PLAYER_WINDOWPRESENTER_H

#include "player/src/core/Platform.h"
#include "player/src/picture/PictureConverter.h"
#include "player/src/win/MemoryImage.h"

#include <windows.h>

#include <memory>

namespace player
{

/**
 * Shows pictures in a window of any thread of this process, without ever sending that window a message.
 *
 * A picture that is shown again, as while paused, is not converted again.
 *
 * Threads: one at a time.
 * Owns:    memory images of the window's client size, and the converter. Borrows the window, which may vanish.
 */
class WindowPresenter : public Presenter
{
public:
    explicit WindowPresenter(HWND hWnd);
    ~WindowPresenter() override;

    [[nodiscard]] bool canBeSeen() override;
    void present(const Picture &picture, const PixelRect &region, const Overlay &overlay) override;

private:
    [[nodiscard]] bool matchClientSize();
    [[nodiscard]] bool prepareImage(const Picture &picture, const PixelRect &region);
    [[nodiscard]] bool restoreImage(const Picture &picture, const PixelRect &region);
    [[nodiscard]] bool convert(const Picture &picture, const PixelRect &region, const MemoryImage &image);
    [[nodiscard]] bool isInImage(const Picture &picture, const PixelRect &region) const;

    HWND m_hWnd;
    PictureConverter m_converter;

    /** What goes to the window, and what it was made of; empty when it was made of nothing. */
    MemoryImage m_image;
    std::weak_ptr<const AVFrame> m_pInImage;
    PixelRect m_regionInImage;
    bool m_bOverlayInImage = false;

    /** The same without the overlay; only made for a picture that is shown a second time. */
    MemoryImage m_clean;
    bool m_bCleanMade = false;
};

} // namespace player

#endif
