#ifndef RULES_RULETEXT_H
#define RULES_RULETEXT_H

#include "rules/AbstractRule.h"

#include <optional>
#include <string>

namespace pellora
{

/**
 * A framed line of text, placed by one corner of its box. It is complete as soon as it is made.
 *
 * Drawing gives the box the extent of the text; until then only the edges that were set are right. Moving and scaling
 * know the box's left and top only, so that a box placed by its right edge keeps its horizontal place.
 *
 * Threads and units: see AbstractRule. Texts are UTF-8.
 */
class RuleText : public AbstractRule
{
public:
    /** Which corner of the box a point names. Other numbers name none. */
    static constexpr std::int32_t kTopLeft = 1;
    static constexpr std::int32_t kTopRight = 2;
    /** Which edge of the picture the box stays at. Other numbers: none. */
    static constexpr std::int32_t kDockLeft = 1;
    static constexpr std::int32_t kDockRight = 2;

    explicit RuleText(const RulePlacement &placement) : AbstractRule(RuleType::Text, placement, kThinOutlineWidth) {}

    [[nodiscard]] const std::string &getText() const
    {
        return m_text;
    }
    [[nodiscard]] const PixelRect &getBox() const
    {
        return m_box;
    }
    /** The corner; none for a number that names none. */
    [[nodiscard]] std::optional<PixelPoint> getPoint(std::int32_t nAnchorMode) const;
    [[nodiscard]] std::int32_t getAnchorMode() const
    {
        return m_nAnchorMode;
    }
    void setText(std::string text, std::int32_t nAnchorMode, std::int32_t nDockMode);
    /** The corner that the anchor mode names, kept within the limits. */
    void setPoint(PixelPoint point);

    /** True of an empty text whose box is all zero but for its bottom; so a fresh one is not empty, and it stays so. */
    [[nodiscard]] bool isEmpty() const override;
    [[nodiscard]] bool hitTest(PixelPoint point) const override;
    void draw(RuleCanvas &canvas) override;
    bool addPoint(PixelPoint point, RuleAction action) override;
    bool editPoint(PixelPoint point, RuleAction action) override;
    bool scale(float fx, float fy) override;
    bool translate(std::int32_t dx, std::int32_t dy) override;

private:
    void moveBox(PixelPoint way);
    void fitBox(PixelSize extent);

    std::string m_text;
    PixelRect m_box;
    std::int32_t m_nAnchorMode = 0;
    std::int32_t m_nDockMode = 0;
};

} // namespace pellora

#endif
