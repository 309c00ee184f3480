#include "rules/PointWithCrossRule.h"

#include "rules/RuleArithmetic.h"
#include "rules/Utf16Buffer.h"

#include <utility>

namespace pellora
{

PointWithCrossRule::PointWithCrossRule(const RulePlacement &placement, std::string text)
    : RulePoint(RuleType::PointWithCross, placement), m_text(std::move(text))
{
}

void PointWithCrossRule::draw(RuleCanvas &canvas)
{
    if (isEmpty()) {
        return;
    }
    canvas.setPen(pen());
    canvas.moveTo(wrappingAdd(getPoint(), {-kCrossHalf, 0}));
    canvas.lineTo(wrappingAdd(getPoint(), {kCrossHalf, 0}));
    canvas.moveTo(wrappingAdd(getPoint(), {0, -kCrossHalf}));
    canvas.lineTo(wrappingAdd(getPoint(), {0, kCrossHalf}));
    drawCaption(canvas);
}

void PointWithCrossRule::drawCaption(RuleCanvas &canvas) const
{
    const PixelPoint corner = wrappingAdd(getPoint(), {kCrossHalf, -kCrossHalf});
    // docs/compatibility.md: caption-at-origin.
    if (corner == PixelPoint{}) {
        return;
    }
    const CaptionBuffer caption(m_text);
    const PixelSize extent = canvas.measureText(caption.c_str());
    const PixelRect box = {corner.x, wrappingSubtract(corner.y, extent.height), wrappingAdd(corner.x, extent.width),
                           corner.y};
    canvas.drawText(caption.c_str(), box, color());
}

} // namespace pellora
