#ifndef RULES_COORDINATEMAPPING_H
#define RULES_COORDINATEMAPPING_H

#include "rules/RuleRecords.h"
#include "rules/RuleTypes.h"

namespace pellora
{

/**
 * Where the picture lies in the pane, and the mapping of pixels to thousandths of it and back.
 *
 * Divisions are in double precision. Results are truncated towards zero. Where no int32 holds them, as with a picture
 * without size, they become the smallest int32.
 */
struct PictureGeometry {
    static constexpr std::uint16_t kTopLeft = 1;
    static constexpr std::uint16_t kBottomLeft = 2;

    /** One by one pixel, of which the pane's first size makes the real one. docs/compatibility.md: unit-picture. */
    PixelRect picture = {0, 0, 1, 1};
    /** The picture's extent, 0 until the first move or scale. */
    std::int32_t width = 0;
    std::int32_t height = 0;
    /** With a value other than kTopLeft and kBottomLeft no coordinate is converted. */
    std::uint16_t originPos = kTopLeft;

    [[nodiscard]] bool converts() const;
    /** To be asked only where converts(). */
    [[nodiscard]] NormalisedPoint toNormalised(PixelPoint point) const;
    /** To be asked only where converts(). */
    [[nodiscard]] PixelPoint toPixels(NormalisedPoint point) const;

    void setPicture(const PixelRect &newPicture);
    void move(std::int32_t dx, std::int32_t dy);
    void scale(float fx, float fy);
};

} // namespace pellora

#endif
