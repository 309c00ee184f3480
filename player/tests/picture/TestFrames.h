#ifndef PLAYER_TESTFRAMES_H
#define PLAYER_TESTFRAMES_H

#include "player/src/picture/BgraImage.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

extern "C" {
#include <libavutil/frame.h>
}

namespace player::test
{

struct FrameDeleter {
    void operator()(AVFrame *pFrame) const
    {
        av_frame_free(&pFrame);
    }
};
using Frame = std::unique_ptr<AVFrame, FrameDeleter>;

/** Red, green and blue, 0 to 255. */
struct Colour {
    double red = 0;
    double green = 0;
    double blue = 0;
};

using Painter = std::function<Colour(int x, int y)>;

/** Red's and blue's share of the luma, which is what makes a matrix. */
struct Shares {
    double red;
    double blue;
};
constexpr Shares kBt601{0.299, 0.114};
constexpr Shares kBt709{0.2126, 0.0722};
constexpr Shares kBt2020{0.2627, 0.0593};

/** What a frame is painted with. colourSpace and range are only what it tells about itself. */
struct FrameKind {
    AVPixelFormat format = AV_PIX_FMT_YUV420P;
    Shares shares = kBt601;
    bool fullRange = false;
    AVColorSpace colourSpace = AVCOL_SPC_UNSPECIFIED;
    AVColorRange range = AVCOL_RANGE_UNSPECIFIED;
};

/** A picture of the formula's colours in any planar YUV, grey or RGB format, by the definition of the matrix. */
[[nodiscard]] Frame paintedFrame(const FrameKind &kind, int width, int height, const Painter &painter);

/** Bar 0 to 7 of a picture: the high components are 180, the low ones 60, so that no clipping hides a mistake. */
[[nodiscard]] Colour barColour(int bar);
[[nodiscard]] Frame bars(const FrameKind &kind, int width, int height);

/** A target with bytes around and between its rows that nobody may touch. */
class GuardedImage
{
public:
    GuardedImage(int width, int height);

    [[nodiscard]] const BgraImage &image() const
    {
        return m_image;
    }
    [[nodiscard]] Colour at(int x, int y) const;
    [[nodiscard]] int alphaAt(int x, int y) const;
    [[nodiscard]] bool guardsAreWhole() const;

private:
    std::vector<std::uint8_t> m_bytes;
    BgraImage m_image;
};

/** The largest difference of a component. */
[[nodiscard]] double distance(const Colour &one, const Colour &other);

} // namespace player::test

#endif
