#include "rules/RuleText.h"

#include "rules/RuleArithmetic.h"
#include "rules/Utf16Buffer.h"

#include <utility>

namespace pellora
{

std::optional<PixelPoint> RuleText::getPoint(std::int32_t nAnchorMode) const
{
    if (nAnchorMode == kTopLeft) {
        return PixelPoint{m_box.left, m_box.top};
    }
    if (nAnchorMode == kTopRight) {
        return PixelPoint{m_box.right, m_box.top};
    }
    return std::nullopt;
}

void RuleText::setText(std::string text, std::int32_t nAnchorMode, std::int32_t nDockMode)
{
    m_text = std::move(text);
    m_nAnchorMode = nAnchorMode;
    m_nDockMode = nDockMode;
}

void RuleText::setPoint(PixelPoint point)
{
    const PixelPoint corner = placement().clamped(point);
    if (m_nAnchorMode == kTopLeft) {
        m_box.left = corner.x;
        m_box.top = corner.y;
    } else if (m_nAnchorMode == kTopRight) {
        m_box.right = corner.x;
        m_box.top = corner.y;
    }
}

bool RuleText::isEmpty() const
{
    // Only the bottom is compared the other way round. docs/compatibility.md: fresh-text-not-empty.
    return m_text.empty() && m_box.left == 0 && m_box.top == 0 && m_box.right == 0 && m_box.bottom != 0;
}

bool RuleText::hitTest(PixelPoint point) const
{
    return point.x >= m_box.left && point.x <= m_box.right && point.y >= m_box.top && point.y <= m_box.bottom;
}

void RuleText::draw(RuleCanvas &canvas)
{
    const Utf16Buffer<1024> text(m_text);
    fitBox(canvas.measureText(text.c_str()));
    canvas.drawText(text.c_str(), m_box, color());
    canvas.setPen(pen());
    canvas.frame(m_box);
}

void RuleText::fitBox(PixelSize extent)
{
    if (m_nAnchorMode == kTopLeft) {
        m_box.right = wrappingAdd(m_box.left, extent.width);
        m_box.bottom = wrappingAdd(m_box.top, extent.height);
    } else if (m_nAnchorMode == kTopRight) {
        m_box.left = wrappingSubtract(m_box.right, extent.width);
        m_box.bottom = wrappingAdd(m_box.top, extent.height);
    }
}

bool RuleText::addPoint(PixelPoint /*point*/, RuleAction /*action*/)
{
    return false;
}

bool RuleText::editPoint(PixelPoint point, RuleAction action)
{
    if (action == RuleAction::Grab) {
        setLastPoint(point);
        return true;
    }
    // The drag is measured before the limits are checked. docs/compatibility.md: rejected-drag-is-lost.
    moveBox(dragTo(point));
    return true;
}

void RuleText::moveBox(PixelPoint way)
{
    PixelRect box = moved(m_box, way);
    if (placement().breaksLimits({box.left, box.top}) || placement().breaksLimits({box.right, box.bottom})) {
        return;
    }
    const std::int32_t nWidth = wrappingSubtract(m_box.right, m_box.left);
    const PixelRect &picture = placement().picture;
    if (m_nDockMode == kDockLeft) {
        box.left = picture.left;
        box.right = wrappingAdd(picture.left, nWidth);
    } else if (m_nDockMode == kDockRight) {
        box.right = picture.right;
        box.left = wrappingSubtract(picture.right, nWidth);
    }
    m_box = box;
}

bool RuleText::scale(float fx, float fy)
{
    // docs/compatibility.md: text-moves-left-top.
    m_box.left = scaled(m_box.left, fx);
    m_box.top = scaled(m_box.top, fy);
    return AbstractRule::scale(fx, fy);
}

bool RuleText::translate(std::int32_t dx, std::int32_t dy)
{
    m_box.left = wrappingAdd(m_box.left, dx);
    m_box.top = wrappingAdd(m_box.top, dy);
    return AbstractRule::translate(dx, dy);
}

} // namespace pellora
