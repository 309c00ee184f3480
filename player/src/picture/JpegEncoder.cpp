#include "player/src/picture/JpegEncoder.h"

#include "player/src/picture/CodedRegion.h"
#include "player/src/picture/PictureConverter.h"
#include "player/src/picture/ScratchBuffer.h"

#include <turbojpeg.h>

#include <algorithm>
#include <cstddef>
#include <new>

namespace player
{

namespace
{

struct CompressorDeleter {
    void operator()(void *pCompressor) const
    {
        tjDestroy(pCompressor);
    }
};

struct JpegBytesDeleter {
    void operator()(unsigned char *pBytes) const
    {
        tjFree(pBytes);
    }
};

} // namespace

class JpegEncoder::Work
{
public:
    [[nodiscard]] std::vector<std::uint8_t> encode(const AVFrame &frame, const PictureShape &shape,
                                                   const PixelRect &region, int quality);

private:
    PictureConverter m_converter;
    ScratchBuffer m_picture;
    std::unique_ptr<void, CompressorDeleter> m_pCompressor{tjInitCompress()};
};

std::vector<std::uint8_t> JpegEncoder::Work::encode(const AVFrame &frame, const PictureShape &shape,
                                                    const PixelRect &region, int quality)
{
    const PixelRect shown = clampToPicture(region, shape);
    if (!m_pCompressor || shown.isEmpty()) {
        return {};
    }
    BgraImage picture;
    picture.width = shown.width();
    picture.height = shown.height();
    picture.stride = picture.width * 4;
    picture.pPixels = m_picture.take(static_cast<std::size_t>(picture.stride) * picture.height);
    if (picture.pPixels == nullptr || !m_converter.convert(frame, shape, shown, picture)) {
        return {};
    }

    unsigned char *pBytes = nullptr;
    unsigned long size = 0;
    const int result = tjCompress2(m_pCompressor.get(), picture.pPixels, picture.width, picture.stride, picture.height,
                                   TJPF_BGRX, &pBytes, &size, TJSAMP_420, std::clamp(quality, 1, 100), 0);
    const std::unique_ptr<unsigned char, JpegBytesDeleter> owner(pBytes);
    if (result != 0) {
        return {};
    }
    return {pBytes, pBytes + size};
}

JpegEncoder::JpegEncoder() : m_pWork(std::make_unique<Work>()) {}

JpegEncoder::~JpegEncoder() = default;

std::vector<std::uint8_t> JpegEncoder::encode(const AVFrame &frame, const PictureShape &shape, const PixelRect &region,
                                              int quality) noexcept
{
    try {
        return m_pWork->encode(frame, shape, region, quality);
    } catch (const std::bad_alloc &) {
        return {};
    }
}

} // namespace player
