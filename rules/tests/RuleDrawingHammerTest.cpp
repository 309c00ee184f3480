#include "rules/gdi/RuleDrawing.h"
#include "rules/tests/DibContext.h"
#include "rules/tests/RuleTestSupport.h"

#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <random>
#include <thread>

namespace pellora
{
namespace
{

TEST(RuleDrawingHammer, PaintsWhileRulesComeChangeAndGo)
{
    // PELLORA_HAMMER_SECONDS makes it longer.
    const char *pSeconds = std::getenv("PELLORA_HAMMER_SECONDS");
    const std::chrono::seconds time(pSeconds != nullptr ? std::strtol(pSeconds, nullptr, 10) : 2);
    RuleTable rules;
    rules.move(0, 0);
    rules.scale(400.0F, 300.0F);
    for (int i = 0; i < RuleTable::kCapacity; ++i) {
        rules.add(makeRule(kAllTypes[static_cast<std::size_t>(i) % 10], placementWith(0), {{10, true}, "caption"}));
    }
    std::atomic<bool> bEnd = false;
    std::atomic<int> nPasses = 0;
    std::thread drawing([&] {
        const DibContext dib;
        while (!bEnd) {
            drawRules(dib.get(), rules);
            ++nPasses;
            std::this_thread::yield();
        }
    });
    std::mt19937 random(11);
    const auto end = std::chrono::steady_clock::now() + time;
    while (std::chrono::steady_clock::now() < end) {
        const auto nId = static_cast<std::int32_t>(random() % RuleTable::kCapacity);
        const PixelPoint point = {static_cast<std::int32_t>(random() % 400), static_cast<std::int32_t>(random() % 300)};
        RuleRecord record = {};
        switch (random() % 6) {
        case 0:
            rules.remove(nId);
            rules.add(makeRule(kAllTypes[random() % 10], placementWith(0), {{10, true}, "caption"}));
            break;
        case 1:
            std::fill_n(record.begin(), 1000, static_cast<unsigned char>(random() % 2));
            rules.write(nId, record.data());
            break;
        case 2:
            rules.read(nId, record.data());
            break;
        case 3:
            rules.selectAt(point);
            break;
        default:
            rules.addPoint(nId, point, RuleAction::LeftPress);
            rules.editPoint(nId, point, RuleAction::Grab);
            break;
        }
        std::this_thread::yield();
    }
    bEnd = true;
    drawing.join();
    EXPECT_GT(nPasses.load(), 3);
}

} // namespace
} // namespace pellora
