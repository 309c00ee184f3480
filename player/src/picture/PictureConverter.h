#ifndef PLAYER_PICTURECONVERTER_H
#define PLAYER_PICTURECONVERTER_H

#include "player/src/picture/BgraImage.h"
#include "player/src/picture/PictureShape.h"
#include "player/src/picture/PixelRect.h"

#include <memory>

struct AVFrame;

namespace player
{

/**
 * Turns decoded pictures of any pixel format into BGRA of the size in which they are shown.
 *
 * The region is stretched over the whole target. Planes are scaled before they are converted, so that the cost follows
 * the target's size, and every source pixel counts when it shrinks.
 *
 * Threads: one thread at a time.
 * Owns:    scratch pictures and the scaler's state, kept from picture to picture: never more than a few times the
 *          largest region and target. Borrows frame and target during the call only.
 * Units:   the region in displayed pixels of the shape. It is clamped to the picture.
 * Errors:  false for an empty region or target, a format that cannot be converted and lack of memory; the target then
 *          holds nothing of use. Never throws.
 */
class PictureConverter
{
public:
    PictureConverter();
    ~PictureConverter();
    PictureConverter(const PictureConverter &) = delete;
    PictureConverter &operator=(const PictureConverter &) = delete;

    [[nodiscard]] bool convert(const AVFrame &frame, const PictureShape &shape, const PixelRect &region,
                               const BgraImage &target) noexcept;

    /** Gives the scratch memory back; the next picture takes it anew. */
    void trim() noexcept;

private:
    class Work;
    std::unique_ptr<Work> m_pWork;
};

} // namespace player

#endif
