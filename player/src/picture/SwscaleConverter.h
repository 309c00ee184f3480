#ifndef PLAYER_SWSCALECONVERTER_H
#define PLAYER_SWSCALECONVERTER_H

#include "player/src/picture/BgraImage.h"
#include "player/src/picture/ColourSpec.h"
#include "player/src/picture/PixelRect.h"
#include "player/src/picture/ScratchBuffer.h"

#include <memory>

struct AVFrame;
struct SwsContext;

namespace player
{

/**
 * Converts and scales every other pixel format (more than 8 bits, RGB, palettes, rare samplings) with swscale.
 *
 * Threads: one thread at a time. Owns the scaler for the sizes seen last and one picture of the target's size.
 */
class SwscaleConverter
{
public:
    [[nodiscard]] static bool accepts(const AVFrame &frame);

    /** The region in coded pixels, inside the picture, on whole chroma samples. */
    [[nodiscard]] bool convert(const AVFrame &frame, const PixelRect &region, const BgraImage &target);

    void trim() noexcept
    {
        m_pScaler.reset();
        m_key = {};
        m_picture.free();
    }

private:
    /** What a scaler was made for. */
    struct Key {
        int sourceFormat = -1;
        int sourceWidth = 0;
        int sourceHeight = 0;
        int targetWidth = 0;
        int targetHeight = 0;
        ColourSpec spec;

        bool operator==(const Key &other) const
        {
            return sourceFormat == other.sourceFormat && sourceWidth == other.sourceWidth &&
                   sourceHeight == other.sourceHeight && targetWidth == other.targetWidth &&
                   targetHeight == other.targetHeight && spec == other.spec;
        }
    };

    struct Deleter {
        void operator()(SwsContext *pScaler) const;
    };

    [[nodiscard]] bool prepare(const Key &key);

    std::unique_ptr<SwsContext, Deleter> m_pScaler;
    Key m_key;
    ScratchBuffer m_picture;
};

} // namespace player

#endif
