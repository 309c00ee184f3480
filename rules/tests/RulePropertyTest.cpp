#include "rules/RuleLine.h"
#include "rules/RulePoint.h"
#include "rules/RulePolygon.h"
#include "rules/RuleRect.h"
#include "rules/RuleText.h"
#include "rules/tests/PlainRule.h"
#include "rules/tests/RuleTestSupport.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <limits>
#include <random>
#include <string>
#include <tuple>
#include <utility>

namespace pellora
{
namespace
{

int familyNumber(RuleType type)
{
    return static_cast<int>(familyOf(type));
}

/** A rule in a table and the same rule as the plain model has it, sent through the same random history. */
class Pair
{
public:
    Pair(std::mt19937 &random, RuleType type) : m_random(random)
    {
        m_plain.pictureRight = 1;
        m_plain.pictureBottom = 1;
        transform(pick(-50, 50), pick(-50, 50), static_cast<float>(pick(100, 700)), static_cast<float>(pick(100, 700)));
        m_plain.anchorX = m_plain.anchorY = 0; // that was the picture's way, before there was a rule
        m_nOrigin = pick(0, 3);
        m_table.setOriginPos(static_cast<std::uint16_t>(m_nOrigin));
        m_plain.family = familyNumber(type);
        m_plain.mask = static_cast<unsigned int>(pick(0, 15));
        m_plain.maxPoints = pick(0, 10);
        m_plain.early = pick(0, 1) == 1;
        const PictureGeometry geometry = m_table.geometry();
        m_table.add(
            makeRule(type, {geometry.width, geometry.height, geometry.picture, static_cast<std::uint8_t>(m_plain.mask)},
                     {{m_plain.maxPoints, m_plain.early}, "caption"}));
        const std::size_t nPoints = m_plain.family == 1 ? 1 : (m_plain.family == 4 ? 0 : 2);
        m_plain.x.assign(nPoints, 0);
        m_plain.y.assign(nPoints, 0);
        if (type == RuleType::LineWithArrow) {
            const std::int32_t nHalf = m_plain.paneHeight / 2;
            m_plain.x.assign(2, m_plain.paneWidth / 2);
            m_plain.y = {static_cast<std::int32_t>(nHalf * 0.5), static_cast<std::int32_t>(nHalf * 1.5)};
        }
        if (m_plain.family == 5) {
            write(); // texts are never empty here
        }
    }

    void step()
    {
        switch (pick(0, 9)) {
        case 0:
            write();
            break;
        case 1:
            transform(pick(-30, 30), pick(-30, 30), factor(), factor());
            break;
        case 2:
        case 3:
        case 4:
            add();
            break;
        default:
            edit();
            break;
        }
    }

    void compare()
    {
        ASSERT_EQ(shown(), plain());
        ASSERT_EQ(m_table.isEmpty(0), m_plain.empty());
        const PixelPoint point = mouse();
        ASSERT_EQ(m_table.get(0)->hitTest(point), m_plain.hit(point.x, point.y)) << point << " of " << plain();
        compareRecord();
    }

private:
    std::int32_t pick(std::int32_t nFrom, std::int32_t nTo)
    {
        return std::uniform_int_distribution<std::int32_t>(nFrom, nTo)(m_random);
    }

    float factor()
    {
        const std::int32_t nKind = pick(0, 99);
        if (nKind == 0) {
            return 0.0F;
        }
        // About 1, so that shapes neither vanish nor explode for long.
        return static_cast<float>(pick(800, 1250)) / 1000.0F;
    }

    /** Mostly near the shape, at times anywhere in the pane or far away. */
    PixelPoint mouse()
    {
        const std::int32_t nKind = pick(0, 9);
        if (nKind < 6 && !m_plain.x.empty()) {
            const auto i = static_cast<std::size_t>(pick(0, static_cast<std::int32_t>(m_plain.x.size()) - 1));
            const auto j = static_cast<std::size_t>(pick(0, static_cast<std::int32_t>(m_plain.x.size()) - 1));
            const std::int64_t x = (static_cast<std::int64_t>(m_plain.x[i]) + m_plain.x[j]) / 2 + pick(-6, 6);
            const std::int64_t y = (static_cast<std::int64_t>(m_plain.y[i]) + m_plain.y[j]) / 2 + pick(-6, 6);
            if (std::abs(x) < 20000 && std::abs(y) < 20000) {
                return {static_cast<std::int32_t>(x), static_cast<std::int32_t>(y)};
            }
        }
        return nKind == 9 ? PixelPoint{pick(-20000, 20000), pick(-20000, 20000)}
                          : PixelPoint{pick(-20, 720), pick(-20, 720)};
    }

    void transform(std::int32_t dx, std::int32_t dy, float fx, float fy)
    {
        m_table.move(dx, dy);
        m_plain.translate(dx, dy);
        m_table.scale(fx, fy);
        m_plain.scale(fx, fy);
        if (std::abs(m_plain.pictureRight) > 4000 || std::abs(m_plain.pictureBottom) > 4000) {
            m_table.scale(0.1F, 0.1F);
            m_plain.scale(0.1F, 0.1F);
        }
    }

    void add()
    {
        const PixelPoint point = mouse();
        const int nAction = pick(0, 2) == 2 ? 3 : pick(0, 1);
        const bool bMore = m_table.addPoint(0, point, static_cast<RuleAction>(nAction));
        ASSERT_EQ(bMore, m_plain.add(point.x, point.y, nAction));
    }

    void edit()
    {
        const PixelPoint point = mouse();
        const std::array<int, 6> actions = {2, 0, 0, 0, 2, 4};
        const int nAction = actions[static_cast<std::size_t>(pick(0, 5))];
        ASSERT_TRUE(m_table.editPoint(0, point, static_cast<RuleAction>(nAction)));
        m_plain.edit(point.x, point.y, nAction);
    }

    NormalisedPoint normalised()
    {
        return {pick(-200, 1200), pick(-200, 1200)};
    }

    void write()
    {
        std::vector<NormalisedPoint> points(10);
        for (NormalisedPoint &point : points) {
            point = normalised();
        }
        const bool bConverts = m_nOrigin == 1 || m_nOrigin == 2;
        RuleRecord record = {};
        std::memcpy(record.data(), points.data(), 80);
        std::size_t nCount = m_plain.x.size();
        if (m_plain.family == 4) {
            const auto nAsked = static_cast<std::uint16_t>(pick(0, 12));
            std::memcpy(record.data() + 80, &nAsked, 2);
            nCount = std::min<std::size_t>(nAsked, 10);
        } else if (m_plain.family == 5) {
            RuleTextRecord text = {};
            text.szText[0] = 'x';
            text.wAnchor = static_cast<std::uint16_t>(pick(0, 3));
            text.byDock = static_cast<std::uint8_t>(pick(0, 3));
            text.struPoint = points[0];
            record = recordFrom(text);
            m_plain.anchorMode = text.wAnchor;
            m_plain.dockMode = text.byDock;
        }
        ASSERT_TRUE(m_table.write(0, record.data()));
        if (!bConverts) {
            return;
        }
        if (m_plain.family == 5) {
            place(points[0]);
            return;
        }
        m_plain.x.resize(nCount);
        m_plain.y.resize(nCount);
        for (std::size_t i = 0; i < nCount; ++i) {
            const auto [px, py] = plainToPixels(m_plain, m_nOrigin, points[i].nX, points[i].nY);
            std::tie(m_plain.x[i], m_plain.y[i]) = m_plain.clamp(px, py);
        }
    }

    void place(NormalisedPoint point)
    {
        const auto [px, py] = plainToPixels(m_plain, m_nOrigin, point.nX, point.nY);
        const auto [cx, cy] = m_plain.clamp(px, py);
        if (m_plain.anchorMode == 1 || m_plain.anchorMode == 2) {
            m_plain.x[m_plain.anchorMode == 1 ? 0 : 1] = cx;
            m_plain.y[0] = cy;
        }
    }

    void compareRecord()
    {
        if (m_nOrigin != 1 && m_nOrigin != 2) {
            return;
        }
        RuleRecord record = {};
        ASSERT_TRUE(m_table.read(0, record.data()));
        const std::size_t nFirst = m_plain.family == 5 ? offsetof(RuleTextRecord, struPoint) : 0;
        const std::size_t nCount = m_plain.family == 5 ? 1 : m_plain.x.size();
        for (std::size_t i = 0; i < nCount; ++i) {
            NormalisedPoint point;
            std::memcpy(&point, record.data() + nFirst + i * sizeof(point), sizeof(point));
            ASSERT_EQ(std::pair(point.nX, point.nY), plainToNormalised(m_plain, m_nOrigin, m_plain.x[i], m_plain.y[i]));
        }
    }

    std::string shown()
    {
        const AbstractRule &rule = *m_table.get(0);
        std::string text;
        switch (m_plain.family) {
        case 1:
            return name(static_cast<const RulePoint &>(rule).getPoint());
        case 2:
            return name(static_cast<const RuleLine &>(rule).getStart()) +
                   name(static_cast<const RuleLine &>(rule).getEnd());
        case 3: {
            const PixelRect &rect = static_cast<const RuleRect &>(rule).getRect();
            return name({rect.left, rect.top}) + name({rect.right, rect.bottom});
        }
        case 4:
            for (const PixelPoint point : static_cast<const RulePolygon &>(rule).getPoints()) {
                text += name(point);
            }
            return text;
        default: {
            const PixelRect &box = static_cast<const RuleText &>(rule).getBox();
            return name({box.left, box.top}) + name({box.right, box.bottom});
        }
        }
    }

    [[nodiscard]] std::string plain() const
    {
        std::string text;
        for (std::size_t i = 0; i < m_plain.x.size(); ++i) {
            text += name({m_plain.x[i], m_plain.y[i]});
        }
        return text;
    }

    static std::string name(PixelPoint point)
    {
        return '(' + std::to_string(point.x) + ", " + std::to_string(point.y) + ')';
    }

    std::mt19937 &m_random;
    RuleTable m_table;
    PlainRule m_plain;
    int m_nOrigin = 1;
};

constexpr int kStepsOfAHistory = 100;
/** Ten types times a hundred histories of a hundred steps: 100,000 a seed. */
constexpr int kHistoriesOfAType = 100;

class RuleProperty : public ::testing::TestWithParam<unsigned int>
{
};

TEST_P(RuleProperty, AgreesWithThePlainModel)
{
    std::mt19937 random(GetParam());
    for (const RuleType type : kAllTypes) {
        for (int nHistory = 0; nHistory < kHistoriesOfAType; ++nHistory) {
            Pair pair(random, type);
            for (int nStep = 0; nStep < kStepsOfAHistory; ++nStep) {
                SCOPED_TRACE("type " + std::to_string(static_cast<int>(type)) + ", history " +
                             std::to_string(nHistory) + ", step " + std::to_string(nStep));
                pair.step();
                pair.compare();
                if (::testing::Test::HasFatalFailure()) {
                    return;
                }
            }
        }
    }
}

/** PELLORA_RULES_SEED adds a seed of one's own. */
std::vector<unsigned int> seeds()
{
    std::vector<unsigned int> result = {1, 20, 300};
    if (const char *pSeed = std::getenv("PELLORA_RULES_SEED")) {
        result.push_back(static_cast<unsigned int>(std::strtoul(pSeed, nullptr, 10)));
    }
    return result;
}

INSTANTIATE_TEST_SUITE_P(Seeds, RuleProperty, ::testing::ValuesIn(seeds()));

/** Any number as coordinate, factor or count: nothing but defined behaviour, which the sanitizers watch. */
TEST(RuleExtremes, AreSurvived)
{
    std::mt19937 random(7);
    const auto any = [&random] {
        const std::array<std::int32_t, 6> corners = {-2147483647 - 1, 2147483647, 0, -1, 1, 1000};
        const auto nBits = static_cast<std::int32_t>(random());
        return (nBits & 1) != 0 ? corners[random() % corners.size()] : nBits;
    };
    const std::array<float, 6> factors = {
        0.0F, -1.5F, 1e30F, 1e-30F, std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN()};
    for (int i = 0; i < 100000; ++i) {
        RuleTable table;
        table.setOriginPos(static_cast<std::uint16_t>(1 + i % 2));
        table.move(any(), any());
        table.scale(factors[random() % 6], factors[random() % 6]);
        const PictureGeometry geometry = table.geometry();
        table.add(makeRule(kAllTypes[static_cast<std::size_t>(i) % 10],
                           {geometry.width, geometry.height, geometry.picture, static_cast<std::uint8_t>(random())},
                           {{any(), true}, {}}));
        RuleRecord record;
        for (std::size_t nByte = 0; nByte + 4 <= record.size(); nByte += 4) {
            const std::int32_t nValue = any();
            std::memcpy(record.data() + nByte, &nValue, 4);
        }
        ASSERT_TRUE(table.write(0, record.data()));
        table.selectAt({any(), any()});
        table.editPoint(0, {any(), any()}, RuleAction::Grab);
        table.editPoint(0, {any(), any()}, RuleAction::Move);
        table.addPoint(0, {any(), any()}, RuleAction::LeftPress);
        table.scale(factors[random() % 6], factors[random() % 6]);
        table.move(any(), any());
        ASSERT_TRUE(table.read(0, record.data()));
    }
}

} // namespace
} // namespace pellora
