#include "interface/Pellora.h"
#include "rules/CoordinateMapping.h"
#include "rules/LineWithArrowRule.h"
#include "rules/RuleRecords.h"
#include "rules/RuleTable.h"
#include "rules/RuleText.h"

#include <gtest/gtest.h>

#include <string>
#include <type_traits>

using namespace pellora;

namespace
{

/** The header's name for a type. A type that is added has to get one: the compiler warns of those left out. */
constexpr int publicNumberOf(RuleType type)
{
    switch (type) {
    case RuleType::Point:
        return PELLORA_RULE_POINT;
    case RuleType::Line:
        return PELLORA_RULE_LINE;
    case RuleType::Rect:
        return PELLORA_RULE_RECT;
    case RuleType::Polygon:
        return PELLORA_RULE_POLYGON;
    case RuleType::Text:
        return PELLORA_RULE_TEXT;
    case RuleType::LineWithArrow:
        return PELLORA_RULE_LINE_WITH_ARROWS;
    case RuleType::RectWithText:
        return PELLORA_RULE_RECT_WITH_TEXT;
    case RuleType::PolygonWithText:
        return PELLORA_RULE_POLYGON_WITH_TEXT;
    case RuleType::LineWithText:
        return PELLORA_RULE_LINE_WITH_TEXT;
    case RuleType::PointWithCross:
        return PELLORA_RULE_CROSS_WITH_TEXT;
    }
    return 0;
}

/** The other direction, for a name of the header's without a type. */
constexpr bool hasType(PELLORA_RULE_TYPE name)
{
    switch (name) {
    case PELLORA_RULE_POINT:
    case PELLORA_RULE_LINE:
    case PELLORA_RULE_RECT:
    case PELLORA_RULE_POLYGON:
    case PELLORA_RULE_TEXT:
    case PELLORA_RULE_LINE_WITH_ARROWS:
    case PELLORA_RULE_RECT_WITH_TEXT:
    case PELLORA_RULE_POLYGON_WITH_TEXT:
    case PELLORA_RULE_LINE_WITH_TEXT:
    case PELLORA_RULE_CROSS_WITH_TEXT:
        return publicNumberOf(static_cast<RuleType>(name)) == name;
    }
    return false;
}

// Bounds and values of rules.
static_assert(RuleTable::kCapacity == PELLORA_MAX_RULES);
static_assert(kMaxPolygonPoints == PELLORA_MAX_POINTS);
static_assert(kTextBytes == PELLORA_MAX_TEXT);
static_assert(PictureGeometry::kTopLeft == PELLORA_ORIGIN_TOP_LEFT);
static_assert(PictureGeometry::kBottomLeft == PELLORA_ORIGIN_BOTTOM_LEFT);
static_assert(LineWithArrowRule::kBothArrows == PELLORA_ARROW_BOTH);
static_assert(LineWithArrowRule::kArrowA == PELLORA_ARROW_A);
static_assert(LineWithArrowRule::kArrowB == PELLORA_ARROW_B);
static_assert(RuleText::kTopLeft == PELLORA_ANCHOR_TOP_LEFT);
static_assert(RuleText::kTopRight == PELLORA_ANCHOR_TOP_RIGHT);
static_assert(RuleText::kDockLeft == PELLORA_DOCK_LEFT);
static_assert(RuleText::kDockRight == PELLORA_DOCK_RIGHT);
static_assert(RulePlacement::kKeepLeft == PELLORA_LIMIT_LEFT);
static_assert(RulePlacement::kKeepTop == PELLORA_LIMIT_TOP);
static_assert(RulePlacement::kKeepRight == PELLORA_LIMIT_RIGHT);
static_assert(RulePlacement::kKeepBottom == PELLORA_LIMIT_BOTTOM);

// Hosts that were written with the callbacks' earlier names go on compiling.
static_assert(std::is_same_v<pfnPreviewStatusCB, PELLORA_PREVIEW_STATUS_CB>);
static_assert(std::is_same_v<fFileEndCBFun, PELLORA_FILE_END_CB>);
static_assert(std::is_same_v<pfnRuleCoordCB, PELLORA_RULE_COORD_CB>);

// What is only read is taken from constants as well.
static_assert(std::is_invocable_v<decltype(&PELLORA_PreviewFile), long, const char *, unsigned char, unsigned char>);
static_assert(std::is_invocable_v<decltype(&PELLORA_GetFileTimeNoPriview), const char *>);
static_assert(std::is_invocable_v<decltype(&PELLORA_SetClipArea), long, const tagPELLORA_CLIP_AREA *>);
static_assert(std::is_invocable_v<decltype(&PELLORA_SetDisplayRegion), long, const tagPELLORA_RECT *, long>);
static_assert(std::is_invocable_v<decltype(&PELLORA_CreateRule), long, unsigned short, unsigned long, unsigned long,
                                  unsigned long, const void *, unsigned char, long>);
static_assert(std::is_invocable_v<decltype(&PELLORA_SetRuleCoord), long, long, const void *, long>);

TEST(HeaderTest, TellsTheProjectsVersion)
{
    const std::string numbers = std::to_string(PELLORA_VERSION_MAJOR) + "." + std::to_string(PELLORA_VERSION_MINOR) +
                                "." + std::to_string(PELLORA_VERSION_PATCH);
    EXPECT_EQ(numbers, PELLORA_PROJECT_VERSION);
    EXPECT_STREQ(PELLORA_VERSION_TEXT, PELLORA_PROJECT_VERSION);
    EXPECT_EQ(PELLORA_VERSION % 100, PELLORA_VERSION_PATCH);
    EXPECT_EQ(PELLORA_VERSION / 100 % 100, PELLORA_VERSION_MINOR);
    EXPECT_EQ(PELLORA_VERSION / 10000, PELLORA_VERSION_MAJOR);
}

TEST(HeaderTest, NamesEveryRuleTypeByItsNumber)
{
    for (int nType = PELLORA_RULE_POINT; nType <= PELLORA_MAX_RULE_TYPE; ++nType) {
        EXPECT_EQ(publicNumberOf(static_cast<RuleType>(nType)), nType);
        EXPECT_TRUE(hasType(static_cast<PELLORA_RULE_TYPE>(nType))) << nType;
    }
    EXPECT_EQ(familyOf(static_cast<RuleType>(PELLORA_MAX_RULE_TYPE + 1)), RuleFamily::None);
}

} // namespace
