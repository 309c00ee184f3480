#include "rules/RectWithTextRule.h"

#include "rules/Utf16Buffer.h"

#include <utility>

namespace pellora
{

RectWithTextRule::RectWithTextRule(const RulePlacement &placement, std::string text)
    : RuleRect(RuleType::RectWithText, placement, kThinOutlineWidth), m_text(std::move(text))
{
}

void RectWithTextRule::draw(RuleCanvas &canvas)
{
    RuleRect::draw(canvas);
    const CaptionBuffer caption(m_text);
    canvas.drawText(caption.c_str(), getRect(), color());
}

} // namespace pellora
