#include "rules/RuleLine.h"
#include "rules/RulePolygon.h"
#include "rules/RuleRect.h"
#include "rules/RuleText.h"
#include "rules/tests/RecordingCanvas.h"
#include "rules/tests/RuleTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <string>
#include <vector>

namespace pellora
{
namespace
{

/** A table whose picture is (0, 0, 1000, 500): thousandths are pixels across, half pixels down. */
class RuleTableTest : public ::testing::Test
{
protected:
    RuleTableTest()
    {
        m_table.move(0, 0);
        m_table.scale(1000.0F, 500.0F);
    }

    std::int32_t add(RuleType type, RuleExtras extras = {}, std::uint8_t nMask = 0)
    {
        return m_table.add(makeRule(type, {1000, 500, {0, 0, 1000, 500}, nMask}, std::move(extras)));
    }

    template <typename Record>
    Record read(std::int32_t nId)
    {
        RuleRecord record = {};
        EXPECT_TRUE(m_table.read(nId, record.data()));
        return recordTo<Record>(record);
    }

    template <typename Record>
    bool write(std::int32_t nId, const Record &record)
    {
        return m_table.write(nId, &record);
    }

    RuleTable m_table;
};

TEST_F(RuleTableTest, GivesTheLowestFreeId)
{
    for (std::int32_t nId = 0; nId <= 5; ++nId) {
        EXPECT_EQ(add(RuleType::Point), nId);
    }
    EXPECT_TRUE(m_table.remove(3));
    EXPECT_EQ(add(RuleType::Line), 3);
    EXPECT_EQ(add(RuleType::Line), 6);
}

TEST_F(RuleTableTest, HoldsSixtyFour)
{
    for (std::int32_t nId = 0; nId < 64; ++nId) {
        EXPECT_EQ(add(RuleType::Polygon), nId);
    }
    EXPECT_EQ(add(RuleType::Polygon), -1);
    EXPECT_EQ(m_table.all().size(), 64U);
}

TEST_F(RuleTableTest, KnowsNoOtherIds)
{
    RuleRecord record = {};
    for (const std::int32_t nId : {-1, 64, 2147483647, -2147483647 - 1}) {
        EXPECT_FALSE(m_table.remove(nId));
        EXPECT_EQ(m_table.get(nId), nullptr);
        EXPECT_FALSE(m_table.isEmpty(nId));
        EXPECT_FALSE(m_table.read(nId, record.data()));
        EXPECT_FALSE(m_table.write(nId, record.data()));
        EXPECT_FALSE(m_table.report(nId).has_value());
        EXPECT_FALSE(m_table.setArrowType(nId, 0));
        EXPECT_FALSE(m_table.editPoint(nId, {}, RuleAction::Grab));
    }
    EXPECT_TRUE(m_table.remove(63));
    EXPECT_EQ(m_table.indexOf(nullptr), -1);
}

TEST_F(RuleTableTest, RefusesAMissingRecord)
{
    add(RuleType::Point);
    EXPECT_FALSE(m_table.read(0, nullptr));
    EXPECT_FALSE(m_table.write(0, nullptr));
}

TEST_F(RuleTableTest, SelectsTheLowestIdUnderThePointAndNoOther)
{
    for (int i = 0; i < 3; ++i) {
        add(RuleType::Rect);
        write(i, RuleRectRecord{{100 + 10 * i, 100}, {300, 300}});
    }
    const AbstractRule *const pSecond = m_table.selectAt({115, 100});
    EXPECT_EQ(m_table.indexOf(pSecond), 0);
    EXPECT_TRUE(m_table.get(0)->isSelected());
    EXPECT_EQ(m_table.selectAt({900, 400}), nullptr);
    for (const AbstractRule *pRule : m_table.all()) {
        EXPECT_FALSE(pRule->isSelected());
    }
}

TEST_F(RuleTableTest, ReadsBackWhatWasWritten)
{
    add(RuleType::LineWithArrow);
    EXPECT_TRUE(write(0, RuleLineRecord{{100, 200}, {300, 400}}));
    EXPECT_EQ(static_cast<const RuleLine *>(m_table.get(0))->getEnd(), (PixelPoint{300, 200})); // 400 × 500 / 1000
    const auto record = read<RuleLineRecord>(0);
    EXPECT_EQ(record.struStart.nX, 100);
    EXPECT_EQ(record.struStart.nY, 200);
    EXPECT_EQ(record.struEnd.nY, 400);
}

TEST_F(RuleTableTest, ConvertsNothingWithAnotherOrigin)
{
    add(RuleType::Rect);
    write(0, RuleRectRecord{{100, 100}, {300, 300}});
    for (const std::uint16_t nOrigin : {0, 3, 65535}) {
        m_table.setOriginPos(nOrigin);
        EXPECT_TRUE(write(0, RuleRectRecord{{1, 2}, {3, 4}}));
        RuleRectRecord record = {{-7, -7}, {-7, -7}};
        EXPECT_TRUE(m_table.read(0, &record));
        EXPECT_EQ(record.struBottomRight.nX, -7);
    }
    EXPECT_EQ(static_cast<const RuleRect *>(m_table.get(0))->getRect(), (PixelRect{100, 50, 300, 150}));
}

TEST_F(RuleTableTest, KeepsAPolygonWithinItsRecord)
{
    add(RuleType::Polygon, {{65535, true}, {}});
    for (int i = 0; i < 30; ++i) {
        m_table.addPoint(0, {10 + i, 20 + i * i}, RuleAction::LeftPress);
    }
    EXPECT_EQ(read<RulePolygonRecord>(0).wPointNum, 10);
    for (const auto &[nAsked, nGot] :
         {std::pair<std::uint16_t, std::uint16_t>{0, 0}, {1, 1}, {2, 2}, {10, 10}, {11, 10}, {65535, 10}}) {
        RulePolygonRecord record = {};
        record.wPointNum = nAsked;
        EXPECT_TRUE(write(0, record));
        EXPECT_EQ(read<RulePolygonRecord>(0).wPointNum, nGot) << nAsked;
    }
}

TEST_F(RuleTableTest, ReadsSixPointsOfASixPointPolygon)
{
    add(RuleType::Polygon, {{6, false}, {}});
    for (int i = 1; i <= 6; ++i) {
        m_table.addPoint(0, {i * 10, i * 10}, RuleAction::Move);
        EXPECT_EQ(m_table.addPoint(0, {i * 10, i * 10}, RuleAction::LeftPress), i < 6);
    }
    const auto record = read<RulePolygonRecord>(0);
    EXPECT_EQ(record.wPointNum, 6);
    EXPECT_EQ(record.struPoints[5].nX, 60);
    EXPECT_EQ(record.struPoints[5].nY, 120); // 60 of 500
}

RuleTextRecord textRecord(const std::string &text, std::uint16_t nAnchor, std::uint8_t nDock)
{
    RuleTextRecord record = {};
    std::copy_n(text.begin(), std::min(text.size(), kTextBytes), record.szText.begin());
    record.wAnchor = nAnchor;
    record.struPoint = {100, 200};
    record.byDock = nDock;
    return record;
}

TEST_F(RuleTableTest, ReadsATextWithItsAnchorInPlaceOfItsDock)
{
    add(RuleType::Text);
    EXPECT_TRUE(write(0, textRecord("hello", 2, 1)));
    auto record = textRecord("..........", 0, 9);
    EXPECT_TRUE(m_table.read(0, &record));
    EXPECT_EQ(record.wAnchor, 1);
    EXPECT_EQ(record.byDock, 2);
    EXPECT_EQ(std::string(record.szText.data(), 10), "hello....."); // no end is written
    EXPECT_EQ(record.struPoint.nX, 0);                              // the left edge was never set
    EXPECT_EQ(record.struPoint.nY, 200);
    record.wAnchor = 2;
    EXPECT_TRUE(m_table.read(0, &record));
    EXPECT_EQ(record.struPoint.nX, 100);
}

TEST_F(RuleTableTest, CutsATextThatFillsItsRecord)
{
    add(RuleType::Text);
    EXPECT_TRUE(write(0, textRecord(std::string(1024, 'x'), 1, 0))); // no end in the record
    EXPECT_EQ(static_cast<const RuleText *>(m_table.get(0))->getText().size(), 1024U);
    const auto record = read<RuleTextRecord>(0);
    EXPECT_EQ(record.szText[1022], 'x');
    EXPECT_EQ(record.szText[1023], '\0');
}

TEST_F(RuleTableTest, ReportsARecordOfTheFamilysSize)
{
    const std::array<std::uint32_t, 10> sizes = {8, 16, 16, 84, 1040, 16, 16, 84, 16, 8};
    for (std::size_t i = 0; i < kAllTypes.size(); ++i) {
        const std::int32_t nId = add(kAllTypes[i]);
        const auto report = m_table.report(nId);
        ASSERT_TRUE(report.has_value());
        EXPECT_EQ(report->type, kAllTypes[i]);
        EXPECT_EQ(report->size, sizes[i]);
    }
}

TEST_F(RuleTableTest, TouchesNoByteOutsideTheRecord)
{
    for (const RuleType type : kAllTypes) {
        const std::int32_t nId = add(type);
        const std::size_t nSize = recordTo<RuleTextRecord>({}).szText.size() + 64;
        std::vector<unsigned char> bytes(nSize, 0xEE);
        const std::uint32_t nRecord = m_table.report(nId)->size;
        // One byte off, so that nothing is aligned either.
        EXPECT_TRUE(m_table.read(nId, bytes.data() + 1));
        EXPECT_TRUE(m_table.write(nId, bytes.data() + 1));
        EXPECT_EQ(bytes[0], 0xEE);
        EXPECT_TRUE(std::all_of(bytes.begin() + 1 + nRecord, bytes.end(), [](unsigned char by) { return by == 0xEE; }));
    }
}

TEST_F(RuleTableTest, SetsTheArrowTypeOfLinesWithArrowsOnly)
{
    for (const RuleType type : kAllTypes) {
        EXPECT_EQ(m_table.setArrowType(add(type), 7), type == RuleType::LineWithArrow);
    }
}

TEST_F(RuleTableTest, MovesAndScalesRulesWithThePicture)
{
    add(RuleType::Line, {}, 0x0F);
    write(0, RuleLineRecord{{250, 500}, {1000, 1000}});
    m_table.move(-10, -20);
    m_table.scale(0.5F, 2.0F);
    // (250, 250) → (240, 230) → (120, 460); the picture (-10, -20, 990, 480) → (-5, -40, 495, 960).
    EXPECT_EQ(static_cast<const RuleLine *>(m_table.get(0))->getStart(), (PixelPoint{120, 460}));
    EXPECT_EQ(m_table.geometry().picture, (PixelRect{-5, -40, 495, 960}));
    const auto record = read<RuleLineRecord>(0);
    EXPECT_EQ(record.struStart.nX, 250);
    EXPECT_EQ(record.struStart.nY, 500);
    EXPECT_EQ(record.struEnd.nY, 1000);
}

// ---- what a layer relies on ----

/** What is drawn, and how often the table has changed. */
struct Looks {
    std::vector<std::string> notes;
    std::uint64_t nChanges = 0;
};

Looks looksOf(RuleTable &table)
{
    Looks looks;
    table.paint([&looks](const RuleTable::Slots &slots, std::uint64_t nChanges, RuleLayer & /*layer*/) {
        RecordingCanvas canvas;
        for (const auto &pRule : slots) {
            if (pRule) {
                pRule->draw(canvas);
            }
        }
        looks = {canvas.notes(), nChanges};
    });
    return looks;
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

TEST(RuleTableChanges, CountEverythingThatIsDrawn)
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
            Looks before = looksOf(table);
            for (int nStep = 0; nStep < 250; ++nStep) {
                change(table, random);
                const Looks after = looksOf(table);
                if (after.notes != before.notes) {
                    ++nChanges;
                    EXPECT_NE(after.nChanges, before.nChanges) << static_cast<int>(type) << ' ' << nStep;
                }
                // Drawing itself is no change, else no layer would ever be put.
                EXPECT_EQ(looksOf(table).nChanges, after.nChanges);
                before = after;
            }
        }
    }
    EXPECT_GT(nChanges, 10000);
}

TEST_F(RuleTableTest, CountsRulesThatComeAndGo)
{
    std::uint64_t nBefore = looksOf(m_table).nChanges;
    const auto expectChange = [this, &nBefore] {
        const std::uint64_t nAfter = looksOf(m_table).nChanges;
        EXPECT_NE(nAfter, nBefore);
        nBefore = nAfter;
    };
    EXPECT_EQ(add(RuleType::Line), 0);
    expectChange();
    // The next rule has the number of the one before, and looks like it.
    EXPECT_TRUE(m_table.remove(0));
    EXPECT_EQ(add(RuleType::Line), 0);
    expectChange();
    EXPECT_TRUE(m_table.change(0, [](AbstractRule &rule) {
        rule.setColor(7);
        return true;
    }));
    expectChange();
    EXPECT_FALSE(m_table.change(1, [](AbstractRule & /*rule*/) { return true; }));
    EXPECT_EQ(looksOf(m_table).nChanges, nBefore);
}

} // namespace
} // namespace pellora
