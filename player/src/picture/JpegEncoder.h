#ifndef PLAYER_JPEGENCODER_H
#define PLAYER_JPEGENCODER_H

#include "player/src/picture/PictureShape.h"
#include "player/src/picture/PixelRect.h"

#include <cstdint>
#include <memory>
#include <vector>

struct AVFrame;

namespace player
{

/**
 * Makes JPEG files (4:2:0, baseline) of decoded pictures, at their own displayed size.
 *
 * Threads: one thread at a time; any thread.
 * Owns:    the compressor and its scratch planes. Borrows the frame during the call only.
 * Units:   the region in displayed pixels of the shape, clamped to the picture; quality 1 to 100, clamped too.
 * Errors:  an empty vector; never throws.
 */
class JpegEncoder
{
public:
    JpegEncoder();
    ~JpegEncoder();
    JpegEncoder(const JpegEncoder &) = delete;
    JpegEncoder &operator=(const JpegEncoder &) = delete;

    [[nodiscard]] std::vector<std::uint8_t> encode(const AVFrame &frame, const PictureShape &shape,
                                                   const PixelRect &region, int quality) noexcept;

private:
    class Work;
    std::unique_ptr<Work> m_pWork;
};

} // namespace player

#endif
