#include "rules/gdi/RuleDrawing.h"
#include "rules/LineWithArrowRule.h"
#include "rules/LineWithTextRule.h"
#include "rules/PointWithCrossRule.h"
#include "rules/PolygonWithTextRule.h"
#include "rules/RectWithTextRule.h"
#include "rules/RuleText.h"
#include "rules/tests/DibContext.h"
#include "rules/tests/RuleTestSupport.h"

#include <gtest/gtest.h>

#include <chrono>
#include <cmath>
#include <memory>
#include <random>
#include <stdexcept>
#include <string>
#include <vector>

namespace pellora
{
namespace
{

/** Green, as a COLORREF and as the bitmap has it: the same. Blue differs, which shows a swap. */
constexpr RuleColor kGreen = 0x0000FF00;
constexpr RuleColor kBlue = 0x00FF0000;
constexpr std::uint32_t kBlueInk = 0x000000FF;
constexpr std::uint32_t kRedInk = 0x00FF0000;

class RuleDrawing : public ::testing::Test
{
protected:
    void draw(AbstractRule &rule)
    {
        m_dib.clear();
        drawRule(m_dib.get(), rule);
    }

    /** Fails for ink outside the rectangle, whose right and bottom belong to it. */
    void expectInkWithin(const PixelRect &rect)
    {
        const auto bounds = m_dib.inkBounds();
        ASSERT_TRUE(bounds.has_value());
        EXPECT_GE(bounds->left, rect.left);
        EXPECT_GE(bounds->top, rect.top);
        EXPECT_LE(bounds->right, rect.right);
        EXPECT_LE(bounds->bottom, rect.bottom);
    }

    bool hasInkOf(std::uint32_t color, const PixelRect &rect)
    {
        for (std::int32_t y = std::max(rect.top, 0); y <= std::min(rect.bottom, DibContext::kHeight - 1); ++y) {
            for (std::int32_t x = std::max(rect.left, 0); x <= std::min(rect.right, DibContext::kWidth - 1); ++x) {
                if (m_dib.pixel(x, y) == color) {
                    return true;
                }
            }
        }
        return false;
    }

    DibContext m_dib;
};

TEST_F(RuleDrawing, FillsAPointAndOutlinesItInBlack)
{
    RulePoint rule(placementWith(0));
    rule.setColor(kBlue);
    draw(rule);
    EXPECT_FALSE(m_dib.inkBounds().has_value());
    rule.setPoint({50, 60});
    for (const bool bSelected : {false, true}) {
        rule.setSelected(bSelected);
        draw(rule);
        EXPECT_EQ(m_dib.pixel(50, 60), kBlueInk);
        // The ellipse's box is (45, 55) to (55, 65), the last ones excluded.
        EXPECT_EQ(m_dib.inkBounds(), (PixelRect{45, 55, 54, 64}));
        EXPECT_EQ(m_dib.pixel(45, 60), 0U);
        EXPECT_EQ(m_dib.pixel(50, 55), 0U);
    }
}

TEST_F(RuleDrawing, DrawsALineTwoPixelsWide)
{
    RuleLine rule(placementWith(0));
    rule.setColor(kBlue);
    rule.setPoints({100, 100}, {200, 100});
    draw(rule);
    EXPECT_EQ(m_dib.pixel(150, 100), kBlueInk);
    EXPECT_EQ(m_dib.pixel(150, 99), kBlueInk);
    EXPECT_FALSE(m_dib.isInk(150, 97));
    EXPECT_FALSE(m_dib.isInk(150, 102));
    expectInkWithin({98, 98, 202, 102});
    rule.setSelected(true);
    draw(rule);
    EXPECT_EQ(m_dib.pixel(102, 97), kBlueInk);
    EXPECT_EQ(m_dib.pixel(202, 97), kBlueInk);
    // The handle's outline keeps the line's pen: no black anywhere.
    EXPECT_FALSE(hasInkOf(0, {0, 0, 399, 299}));
    expectInkWithin({93, 93, 207, 107});
}

TEST_F(RuleDrawing, LeavesARectanglesInsideAlone)
{
    RuleRect rule(placementWith(0));
    rule.setColor(kGreen);
    rule.setRect({50, 60}, {150, 160});
    draw(rule);
    EXPECT_EQ(m_dib.pixel(50, 100), kGreen);
    EXPECT_EQ(m_dib.pixel(100, 60), kGreen);
    EXPECT_FALSE(m_dib.isInk(100, 110));
    expectInkWithin({49, 59, 151, 161});
    RectWithTextRule thin(placementWith(0), "");
    thin.setColor(kGreen);
    thin.setRect({50, 60}, {150, 160});
    draw(thin);
    // One pixel wide; right and bottom are the first ones outside.
    EXPECT_EQ(m_dib.inkBounds(), (PixelRect{50, 60, 149, 159}));
    EXPECT_FALSE(m_dib.isInk(51, 61));
    thin.setSelected(true);
    draw(thin);
    EXPECT_EQ(m_dib.pixel(52, 62), kGreen);
    EXPECT_EQ(m_dib.pixel(148, 158), kGreen);
}

TEST_F(RuleDrawing, ClosesAPolygon)
{
    RulePolygon rule(placementWith(0), {});
    rule.setColor(kGreen);
    draw(rule);
    EXPECT_FALSE(m_dib.inkBounds().has_value());
    rule.setPoints({{100, 100}, {200, 100}, {200, 200}, {100, 200}});
    draw(rule);
    EXPECT_EQ(m_dib.pixel(100, 150), kGreen); // the side from the last to the first
    EXPECT_EQ(m_dib.pixel(150, 200), kGreen);
    EXPECT_FALSE(m_dib.isInk(150, 150));
    rule.setSelected(true);
    draw(rule);
    EXPECT_EQ(m_dib.pixel(103, 197), kGreen);
}

class Handles : public RuleDrawing, public ::testing::WithParamInterface<RuleType>
{
protected:
    /** Where handles are of a rule that was drawn by clicks at (100, 100), (200, 100), (200, 200) and (100, 200). */
    static std::vector<PixelPoint> expected(RuleType type)
    {
        switch (familyOf(type)) {
        case RuleFamily::Line:
            return {{100, 100}, {200, 100}};
        case RuleFamily::Rect:
        case RuleFamily::Polygon:
            return {{100, 100}, {200, 100}, {200, 200}, {100, 200}};
        default:
            return {};
        }
    }

    static std::unique_ptr<AbstractRule> make(RuleType type)
    {
        auto pRule = makeRule(type, placementWith(0), {{4, false}, ""});
        pRule->setColor(kGreen);
        if (type == RuleType::LineWithArrow) {
            static_cast<RuleLine &>(*pRule).setPoints({100, 100}, {200, 100});
            return pRule;
        }
        pRule->addPoint({100, 100}, RuleAction::LeftPress);
        if (familyOf(type) == RuleFamily::Line) {
            pRule->addPoint({200, 100}, RuleAction::LeftPress);
        } else if (familyOf(type) == RuleFamily::Rect) {
            pRule->addPoint({200, 200}, RuleAction::LeftPress);
        } else if (familyOf(type) == RuleFamily::Polygon) {
            for (const PixelPoint point : {PixelPoint{200, 100}, {200, 200}, {100, 200}}) {
                pRule->addPoint(point, RuleAction::Move);
                pRule->addPoint(point, RuleAction::LeftPress);
            }
        }
        return pRule;
    }
};

TEST_P(Handles, AreOnEveryCornerOfASelectedRuleOnly)
{
    const auto pRule = make(GetParam());
    draw(*pRule);
    const std::vector<std::uint32_t> plain = m_dib.all();
    for (const PixelPoint handle : expected(GetParam())) {
        // Three to the side and three up or down: off every line, within a circle of radius 5.
        EXPECT_FALSE(m_dib.isInk(handle.x - 3, handle.y - 3));
        EXPECT_FALSE(m_dib.isInk(handle.x + 2, handle.y + 3));
    }
    pRule->setSelected(true);
    draw(*pRule);
    for (const PixelPoint handle : expected(GetParam())) {
        EXPECT_EQ(m_dib.pixel(handle.x - 3, handle.y - 3), kGreen);
        EXPECT_EQ(m_dib.pixel(handle.x + 2, handle.y + 3), kGreen);
        EXPECT_FALSE(m_dib.isInk(handle.x - 6, handle.y - 6));
    }
    pRule->setSelected(false);
    draw(*pRule);
    EXPECT_EQ(m_dib.all(), plain);
    if (expected(GetParam()).empty()) {
        pRule->setSelected(true);
        draw(*pRule);
        EXPECT_EQ(m_dib.all(), plain);
    }
}

INSTANTIATE_TEST_SUITE_P(Every, Handles, ::testing::ValuesIn(kAllTypes),
                         [](const auto &type) { return "Type" + std::to_string(static_cast<int>(type.param)); });

TEST_F(RuleDrawing, FitsATextsFrameToTheText)
{
    RuleText rule(placementWith(0));
    rule.setColor(kBlue);
    rule.setText("Gate 7", RuleText::kTopLeft, 0);
    rule.setPoint({50, 60});
    draw(rule);
    const PixelRect box = rule.getBox();
    ASSERT_GT(box.right, box.left + 10);
    ASSERT_GT(box.bottom, box.top + 5);
    EXPECT_EQ(m_dib.inkBounds(), (PixelRect{50, 60, box.right - 1, box.bottom - 1}));
    EXPECT_TRUE(m_dib.isInk(50, 60));
    rule.setText("Gate 7, northern side", RuleText::kTopLeft, 0);
    draw(rule);
    EXPECT_GT(rule.getBox().right, box.right);
    rule.setText("Gate 7", RuleText::kTopRight, 0);
    rule.setPoint({300, 60});
    draw(rule);
    EXPECT_EQ(rule.getBox().left, 300 - (box.right - box.left));
}

TEST_F(RuleDrawing, DrawsACrossAndItsCaption)
{
    PointWithCrossRule rule(placementWith(0), "P1");
    rule.setColor(kBlue);
    rule.setPoint({100, 100});
    draw(rule);
    EXPECT_EQ(m_dib.pixel(92, 100), kBlueInk);
    EXPECT_EQ(m_dib.pixel(100, 92), kBlueInk);
    EXPECT_FALSE(m_dib.isInk(92, 92));
    EXPECT_TRUE(m_dib.inkBounds()->right > 113); // the caption begins at x = 112
    EXPECT_TRUE(m_dib.inkBounds()->top < 88);
    rule.setPoint({-12, 12}); // no caption: its corner is the corner of the pane
    draw(rule);
    expectInkWithin({0, 11, 0, 12}); // only the stroke's right end reaches the pane
}

class Caption : public RuleDrawing, public ::testing::WithParamInterface<const char *>
{
};

TEST_P(Caption, IsDrawnOrCutButLeavesTheShapeAlone)
{
    const std::string text = GetParam();
    RectWithTextRule rect(placementWith(0), text);
    rect.setRect({100, 100}, {300, 200});
    rect.setColor(kGreen);
    draw(rect);
    EXPECT_EQ(m_dib.inkBounds(), (PixelRect{100, 100, 299, 199})); // cut at the edges
    LineWithTextRule line(placementWith(0), text);
    line.setPoints({100, 100}, {300, 200});
    line.setColor(kGreen);
    draw(line);
    EXPECT_EQ(m_dib.pixel(100, 100), kGreen);
    PolygonWithTextRule polygon(placementWith(0), {}, text);
    polygon.setPoints({{100, 100}, {300, 100}, {200, 250}});
    polygon.setColor(kGreen);
    draw(polygon);
    EXPECT_EQ(m_dib.pixel(200, 100), kGreen);
    // The caption's middle is the mean (200, 150), where no outline comes near.
    bool bInk = false;
    for (std::int32_t y = 140; y <= 160; ++y) {
        for (std::int32_t x = 180; x <= 220; ++x) {
            bInk = bInk || m_dib.isInk(x, y);
        }
    }
    EXPECT_EQ(bInk, !text.empty());
}

const std::string kLongCaption(5000, 'w');

INSTANTIATE_TEST_SUITE_P(Texts, Caption,
                         ::testing::Values("", "Zone A", "\xE4\xB8\xAD\xE6\x96\x87\xE5\x8C\xBA\xE5\x9F\x9F",
                                           kLongCaption.c_str(), "\xFF\xFE broken \xE4\xB8"));

TEST_F(RuleDrawing, DrawsLettersInRedWhateverTheColour)
{
    LineWithArrowRule rule(placementWith(0));
    rule.setColor(kGreen);
    rule.setPoints({100, 150}, {300, 150});
    draw(rule);
    // A around (200, 180), B around (200, 120); text may be smoothed, so red is asked for without green's purity.
    expectInkWithin({98, 110, 302, 190});
    EXPECT_TRUE(hasInkOf(kRedInk, {190, 170, 210, 190}));
    EXPECT_TRUE(hasInkOf(kRedInk, {190, 110, 210, 130}));
    EXPECT_FALSE(hasInkOf(kRedInk, {98, 131, 302, 169}));
}

TEST_F(RuleDrawing, ShowsTheChosenArrows)
{
    // The tips: A at (200, 170), B at (200, 130).
    for (const auto &[nType, bA, bB] : {std::tuple<std::uint16_t, bool, bool>{0, true, true},
                                        {1, true, false},
                                        {2, false, true},
                                        {3, false, false}}) {
        LineWithArrowRule rule(placementWith(0));
        rule.setColor(kGreen);
        rule.setArrowType(nType);
        rule.setPoints({100, 150}, {300, 150});
        draw(rule);
        EXPECT_EQ(hasInkOf(kGreen, {190, 155, 210, 169}), bA) << nType;
        EXPECT_EQ(hasInkOf(kGreen, {190, 131, 210, 145}), bB) << nType;
        EXPECT_TRUE(hasInkOf(kRedInk, {190, 170, 210, 190}));
        EXPECT_TRUE(hasInkOf(kRedInk, {190, 110, 210, 130}));
    }
}

TEST_F(RuleDrawing, KeepsArrowAOnTheSameSideAllAround)
{
    for (int nDegrees = 0; nDegrees < 360; nDegrees += 15) {
        const double fAngle = nDegrees * 3.14159265358979 / 180;
        const double c = std::cos(fAngle);
        const double s = std::sin(fAngle);
        LineWithArrowRule rule(placementWith(0));
        rule.setColor(kGreen);
        rule.setArrowType(LineWithArrowRule::kArrowA);
        rule.setPoints({200, 150}, {200 + static_cast<std::int32_t>(std::lround(100 * c)),
                                    150 + static_cast<std::int32_t>(std::lround(100 * s))});
        draw(rule);
        // From the middle, 15 pixels to the right-hand side as seen along the line: inside the head of A.
        const auto x = static_cast<std::int32_t>(std::lround(200 + 50 * c - 15 * s));
        const auto y = static_cast<std::int32_t>(std::lround(150 + 50 * s + 15 * c));
        const auto otherX = static_cast<std::int32_t>(std::lround(200 + 50 * c + 12 * s));
        const auto otherY = static_cast<std::int32_t>(std::lround(150 + 50 * s - 12 * c));
        EXPECT_TRUE(hasInkOf(kGreen, {x - 8, y - 8, x + 8, y + 8})) << nDegrees;
        EXPECT_FALSE(hasInkOf(kGreen, {otherX - 4, otherY - 4, otherX + 4, otherY + 4})) << nDegrees;
    }
}

TEST_F(RuleDrawing, IsCutAtThePanesEdges)
{
    RuleLine crossing(placementWith(0));
    crossing.setColor(kGreen);
    crossing.setPoints({-100, 150}, {500, 150});
    draw(crossing);
    EXPECT_EQ(m_dib.pixel(0, 150), kGreen);
    EXPECT_EQ(m_dib.pixel(399, 150), kGreen);
    for (const RuleType type : kAllTypes) {
        RuleTable rules;
        rules.move(0, 0);
        rules.scale(400.0F, 300.0F);
        rules.add(makeRule(type, placementWith(0), {{}, "caption"}));
        RulePolygonRecord record = {};
        record.wPointNum = 4;
        record.struPoints[0] = {5000, 5000};
        record.struPoints[1] = {6000, 5000};
        record.struPoints[2] = {6000, 6000};
        record.struPoints[3] = {5000, 6000};
        RuleRecord bytes = recordFrom(record);
        if (type == RuleType::Text) {
            RuleTextRecord text = {};
            text.szText[0] = 'x';
            text.wAnchor = 1;
            text.struPoint = {5000, 5000};
            bytes = recordFrom(text);
        }
        ASSERT_TRUE(rules.write(0, bytes.data()));
        m_dib.clear();
        drawRules(m_dib.get(), rules);
        EXPECT_EQ(m_dib.inkBounds(), std::nullopt) << static_cast<int>(type);
    }
}

TEST_F(RuleDrawing, DrawsLinesFromFarAwayAsGdiDoes)
{
    // Through the pane from 40,000 to 60,000 pixels away, at one or both ends; nearer ones are left as they are.
    std::mt19937 random(4);
    const auto within = [&random](std::int32_t nExtent) {
        return static_cast<std::int32_t>(random() % static_cast<unsigned int>(nExtent));
    };
    const auto away = [&](PixelPoint place, double fAngle) {
        const double fWay = 40000 + within(20000);
        return PixelPoint{place.x + static_cast<std::int32_t>(fWay * std::cos(fAngle)),
                          place.y + static_cast<std::int32_t>(fWay * std::sin(fAngle))};
    };
    int nDifferent = 0;
    int nInk = 0;
    for (int nLine = 0; nLine < 300; ++nLine) {
        const PixelPoint place = {within(400), within(300)};
        const double fAngle = within(6283) / 1000.0;
        const PixelPoint start = nLine % 3 == 0 ? place : away(place, fAngle);
        const PixelPoint end = away(place, fAngle + 3.14159);
        RuleLine rule(placementWith(0));
        rule.setColor(kGreen);
        rule.setPoints(start, end);
        draw(rule);
        const std::vector<std::uint32_t> drawn = m_dib.all();
        m_dib.clear();
        {
            const gdi::Pen pen(CreatePen(PS_SOLID, 2, kGreen));
            const gdi::Selection selection(m_dib.get(), pen.get());
            MoveToEx(m_dib.get(), start.x, start.y, nullptr);
            LineTo(m_dib.get(), end.x, end.y);
        }
        const std::vector<std::uint32_t> expected = m_dib.all();
        for (std::size_t i = 0; i < drawn.size(); ++i) {
            nDifferent += drawn[i] != expected[i] ? 1 : 0;
            nInk += expected[i] != DibContext::kGround ? 1 : 0;
        }
    }
    // Ends are moved by less than a thousandth of a pixel, which few pixels notice.
    EXPECT_GT(nInk, 100000);
    EXPECT_LT(nDifferent * 2000, nInk);
}

TEST_F(RuleDrawing, DoesNotFollowLinesFarAway)
{
    // 64 of them took ten seconds when they were followed.
    RuleLine rule(placementWith(0));
    rule.setColor(kGreen);
    rule.setPoints({-2000000, -1000000}, {2000000, 1000300});
    const auto start = std::chrono::steady_clock::now();
    for (int i = 0; i < 64; ++i) {
        draw(rule);
    }
    EXPECT_LT(std::chrono::steady_clock::now() - start, std::chrono::seconds(3));
    EXPECT_EQ(m_dib.pixel(200, 250), kGreen); // halfway down 100 from the corner: y = x / 2 + 150
}

struct ContextState {
    HGDIOBJ pen, brush, font;
    COLORREF textColor;
    int backgroundMode;
    POINT position;
};

ContextState stateOf(HDC hDc)
{
    ContextState state = {GetCurrentObject(hDc, OBJ_PEN),
                          GetCurrentObject(hDc, OBJ_BRUSH),
                          GetCurrentObject(hDc, OBJ_FONT),
                          GetTextColor(hDc),
                          GetBkMode(hDc),
                          {}};
    GetCurrentPositionEx(hDc, &state.position);
    return state;
}

void expectSame(const ContextState &a, const ContextState &b)
{
    EXPECT_EQ(a.pen, b.pen);
    EXPECT_EQ(a.brush, b.brush);
    EXPECT_EQ(a.font, b.font);
    EXPECT_EQ(a.textColor, b.textColor);
    EXPECT_EQ(a.backgroundMode, b.backgroundMode);
    EXPECT_EQ(a.position.x, b.position.x);
    EXPECT_EQ(a.position.y, b.position.y);
}

TEST_F(RuleDrawing, LeavesTheContextAsItWasFound)
{
    const gdi::Pen pen(CreatePen(PS_DASH, 1, RGB(1, 2, 3)));
    const gdi::Selection penSelection(m_dib.get(), pen.get());
    SetTextColor(m_dib.get(), RGB(9, 8, 7));
    MoveToEx(m_dib.get(), 11, 22, nullptr);
    const ContextState before = stateOf(m_dib.get());
    for (const RuleType type : kAllTypes) {
        const auto pRule = makeRule(type, placementWith(0), {{}, "caption"});
        pRule->addPoint({100, 100}, RuleAction::LeftPress);
        pRule->addPoint({150, 130}, RuleAction::LeftPress);
        pRule->setSelected(true);
        drawRule(m_dib.get(), *pRule);
        expectSame(stateOf(m_dib.get()), before);
    }
}

/** A line that fails when it has drawn everything. */
class FailingLine : public RuleLine
{
public:
    FailingLine() : RuleLine(placementWith(0)) {}

    void draw(RuleCanvas &canvas) override
    {
        RuleLine::draw(canvas);
        canvas.drawText(u"x", {0, 0, 50, 50}, kGreen);
        throw std::runtime_error("in the middle");
    }
};

TEST_F(RuleDrawing, LeavesTheContextAsItWasFoundWhenItFails)
{
    const ContextState before = stateOf(m_dib.get());
    FailingLine rule;
    rule.setSelected(true);
    EXPECT_THROW(drawRule(m_dib.get(), rule), std::runtime_error);
    expectSame(stateOf(m_dib.get()), before);
}

TEST_F(RuleDrawing, StartsEveryRuleFromTheStockObjects)
{
    RuleTable rules;
    rules.move(0, 0);
    rules.scale(400.0F, 300.0F);
    auto pLine = makeRule(RuleType::Line, placementWith(0), {});
    pLine->setColor(kGreen);
    rules.add(std::move(pLine));
    auto pPoint = makeRule(RuleType::Point, placementWith(0), {});
    pPoint->setColor(kBlue);
    rules.add(std::move(pPoint));
    rules.addPoint(0, {10, 10}, RuleAction::LeftPress);
    rules.addPoint(0, {100, 10}, RuleAction::LeftPress);
    rules.addPoint(1, {200, 200}, RuleAction::LeftPress);
    const gdi::Pen pen(CreatePen(PS_SOLID, 9, RGB(1, 2, 3)));
    const gdi::Selection penSelection(m_dib.get(), pen.get());
    drawRules(m_dib.get(), rules);
    // Black and one pixel wide, neither the line's green nor the context's own.
    EXPECT_EQ(m_dib.pixel(195, 200), 0U);
    EXPECT_EQ(m_dib.pixel(197, 200), kBlueInk);
    EXPECT_FALSE(m_dib.isInk(193, 200));
}

TEST_F(RuleDrawing, PaintsLaterRulesOverEarlierOnes)
{
    RuleTable rules;
    for (const RuleColor color : {kGreen, kBlue}) {
        auto pRule = makeRule(RuleType::Line, placementWith(0), {});
        pRule->setColor(color);
        pRule->addPoint({10, 50}, RuleAction::LeftPress);
        pRule->addPoint({100, 50}, RuleAction::LeftPress);
        rules.add(std::move(pRule));
    }
    drawRules(m_dib.get(), rules);
    EXPECT_EQ(m_dib.pixel(50, 50), kBlueInk);
}

TEST_F(RuleDrawing, LosesNoHandleInSeventyThousandDrawings)
{
    // A process has 65,536 of them at most.
    LineWithArrowRule arrow(placementWith(0));
    arrow.setColor(kGreen);
    arrow.setSelected(true);
    arrow.setPoints({100, 150}, {300, 150});
    draw(arrow);
    std::vector<std::uint32_t> first;
    for (std::int32_t i = 0; i < DibContext::kWidth * DibContext::kHeight; ++i) {
        first.push_back(m_dib.pixel(i % DibContext::kWidth, i / DibContext::kWidth));
    }
    RuleText text(placementWith(0));
    text.setText("x", RuleText::kTopLeft, 0);
    for (int i = 0; i < 70000; ++i) {
        drawRule(m_dib.get(), i % 2 == 0 ? static_cast<AbstractRule &>(arrow) : text);
    }
    draw(arrow);
    bool bSame = true;
    for (std::int32_t i = 0; i < DibContext::kWidth * DibContext::kHeight; ++i) {
        bSame =
            bSame && first[static_cast<std::size_t>(i)] == m_dib.pixel(i % DibContext::kWidth, i / DibContext::kWidth);
    }
    EXPECT_TRUE(bSame);
}

} // namespace
} // namespace pellora
