#ifndef RULES_RULETYPES_H
#define RULES_RULETYPES_H

#include <cstdint>

namespace pellora
{

/** What a rule is. The numbers cross the public interface; others may arrive there and are no rule type. */
enum class RuleType : std::int32_t {
    Point = 1,
    Line = 2,
    Rect = 3,
    Polygon = 4,
    Text = 5,
    LineWithArrow = 6,
    RectWithText = 7,
    PolygonWithText = 8,
    LineWithText = 9,
    PointWithCross = 10
};

/** Rules of one family share their geometry, their coordinate record and the way they are drawn and edited. */
enum class RuleFamily { None, Point, Line, Rect, Polygon, Text };

/** None for numbers that are no rule type. */
[[nodiscard]] constexpr RuleFamily familyOf(RuleType type)
{
    switch (type) {
    case RuleType::Point:
    case RuleType::PointWithCross:
        return RuleFamily::Point;
    case RuleType::Line:
    case RuleType::LineWithArrow:
    case RuleType::LineWithText:
        return RuleFamily::Line;
    case RuleType::Rect:
    case RuleType::RectWithText:
        return RuleFamily::Rect;
    case RuleType::Polygon:
    case RuleType::PolygonWithText:
        return RuleFamily::Polygon;
    case RuleType::Text:
        return RuleFamily::Text;
    }
    return RuleFamily::None;
}

/** What the mouse did. Drawing a new shape knows Move, LeftPress and RightPress; editing Move, Grab and Release. */
enum class RuleAction : std::int32_t { Move = 0, LeftPress = 1, Grab = 2, RightPress = 3, Release = 4 };

/** 0x00BBGGRR, as GDI has it. */
using RuleColor = std::uint32_t;

/** A place in the pane: pixels from its top-left corner, y downwards. */
struct PixelPoint {
    std::int32_t x = 0;
    std::int32_t y = 0;
};

[[nodiscard]] constexpr bool operator==(PixelPoint a, PixelPoint b)
{
    return a.x == b.x && a.y == b.y;
}

[[nodiscard]] constexpr bool operator!=(PixelPoint a, PixelPoint b)
{
    return !(a == b);
}

/** Pixels of the pane. Nothing keeps left below right, or top below bottom. */
struct PixelRect {
    std::int32_t left = 0;
    std::int32_t top = 0;
    std::int32_t right = 0;
    std::int32_t bottom = 0;
};

[[nodiscard]] constexpr bool operator==(const PixelRect &a, const PixelRect &b)
{
    return a.left == b.left && a.top == b.top && a.right == b.right && a.bottom == b.bottom;
}

struct PixelSize {
    std::int32_t width = 0;
    std::int32_t height = 0;
};

[[nodiscard]] constexpr bool operator==(PixelSize a, PixelSize b)
{
    return a.width == b.width && a.height == b.height;
}

} // namespace pellora

#endif
