#include "interface/Pellora.h"
#include "tests/soak/Failure.h"
#include "tests/soak/Generators.h"
#include "tests/soak/OperationLists.h"
#include "tests/soak/World.h"

#include <array>
#include <cstring>

namespace soak
{

namespace
{

constexpr unsigned short kLastType = 10;
constexpr unsigned short kArrows = 6;

/** A record of any type's, and more. */
using Record = std::array<unsigned char, 1200>;

/** 1 where there is such a rule, 0 where there is none. */
std::optional<long long> needsRule(World &world, long lHandle, long nPane, long long nRule)
{
    const PaneModel *const pPane = world.pane(lHandle, nPane);
    if (nRule < 0 || nRule >= kRules) {
        return world.onPane(lHandle, nPane, 0);
    }
    if (pPane == nullptr || !pPane->bRulesKnown) {
        return world.onPane(lHandle, nPane, std::nullopt);
    }
    return world.onPane(lHandle, nPane, pPane->rules.at(static_cast<std::size_t>(nRule)) != 0 ? 1 : 0);
}

void createRule(World &world, const Arguments &arguments)
{
    const auto lHandle = static_cast<long>(arguments[0]);
    const auto nPane = static_cast<long>(arguments[1]);
    const auto wType = static_cast<unsigned short>(arguments[2]);
    // Read by its type: three bytes and a caption, or a caption.
    std::array<char, 16> extension = {3, 0, 1, 'g', 'a', 't', 'e'};
    if (arguments[3] == 2) {
        std::strcpy(extension.data(), "\xE9\x97\xA8 1");
    }
    PaneModel *const pPane = world.pane(lHandle, nPane);
    const bool bType = wType >= 1 && wType <= kLastType;
    std::optional<long long> answer;
    if (!bType) {
        answer = -1;
    } else if (pPane != nullptr && pPane->bRulesKnown) {
        answer = pPane->freeRule();
    }
    const auto expected = world.onPane(lHandle, nPane, answer);
    const Call call(world);
    const long lRule = PELLORA_CreateRule(lHandle, wType, 255, 0x1FF, 0, arguments[3] != 0 ? extension.data() : nullptr,
                                          static_cast<unsigned char>(arguments[4]), nPane);
    if (call.expect(lRule, expected) && pPane != nullptr && pPane->bRulesKnown && lRule >= 0) {
        pPane->rules.at(static_cast<std::size_t>(lRule)) = wType;
    } else if (bType && pPane == nullptr) {
        world.forgetPane(lHandle, nPane);
    }
}

void destroyRule(World &world, const Arguments &arguments)
{
    const auto lHandle = static_cast<long>(arguments[0]);
    const auto nPane = static_cast<long>(arguments[1]);
    const bool bNumber = arguments[2] >= 0 && arguments[2] < kRules;
    const auto expected = world.onPane(lHandle, nPane, bNumber ? 1 : 0);
    const Call call(world);
    const int nAnswer = PELLORA_DestroyRule(lHandle, static_cast<long>(arguments[2]), nPane);
    PaneModel *const pPane = world.pane(lHandle, nPane);
    if (call.expect(nAnswer, expected) && bNumber && pPane != nullptr) {
        pPane->rules.at(static_cast<std::size_t>(arguments[2])) = 0;
    } else if (bNumber) {
        world.forgetPane(lHandle, nPane);
    }
}

void clearRule(World &world, const Arguments &arguments)
{
    const auto lHandle = static_cast<long>(arguments[0]);
    const auto nPane = static_cast<long>(arguments[1]);
    const bool bAll = nPane == PELLORA_ALL_PANES;
    const auto expected = bAll ? world.onWindow(lHandle, 1) : world.onPane(lHandle, nPane, 1);
    const Call call(world);
    if (!call.expect(PELLORA_ClearRule(lHandle, nPane), expected) || !World::isHandle(lHandle)) {
        return;
    }
    for (long i = 0; i < kPanes; ++i) {
        PaneModel &pane = world.window(lHandle).panes.at(static_cast<std::size_t>(i));
        if (bAll || &pane == world.window(lHandle).pane(nPane)) {
            pane.clearRules();
        }
    }
    if (!bAll && world.pane(lHandle, nPane) == nullptr) {
        world.forgetPane(lHandle, nPane);
    }
}

/** Reads or writes; 0 with and 1 without a record. */
void ruleCoord(World &world, const Arguments &arguments)
{
    const auto lHandle = static_cast<long>(arguments[0]);
    const auto nPane = static_cast<long>(arguments[1]);
    Record record{};
    for (std::size_t i = 0; i + sizeof(long) <= 84; i += sizeof(long)) {
        const auto value = static_cast<long>(arguments[5] + 37 * static_cast<long long>(i));
        std::memcpy(record.data() + i, &value, sizeof(value));
    }
    const bool bRecord = arguments[4] != 1;
    const auto expected = bRecord ? needsRule(world, lHandle, nPane, arguments[2]) : world.onPane(lHandle, nPane, 0);
    const Call call(world);
    const auto lRule = static_cast<long>(arguments[2]);
    void *const pRecord = bRecord ? record.data() : nullptr;
    call.expect(arguments[3] != 0 ? PELLORA_SetRuleCoord(lHandle, lRule, pRecord, nPane)
                                  : PELLORA_GetRuleCoord(lHandle, lRule, pRecord, nPane),
                expected);
}

void setArrowType(World &world, const Arguments &arguments)
{
    const auto lHandle = static_cast<long>(arguments[0]);
    const auto nPane = static_cast<long>(arguments[1]);
    auto expected = needsRule(world, lHandle, nPane, arguments[2]);
    const PaneModel *const pPane = world.pane(lHandle, nPane);
    if (expected == 1 && pPane != nullptr && pPane->rules.at(static_cast<std::size_t>(arguments[2])) != kArrows) {
        expected = 0;
    }
    const Call call(world);
    call.expect(PELLORA_SetRuleArrowType(lHandle, static_cast<long>(arguments[2]),
                                         static_cast<unsigned short>(arguments[3]), nPane),
                expected);
}

void onRuleCoord(long lRuleID, unsigned short wRuleType, void *pCoord, unsigned char byState, long lHandle,
                 long lSubHandel, unsigned long dwSize)
{
    // What is handed over is readable to its end.
    Record copy{};
    std::memcpy(copy.data(), pCoord, dwSize);
    if (lRuleID < 0 || lRuleID >= kRules || wRuleType < 1 || wRuleType > kLastType || byState > 4 ||
        !World::isHandle(lHandle) || lSubHandel < 0 || lSubHandel >= kPanes) {
        fail(Outcome::WrongAnswer,
             "a report of rule " + std::to_string(lRuleID) + " of type " + std::to_string(wRuleType));
    }
    world().called(Inside::RuleCoord);
}

void setRuleCallback(World &world, const Arguments &arguments)
{
    const auto lHandle = static_cast<long>(arguments[0]);
    const auto nPane = static_cast<long>(arguments[1]);
    const auto expected = nPane == PELLORA_ALL_PANES ? world.onWindow(lHandle, 1) : world.onPane(lHandle, nPane, 1);
    const Call call(world);
    call.expect(PELLORA_SetRuleCoordCallback(lHandle, arguments[2] != 0 ? &onRuleCoord : nullptr, nPane), expected);
}

void setOrigin(World &world, const Arguments &arguments)
{
    const auto lHandle = static_cast<long>(arguments[0]);
    const auto nPane = static_cast<long>(arguments[1]);
    const bool bGood = arguments[2] == 1 || arguments[2] == 2;
    const auto expected = bGood ? world.onPane(lHandle, nPane, 1) : 0;
    const Call call(world);
    call.expect(PELLORA_SetOriginPos(lHandle, static_cast<unsigned short>(arguments[2]), nPane), expected);
}

void overlay(World &world, const Arguments &arguments)
{
    const auto lHandle = static_cast<long>(arguments[0]);
    const auto nPane = static_cast<long>(arguments[1]);
    const PaneModel *const pPane = world.pane(lHandle, nPane);
    const bool bNone = pPane != nullptr && pPane->source == PaneModel::Source::None;
    const auto expected = world.onPane(lHandle, nPane, bNone ? std::optional<long long>(0) : std::nullopt);
    const Call call(world);
    call.expect(arguments[2] != 0 ? PELLORA_OpenDraw(lHandle, nPane) : PELLORA_CloseDraw(lHandle, nPane), expected);
}

} // namespace

std::vector<Operation> ruleOperations()
{
    const auto type = [](Random &random) { return random.oneOf({1, 2, 3, 4, 5, 6, 6, 7, 8, 9, 10, 0, 11, 65535}); };
    const auto mask = [](Random &random) { return random.oneOf({0, 0, 15, 1, 255}); };
    const auto number = [](Random &random) {
        return random.oneOf({0, 100, 500, 1000, -500, 2147483647, -2147483648LL});
    };
    return {
        {"CreateRule", 60, &createRule, {&draw::handle, &draw::pane, type, &draw::below<3>, mask}},
        {"DestroyRule", 12, &destroyRule, {&draw::handle, &draw::pane, &draw::rule}},
        {"ClearRule", 8, &clearRule, {&draw::handle, &draw::pane}},
        {"RuleCoord", 45, &ruleCoord, {&draw::handle, &draw::pane, &draw::rule, &draw::flag, &draw::below<6>, number}},
        {"SetArrowType", 10, &setArrowType, {&draw::handle, &draw::pane, &draw::rule, &draw::below<5>}},
        {"SetRuleCallback", 15, &setRuleCallback, {&draw::handle, &draw::pane, &draw::flag}},
        {"SetOrigin", 10, &setOrigin, {&draw::handle, &draw::pane, &draw::below<4>}},
        {"Overlay", 25, &overlay, {&draw::handle, &draw::pane, &draw::flag}},
    };
}

} // namespace soak
