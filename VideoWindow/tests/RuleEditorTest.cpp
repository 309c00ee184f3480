// The mouse over a picture of 1000 by 1000 pixels at the pane's corner: a pixel is a thousandth, so that the reported
// coordinates are the mouse's own.

#include "VideoWindow/RuleEditor.h"

#include "VideoWindow/tests/RuleReports.h"
#include "interface/Pellora.h"
#include "rules/tests/RuleTestSupport.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <sstream>
#include <string>
#include <vector>

using testing::IsEmpty;
using namespace pellora;

namespace
{

using Texts = std::vector<std::string>;

constexpr long kHandle = 7;
constexpr long kPane = 3;
constexpr unsigned char kNoLimits = 0;
constexpr unsigned char kAllLimits = 15;

/** "L+10,20": the left button goes down there; L- R+ R- likewise; X+ another button; M a move. */
RuleMouseEvent eventFrom(const std::string &word)
{
    RuleMouseEvent event;
    std::size_t nAt = 1;
    if (word[0] != 'M') {
        event.button = word[0] == 'L'   ? RuleMouseEvent::Button::Left
                       : word[0] == 'R' ? RuleMouseEvent::Button::Right
                                        : RuleMouseEvent::Button::None;
        event.kind = word[1] == '+' ? RuleMouseEvent::Kind::Press : RuleMouseEvent::Kind::Release;
        nAt = 2;
    }
    const std::size_t nComma = word.find(',');
    event.point = {std::stoi(word.substr(nAt)), std::stoi(word.substr(nComma + 1))};
    return event;
}

template <typename Record>
Record zeroed()
{
    Record record;
    std::memset(&record, 0, sizeof(record));
    return record;
}

class RuleEditorTest : public testing::Test
{
protected:
    void SetUp() override
    {
        rulereports::reset();
        m_rules.scaleAll(1000.0F, 1000.0F);
        m_rules.setRuleCoordCallback(&rulereports::callback, kHandle, kPane);
    }

    void TearDown() override
    {
        rulereports::reset();
    }

    long create(RuleType type, const void *pExtend = nullptr, unsigned char byLimitMask = kNoLimits)
    {
        const long lRuleID = m_rules.createRule(type, 0, const_cast<void *>(pExtend), byLimitMask);
        m_editor.setCreated(lRuleID, type);
        return lRuleID;
    }

    /** A rule that the host has placed: x and y in turn. */
    long place(RuleType type, const std::vector<long> &coordinates, unsigned char byLimitMask = kNoLimits)
    {
        const long lRuleID = create(type, nullptr, byLimitMask);
        if (familyOf(type) == RuleFamily::Polygon) {
            auto record = zeroed<tagPELLORA_RULE_POLYGON>();
            record.wPointNum = static_cast<unsigned short>(coordinates.size() / 2);
            std::memcpy(record.struPoints, coordinates.data(), coordinates.size() * sizeof(long));
            EXPECT_TRUE(m_rules.setRuleCoode(lRuleID, &record));
        } else {
            EXPECT_TRUE(m_rules.setRuleCoode(lRuleID, coordinates.data()));
        }
        return lRuleID;
    }

    void setText(long lRuleID, const std::string &text, unsigned short wAnchor, tagPELLORA_POINT point)
    {
        auto record = zeroed<tagPELLORA_RULE_TEXT>();
        std::memcpy(record.szText, text.data(), text.size());
        record.wAnchor = wAnchor;
        record.struPoint = point;
        EXPECT_TRUE(m_rules.setRuleCoode(lRuleID, &record));
    }

    /** Plays the mouse: words as eventFrom has them. The reports that it brought. */
    Texts mouse(const std::string &script)
    {
        std::istringstream words(script);
        for (std::string word; words >> word;) {
            m_editor.handle(eventFrom(word));
        }
        return rulereports::take();
    }

    std::string coordinates(long lRuleID, RuleType type) const
    {
        auto record = zeroed<tagPELLORA_RULE_TEXT>();
        EXPECT_TRUE(m_rules.getRuleCoord(lRuleID, &record));
        return rulereports::spellRecord(static_cast<unsigned short>(type), &record);
    }

    RuleMgr m_rules;
    RuleEditor m_editor{m_rules};
};

/** What the mouse does, and all that the host is told: the reports without their common beginning. */
struct Row {
    const char *name;
    RuleType type;
    const char *mouse;
    Texts reports;
};

void PrintTo(const Row &row, std::ostream *pStream)
{
    *pStream << row.name << ": " << row.mouse;
}

unsigned long sizeOfRecord(RuleType type)
{
    switch (familyOf(type)) {
    case RuleFamily::Point:
        return 8;
    case RuleFamily::Polygon:
        return 84;
    case RuleFamily::Text:
        return 1040;
    default:
        return 16;
    }
}

/** "4: 10,20" of the rule with this id and type, as the whole report. */
std::string report(long lRuleID, RuleType type, const std::string &stateAndRecord)
{
    return "rule " + std::to_string(lRuleID) + " type " + std::to_string(static_cast<int>(type)) + " state " +
           stateAndRecord.substr(0, 1) + " handle 7 pane 3 size " + std::to_string(sizeOfRecord(type)) +
           stateAndRecord.substr(1);
}

Texts reports(long lRuleID, RuleType type, const Texts &statesAndRecords)
{
    Texts result;
    for (const std::string &text : statesAndRecords) {
        result.push_back(report(lRuleID, type, text));
    }
    return result;
}

// ---- new rules ----

class DrawingTest : public RuleEditorTest, public testing::WithParamInterface<Row>
{
};

TEST_P(DrawingTest, ReportsEveryStep)
{
    create(GetParam().type);
    EXPECT_EQ(mouse(GetParam().mouse), reports(0, GetParam().type, GetParam().reports));
}

std::vector<Row> drawnPoints(RuleType type)
{
    return {
        {"TakesThePlaceOfOneClick", type, "L+100,200", {"0: 100,200"}},
        {"TakesAClickOutsideThePicture", type, "L+-5,1200", {"0: -5,1200"}},
        {"HeedsNothingButALeftPress", type, "M1,1 R+2,2 R-2,2 X+3,3 X-3,3 L-4,4 L+100,200", {"0: 100,200"}},
        // Without a rule in hand a press at the rule is an edit, a move is nothing.
        {"IsForgottenAfterItsClick", type, "L+100,200 L-100,200 M300,300 R+300,300", {"0: 100,200"}},
    };
}

std::vector<Row> drawnLines(RuleType type)
{
    return {
        {"IsDrawnByTwoClicks",
         type,
         "L+10,20 L-10,20 M30,40 L+50,60 L-50,60 M70,80",
         // The first release moves nothing, yet each event while it is drawn is reported.
         {"2: 10,20 10,20", "2: 10,20 10,20", "2: 10,20 30,40", "0: 10,20 50,60"}},
        {"HeedsNothingBeforeItsFirstClick", type, "M1,1 R+2,2 L-3,3 X+4,4 L+10,20", {"2: 10,20 10,20"}},
        {"IgnoresTheOtherButtonsWhileItIsDrawn",
         type,
         "L+10,20 R+90,90 R-90,90 X+80,80",
         {"2: 10,20 10,20", "2: 10,20 10,20", "2: 10,20 10,20", "2: 10,20 10,20"}},
        // The pane ends at 1000, which still counts as inside.
        {"FollowsTheMouseOnlyInsideThePane",
         type,
         "L+10,20 M1000,1000 M1001,5 M5,1001 M-1,5 M5,-1",
         {"2: 10,20 10,20", "2: 10,20 1000,1000", "2: 10,20 1000,1000", "2: 10,20 1000,1000", "2: 10,20 1000,1000",
          "2: 10,20 1000,1000"}},
        {"EndsWhereverItIsClicked", type, "L+10,20 L+-30,2000", {"2: 10,20 10,20", "0: 10,20 -30,2000"}},
        // Both ends at zero are no geometry: the second click begins it once more.
        {"BeginsAgainAfterAClickAtTheCorner",
         type,
         "L+0,0 L+50,60 L+70,80",
         {"2: 0,0 0,0", "2: 50,60 50,60", "0: 50,60 70,80"}},
    };
}

std::vector<Row> drawnRects(RuleType type)
{
    return {
        {"IsDrawnByOneDrag",
         type,
         "L+100,200 M150,300 L-160,310 M400,400",
         {"2: 100,200 100,200", "2: 100,200 150,300", "0: 100,200 160,310"}},
        {"IsOrderedWhicheverWayItIsDragged",
         type,
         "L+300,400 M200,500 M100,100 L-350,50",
         {"2: 300,400 300,400", "2: 200,400 300,500", "2: 100,100 300,400", "0: 300,50 350,400"}},
        {"TakesAReleaseOutsideThePane",
         type,
         "L+100,100 M2000,50 L-2000,50",
         {"2: 100,100 100,100", "2: 100,100 100,100", "0: 100,50 2000,100"}},
        {"HeedsNoReleaseBeforeItsPress", type, "L-1,1 M2,2 R+3,3 L+100,100", {"2: 100,100 100,100"}},
        // The release went to another window. The shape goes on where it was, and the next release ends it.
        {"GoesOnAfterALostRelease",
         type,
         "L+100,100 M200,200 L+300,300 M400,400 L-500,500",
         {"2: 100,100 100,100", "2: 100,100 200,200", "2: 100,100 200,200", "2: 100,100 400,400",
          "0: 100,100 500,500"}},
        {"IgnoresTheRightButton",
         type,
         "L+100,100 R+300,300 R-300,300 L-200,200",
         {"2: 100,100 100,100", "2: 100,100 100,100", "2: 100,100 100,100", "0: 100,100 200,200"}},
    };
}

std::vector<Row> drawnPolygons(RuleType type)
{
    return {
        // Four points: each click adds one at the mouse, which the next click fixes; the fourth click ends it.
        {"IsCompleteWithItsFourthClick",
         type,
         "L+100,100 M200,110 L+200,110 M210,200 L+210,200 M120,210 L+120,210 M500,500",
         {"2: 2 100,100 100,100", "2: 2 100,100 200,110", "2: 3 100,100 200,110 200,110",
          "2: 3 100,100 200,110 210,200", "2: 4 100,100 200,110 210,200 210,200",
          "2: 4 100,100 200,110 210,200 120,210", "0: 4 100,100 200,110 210,200 120,210"}},
        // The last click fixes the point where the mouse was before it.
        {"EndsAtTheLastMove",
         type,
         "L+100,100 L+200,110 L+210,200 M50,60 L+120,210",
         {"2: 2 100,100 100,100", "2: 3 100,100 100,100 200,110", "2: 4 100,100 100,100 200,110 210,200",
          "2: 4 100,100 100,100 200,110 50,60", "0: 4 100,100 100,100 200,110 50,60"}},
        // It may not end early: the right button is a move.
        {"IsMovedByTheRightButton",
         type,
         "L+100,100 R+300,310 R-1,1 L-2,2",
         {"2: 2 100,100 100,100", "2: 2 100,100 300,310", "2: 2 100,100 300,310", "2: 2 100,100 300,310"}},
        {"WaitsForItsFirstPointAfterARightClick",
         type,
         "R+300,310 M4,4 L+100,100",
         {"2: 0", "2: 0", "2: 2 100,100 100,100"}},
        {"HeedsNothingBeforeItsFirstClick", type, "M1,1 L-2,2 R-2,2 X+3,3", {}},
        {"FollowsTheMouseOutOfThePane", type, "L+100,100 M-50,2000", {"2: 2 100,100 100,100", "2: 2 100,100 -50,2000"}},
    };
}

std::vector<Row> drawingRows()
{
    std::vector<Row> rows;
    const auto append = [&rows](const std::vector<Row> &more) { rows.insert(rows.end(), more.begin(), more.end()); };
    append(drawnPoints(RuleType::Point));
    append(drawnPoints(RuleType::PointWithCross));
    append(drawnLines(RuleType::Line));
    append(drawnLines(RuleType::LineWithText));
    append(drawnRects(RuleType::Rect));
    append(drawnRects(RuleType::RectWithText));
    append(drawnPolygons(RuleType::Polygon));
    append(drawnPolygons(RuleType::PolygonWithText));
    return rows;
}

std::string rowName(const testing::TestParamInfo<Row> &row)
{
    return "Type" + std::to_string(static_cast<int>(row.param.type)) + row.param.name;
}

INSTANTIATE_TEST_SUITE_P(Every, DrawingTest, testing::ValuesIn(drawingRows()), rowName);

/** A polygon's extension, with room for a caption. */
struct PolygonExtension {
    unsigned short wPointNum;
    unsigned char byFinishEarly;
    char szCaption[5];
};

TEST_F(RuleEditorTest, FinishesAPolygonEarlyWithFourPlacedPoints)
{
    const PolygonExtension extension{6, 1, ""};
    create(RuleType::Polygon, &extension);

    EXPECT_EQ(
        mouse("L+10,10 L+20,10 L+20,20 R+30,30 M10,20 L+10,20 M40,40 R+40,40 M50,50"),
        reports(0, RuleType::Polygon,
                {"2: 2 10,10 10,10", "2: 3 10,10 10,10 20,10", "2: 4 10,10 10,10 20,10 20,20",
                 // Three placed points and the one at the mouse: too few, so the button only moves the last.
                 "2: 4 10,10 10,10 20,10 30,30", "2: 4 10,10 10,10 20,10 10,20", "2: 5 10,10 10,10 20,10 10,20 10,20",
                 "2: 5 10,10 10,10 20,10 10,20 40,40", "0: 4 10,10 10,10 20,10 10,20"}));
}

struct PointNumberRow {
    unsigned short wPointNum;
    int nPoints; /**< that the complete polygon has */
};

class PolygonPointNumberTest : public RuleEditorTest, public testing::WithParamInterface<PointNumberRow>
{
};

TEST_P(PolygonPointNumberTest, EndsWithAsManyPointsAsItMayHave)
{
    const PolygonExtension extension{GetParam().wPointNum, 0, ""};
    const long lRuleID = create(RuleType::Polygon, &extension);

    int nClicks = 0;
    for (bool bComplete = false; !bComplete && nClicks < 100; ++nClicks) {
        const Texts told = mouse("L+" + std::to_string(10 + nClicks) + ",20");
        ASSERT_EQ(told.size(), 1U);
        bComplete = told.front().find(" state 0 ") != std::string::npos;
    }

    // The first click gives two points, each other one, the last none.
    EXPECT_EQ(nClicks, GetParam().nPoints);
    auto record = zeroed<tagPELLORA_RULE_POLYGON>();
    EXPECT_TRUE(m_rules.getRuleCoord(lRuleID, &record));
    EXPECT_EQ(record.wPointNum, GetParam().nPoints);
}

// A polygon begins with two points, whatever it may have; a record holds ten.
INSTANTIATE_TEST_SUITE_P(Every, PolygonPointNumberTest,
                         testing::Values(PointNumberRow{0, 2}, PointNumberRow{1, 2}, PointNumberRow{2, 2},
                                         PointNumberRow{3, 3}, PointNumberRow{10, 10}, PointNumberRow{11, 10},
                                         PointNumberRow{65535, 10}),
                         [](const auto &row) { return "Of" + std::to_string(row.param.wPointNum); });

TEST_F(RuleEditorTest, DrawsNothingForAFreshText)
{
    create(RuleType::Text);
    EXPECT_THAT(mouse("M10,10 L+20,20 L-20,20 R+30,30"), IsEmpty());
}

TEST_F(RuleEditorTest, FinishesATextAtOnceWhenItIsEmpty)
{
    // Painted to the left of the corner, the box keeps right and top at 0 and has the height of its line; then the text
    // goes, and left is put to 0: only the bottom is not 0, which is what an empty text is known by.
    const long lRuleID = create(RuleType::Text);
    setText(lRuleID, "gate", 2, {0, 0});
    const HDC hDc = CreateCompatibleDC(nullptr);
    m_rules.drawAll(hDc);
    DeleteDC(hDc);
    setText(lRuleID, "", 1, {0, 0});

    EXPECT_EQ(mouse("M10,10 M20,20 L+500,500"), reports(0, RuleType::Text, {"0: \"\" 1 0,0 1"}));
}

TEST_F(RuleEditorTest, MovesALineWithArrowsAtOnce)
{
    create(RuleType::LineWithArrow);
    // It stands in the middle of the pane: 500,250 to 500,750.
    EXPECT_EQ(mouse("M500,500 L+500,500 M510,505 L-510,505"),
              reports(0, RuleType::LineWithArrow, {"4: 500,250 500,750", "4: 510,255 510,755"}));
}

TEST_F(RuleEditorTest, LeavesARuleThatTheHostPlacedUndrawn)
{
    place(RuleType::Line, {10, 20, 30, 40});
    EXPECT_THAT(mouse("M50,50 L+500,500 L-500,500"), IsEmpty());
    EXPECT_EQ(coordinates(0, RuleType::Line), "10,20 30,40");
}

TEST_F(RuleEditorTest, DrawsTheRuleThatWasCreatedLast)
{
    create(RuleType::Line);
    create(RuleType::Point);
    EXPECT_EQ(mouse("L+10,20 L+500,500"), reports(1, RuleType::Point, {"0: 10,20"}));
    // The line is empty still, and nobody's.
    EXPECT_EQ(coordinates(0, RuleType::Line), "0,0 0,0");
}

TEST_F(RuleEditorTest, LeavesTheRuleInHandForANewOne)
{
    create(RuleType::Rect);
    EXPECT_EQ(mouse("L+100,100 M200,200").size(), 2U);
    create(RuleType::Point);
    EXPECT_EQ(mouse("M300,300 L-300,300 L+400,400"), reports(1, RuleType::Point, {"0: 400,400"}));
    EXPECT_EQ(coordinates(0, RuleType::Rect), "100,100 200,200");
}

TEST_F(RuleEditorTest, EndsDrawingWhenTheHostDestroysTheRule)
{
    create(RuleType::Rect);
    EXPECT_EQ(mouse("L+100,100 M200,200").size(), 2U);
    m_rules.destroyRule(0);
    EXPECT_THAT(mouse("M300,300 L-400,400"), IsEmpty());
    // And a new rule is drawn as ever.
    create(RuleType::Point);
    EXPECT_EQ(mouse("L+1,2"), reports(0, RuleType::Point, {"0: 1,2"}));
}

TEST_F(RuleEditorTest, SelectsAfterARefusedRule)
{
    place(RuleType::Point, {100, 200});
    EXPECT_EQ(create(static_cast<RuleType>(11)), -1);
    EXPECT_EQ(mouse("M5,5 L+100,200"), reports(0, RuleType::Point, {"4: 100,200"}));
}

// ---- placed rules ----

struct EditRow {
    const char *name;
    RuleType type;
    std::vector<long> placed;
    const char *mouse;
    Texts reports;
    const char *left; /**< the coordinates at the end */
    unsigned char byLimitMask = kNoLimits;
};

void PrintTo(const EditRow &row, std::ostream *pStream)
{
    *pStream << row.name << ": " << row.mouse;
}

class EditingTest : public RuleEditorTest, public testing::WithParamInterface<EditRow>
{
};

TEST_P(EditingTest, ReportsEveryStepButTheRelease)
{
    place(GetParam().type, GetParam().placed, GetParam().byLimitMask);
    EXPECT_EQ(mouse(GetParam().mouse), reports(0, GetParam().type, GetParam().reports));
    EXPECT_EQ(coordinates(0, GetParam().type), GetParam().left);
}

std::vector<EditRow> pointRows(RuleType type)
{
    return {
        // Four pixels off the point are near it, five are not.
        {"IsDraggedAndReleased",
         type,
         {100, 200},
         "L+104,196 M300,310 L-320,330 M1,1",
         {"4: 100,200", "4: 300,310"},
         "320,330"},
        {"IsMissedFivePixelsOff", type, {100, 200}, "L+105,200 M300,310 L-300,310", {}, "100,200"},
        {"IsLeftAloneByTheRightButton", type, {100, 200}, "R+100,200 M300,310 R-300,310", {}, "100,200"},
        {"IsLeftAloneByAMove", type, {100, 200}, "M100,200 M300,310 L-300,310", {}, "100,200"},
        {"StaysInHandWhileTheRightButtonClicks",
         type,
         {100, 200},
         "L+100,200 R+1,1 R-1,1 M300,310",
         {"4: 100,200", "4: 100,200", "4: 100,200", "4: 300,310"},
         "300,310"},
        {"StopsAtTheEdgesItKeeps",
         type,
         {100, 200},
         "L+100,200 M1000,1000 M1001,500 M500,-1 L--1,500",
         {"4: 100,200", "4: 1000,1000", "4: 1000,1000", "4: 1000,1000"},
         "1000,1000",
         kAllLimits},
        {"LeavesThePaneWithoutLimits",
         type,
         {100, 200},
         "L+100,200 M-50,1200 L--60,1300",
         {"4: 100,200", "4: -50,1200"},
         "-60,1300"},
        // The release went elsewhere; the next press takes what lies under it, here nothing.
        {"IsDroppedByAPressElsewhereAfterALostRelease",
         type,
         {100, 200},
         "L+100,200 M300,300 L+500,500 M600,600 L-600,600",
         {"4: 100,200", "4: 300,300"},
         "300,300"},
    };
}

std::vector<EditRow> lineRows(RuleType type)
{
    return {
        {"MovesTheEndThatIsGrabbed",
         type,
         {100, 100, 300, 100},
         "L+301,103 M310,150 L-320,160",
         {"4: 100,100 300,100", "4: 100,100 310,150"},
         "100,100 320,160"},
        // Where both ends lie under the mouse, the start is taken.
        {"PrefersItsStart",
         type,
         {100, 100, 102, 100},
         "L+101,100 M50,60 L-50,60",
         {"4: 100,100 102,100", "4: 50,60 102,100"},
         "50,60 102,100"},
        {"MovesAsAWhole",
         type,
         {100, 100, 300, 100},
         "L+200,100 M210,120 L-205,130",
         {"4: 100,100 300,100", "4: 110,120 310,120"},
         "105,130 305,130"},
        // 100 to the right would put the end at 1050: refused, and the way is gone: 10 back from there are 10 back.
        {"DoesNotMakeUpForARefusedDrag",
         type,
         {750, 100, 950, 100},
         "L+850,100 M950,100 M940,100 L-940,100",
         {"4: 750,100 950,100", "4: 750,100 950,100", "4: 740,100 940,100"},
         "740,100 940,100",
         kAllLimits},
        {"IsMissedOffItsWay", type, {100, 100, 300, 100}, "L+200,120 M210,120 L-205,130", {}, "100,100 300,100"},
    };
}

std::vector<EditRow> rectRows(RuleType type)
{
    return {
        // The release only puts the corners in order; the mouse's last place counts no more.
        {"MovesTheCornerThatIsGrabbed",
         type,
         {100, 100, 300, 200},
         "L+298,197 M400,350 L-500,500",
         {"4: 100,100 300,200", "4: 100,100 400,350"},
         "100,100 400,350"},
        {"IsPutInOrderByTheRelease",
         type,
         {100, 100, 300, 200},
         "L+100,100 M400,350 L-400,350",
         {"4: 100,100 300,200", "4: 400,350 300,200"},
         "300,200 400,350"},
        {"MovesItsOtherCorners",
         type,
         {100, 100, 300, 200},
         "L+300,100 M350,50 L-350,50 L+100,200 M80,260 L-80,260",
         {"4: 100,100 300,200", "4: 100,50 350,200", "4: 100,50 350,200", "4: 80,50 350,260"},
         "80,50 350,260"},
        {"MovesAsAWhole",
         type,
         {100, 100, 300, 200},
         "L+200,150 M210,170 L-900,900",
         {"4: 100,100 300,200", "4: 110,120 310,220"},
         "110,120 310,220"},
        // A mouse beyond the edge is refused before the way is measured, so the way is made up for.
        {"WaitsForTheMouseAtTheEdge",
         type,
         {700, 100, 900, 200},
         "L+850,150 M1001,150 M860,150 L-860,150",
         {"4: 700,100 900,200", "4: 700,100 900,200", "4: 710,100 910,200"},
         "710,100 910,200",
         kAllLimits},
        {"IsHitOnItsEdges",
         type,
         {100, 100, 300, 200},
         "L+200,200 M200,210 L-200,210",
         {"4: 100,100 300,200", "4: 100,110 300,210"},
         "100,110 300,210"},
        // A corner is grabbed within four pixels, yet only from inside: the press must hit the rectangle first.
        {"IsMissedOutsideItsCorner", type, {100, 100, 300, 200}, "L+301,200 M400,350 L-400,350", {}, "100,100 300,200"},
        {"IsMissedBesideItsEdges", type, {100, 100, 300, 200}, "L+200,201 M200,210 L-200,210", {}, "100,100 300,200"},
    };
}

std::vector<EditRow> polygonRows(RuleType type)
{
    return {
        {"MovesTheVertexThatIsGrabbed",
         type,
         {100, 100, 300, 100, 200, 300},
         "L+298,102 M350,90 L-360,80",
         {"4: 3 100,100 300,100 200,300", "4: 3 100,100 350,90 200,300"},
         "3 100,100 360,80 200,300"},
        {"MovesAsAWhole",
         type,
         {100, 100, 300, 100, 200, 300},
         "L+200,150 M210,140 L-215,145",
         {"4: 3 100,100 300,100 200,300", "4: 3 110,90 310,90 210,290"},
         "3 115,95 315,95 215,295"},
        {"StopsAtTheEdgesItKeeps",
         type,
         {100, 100, 300, 100, 200, 300},
         "L+200,150 M50,150 M60,150 L-60,150",
         // 150 to the left would put a vertex at -50. The way is gone: 10 back to the right are 10 to the right.
         {"4: 3 100,100 300,100 200,300", "4: 3 100,100 300,100 200,300", "4: 3 110,100 310,100 210,300"},
         "3 110,100 310,100 210,300",
         kAllLimits},
        {"IsMissedOutside",
         type,
         {100, 100, 300, 100, 200, 300},
         "L+110,250 M200,200 L-200,200",
         {},
         "3 100,100 300,100 200,300"},
    };
}

std::vector<EditRow> editRows()
{
    std::vector<EditRow> rows;
    const auto append = [&rows](const std::vector<EditRow> &more) {
        rows.insert(rows.end(), more.begin(), more.end());
    };
    append(pointRows(RuleType::Point));
    append(pointRows(RuleType::PointWithCross));
    append(lineRows(RuleType::Line));
    append(lineRows(RuleType::LineWithArrow));
    append(lineRows(RuleType::LineWithText));
    append(rectRows(RuleType::Rect));
    append(rectRows(RuleType::RectWithText));
    append(polygonRows(RuleType::Polygon));
    append(polygonRows(RuleType::PolygonWithText));
    return rows;
}

INSTANTIATE_TEST_SUITE_P(Every, EditingTest, testing::ValuesIn(editRows()), [](const auto &row) {
    return "Type" + std::to_string(static_cast<int>(row.param.type)) + row.param.name;
});

TEST_F(RuleEditorTest, DragsATextByItsBox)
{
    // Never painted, the box is the reference point alone; its right and bottom are those of no text: 0.
    setText(create(RuleType::Text), "gate", 1, {0, 0});
    EXPECT_EQ(mouse("L+0,0 M30,40 L-35,50"),
              reports(0, RuleType::Text, {"4: \"gate\" 1 0,0 1", "4: \"gate\" 1 30,40 1"}));
    EXPECT_EQ(coordinates(0, RuleType::Text), "\"gate\" 1 35,50 1");
}

TEST_F(RuleEditorTest, EditsTheRuleWithTheLowestIdUnderTheMouse)
{
    place(RuleType::Rect, {100, 100, 300, 300});
    place(RuleType::Point, {200, 200});
    EXPECT_EQ(mouse("L+200,200 L-200,200"), reports(0, RuleType::Rect, {"4: 100,100 300,300"}));
    EXPECT_TRUE(m_rules.getRule(0)->isSelected());
    EXPECT_FALSE(m_rules.getRule(1)->isSelected());
}

TEST_F(RuleEditorTest, TakesAnotherRuleWithTheNextPress)
{
    place(RuleType::Point, {100, 100});
    place(RuleType::Line, {200, 200, 400, 200});
    mouse("L+100,100 L-100,100");
    EXPECT_EQ(mouse("L+400,200 M410,210"), reports(1, RuleType::Line, {"4: 200,200 400,200", "4: 200,200 410,210"}));
    EXPECT_FALSE(m_rules.getRule(0)->isSelected());
    EXPECT_TRUE(m_rules.getRule(1)->isSelected());
}

TEST_F(RuleEditorTest, SelectsNothingWithAPressBesideEveryRule)
{
    place(RuleType::Point, {100, 100});
    mouse("L+100,100 L-100,100 L+500,500");
    EXPECT_FALSE(m_rules.getRule(0)->isSelected());
}

TEST_F(RuleEditorTest, KeepsARuleSelectedAfterItsRelease)
{
    place(RuleType::Point, {100, 100});
    mouse("L+100,100 L-100,100 M300,300 R+300,300");
    EXPECT_TRUE(m_rules.getRule(0)->isSelected());
}

TEST_F(RuleEditorTest, StopsReportingARuleThatTheHostDestroyedWhileItWasDragged)
{
    place(RuleType::Point, {100, 100});
    EXPECT_EQ(mouse("L+100,100").size(), 1U);
    m_rules.clearRules();
    EXPECT_THAT(mouse("M200,200 M300,300 L-300,300 M1,1"), IsEmpty());
}

// ---- the host while it is told ----

TEST_F(RuleEditorTest, DrawsTheRuleThatTheHostCreatesWhileItIsToldOfTheOneBefore)
{
    create(RuleType::Point);
    bool bCreated = false;
    rulereports::whenReported([&](unsigned char) {
        if (!bCreated) {
            bCreated = true;
            create(RuleType::PointWithCross);
        }
    });

    Texts expected = reports(0, RuleType::Point, {"0: 10,20"});
    expected.push_back(report(1, RuleType::PointWithCross, "0: 30,40"));
    EXPECT_EQ(mouse("L+10,20 L-10,20 L+30,40 L+500,500"), expected);
}

TEST_F(RuleEditorTest, ForgetsTheRuleWhenTheHostOnlyLooksAtItWhileItIsTold)
{
    create(RuleType::Point);
    rulereports::whenReported([this](unsigned char) { EXPECT_EQ(coordinates(0, RuleType::Point), "10,20"); });
    EXPECT_EQ(mouse("L+10,20").size(), 1U);
    rulereports::whenReported(nullptr);

    // A rule in hand would be drawn once more after it has been emptied.
    const tagPELLORA_RULE_POINT corner = {{0, 0}};
    m_rules.setRuleCoode(0, &corner);
    EXPECT_THAT(mouse("L+50,60"), IsEmpty());
}

TEST_F(RuleEditorTest, SurvivesAHostThatDestroysTheRuleWhileItIsToldOfIt)
{
    create(RuleType::Line);
    rulereports::whenReported([this](unsigned char) { m_rules.destroyRule(0); });
    EXPECT_EQ(mouse("L+10,20 M30,40 L+50,60 M70,80"), reports(0, RuleType::Line, {"2: 10,20 10,20"}));
}

TEST_F(RuleEditorTest, TakesTheCoordinatesThatTheHostSetsWhileItIsTold)
{
    place(RuleType::Point, {100, 100});
    rulereports::whenReported([this](unsigned char) {
        const tagPELLORA_RULE_POINT point = {{700, 700}};
        EXPECT_TRUE(m_rules.setRuleCoode(0, &point));
    });
    EXPECT_EQ(mouse("L+100,100 M200,200"), reports(0, RuleType::Point, {"4: 100,100", "4: 200,200"}));
    EXPECT_EQ(coordinates(0, RuleType::Point), "700,700");
}

TEST_F(RuleEditorTest, SaysNothingAfterTheHostTookItsCallbackBack)
{
    place(RuleType::Point, {100, 100});
    rulereports::whenReported([this](unsigned char) { m_rules.setRuleCoordCallback(nullptr, kHandle, kPane); });
    EXPECT_EQ(mouse("L+100,100 M200,200 L-200,200"), reports(0, RuleType::Point, {"4: 100,100"}));
    EXPECT_EQ(coordinates(0, RuleType::Point), "200,200");
}

TEST_F(RuleEditorTest, DrawsWithoutACallback)
{
    m_rules.setRuleCoordCallback(nullptr, kHandle, kPane);
    create(RuleType::Rect);
    EXPECT_THAT(mouse("L+100,100 M150,150 L-200,200"), IsEmpty());
    EXPECT_EQ(coordinates(0, RuleType::Rect), "100,100 200,200");
}

TEST_F(RuleEditorTest, KeepsTheEditThatBeganWhileTheHostWasToldOfANewRule)
{
    place(RuleType::Point, {500, 500});
    create(RuleType::Point);
    // A message box in the callback runs a message loop, in which the mouse grabs the other rule.
    rulereports::whenReported([this](unsigned char byState) {
        if (byState == 0) {
            m_editor.handle(eventFrom("L+500,500"));
        }
    });
    EXPECT_EQ(mouse("L+10,20").size(), 2U);
    rulereports::whenReported(nullptr);

    EXPECT_EQ(mouse("M510,520 L-530,540"), reports(0, RuleType::Point, {"4: 510,520"}));
    EXPECT_EQ(coordinates(0, RuleType::Point), "530,540");
}

TEST_F(RuleEditorTest, KeepsTheDrawingThatBeganWhileTheHostWasToldOfANewRule)
{
    create(RuleType::Point);
    bool bCreated = false;
    rulereports::whenReported([&](unsigned char byState) {
        if (byState == 0 && !bCreated) {
            bCreated = true;
            create(RuleType::Line);
            m_editor.handle(eventFrom("L+100,100"));
        }
    });

    Texts expected = reports(0, RuleType::Point, {"0: 10,20"});
    // Once, for its own event.
    expected.push_back(report(1, RuleType::Line, "2: 100,100 100,100"));
    EXPECT_EQ(mouse("L+10,20"), expected);
    EXPECT_EQ(mouse("M150,150 L+200,200"), reports(1, RuleType::Line, {"2: 100,100 150,150", "0: 100,100 200,200"}));
}

TEST_F(RuleEditorTest, HasNoRuleInHandWhileTheHostIsToldThatItIsDrawn)
{
    create(RuleType::Point);
    bool bTold = false;
    rulereports::whenReported([&](unsigned char /*byState*/) {
        if (bTold) {
            return;
        }
        bTold = true;
        // A rule in hand would be drawn once more after it has been emptied.
        const tagPELLORA_RULE_POINT corner = {{0, 0}};
        m_rules.setRuleCoode(0, &corner);
        m_editor.handle(eventFrom("L+50,60"));
    });
    EXPECT_EQ(mouse("L+10,20").size(), 1U);
    EXPECT_EQ(coordinates(0, RuleType::Point), "0,0");
}

// ---- every type ----

TEST_F(RuleEditorTest, DrawsEveryTypeThatDoesNotStandFromTheStart)
{
    for (const RuleType type : kAllTypes) {
        const long lRuleID = create(type);
        const Texts told = mouse("L+100,100 M150,150 L-150,150 L+210,100 M210,100 L+210,220 L+90,220 M90,220 L+95,230");
        const bool bStands = type == RuleType::Text || type == RuleType::LineWithArrow;
        const auto isDrawn = [&](const std::string &text) {
            return text.rfind("rule " + std::to_string(lRuleID) + " type " + std::to_string(static_cast<int>(type)) +
                                  " state 0",
                              0) == 0;
        };
        EXPECT_EQ(std::count_if(told.begin(), told.end(), isDrawn), bStands ? 0 : 1) << static_cast<int>(type);
        m_rules.clearRules();
        mouse("L-95,230");
    }
}

// ---- the other origin ----

TEST_F(RuleEditorTest, ReportsRowsFromTheBottomWithTheOtherOrigin)
{
    m_rules.setOriginPos(2);
    create(RuleType::Line);
    // Row 20 of 1000 is 980 above the bottom, row 1000 is at it.
    EXPECT_EQ(mouse("L+10,20 L+30,1000"), reports(0, RuleType::Line, {"2: 10,980 10,980", "0: 10,980 30,0"}));
}

TEST_F(RuleEditorTest, ReportsWithoutCoordinatesWithAnUnknownOrigin)
{
    m_rules.setOriginPos(3);
    create(RuleType::Line);
    EXPECT_EQ(mouse("L+10,20 L+30,40"), reports(0, RuleType::Line, {"2: 0,0 0,0", "0: 0,0 0,0"}));
}

} // namespace
