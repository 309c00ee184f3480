#include "rules/tests/RecordingCanvas.h"
#include "rules/tests/RuleTestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <random>
#include <thread>
#include <vector>

namespace pellora
{
namespace
{

/** PELLORA_HAMMER_SECONDS makes it longer. */
std::chrono::seconds hammerTime()
{
    const char *pSeconds = std::getenv("PELLORA_HAMMER_SECONDS");
    return std::chrono::seconds(pSeconds != nullptr ? std::strtol(pSeconds, nullptr, 10) : 2);
}

/** One random thing that a host or a mouse may do. */
void doSomething(RuleTable &table, std::mt19937 &random)
{
    const auto nId = static_cast<std::int32_t>(random() % 66) - 1;
    const PixelPoint point = {static_cast<std::int32_t>(random() % 400), static_cast<std::int32_t>(random() % 300)};
    RuleRecord record = {};
    switch (random() % 10) {
    case 0:
        table.remove(nId);
        break;
    case 1:
    case 2:
        table.add(makeRule(kAllTypes[random() % 10], placementWith(static_cast<std::uint8_t>(random() % 16)),
                           {{10, true}, "caption"}));
        break;
    case 3:
        EXPECT_EQ(table.report(nId).has_value(), table.get(nId) != nullptr);
        break;
    case 4:
        std::fill(record.begin(), record.begin() + 1000, static_cast<unsigned char>(random() % 3));
        table.write(nId, record.data());
        break;
    case 5:
        table.read(nId, record.data());
        break;
    case 6:
        table.addPoint(nId, point, RuleAction::LeftPress);
        break;
    case 7:
        table.selectAt(point);
        table.editPoint(nId, point, static_cast<RuleAction>(random() % 5));
        break;
    case 8:
        table.setArrowType(nId, static_cast<std::uint16_t>(random() % 4));
        table.setOriginPos(static_cast<std::uint16_t>(random() % 4));
        break;
    default:
        table.move(1, -1);
        table.scale(1.0F, 1.0F);
        break;
    }
}

/** As a drawing pass does it, on one row of pixels; whether the layer was put. */
bool paint(const RuleTable::Slots &slots, std::uint64_t nChanges, RuleLayer &layer, std::vector<std::uint32_t> &pixels)
{
    const RuleLayer::Way way = layer.nextWay(nChanges, {400, 1});
    if (way == RuleLayer::Way::Put) {
        layer.putOn({pixels.data(), 400, {400, 1}});
        return true;
    }
    for (const auto &pRule : slots) {
        if (pRule) {
            RecordingCanvas canvas;
            pRule->draw(canvas);
        }
    }
    if (way == RuleLayer::Way::Make) {
        const std::vector<std::uint32_t> onBlack(400, 0x00102030);
        const std::vector<std::uint32_t> onWhite(400, 0x00908070);
        layer.begin();
        layer.beginPart();
        layer.takeRow(0, onBlack.data(), onWhite.data(), onBlack.data());
        layer.end();
    }
    return false;
}

TEST(RuleHammer, DrawsWhileRulesComeChangeAndGo)
{
    RuleTable table;
    std::atomic<bool> bEnd = false;
    std::size_t nPasses = 0;
    std::size_t nPut = 0;
    std::thread drawing([&] {
        std::vector<std::uint32_t> pixels(400);
        const auto pass = [&] {
            table.paint([&](const RuleTable::Slots &slots, std::uint64_t nChanges, RuleLayer &layer) {
                nPut += paint(slots, nChanges, layer, pixels) ? 1U : 0U;
            });
            ++nPasses;
        };
        while (!bEnd) {
            pass();
            // A player rests between pictures. A mutex is not fair: a thread that takes it again at once keeps it.
            std::this_thread::sleep_for(std::chrono::microseconds(100));
        }
        // What nobody changes any more is put in the third pass.
        for (int i = 0; i < 3; ++i) {
            pass();
        }
    });
    std::mt19937 random(42);
    std::size_t nDone = 0;
    const auto end = std::chrono::steady_clock::now() + hammerTime();
    // What counts is how much was done, not how fast: the time is only the least.
    constexpr std::size_t kLeast = 1000;
    const auto deadline = end + std::chrono::minutes(1);
    while (std::chrono::steady_clock::now() < end || (nDone < kLeast && std::chrono::steady_clock::now() < deadline)) {
        doSomething(table, random);
        ++nDone;
        if (nDone % 64 == 0) {
            std::this_thread::yield();
        }
    }
    bEnd = true;
    drawing.join();
    EXPECT_GT(nPasses, 10U);
    EXPECT_GT(nPut, 0U);
    EXPECT_GE(nDone, kLeast);
    for (std::int32_t nId = 0; nId < RuleTable::kCapacity; ++nId) {
        table.remove(nId);
    }
    EXPECT_TRUE(table.all().empty());
}

} // namespace
} // namespace pellora
