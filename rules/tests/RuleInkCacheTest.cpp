#include "rules/RuleInkCache.h"
#include "rules/RuleLine.h"
#include "rules/tests/RecordingCanvas.h"
#include "rules/tests/RuleTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace pellora
{
namespace
{

using Way = RuleInkCache::Way;

constexpr PixelSize kSurface = {640, 360};

void make(RuleInkCache &cache)
{
    const std::uint32_t nPixel = 0x00FF0000;
    cache.ink().takeRow(0, 0, &nPixel, &nPixel, 1);
    cache.made();
}

TEST(RuleInkCache, MakesInkOfWhatStaysAndThenPutsIt)
{
    RuleInkCache cache;
    EXPECT_EQ(cache.nextWay(7, kSurface), Way::Draw);
    EXPECT_EQ(cache.nextWay(7, kSurface), Way::Make);
    EXPECT_EQ(cache.nextWay(7, kSurface), Way::Make); // the pass had no time
    make(cache);
    EXPECT_EQ(cache.nextWay(7, kSurface), Way::Put);
    EXPECT_EQ(cache.nextWay(7, kSurface), Way::Put);
}

TEST(RuleInkCache, OnlyDrawsWhatKeepsChanging)
{
    RuleInkCache cache;
    for (std::uint32_t nRevision = 0; nRevision < 10; ++nRevision) {
        EXPECT_EQ(cache.nextWay(nRevision, kSurface), Way::Draw);
    }
}

TEST(RuleInkCache, StartsAgainAfterAChange)
{
    for (const auto &[nRevision, surface] : {std::pair<std::uint32_t, PixelSize>{8, kSurface},
                                             {6, kSurface},
                                             {7, PixelSize{641, 360}},
                                             {7, PixelSize{640, 359}}}) {
        RuleInkCache cache;
        EXPECT_EQ(cache.nextWay(7, kSurface), Way::Draw);
        EXPECT_EQ(cache.nextWay(7, kSurface), Way::Make);
        make(cache);
        EXPECT_EQ(cache.nextWay(nRevision, surface), Way::Draw);
        EXPECT_EQ(cache.ink().bytes(), 0U);
        EXPECT_EQ(cache.nextWay(nRevision, surface), Way::Make);
    }
}

TEST(RuleInkCache, OnlyDrawsWhatIsTooMuch)
{
    RuleInkCache cache;
    EXPECT_EQ(cache.nextWay(7, kSurface), Way::Draw);
    EXPECT_EQ(cache.nextWay(7, kSurface), Way::Make);
    std::vector<std::uint32_t> colors(60000);
    for (std::size_t i = 0; i < colors.size(); ++i) {
        colors[i] = static_cast<std::uint32_t>(i);
    }
    cache.ink().takeRow(0, 0, colors.data(), colors.data(), 60000);
    cache.made();
    EXPECT_EQ(cache.nextWay(7, kSurface), Way::Draw);
    EXPECT_EQ(cache.nextWay(8, kSurface), Way::Draw);
    EXPECT_EQ(cache.nextWay(8, kSurface), Way::Make);
}

TEST(RuleInkCache, ForgetsARuleThatIsGone)
{
    RuleTable table;
    table.add(makeRule(RuleType::Line, placementWith(0), {}));
    const auto askAndMake = [&table](std::vector<Way> &ways) {
        table.forEachWithInk([&ways](AbstractRule &rule, RuleInkCache &cache) {
            ways.push_back(cache.nextWay(rule.revision(), kSurface));
            if (ways.back() == Way::Make) {
                make(cache);
            }
        });
    };
    std::vector<Way> ways;
    askAndMake(ways);
    askAndMake(ways);
    askAndMake(ways);
    EXPECT_EQ(ways, (std::vector<Way>{Way::Draw, Way::Make, Way::Put}));
    ways.clear();
    table.remove(0);
    askAndMake(ways);
    EXPECT_TRUE(ways.empty());
    // The new one has the old one's number, and its revision, too.
    table.add(makeRule(RuleType::Line, placementWith(0), {}));
    askAndMake(ways);
    EXPECT_EQ(ways, std::vector<Way>{Way::Draw});
}

/** What is drawn, and the revision it has. */
struct Looks {
    std::vector<std::string> notes;
    std::uint32_t revision = 0;
};

Looks looksOf(AbstractRule &rule)
{
    RecordingCanvas canvas;
    rule.draw(canvas);
    return {canvas.notes(), rule.revision()};
}

/** One random thing that changes a rule, by the table as hosts and mice do it. */
void change(RuleTable &table, std::mt19937 &random)
{
    const PixelPoint point = {static_cast<std::int32_t>(random() % 60), static_cast<std::int32_t>(random() % 60)};
    RuleRecord record = {};
    switch (random() % 8) {
    case 0:
    case 1:
        table.addPoint(0, point, static_cast<RuleAction>(random() % 5));
        break;
    case 2:
    case 3:
        table.editPoint(0, point, static_cast<RuleAction>(random() % 5));
        break;
    case 4:
        // Few values, so that all kinds of coincidences come about; a text without an end of one to three letters.
        std::generate(record.begin(), record.end(), [&random] { return static_cast<unsigned char>(random() % 3); });
        table.write(0, record.data());
        break;
    case 5:
        table.selectAt(point);
        break;
    case 6:
        table.setArrowType(0, static_cast<std::uint16_t>(random() % 4));
        break;
    default:
        if (random() % 2 == 0) {
            table.move(static_cast<std::int32_t>(random() % 3) - 1, static_cast<std::int32_t>(random() % 3) - 1);
        } else {
            table.scale(1.0F, 0.5F + static_cast<float>(random() % 3) * 0.5F);
        }
        break;
    }
}

TEST(RuleRevision, ChangesWithEverythingThatIsDrawn)
{
    std::mt19937 random(2024);
    int nChanges = 0;
    for (const RuleType type : kAllTypes) {
        for (int nRule = 0; nRule < 40; ++nRule) {
            RuleTable table;
            table.move(0, 0);
            table.scale(60.0F, 60.0F);
            table.add(makeRule(type, {60, 60, {0, 0, 60, 60}, static_cast<std::uint8_t>(random() % 16)},
                               {{10, true}, "caption"}));
            Looks before = looksOf(*table.get(0));
            for (int nStep = 0; nStep < 250; ++nStep) {
                change(table, random);
                const Looks after = looksOf(*table.get(0));
                if (after.notes != before.notes) {
                    ++nChanges;
                    EXPECT_NE(after.revision, before.revision) << static_cast<int>(type) << ' ' << nStep;
                }
                // Drawing itself is no change, else none would ever stay the same.
                EXPECT_EQ(looksOf(*table.get(0)).revision, after.revision);
                before = after;
            }
        }
    }
    EXPECT_GT(nChanges, 10000);
}

TEST(RuleRevision, ChangesWithTheColourAndTheSelection)
{
    RuleLine line(placementWith(0));
    const std::uint32_t nBefore = line.revision();
    line.setColor(1);
    const std::uint32_t nColoured = line.revision();
    EXPECT_NE(nColoured, nBefore);
    line.setSelected(false); // as it is
    EXPECT_EQ(line.revision(), nColoured);
    line.setSelected(true);
    EXPECT_NE(line.revision(), nColoured);
}

} // namespace
} // namespace pellora
