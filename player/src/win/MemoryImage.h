#ifndef PLAYER_MEMORYIMAGE_H
#define PLAYER_MEMORYIMAGE_H

#include "player/src/picture/BgraImage.h"

#include <windows.h>

namespace player
{

/**
 * A top-down 32-bit picture that both this program and GDI can draw into.
 *
 * Threads: one at a time.
 * Owns:    a memory context and the bitmap in it.
 */
class MemoryImage
{
public:
    MemoryImage() = default;
    ~MemoryImage();
    MemoryImage(const MemoryImage &) = delete;
    MemoryImage &operator=(const MemoryImage &) = delete;

    /** False when the system has no room for one of that size; there is none then. */
    bool resize(int width, int height);
    void free();

    [[nodiscard]] HDC dc() const
    {
        return m_hDc;
    }

    /** The pixels. GDI may still be drawing into them: call GdiFlush() first. */
    [[nodiscard]] const BgraImage &pixels() const
    {
        return m_image;
    }

private:
    HDC m_hDc = nullptr;
    HBITMAP m_hBitmap = nullptr;
    HGDIOBJ m_hBefore = nullptr;
    BgraImage m_image;
};

} // namespace player

#endif
