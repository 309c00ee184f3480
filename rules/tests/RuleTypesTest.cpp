// Every type through everything that knows types. A new type needs a row here, and all that the row asks for.

#include "rules/RuleCoordinates.h"
#include "rules/tests/RecordingCanvas.h"
#include "rules/tests/RuleTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <vector>

namespace pellora
{
namespace
{

struct TypeRow {
    RuleType type;
    RuleFamily family;
    std::uint32_t nRecordBytes;
    bool bCaption; /**< shows the caption that it is made with */
};

constexpr std::array<TypeRow, 10> kRows = {{{RuleType::Point, RuleFamily::Point, 8, false},
                                            {RuleType::Line, RuleFamily::Line, 16, false},
                                            {RuleType::Rect, RuleFamily::Rect, 16, false},
                                            {RuleType::Polygon, RuleFamily::Polygon, 84, false},
                                            {RuleType::Text, RuleFamily::Text, 1040, false},
                                            {RuleType::LineWithArrow, RuleFamily::Line, 16, false},
                                            {RuleType::RectWithText, RuleFamily::Rect, 16, true},
                                            {RuleType::PolygonWithText, RuleFamily::Polygon, 84, true},
                                            {RuleType::LineWithText, RuleFamily::Line, 16, true},
                                            {RuleType::PointWithCross, RuleFamily::Point, 8, true}}};

TEST(RuleTypes, AreAllHere)
{
    std::vector<RuleType> types;
    for (std::int32_t nType = -1; nType <= 65535; ++nType) {
        const auto type = static_cast<RuleType>(nType);
        const auto pRule = makeRule(type, placementWith(0), {});
        EXPECT_EQ(pRule != nullptr, familyOf(type) != RuleFamily::None) << nType;
        if (pRule) {
            EXPECT_EQ(pRule->getType(), type);
            types.push_back(type);
        }
    }
    ASSERT_EQ(types.size(), kRows.size());
    for (std::size_t i = 0; i < types.size(); ++i) {
        EXPECT_EQ(types[i], kRows[i].type);
        EXPECT_EQ(types[i], kAllTypes[i]);
    }
}

class RuleTypesTest : public ::testing::TestWithParam<TypeRow>
{
protected:
    RuleTypesTest()
    {
        m_table.move(0, 0);
        m_table.scale(1000.0F, 1000.0F);
        m_table.add(makeRule(GetParam().type, {1000, 1000, {0, 0, 1000, 1000}, 0}, {{4, false}, "caption"}));
    }

    /** A triangle's corners, or as many of them as the record takes. */
    static RuleRecord recordOf(RuleFamily family)
    {
        RulePolygonRecord points = {};
        points.struPoints[0] = {100, 200};
        points.struPoints[1] = {300, 400};
        points.struPoints[2] = {100, 500};
        RuleTextRecord text = {};
        switch (family) {
        case RuleFamily::Point:
            return recordFrom(RulePointRecord{points.struPoints[0]});
        case RuleFamily::Line:
        case RuleFamily::Rect:
            return recordFrom(RuleLineRecord{points.struPoints[0], points.struPoints[1]});
        case RuleFamily::Polygon:
            points.wPointNum = 3;
            return recordFrom(points);
        case RuleFamily::Text:
            text.szText[0] = 'x';
            text.wAnchor = 1;
            text.struPoint = points.struPoints[0];
            text.byDock = 1; // reads back as the anchor
            return recordFrom(text);
        case RuleFamily::None:
            break;
        }
        return {};
    }

    std::vector<std::string> drawn(const std::string &caption)
    {
        RuleTable table;
        table.move(0, 0);
        table.scale(1000.0F, 1000.0F);
        table.add(makeRule(GetParam().type, {1000, 1000, {0, 0, 1000, 1000}, 0}, {{4, false}, caption}));
        table.write(0, recordOf(GetParam().family).data());
        return draw(table);
    }

    static std::vector<std::string> draw(RuleTable &table)
    {
        RecordingCanvas canvas;
        table.change(0, [&canvas](AbstractRule &rule) {
            rule.draw(canvas);
            return true;
        });
        return canvas.notes();
    }

    RuleTable m_table;
};

TEST_P(RuleTypesTest, HasAFamilyAndItsRecord)
{
    EXPECT_EQ(familyOf(GetParam().type), GetParam().family);
    EXPECT_EQ(recordSize(GetParam().family), GetParam().nRecordBytes);
    const auto report = m_table.report(0);
    ASSERT_TRUE(report.has_value());
    EXPECT_EQ(report->type, GetParam().type);
    EXPECT_EQ(report->size, GetParam().nRecordBytes);
}

TEST_P(RuleTypesTest, ReadsBackWhatIsWritten)
{
    const RuleRecord record = recordOf(GetParam().family);
    EXPECT_TRUE(m_table.write(0, record.data()));
    RuleRecord result = {};
    std::copy_n(record.begin() + offsetof(RuleTextRecord, wAnchor), 2,
                result.begin() + offsetof(RuleTextRecord, wAnchor));
    EXPECT_TRUE(m_table.read(0, result.data()));
    EXPECT_EQ(result, record);
}

TEST_P(RuleTypesTest, IsDrawnWithItsCaption)
{
    EXPECT_FALSE(drawn("").empty());
    EXPECT_EQ(drawn("") != drawn("caption"), GetParam().bCaption);
}

TEST_P(RuleTypesTest, IsHitAndDragged)
{
    m_table.write(0, recordOf(GetParam().family).data());
    draw(m_table); // which gives a text its extent
    ASSERT_NE(m_table.selectAt({100, 200}), nullptr);
    const auto before = m_table.report(0)->record;
    EXPECT_TRUE(m_table.editPoint(0, {100, 200}, RuleAction::Grab));
    EXPECT_TRUE(m_table.editPoint(0, {110, 220}, RuleAction::Move));
    EXPECT_NE(m_table.report(0)->record, before);
}

INSTANTIATE_TEST_SUITE_P(Every, RuleTypesTest, ::testing::ValuesIn(kRows),
                         [](const auto &row) { return "Type" + std::to_string(static_cast<int>(row.param.type)); });

} // namespace
} // namespace pellora
