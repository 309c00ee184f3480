#ifndef PLAYER_PLATFORM_H
#define PLAYER_PLATFORM_H

#include "player/src/core/ByteSource.h"
#include "player/src/core/Clock.h"
#include "player/src/core/DecoderThreads.h"
#include "player/src/core/Picture.h"
#include "player/src/metadata/AnalysisSource.h"
#include "player/src/picture/PixelRect.h"
#include "player/src/sound/SoundOutput.h"

#include <functional>
#include <memory>

namespace player
{

class SoundPlayer;

/** A window of the caller's, as the platform knows it. */
using WindowHandle = void *;
/** Draws over a picture on the platform's drawing context; empty when nothing is to be drawn. */
using Overlay = std::function<void(void *pContext)>;

/**
 * Shows pictures in one window.
 *
 * Threads: one at a time, and not always the same one. Never waits for the thread that owns the window, nor sends that
 *          window a message.
 * Errors:  a window that is gone or has no size shows nothing; never throws.
 */
class Presenter
{
public:
    Presenter() = default;
    virtual ~Presenter() = default;
    Presenter(const Presenter &) = delete;
    Presenter &operator=(const Presenter &) = delete;

    /** Whether any of the window's client area can be seen now. Cheap: it is asked for each picture. */
    [[nodiscard]] virtual bool canBeSeen() = 0;
    /** Stretches the region over the window's client area, lets the overlay draw, then makes both visible at once. */
    virtual void present(const Picture &picture, const PixelRect &region, const Overlay &overlay) = 0;
};

/**
 * What the player needs of the system it runs on.
 *
 * Threads: any.
 */
class Platform
{
public:
    Platform() = default;
    virtual ~Platform() = default;
    Platform(const Platform &) = delete;
    Platform &operator=(const Platform &) = delete;

    [[nodiscard]] virtual Clock &clock() = 0;
    /** Null when no file can be opened by that name. */
    virtual std::unique_ptr<ByteSource> openFile(const char *path) = 0;
    /** The library stays loaded from now on: a thread that nobody can wait for still runs in it. */
    virtual void keepCode() {}
    /** For coded pictures of that size; see DecoderThreads. */
    [[nodiscard]] virtual DecoderThreads decoderThreads(int width, int height)
    {
        return DecoderThreads::forPictures(width, height);
    }
    /** On a thread whose work can wait: it yields processor and disk to every other. */
    virtual void yieldToOthers() {}
    [[nodiscard]] virtual bool isWindow(WindowHandle window) = 0;
    virtual std::unique_ptr<Presenter> makePresenter(WindowHandle window) = 0;
    /** Draws what was found in a picture, of which a region fills the window, inside an overlay and on its context. */
    virtual void drawAnalysis(void * /*pContext*/, const AnalysisFrames & /*frames*/, const PictureShape & /*shape*/,
                              const PixelRect & /*region*/)
    {
    }
    /** Whether there is a device to play sound on. Any thread may ask; the answer is there at once. */
    [[nodiscard]] virtual bool hasSoundDevice() = 0;
    /** The device that programs play on by default, for the calling thread; null without one. May take its time. */
    virtual std::unique_ptr<SoundOutput> makeSoundOutput() = 0;
    /** The one port that sounds. */
    [[nodiscard]] virtual SoundPlayer &sound() = 0;
};

} // namespace player

#endif
