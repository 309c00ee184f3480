#include "rules/RuleCaption.h"

#include "rules/RuleArithmetic.h"
#include "rules/Utf16Buffer.h"

namespace pellora
{

void drawCaptionAround(RuleCanvas &canvas, const std::string &text, PixelPoint centre, RuleColor color)
{
    // docs/compatibility.md: caption-at-origin.
    if (centre == PixelPoint{}) {
        // docs/compatibility.md: caption-at-origin.
        return;
    }
    const CaptionBuffer caption(text);
    const PixelSize extent = canvas.measureText(caption.c_str());
    canvas.drawText(caption.c_str(), boxAround(centre, extent.width / 2, extent.height / 2), color);
}

} // namespace pellora
