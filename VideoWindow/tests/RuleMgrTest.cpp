#include "VideoWindow/RuleMgr.h"
#include "VideoWindow/HostMemory.h"
#include "rules/RuleLine.h"
#include "rules/RulePolygon.h"
#include "rules/tests/RecordingCanvas.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>
#include <string>

namespace pellora
{
namespace
{

/** Bytes that end where memory does: the page behind them cannot be touched. */
class GuardedBytes
{
public:
    GuardedBytes(const void *pBytes, std::size_t nSize)
        : m_pPages(
              static_cast<unsigned char *>(VirtualAlloc(nullptr, 2 * kPage, MEM_COMMIT | MEM_RESERVE, PAGE_READWRITE))),
          m_pStart(m_pPages + kPage - nSize)
    {
        DWORD dwBefore = 0;
        VirtualProtect(m_pPages + kPage, kPage, PAGE_NOACCESS, &dwBefore);
        std::memcpy(m_pStart, pBytes, nSize);
    }
    GuardedBytes(const GuardedBytes &) = delete;
    GuardedBytes &operator=(const GuardedBytes &) = delete;
    ~GuardedBytes()
    {
        VirtualFree(m_pPages, 0, MEM_RELEASE);
    }

    [[nodiscard]] void *get() const
    {
        return m_pStart;
    }

private:
    static constexpr std::size_t kPage = 4096;
    unsigned char *const m_pPages;
    unsigned char *const m_pStart;
};

constexpr std::array<std::pair<int, std::size_t>, 10> kRecordSizes = {
    {{1, 8}, {2, 16}, {3, 16}, {4, 84}, {5, 1040}, {6, 16}, {7, 16}, {8, 84}, {9, 16}, {10, 8}}};

struct Report {
    long id;
    unsigned short type;
    unsigned char state;
    long handle;
    long pane;
    unsigned long size;
    std::array<unsigned char, 1040> record;
};

std::vector<Report> g_reports;
RuleMgr *g_pDestroyInside = nullptr;

void takeReport(long lRuleID, unsigned short wRuleType, void *pCoord, unsigned char byState, long lHandle,
                long lSubHandel, unsigned long dwSize)
{
    Report report = {lRuleID, wRuleType, byState, lHandle, lSubHandel, dwSize, {}};
    std::memcpy(report.record.data(), pCoord, dwSize);
    g_reports.push_back(report);
    if (g_pDestroyInside != nullptr) {
        g_pDestroyInside->clearRules();
        g_pDestroyInside->createRule(RuleType::Line, 0, nullptr, 0);
    }
}

class RuleMgrTest : public ::testing::Test
{
protected:
    RuleMgrTest()
    {
        g_reports.clear();
        g_pDestroyInside = nullptr;
        m_rules.moveAll(0, 0);
        m_rules.scaleAll(1000.0F, 1000.0F);
    }

    RuleMgr m_rules;
};

TEST_F(RuleMgrTest, FailsTheSixtyFifthRule)
{
    for (long lRuleID = 0; lRuleID < 64; ++lRuleID) {
        EXPECT_EQ(m_rules.createRule(RuleType::Point, 0, nullptr, 0), lRuleID);
    }
    EXPECT_EQ(m_rules.createRule(RuleType::Point, 0, nullptr, 0), -1);
    EXPECT_TRUE(m_rules.destroyRule(3));
    EXPECT_TRUE(m_rules.destroyRule(3));
    EXPECT_EQ(m_rules.createRule(RuleType::Rect, 0, nullptr, 0), 3);
    EXPECT_TRUE(m_rules.clearRules());
    EXPECT_TRUE(m_rules.allRules().empty());
}

TEST_F(RuleMgrTest, RefusesBadIdsAndTypes)
{
    std::array<unsigned char, 1040> record = {};
    for (const long lRuleID : {-1L, 64L, 2147483647L}) {
        EXPECT_FALSE(m_rules.destroyRule(lRuleID));
        EXPECT_EQ(m_rules.getRule(lRuleID), nullptr);
        EXPECT_FALSE(m_rules.getRuleCoord(lRuleID, record.data()));
        EXPECT_FALSE(m_rules.setRuleCoode(lRuleID, record.data()));
        EXPECT_FALSE(m_rules.setRuleArrowType(lRuleID, 1));
        EXPECT_FALSE(m_rules.notifyRuleCoord(lRuleID, 0));
    }
    for (const int nType : {0, 11, 65535}) {
        EXPECT_EQ(m_rules.createRule(static_cast<RuleType>(nType), 0, &record, 0), -1);
    }
}

TEST_F(RuleMgrTest, StaysWithinRecordsThatEndAtUnreadableMemory)
{
    const std::array<unsigned char, 1040> bytes = [] {
        std::array<unsigned char, 1040> all = {};
        all.fill(0xFF); // texts without an end, 65,535 vertices
        return all;
    }();
    for (const auto &[nType, nSize] : kRecordSizes) {
        const long lRuleID = m_rules.createRule(static_cast<RuleType>(nType), 0, nullptr, 0x0F);
        const GuardedBytes record(bytes.data(), nSize);
        EXPECT_TRUE(m_rules.setRuleCoode(lRuleID, record.get()));
        EXPECT_TRUE(m_rules.getRuleCoord(lRuleID, record.get()));
        EXPECT_FALSE(m_rules.setRuleCoode(lRuleID, nullptr));
        EXPECT_FALSE(m_rules.getRuleCoord(lRuleID, nullptr));
    }
}

TEST_F(RuleMgrTest, TakesCaptionsWithoutAnEndAndPolygonExtensionsOfThreeBytes)
{
    const GuardedBytes caption("captionABCDEFGHIJ", 17);
    const GuardedBytes shape("\x06\x00\x01", 3);
    for (const int nType : {7, 9, 10}) {
        EXPECT_GE(m_rules.createRule(static_cast<RuleType>(nType), 0, caption.get(), 0), 0);
    }
    for (const int nType : {4, 8}) {
        const long lRuleID = m_rules.createRule(static_cast<RuleType>(nType), 0, shape.get(), 0);
        for (int i = 1; i < 6; ++i) {
            EXPECT_TRUE(m_rules.addPoint(lRuleID, {i * 9, i}, RuleAction::LeftPress)); // two, then one each
        }
        EXPECT_FALSE(m_rules.addPoint(lRuleID, {99, 9}, RuleAction::LeftPress));
        EXPECT_EQ(static_cast<const RulePolygon *>(m_rules.getRule(lRuleID))->getPoints().size(), 6U);
    }
    EXPECT_EQ(readHostText(caption.get()), "captionABCDEFGHIJ");
    EXPECT_EQ(readHostText(static_cast<char *>(caption.get()) + 17), "");
    EXPECT_EQ(readHostText(nullptr), "");
    EXPECT_EQ(readHostText(std::string(5000, 'x').c_str()).size(), 1024U);
}

TEST_F(RuleMgrTest, GivesACaptionToTheTypesThatShowOne)
{
    constexpr char kShapeAndCaption[] = "\x04\x00\x01"
                                        "caption";
    for (const RuleType type : kAllTypes) {
        const bool bPolygon = familyOf(type) == RuleFamily::Polygon;
        const auto drawn = [&](const void *pExtend) {
            const auto pRule = m_rules.makeRule(type, pExtend, 0);
            pRule->addPoint({100, 100}, RuleAction::LeftPress);
            pRule->addPoint({300, 300}, RuleAction::LeftPress);
            RecordingCanvas canvas;
            pRule->draw(canvas);
            return canvas.notes();
        };
        const bool bShown = type == RuleType::RectWithText || type == RuleType::PolygonWithText ||
                            type == RuleType::LineWithText || type == RuleType::PointWithCross;
        EXPECT_EQ(drawn(kShapeAndCaption + (bPolygon ? 0 : RulePolygonExtension::kCaptionOffset)) != drawn(nullptr),
                  bShown)
            << static_cast<int>(type);
    }
}

TEST_F(RuleMgrTest, ReportsTheRecordTheHandleThePaneAndTheSize)
{
    const long lRuleID = m_rules.createRule(RuleType::LineWithText, 0, nullptr, 0);
    EXPECT_FALSE(m_rules.notifyRuleCoord(lRuleID, 2));
    EXPECT_TRUE(m_rules.setRuleCoordCallback(takeReport, 5, 7));
    const RuleLineRecord coordinates = {{1, 2}, {3, 4}};
    EXPECT_TRUE(m_rules.setRuleCoode(lRuleID, &coordinates));
    EXPECT_TRUE(m_rules.notifyRuleCoord(lRuleID, 4));
    ASSERT_EQ(g_reports.size(), 1U);
    const Report &report = g_reports[0];
    EXPECT_EQ(report.id, 0);
    EXPECT_EQ(report.type, 9);
    EXPECT_EQ(report.state, 4);
    EXPECT_EQ(report.handle, 5);
    EXPECT_EQ(report.pane, 7);
    EXPECT_EQ(report.size, 16UL);
    const std::array<std::int32_t, 4> expected = {1, 2, 3, 4};
    EXPECT_EQ(std::memcmp(report.record.data(), expected.data(), 16), 0);
}

TEST_F(RuleMgrTest, LetsTheHostDestroyAndCreateRulesWhileItIsTold)
{
    m_rules.setRuleCoordCallback(takeReport, 0, 0);
    const long lRuleID = m_rules.createRule(RuleType::Rect, 0, nullptr, 0);
    g_pDestroyInside = &m_rules;
    EXPECT_TRUE(m_rules.notifyRuleCoord(lRuleID, 0));
    ASSERT_EQ(m_rules.allRules().size(), 1U);
    EXPECT_EQ(m_rules.getRule(0)->getType(), RuleType::Line);
}

} // namespace
} // namespace pellora
