#ifndef PLAYER_ANALYSISVIEW_H
#define PLAYER_ANALYSISVIEW_H

#include "player/src/metadata/AnalysisFrame.h"
#include "player/src/picture/PictureShape.h"
#include "player/src/picture/PixelRect.h"

#include <algorithm>
#include <cmath>

namespace player
{

/** Where the places of a picture's analysis are in a window that shows a part of it. Threads: a value. */
struct AnalysisView {
    PictureShape shape; /**< of the picture */
    PixelRect region;   /**< the part of it that fills the window; not empty */
    int width = 0;      /**< of the window */
    int height = 0;

    struct Pixel {
        int x = 0;
        int y = 0;
    };

    [[nodiscard]] Pixel of(AnalysisPoint point) const
    {
        const double x = (point.x + 1.0) / 2 * shape.width;
        const double y = (1.0 - point.y) / 2 * shape.height;
        return {pixel((x - region.left) * width / region.width()), pixel((y - region.top) * height / region.height())};
    }

private:
    /** GDI computes with what it is given: no further than it bears. */
    static int pixel(double value)
    {
        constexpr double kMost = 1 << 20;
        return static_cast<int>(std::lround(std::clamp(value, -kMost, kMost)));
    }
};

} // namespace player

#endif
