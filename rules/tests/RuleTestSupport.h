#ifndef RULES_TESTS_RULETESTSUPPORT_H
#define RULES_TESTS_RULETESTSUPPORT_H

#include "rules/RuleFactory.h"
#include "rules/RuleTable.h"

#include <array>
#include <cstring>
#include <ostream>

namespace pellora
{

inline std::ostream &operator<<(std::ostream &stream, PixelPoint point)
{
    return stream << '(' << point.x << ", " << point.y << ')';
}

inline std::ostream &operator<<(std::ostream &stream, const PixelRect &rect)
{
    return stream << '(' << rect.left << ", " << rect.top << ", " << rect.right << ", " << rect.bottom << ')';
}

constexpr std::array<RuleType, 10> kAllTypes = {
    RuleType::Point,        RuleType::Line,          RuleType::Rect,         RuleType::Polygon,
    RuleType::Text,         RuleType::LineWithArrow, RuleType::RectWithText, RuleType::PolygonWithText,
    RuleType::LineWithText, RuleType::PointWithCross};

/** A pane of 400 by 300 pixels, all of it picture. */
inline RulePlacement placementWith(std::uint8_t nLimitMask)
{
    return {400, 300, {0, 0, 400, 300}, nLimitMask};
}

/** A record of a family at the front of fresh zeroes. */
template <typename Record>
RuleRecord recordFrom(const Record &value)
{
    RuleRecord record = {};
    std::memcpy(record.data(), &value, sizeof(value));
    return record;
}

template <typename Record>
Record recordTo(const RuleRecord &record)
{
    Record value;
    std::memcpy(&value, record.data(), sizeof(value));
    return value;
}

} // namespace pellora

#endif
