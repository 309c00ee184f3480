#include "rules/LineWithArrowRule.h"
#include "rules/LineWithTextRule.h"
#include "rules/PointWithCrossRule.h"
#include "rules/PolygonWithTextRule.h"
#include "rules/RectWithTextRule.h"
#include "rules/RuleText.h"
#include "rules/tests/RecordingCanvas.h"

#include <gtest/gtest.h>

namespace pellora
{
namespace
{

using Notes = std::vector<std::string>;

Notes drawn(AbstractRule &rule)
{
    RecordingCanvas canvas;
    rule.draw(canvas);
    return canvas.notes();
}

TEST(RuleCanvas, DrawsAPointWithoutAPenSelectedOrNot)
{
    RulePoint rule(placementWith(0));
    EXPECT_EQ(drawn(rule), Notes{});
    rule.setPoint({50, 60});
    rule.setColor(9);
    EXPECT_EQ(drawn(rule), Notes{"disc (50, 60) 5 9"});
    rule.setSelected(true);
    EXPECT_EQ(drawn(rule), Notes{"disc (50, 60) 5 9"});
}

TEST(RuleCanvas, DrawsALineAndItsHandles)
{
    RuleLine rule(placementWith(0));
    rule.setPoints({1, 2}, {3, 4});
    rule.setSelected(true);
    EXPECT_EQ(drawn(rule), (Notes{"pen 2 0", "move (1, 2)", "line (3, 4)", "disc (1, 2) 5 0", "disc (3, 4) 5 0"}));
}

TEST(RuleCanvas, DrawsARectangleWithACaptionInItsBox)
{
    RectWithTextRule rule(placementWith(0), "ab");
    rule.setRect({10, 20}, {30, 40});
    rule.setSelected(true);
    EXPECT_EQ(drawn(rule), (Notes{"pen 1 0", "frame (10, 20, 30, 40)", "disc (10, 20) 5 0", "disc (30, 20) 5 0",
                                  "disc (30, 40) 5 0", "disc (10, 40) 5 0", "text 2 (10, 20, 30, 40) 0"}));
}

TEST(RuleCanvas, ClosesAPolygonAndCentresItsCaption)
{
    PolygonWithTextRule rule(placementWith(0), {}, "abc");
    EXPECT_EQ(drawn(rule), Notes{}); // no vertex, no place for the caption
    rule.setPoints({{10, 10}, {90, 10}, {50, 70}});
    // The mean is (50, 30); the caption 21 by 11 reaches 10 and 5 pixels to either side.
    EXPECT_EQ(drawn(rule), (Notes{"pen 1 0", "move (10, 10)", "line (90, 10)", "line (50, 70)", "line (10, 10)",
                                  "text 3 (40, 25, 60, 35) 0"}));
}

TEST(RuleCanvas, CutsACaptionAndCentresItOnTheLine)
{
    LineWithTextRule rule(placementWith(0), std::string(300, 'x'));
    rule.setPoints({0, 0}, {5, -5});
    // The middle is (2, -2); 127 units are 889 wide, half of it 444.
    EXPECT_EQ(drawn(rule).back(), "text 127 (-442, -7, 446, 3) 0");
    rule.setPoints({-4, 4}, {5, -5}); // middle (0, 0)
    EXPECT_EQ(drawn(rule).back(), "line (5, -5)");
}

TEST(RuleCanvas, DrawsACrossWithItsCaptionUpAndToTheRight)
{
    PointWithCrossRule rule(placementWith(0), "ab");
    EXPECT_EQ(drawn(rule), Notes{});
    rule.setPoint({50, 60});
    EXPECT_EQ(drawn(rule), (Notes{"pen 2 0", "move (38, 60)", "line (62, 60)", "move (50, 48)", "line (50, 72)",
                                  "text 2 (62, 37, 76, 48) 0"}));
    rule.setPoint({-12, 12}); // the caption's corner falls on (0, 0)
    EXPECT_EQ(drawn(rule).back(), "line (-12, 24)");
}

TEST(RuleCanvas, FitsATextsBoxToItsText)
{
    RuleText rule(placementWith(0));
    rule.setText("abcd", RuleText::kTopLeft, 0);
    rule.setPoint({10, 20});
    EXPECT_EQ(drawn(rule), (Notes{"text 4 (10, 20, 38, 31) 0", "pen 1 0", "frame (10, 20, 38, 31)"}));
    rule.setText("ab", RuleText::kTopRight, 0); // grows to the left
    rule.setPoint({100, 20});
    drawn(rule);
    EXPECT_EQ(rule.getBox(), (PixelRect{86, 20, 100, 31}));
    rule.setText(std::string(5000, 'x'), 0, 0);
    EXPECT_EQ(drawn(rule).front(), "text 1023 (86, 20, 100, 31) 0");
}

TEST(RuleCanvas, PutsArrowsAndLettersBesideALine)
{
    LineWithArrowRule rule(placementWith(0));
    rule.setPoints({100, 100}, {200, 100}); // to the right: no turn; middle (150, 100)
    EXPECT_EQ(drawn(rule), (Notes{"pen 2 0", "move (100, 100)", "line (200, 100)", "move (145, 100)", "line (145, 110)",
                                  "line (140, 110)", "line (150, 120)", "line (160, 110)", "line (155, 110)",
                                  "line (155, 100)", "move (155, 100)", "line (155, 90)", "line (160, 90)",
                                  "line (150, 80)", "line (140, 90)", "line (145, 90)", "line (145, 100)",
                                  "text 1 (140, 120, 160, 140) 255", "text 1 (140, 60, 160, 80) 255"}));
}

TEST(RuleCanvas, TurnsArrowsWithTheLinesDirection)
{
    struct Row {
        PixelPoint end;
        const char *a;
    };
    // A lies 30 pixels clockwise of the direction; a pixel less where the sine of a half turn is just above zero.
    for (const Row &row :
         {Row{{200, 150}, "text 1 (165, 170, 185, 190) 255"}, {{150, 200}, "text 1 (110, 165, 130, 185) 255"}}) {
        LineWithArrowRule rule(placementWith(0));
        rule.setPoints({150, 150}, row.end);
        const Notes notes = drawn(rule);
        EXPECT_EQ(notes[notes.size() - 2], row.a) << row.end;
    }
    LineWithArrowRule rule(placementWith(0));
    rule.setPoints({200, 150}, {100, 150}); // to the left: A above
    const Notes notes = drawn(rule);
    EXPECT_EQ(notes[notes.size() - 2], "text 1 (140, 110, 160, 130) 255");
}

TEST(RuleCanvas, ShowsOnlyTheChosenArrowButBothLetters)
{
    // Line: pen, move, line. An outline: 7. Letters: 2.
    for (const auto &[nType, nNotes] :
         {std::pair<std::uint16_t, std::size_t>{0, 19}, {1, 12}, {2, 12}, {3, 5}, {65535, 5}}) {
        LineWithArrowRule rule(placementWith(0));
        rule.setPoints({100, 100}, {200, 100});
        rule.setArrowType(nType);
        const Notes notes = drawn(rule);
        EXPECT_EQ(notes.size(), nNotes) << nType;
        EXPECT_EQ(notes.back(), "text 1 (140, 60, 160, 80) 255");
    }
    LineWithArrowRule rule(placementWith(0));
    rule.setPoints({100, 100}, {200, 100});
    rule.setArrowType(LineWithArrowRule::kArrowB);
    EXPECT_EQ(drawn(rule)[3], "move (155, 100)");
}

TEST(RuleCanvas, PutsArrowsOfALineWithoutDirectionAtTheSmallestCoordinates)
{
    LineWithArrowRule rule(placementWith(0));
    rule.setPoints({50, 50}, {50, 50});
    EXPECT_EQ(drawn(rule)[3], "move (-2147483648, -2147483648)");
}

} // namespace
} // namespace pellora
