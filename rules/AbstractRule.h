#ifndef RULES_ABSTRACTRULE_H
#define RULES_ABSTRACTRULE_H

#include "rules/RuleCanvas.h"
#include "rules/RuleTypes.h"

namespace pellora
{

/** The pane's extent, the picture in it, and the picture's edges that the rule must not pass. */
struct RulePlacement {
    /** Bits of limitMask. */
    static constexpr std::uint8_t kKeepLeft = 0x01;
    static constexpr std::uint8_t kKeepTop = 0x02;
    static constexpr std::uint8_t kKeepRight = 0x04;
    static constexpr std::uint8_t kKeepBottom = 0x08;

    std::int32_t paneWidth = 0;
    std::int32_t paneHeight = 0;
    PixelRect picture;
    std::uint8_t limitMask = 0;

    /** Whether the point lies beyond an edge that is kept. */
    [[nodiscard]] bool breaksLimits(PixelPoint point) const;
    /** The point brought back to the edges that are kept: left and top first, then right and bottom. */
    [[nodiscard]] PixelPoint clamped(PixelPoint point) const;
    /** Whether a shape that is being drawn may follow the mouse there; both edges count as inside. */
    [[nodiscard]] bool isInPane(PixelPoint point) const;
};

/**
 * A shape drawn over the picture of one pane.
 *
 * Threads: none of its own; the table's mutex guards every call.
 * Units:   pixels of the pane; see RuleArithmetic.h for coordinates that leave the range.
 * Errors:  input that does not fit is ignored.
 */
class AbstractRule
{
public:
    static constexpr std::int32_t kHandleRadius = 5;
    static constexpr std::int32_t kOutlineWidth = 2;
    static constexpr std::int32_t kThinOutlineWidth = 1;

    AbstractRule(const AbstractRule &) = delete;
    AbstractRule &operator=(const AbstractRule &) = delete;
    virtual ~AbstractRule() = default;

    /** True while the shape has no geometry yet. */
    [[nodiscard]] virtual bool isEmpty() const = 0;
    /** Whether a press there selects the rule. */
    [[nodiscard]] virtual bool hitTest(PixelPoint point) const = 0;
    /** Paints on a fresh canvas. A text's box takes the size of its text here. */
    virtual void draw(RuleCanvas &canvas) = 0;
    /** Input while the shape is drawn; false when it is complete. */
    virtual bool addPoint(PixelPoint point, RuleAction action) = 0;
    /** Input while the shape is edited; input that breaks the limits changes nothing. Always true. */
    virtual bool editPoint(PixelPoint point, RuleAction action) = 0;
    /** The picture is there from now on; the shape stays where it is. */
    void setPicture(const PixelRect &picture);
    /** Scales the shape and its picture about the pane's origin. */
    virtual bool scale(float fx, float fy);
    /** Moves the shape and its picture. */
    virtual bool translate(std::int32_t dx, std::int32_t dy);

    [[nodiscard]] RuleType getType() const
    {
        return m_type;
    }
    void setColor(RuleColor color)
    {
        m_color = color;
    }
    void setSelected(bool bSelected)
    {
        m_bSelected = bSelected;
    }
    [[nodiscard]] bool isSelected() const
    {
        return m_bSelected;
    }

protected:
    AbstractRule(RuleType type, const RulePlacement &placement, std::int32_t nPenWidth = kOutlineWidth);

    [[nodiscard]] RuleColor color() const
    {
        return m_color;
    }
    [[nodiscard]] RulePen pen() const
    {
        return {m_nPenWidth, m_color};
    }
    [[nodiscard]] const RulePlacement &placement() const
    {
        return m_placement;
    }
    /** Whether the point grabs a handle at the other: a box of 9 by 9 pixels. */
    [[nodiscard]] static bool isNear(PixelPoint point, PixelPoint handle);
    /** How far the mouse has come since the last event of the drag; the next way is measured from this point. */
    [[nodiscard]] PixelPoint dragTo(PixelPoint point);
    /** Starts a drag there. */
    void setLastPoint(PixelPoint point)
    {
        m_lastPoint = point;
    }
    void drawHandle(RuleCanvas &canvas, PixelPoint centre) const;

private:
    const RuleType m_type;
    RuleColor m_color = 0;
    const std::int32_t m_nPenWidth;
    bool m_bSelected = false;
    PixelPoint m_lastPoint;
    RulePlacement m_placement;
};

} // namespace pellora

#endif
