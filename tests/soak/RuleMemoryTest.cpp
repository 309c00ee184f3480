// Rules without memory: a rule that is not made or not changed, and a table that goes on.

#include "rules/RuleFactory.h"
#include "rules/RuleTable.h"
#include "tests/soak/MemoryRuns.h"

#include <cstring>

namespace
{

using pellora::RuleAction;
using pellora::RuleTable;
using pellora::RuleType;

/** Every type is made, placed, reported and gone; how many were there. */
int use(RuleTable &table)
{
    int nReports = 0;
    for (int nType = 1; nType <= 10; ++nType) {
        soak::attempt([&] {
            const std::int32_t nId = table.add(pellora::makeRule(
                static_cast<RuleType>(nType), {640, 480, {0, 0, 640, 480}, 15},
                {{4, true}, "a caption that is longer than what a text holds without memory of its own"}));
            pellora::RuleRecord record{};
            std::strcpy(reinterpret_cast<char *>(record.data()),
                        "a text that is longer than what a text holds without memory");
            table.write(nId, record.data());
            table.addPoint(nId, {10, 10}, RuleAction::LeftPress);
            table.scale(0.5F, 0.5F);
            nReports += table.report(nId) ? 1 : 0;
        });
    }
    for (std::int32_t nId = 0; nId < RuleTable::kCapacity; ++nId) {
        table.remove(nId);
    }
    return nReports;
}

TEST(RuleMemory, RulesAreNotMadeAndTheTableGoesOn)
{
    RuleTable table;
    soak::runOutOfMemory([&] { use(table); }, [&] { EXPECT_EQ(use(table), 10); });
}

} // namespace
