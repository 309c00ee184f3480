// What hosts ask of rules: log lines, results, and records at the edge of what may be read.

#include "VideoWindow/tests/RuleReports.h"
#include "gdi/MemoryDib.h"
#include "interface/tests/PelloraFixture.h"
#include "rules/RuleRecords.h"

#include <algorithm>
#include <climits>
#include <cstdio>
#include <cstring>

using testing::ElementsAre;

namespace
{

// ---- the public records are the ones that the rules read and write ----

static_assert(sizeof(tagPELLORA_POINT) == sizeof(pellora::NormalisedPoint));
static_assert(offsetof(tagPELLORA_POINT, y) == offsetof(pellora::NormalisedPoint, nY));
static_assert(sizeof(tagPELLORA_RULE_POINT) == sizeof(pellora::RulePointRecord));
static_assert(sizeof(tagPELLORA_RULE_LINE) == sizeof(pellora::RuleLineRecord));
static_assert(offsetof(tagPELLORA_RULE_LINE, struEnd) == offsetof(pellora::RuleLineRecord, struEnd));
static_assert(sizeof(tagPELLORA_RULE_RECT) == sizeof(pellora::RuleRectRecord));
static_assert(offsetof(tagPELLORA_RULE_RECT, struBottomRight) == offsetof(pellora::RuleRectRecord, struBottomRight));
static_assert(sizeof(tagPELLORA_RULE_POLYGON) == sizeof(pellora::RulePolygonRecord));
static_assert(sizeof(tagPELLORA_RULE_POLYGON::struPoints) == sizeof(pellora::RulePolygonRecord::struPoints));
static_assert(offsetof(tagPELLORA_RULE_POLYGON, wPointNum) == offsetof(pellora::RulePolygonRecord, wPointNum));
static_assert(sizeof(tagPELLORA_RULE_TEXT) == sizeof(pellora::RuleTextRecord));
static_assert(sizeof(tagPELLORA_RULE_TEXT::szText) == sizeof(pellora::RuleTextRecord::szText));
static_assert(offsetof(tagPELLORA_RULE_TEXT, wAnchor) == offsetof(pellora::RuleTextRecord, wAnchor));
static_assert(offsetof(tagPELLORA_RULE_TEXT, struPoint) == offsetof(pellora::RuleTextRecord, struPoint));
static_assert(offsetof(tagPELLORA_RULE_TEXT, byDock) == offsetof(pellora::RuleTextRecord, byDock));
static_assert(offsetof(tagPELLORA_RULE_POLYGON_EXT, wPointNum) == pellora::RulePolygonExtension::kPointNumOffset);
static_assert(offsetof(tagPELLORA_RULE_POLYGON_EXT, byFinishEarly) ==
              pellora::RulePolygonExtension::kFinishEarlyOffset);

/** Bytes that end where the address space has a hole: whoever touches the next one crashes. */
class GuardedBytes
{
public:
    explicit GuardedBytes(std::size_t nSize)
        : m_pPages(static_cast<unsigned char *>(
              VirtualAlloc(nullptr, 2 * kPageSize, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE))),
          m_pBytes(m_pPages + kPageSize - nSize)
    {
        DWORD nBefore = 0;
        EXPECT_TRUE(VirtualProtect(m_pPages + kPageSize, kPageSize, PAGE_NOACCESS, &nBefore));
    }
    ~GuardedBytes()
    {
        VirtualFree(m_pPages, 0, MEM_RELEASE);
    }
    GuardedBytes(const GuardedBytes &) = delete;
    GuardedBytes &operator=(const GuardedBytes &) = delete;

    /** The bytes, filled with what is given; it may be shorter. */
    static GuardedBytes holding(const std::string &bytes)
    {
        return GuardedBytes(bytes);
    }

    [[nodiscard]] void *get() const
    {
        return m_pBytes;
    }

private:
    static constexpr std::size_t kPageSize = 4096;

    explicit GuardedBytes(const std::string &bytes) : GuardedBytes(bytes.size())
    {
        std::memcpy(m_pBytes, bytes.data(), bytes.size());
    }

    unsigned char *m_pPages;
    unsigned char *m_pBytes;
};

std::string pointerDigits(long long nValue)
{
    char text[32];
    std::snprintf(text, sizeof(text), "%016llX", static_cast<unsigned long long>(nValue));
    return text;
}

/** A window of one pane that shows 1000 by 500 pixels and plays a file: 1 thousandth is 1 pixel across, 1/2 down. */
class RuleExportsTest : public PelloraFixture
{
protected:
    void SetUp() override
    {
        PelloraFixture::SetUp();
        rulereports::reset();
        // The selection frame takes a pixel on each side.
        m_pHost = std::make_unique<support::HostWindow>(1002, 502);
        m_lHandle = createWindow();
        m_lPort = playFile(m_lHandle);
    }

    void TearDown() override
    {
        rulereports::reset();
        PelloraFixture::TearDown();
    }

    long create(unsigned short wRuleType, void *pExtend = nullptr, unsigned char byLimitMask = 0)
    {
        return PELLORA_CreateRule(m_lHandle, wRuleType, 255, 0, 0, pExtend, byLimitMask, -1);
    }

    template <typename Record>
    bool set(long lRuleID, Record record)
    {
        return PELLORA_SetRuleCoord(m_lHandle, lRuleID, &record, -1) == 1;
    }

    /** The coordinates in a record that was zeroed before; "none" when they cannot be read. */
    std::string coordinates(long lRuleID, unsigned short wRuleType)
    {
        tagPELLORA_RULE_TEXT record;
        std::memset(&record, 0, sizeof(record));
        return PELLORA_GetRuleCoord(m_lHandle, lRuleID, &record, -1) == 1 ? rulereports::spellRecord(wRuleType, &record)
                                                                          : "none";
    }

    long m_lHandle = -1;
    long m_lPort = -1;
};

// ---- creation ----

TEST_F(RuleExportsTest, LogsACaptionUpToOneKibibyte)
{
    std::string caption(3000, 'x');
    m_log.clear();
    EXPECT_EQ(create(7, caption.data()), 0);
    EXPECT_THAT(m_log.texts(), ElementsAre("INFO PELLORA_CreateRule: lHandle: 0, lSubHandel: -1, wRuleType: 7, "
                                           "pExtend: " +
                                           std::string(1024, 'x')));
}

TEST_F(RuleExportsTest, LogsACaptionAsFarAsItIsReadable)
{
    const GuardedBytes unended = GuardedBytes::holding("gate");
    for (const unsigned short wRuleType : {7, 9, 10}) {
        m_log.clear();
        EXPECT_EQ(create(wRuleType, unended.get()), 0);
        EXPECT_THAT(m_log.texts(), ElementsAre("INFO PELLORA_CreateRule: lHandle: 0, lSubHandel: -1, wRuleType: " +
                                               std::to_string(wRuleType) + ", pExtend: gate"));
        PELLORA_ClearRule(m_lHandle, -1);
    }
}

TEST_F(RuleExportsTest, LogsNothingBehindTheThreeBytesOfAPolygon)
{
    const GuardedBytes bytes = GuardedBytes::holding(std::string("\x06\x00\x01", 3));
    for (const unsigned short wRuleType : {4, 8}) {
        m_log.clear();
        EXPECT_EQ(create(wRuleType, bytes.get()), 0);
        EXPECT_THAT(m_log.texts(), ElementsAre("INFO PELLORA_CreateRule: lHandle: 0, lSubHandel: -1, wRuleType: " +
                                               std::to_string(wRuleType) + ", pExtend: "));
        PELLORA_ClearRule(m_lHandle, -1);
    }
}

TEST_F(RuleExportsTest, ReadsNoExtensionOfTypesThatTakeNone)
{
    const GuardedBytes nothing(0);
    for (const unsigned short wRuleType : {1, 2, 3, 5, 6}) {
        EXPECT_NE(create(wRuleType, nothing.get()), -1) << wRuleType;
    }
}

TEST_F(RuleExportsTest, KeepsNothingOfAnExtension)
{
    const std::string extension("\x06\x00\x01gate\0", 8);
    std::vector<long> rules;
    for (const unsigned short wRuleType : {4, 7, 8, 9, 10}) {
        // Its pages are gone before the rule is painted with its caption.
        const GuardedBytes bytes = GuardedBytes::holding(extension);
        rules.push_back(create(wRuleType, bytes.get()));
    }
    tagPELLORA_RULE_POLYGON shape = {{{100, 200}, {300, 400}, {100, 400}}, 3};
    for (const long lRuleID : rules) {
        EXPECT_TRUE(set(lRuleID, shape));
    }
    ASSERT_EQ(PELLORA_OpenDraw(m_lHandle, -1), 1);
    const HDC hDc = CreateCompatibleDC(nullptr);
    EXPECT_TRUE(doubles::fireDraw(m_lPort, hDc));
    DeleteDC(hDc);
}

TEST_F(RuleExportsTest, RefusesUnknownTypes)
{
    for (const unsigned short wRuleType : {0, 11, 256 + 1, 65535}) {
        m_log.clear();
        EXPECT_EQ(create(wRuleType), -1) << wRuleType;
        EXPECT_THAT(
            m_log.texts(),
            ElementsAre("INFO PELLORA_CreateRule: lHandle: 0, lSubHandel: -1, wRuleType: " + std::to_string(wRuleType),
                        "WARN PELLORA_CreateRule: there is no rule type " + std::to_string(wRuleType)));
    }
}

TEST_F(RuleExportsTest, GivesOutTheLowestFreeNumber)
{
    for (long lRuleID = 0; lRuleID < 6; ++lRuleID) {
        EXPECT_EQ(create(1), lRuleID);
    }
    EXPECT_EQ(PELLORA_DestroyRule(m_lHandle, 3, -1), 1);
    EXPECT_EQ(create(2), 3);
    EXPECT_EQ(create(2), 6);
}

TEST_F(RuleExportsTest, RefusesTheSixtyFifthRule)
{
    for (long lRuleID = 0; lRuleID < 64; ++lRuleID) {
        EXPECT_EQ(create(1), lRuleID);
    }
    m_log.clear();

    EXPECT_EQ(create(1), -1);

    EXPECT_THAT(m_log.texts(), ElementsAre("INFO PELLORA_CreateRule: lHandle: 0, lSubHandel: -1, wRuleType: 1",
                                           "ERROR the container of Rule is full, the max count is: 64"));
    PELLORA_DestroyRule(m_lHandle, 63, -1);
    EXPECT_EQ(create(1), 63);
}

TEST_F(RuleExportsTest, KeepsTheRulesOfEachPaneApart)
{
    PELLORA_SplitScreen(m_lHandle, 4);
    EXPECT_EQ(PELLORA_CreateRule(m_lHandle, 2, 0, 0, 0, nullptr, 0, 3), 0);
    EXPECT_EQ(PELLORA_CreateRule(m_lHandle, 1, 0, 0, 0, nullptr, 0, 1), 0);
    tagPELLORA_RULE_LINE line = {};
    EXPECT_EQ(PELLORA_GetRuleCoord(m_lHandle, 0, &line, 0), 0);
    EXPECT_EQ(PELLORA_GetRuleCoord(m_lHandle, 0, &line, 3), 1);
    EXPECT_EQ(PELLORA_ClearRule(m_lHandle, 255), 1);
    EXPECT_EQ(PELLORA_GetRuleCoord(m_lHandle, 0, &line, 1), 0);
    EXPECT_EQ(PELLORA_GetRuleCoord(m_lHandle, 0, &line, 3), 0);
}

TEST_F(RuleExportsTest, ClearsTheOnlyPaneOfAWindowWithAllPanes)
{
    EXPECT_EQ(create(1), 0);
    EXPECT_EQ(create(2), 1);
    EXPECT_EQ(PELLORA_ClearRule(m_lHandle, 255), 1);
    EXPECT_EQ(coordinates(0, 1), "none");
    EXPECT_EQ(coordinates(1, 2), "none");
    EXPECT_EQ(create(3), 0);
}

TEST_F(RuleExportsTest, ReadsSixPointsOfAPolygonCreatedForSix)
{
    char extension[] = "\x06\x01\x01";
    extension[1] = 0;
    const long lRuleID = create(4, extension);
    tagPELLORA_RULE_POLYGON polygon = {};
    polygon.wPointNum = 6;
    for (long i = 0; i < 6; ++i) {
        polygon.struPoints[i] = {i * 100, i * 20};
    }
    ASSERT_TRUE(set(lRuleID, polygon));
    EXPECT_EQ(coordinates(lRuleID, 4), "6 0,0 100,20 200,40 300,60 400,80 500,100");
}

/** Colours come from the low byte of each part: the ink of a cross drawn into a bitmap tells. */
TEST_F(RuleExportsTest, TakesTheLowByteOfEachColour)
{
    const long lRuleID = PELLORA_CreateRule(m_lHandle, 3, 0x1FF, 0xABCDEF00 | 0x40, 0xFFFFFF20, nullptr, 0, -1);
    ASSERT_TRUE(set(lRuleID, tagPELLORA_RULE_RECT{{10, 20}, {40, 80}}));
    ASSERT_EQ(PELLORA_OpenDraw(m_lHandle, -1), 1);
    const HDC hScreen = GetDC(nullptr);
    const HDC hDc = CreateCompatibleDC(hScreen);
    const HBITMAP hBitmap = CreateCompatibleBitmap(hScreen, 100, 100);
    const HGDIOBJ hBefore = SelectObject(hDc, hBitmap);

    EXPECT_TRUE(doubles::fireDraw(m_lPort, hDc));

    // The left side: column 10, rows 10 to 40.
    EXPECT_EQ(GetPixel(hDc, 10, 25), static_cast<COLORREF>(RGB(0xFF, 0x40, 0x20)));
    SelectObject(hDc, hBefore);
    DeleteObject(hBitmap);
    DeleteDC(hDc);
    ReleaseDC(nullptr, hScreen);
}

// ---- origin ----

TEST_F(RuleExportsTest, CountsRowsFromTheBottomWithTheOtherOrigin)
{
    const long lRuleID = create(2);
    ASSERT_TRUE(set(lRuleID, tagPELLORA_RULE_LINE{{0, 0}, {200, 1000}}));
    EXPECT_EQ(PELLORA_SetOriginPos(m_lHandle, 2, -1), 1);
    EXPECT_EQ(coordinates(lRuleID, 2), "0,1000 200,0");
    EXPECT_EQ(PELLORA_SetOriginPos(m_lHandle, 1, -1), 1);
    EXPECT_EQ(coordinates(lRuleID, 2), "0,0 200,1000");
}

TEST_F(RuleExportsTest, KeepsTheOriginAfterARefusedOne)
{
    const long lRuleID = create(1);
    ASSERT_TRUE(set(lRuleID, tagPELLORA_RULE_POINT{{100, 200}}));
    PELLORA_SetOriginPos(m_lHandle, 2, -1);
    PELLORA_SetOriginPos(m_lHandle, 3, -1);
    EXPECT_EQ(coordinates(lRuleID, 1), "100,800");
}

// ---- display region ----

TEST_F(RuleExportsTest, MovesRulesWithADisplayRegion)
{
    const long lRuleID = create(2);
    ASSERT_TRUE(set(lRuleID, tagPELLORA_RULE_LINE{{250, 500}, {750, 1000}}));
    tagPELLORA_RECT region = {250, 500, 750, 1000};
    EXPECT_EQ(PELLORA_SetDisplayRegion(m_lHandle, &region, -1), 1);
    // Pixels: the region is 250..750 by 250..500. Moved by -250, -250 and doubled, the line goes from 0,0 to 1000,500.
    // The picture does the same, so its coordinates stay.
    EXPECT_EQ(coordinates(lRuleID, 2), "250,500 750,1000");
    EXPECT_EQ(PELLORA_SetDisplayRegion(m_lHandle, nullptr, -1), 1);
    EXPECT_EQ(coordinates(lRuleID, 2), "250,500 750,1000");
    // Of 704 by 576 the region is 176..528 by 288..576.
    EXPECT_THAT(newCalls(), ElementsAre("Kavun_GetPictureSize(0, out, out)",
                                        "Kavun_SetDisplayRegion(0, 0, {176, 288, 528, 576}, null, 0)",
                                        "Kavun_SetDisplayRegion(0, 0, null, null, 0)"));
}

TEST_F(RuleExportsTest, ScalesRowsByTheWidthWithTheOtherOrigin)
{
    PELLORA_SetOriginPos(m_lHandle, 2, -1);
    const long lRuleID = create(1);
    ASSERT_TRUE(set(lRuleID, tagPELLORA_RULE_POINT{{500, 500}}));
    // From the bottom: the top at 750 thousandths, 375 pixels, the bottom at 250, 125 pixels.
    tagPELLORA_RECT region = {250, 750, 750, 250};
    EXPECT_EQ(PELLORA_SetDisplayRegion(m_lHandle, &region, -1), 1);
    // Across: -250, then 1000 / 500 = 2. Down: 375 - 500 = -125, then 1000 / (375 - 125) = 4, by the picture's width
    // instead of its height, which hosts have always got. The picture of 0,0 to 1000,500 becomes -500,-500 to
    // 1500,1500, and a press at the pane's pixel 500,500 is its middle.
    PELLORA_SetRuleCoordCallback(m_lHandle, &rulereports::callback, -1);
    EXPECT_EQ(coordinates(lRuleID, 1), "500,500");
    // The player counts rows from the bottom too: the rectangle goes there as it was computed.
    EXPECT_THAT(newCalls(), ElementsAre("Kavun_GetPictureSize(0, out, out)",
                                        "Kavun_SetDisplayRegion(0, 0, {176, 432, 528, 144}, null, 0)"));
    // A bitmap shows where the rule went: 500,250 moved to 250,125 and scaled to 500,500; it would be 250 by the
    // height.
    ASSERT_EQ(PELLORA_OpenDraw(m_lHandle, -1), 1);
    const HDC hScreen = GetDC(nullptr);
    const HDC hDc = CreateCompatibleDC(hScreen);
    const HBITMAP hBitmap = CreateCompatibleBitmap(hScreen, 600, 600);
    const HGDIOBJ hBefore = SelectObject(hDc, hBitmap);
    EXPECT_TRUE(doubles::fireDraw(m_lPort, hDc));
    EXPECT_EQ(GetPixel(hDc, 500, 500), static_cast<COLORREF>(RGB(255, 0, 0)));
    EXPECT_EQ(GetPixel(hDc, 500, 250), static_cast<COLORREF>(RGB(0, 0, 0)));
    SelectObject(hDc, hBefore);
    DeleteObject(hBitmap);
    DeleteDC(hDc);
    ReleaseDC(nullptr, hScreen);
}

/** Where a region takes a point that stands at pixel 600,300 of 1000 by 500: 600 thousandths each way. */
struct RegionRow {
    const char *name;
    tagPELLORA_RECT region;
    int nResult;
    const char *ink;    /**< the middle of its disc, in pixels of the pane */
    const char *player; /**< what the player is told, its picture being 704 by 576; empty: nothing */
};

void PrintTo(const RegionRow &row, std::ostream *pStream)
{
    *pStream << row.name;
}

class RuleRegionTest : public RuleExportsTest, public testing::WithParamInterface<RegionRow>
{
protected:
    /** The middle of what is drawn; "none" when nothing is. */
    std::string inkMiddle()
    {
        EXPECT_EQ(PELLORA_OpenDraw(m_lHandle, -1), 1);
        const gdi::MemoryDib surface(nullptr, 1000, 500);
        EXPECT_TRUE(doubles::fireDraw(m_lPort, surface.get()));
        GdiFlush();
        long lLeft = 1000;
        long lRight = -1;
        long lTop = 500;
        long lBottom = -1;
        for (long y = 0; y < 500; ++y) {
            for (long x = 0; x < 1000; ++x) {
                if (surface.row(y)[x] == kRed) {
                    lLeft = std::min(lLeft, x);
                    lRight = std::max(lRight, x);
                    lTop = std::min(lTop, y);
                    lBottom = std::max(lBottom, y);
                }
            }
        }
        // Red lies inside of the black outline, four pixels to the left of the middle and three to the right.
        return lRight < 0 ? "none"
                          : std::to_string((lLeft + lRight + 1) / 2) + ',' + std::to_string((lTop + lBottom + 1) / 2);
    }

    static constexpr std::uint32_t kRed = 0x00FF0000;
};

TEST_P(RuleRegionTest, TakesThePictureAndItsRulesAlong)
{
    const long lRuleID = create(1);
    ASSERT_TRUE(set(lRuleID, tagPELLORA_RULE_POINT{{600, 600}}));
    tagPELLORA_RECT region = GetParam().region;
    newCalls();

    EXPECT_EQ(PELLORA_SetDisplayRegion(m_lHandle, &region, -1), GetParam().nResult);

    const Texts calls = newCalls();
    if (*GetParam().player == '\0') {
        EXPECT_THAT(calls, testing::Not(testing::Contains(testing::StartsWith("Kavun_SetDisplayRegion"))));
    } else {
        EXPECT_THAT(calls,
                    testing::Contains("Kavun_SetDisplayRegion(0, 0, " + std::string(GetParam().player) + ", null, 0)"));
    }
    EXPECT_EQ(inkMiddle(), GetParam().ink);
    EXPECT_EQ(coordinates(lRuleID, 1), "600,600");
    // The whole picture again, and all as before.
    EXPECT_EQ(PELLORA_SetDisplayRegion(m_lHandle, nullptr, -1), 1);
    EXPECT_EQ(inkMiddle(), "600,300");
    EXPECT_EQ(coordinates(lRuleID, 1), "600,600");
}

INSTANTIATE_TEST_SUITE_P(
    Every, RuleRegionTest,
    testing::Values(RegionRow{"Whole", {0, 0, 1000, 1000}, 1, "600,300", "{0, 0, 704, 576}"},
                    // Pixels 500 to 1000 and 125 to 375: (600 - 500) * 2, (300 - 125) * 2.
                    RegionRow{"Part", {500, 250, 1000, 750}, 1, "200,350", "{352, 144, 704, 432}"},
                    // From 750 back to 250: (600 - 750) * 1000 / (250 - 750).
                    RegionRow{"TurnedRoundAcross", {750, 0, 250, 1000}, 1, "300,300", "{528, 0, 176, 576}"},
                    // From 375 back to 125: (300 - 375) * 500 / (125 - 375).
                    RegionRow{"TurnedRoundDown", {0, 750, 1000, 250}, 1, "600,150", "{0, 432, 704, 144}"},
                    // Pixels 1000 to 1500: (600 - 1000) * 2 = -800, far outside of the pane.
                    RegionRow{"Outside", {1000, 0, 1500, 1000}, 1, "none", "{704, 0, 1056, 576}"},
                    // Twice the picture, around it: (600 + 500) / 2, (300 + 250) / 2.
                    RegionRow{"Around", {-500, -500, 1500, 1500}, 1, "550,275", "{-352, -288, 1056, 864}"},
                    RegionRow{"EmptyAcross", {500, 0, 500, 1000}, 0, "600,300", ""},
                    RegionRow{"EmptyDown", {0, 300, 1000, 300}, 0, "600,300", ""},
                    RegionRow{"Nothing", {0, 0, 0, 0}, 0, "600,300", ""},
                    // A thousandth of 500 rows is half a pixel: none.
                    RegionRow{"ThinnerThanAPixel", {0, 0, 1000, 1}, 0, "600,300", ""}),
    [](const auto &row) { return std::string(row.param.name); });

TEST_F(RuleExportsTest, ReadsNoCoordinatesOfAPictureWithoutSize)
{
    // A pane that was never shown: its picture has no size yet. Written: 500 * 0 / 1000 = 0; read: 0 / 0.
    const long lRuleID = PELLORA_CreateRule(m_lHandle, 2, 0, 0, 0, nullptr, 15, 5);
    ASSERT_EQ(lRuleID, 0);
    const GuardedBytes bytes(sizeof(tagPELLORA_RULE_LINE));
    auto *pLine = static_cast<tagPELLORA_RULE_LINE *>(bytes.get());
    *pLine = {{500, 500}, {1000, 1000}};
    EXPECT_EQ(PELLORA_SetRuleCoord(m_lHandle, lRuleID, pLine, 5), 1);
    EXPECT_EQ(PELLORA_GetRuleCoord(m_lHandle, lRuleID, pLine, 5), 1);
    EXPECT_EQ(rulereports::spellRecord(2, pLine), "-2147483648,-2147483648 -2147483648,-2147483648");
}

TEST_F(RuleExportsTest, KeepsRulesInAPaneThatHadNoSize)
{
    const long lRuleID = create(2);
    ASSERT_TRUE(set(lRuleID, tagPELLORA_RULE_LINE{{100, 200}, {900, 800}}));
    QWidget *pPane = panesOf(videoWindows().front()).front();
    // To nothing the factor 0 counts as 1; from nothing it is divided by 1, not by 0: pixel 100 becomes 100,000 of
    // 1,000,000, and 50 of 500 become 25,000 of 250,000.
    pPane->resize(0, 0);
    EXPECT_EQ(coordinates(lRuleID, 2), "100,200 900,800");
    pPane->resize(1000, 500);
    EXPECT_EQ(coordinates(lRuleID, 2), "100,200 900,800");
    EXPECT_EQ(PELLORA_SetDisplayRegion(m_lHandle, nullptr, -1), 1);
    EXPECT_EQ(coordinates(lRuleID, 2), "100,200 900,800");
}

TEST_F(RuleExportsTest, KeepsThePictureOfAPaneThatIsResizedHundredsOfTimes)
{
    QWidget *pPane = panesOf(videoWindows().front()).front();
    const auto drag = [pPane] {
        for (int i = 0; i < 300; ++i) {
            pPane->resize(1000 - i * 3 % 700, 500 - i * 7 % 450);
        }
        pPane->resize(1000, 500);
    };
    drag();
    const long lRuleID = create(2);
    ASSERT_TRUE(set(lRuleID, tagPELLORA_RULE_LINE{{100, 200}, {900, 800}}));
    EXPECT_EQ(coordinates(lRuleID, 2), "100,200 900,800");
    // With a rule the picture drifts. It does not vanish, and the whole picture is the pane again.
    drag();
    ASSERT_TRUE(set(lRuleID, tagPELLORA_RULE_LINE{{0, 0}, {1000, 1000}}));
    EXPECT_EQ(coordinates(lRuleID, 2), "0,0 1000,1000");
    EXPECT_EQ(PELLORA_SetDisplayRegion(m_lHandle, nullptr, -1), 1);
    ASSERT_TRUE(set(lRuleID, tagPELLORA_RULE_LINE{{100, 200}, {900, 800}}));
    EXPECT_EQ(coordinates(lRuleID, 2), "100,200 900,800");
}

// ---- coordinates ----

TEST_F(RuleExportsTest, ReadsAndWritesNothingOfRulesThatAreNot)
{
    create(1);
    tagPELLORA_RULE_TEXT record;
    std::memset(&record, 0xCC, sizeof(record));
    const tagPELLORA_RULE_TEXT untouched = record;
    for (const long lRuleID : {-1L, 1L, 63L, 64L, static_cast<long>(INT_MAX), static_cast<long>(INT_MIN)}) {
        EXPECT_EQ(PELLORA_GetRuleCoord(m_lHandle, lRuleID, &record, -1), 0) << lRuleID;
        EXPECT_EQ(PELLORA_SetRuleCoord(m_lHandle, lRuleID, &record, -1), 0) << lRuleID;
        EXPECT_EQ(PELLORA_SetRuleArrowType(m_lHandle, lRuleID, 1, -1), 0) << lRuleID;
    }
    // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison): padding must be left alone, too.
    EXPECT_EQ(std::memcmp(&record, &untouched, sizeof(record)), 0);
}

TEST_F(RuleExportsTest, DestroysWhatIsInTheTableAndNamesWhatIsNot)
{
    create(1);
    EXPECT_EQ(PELLORA_DestroyRule(m_lHandle, 0, -1), 1);
    EXPECT_EQ(PELLORA_DestroyRule(m_lHandle, 0, -1), 1);
    EXPECT_EQ(PELLORA_DestroyRule(m_lHandle, 63, -1), 1);
    for (const long lRuleID : {-1L, 64L, static_cast<long>(INT_MAX)}) {
        m_log.clear();
        EXPECT_EQ(PELLORA_DestroyRule(m_lHandle, lRuleID, -1), 0);
        EXPECT_THAT(
            m_log.texts(),
            ElementsAre("INFO PELLORA_DestroyRule: lHandle: 0, lSubHandel: -1, lRuleID: " + std::to_string(lRuleID),
                        "ERROR handle wrong: " + std::to_string(lRuleID),
                        "WARN PELLORA_DestroyRule: pane 0 of window 0 has no rule " + std::to_string(lRuleID)));
    }
}

struct RecordRow {
    unsigned short wRuleType;
    std::size_t nSize;
};

class GuardedRecordTest : public RuleExportsTest, public testing::WithParamInterface<RecordRow>
{
};

TEST_P(GuardedRecordTest, IsReadAndWrittenWithoutTheByteBehindIt)
{
    const long lRuleID = create(GetParam().wRuleType);
    const GuardedBytes record(GetParam().nSize);
    for (const int nFill : {0, 1, 0x7F, 0xFF}) {
        std::memset(record.get(), nFill, GetParam().nSize);
        EXPECT_EQ(PELLORA_SetRuleCoord(m_lHandle, lRuleID, record.get(), -1), 1) << nFill;
        EXPECT_EQ(PELLORA_GetRuleCoord(m_lHandle, lRuleID, record.get(), -1), 1) << nFill;
    }
    // Nor before it.
    std::memset(record.get(), 0, GetParam().nSize);
    *(static_cast<unsigned char *>(record.get()) - 1) = 0xA5;
    EXPECT_EQ(PELLORA_GetRuleCoord(m_lHandle, lRuleID, record.get(), -1), 1);
    EXPECT_EQ(*(static_cast<unsigned char *>(record.get()) - 1), 0xA5);
}

INSTANTIATE_TEST_SUITE_P(Every, GuardedRecordTest,
                         testing::Values(RecordRow{1, 8}, RecordRow{2, 16}, RecordRow{3, 16}, RecordRow{4, 84},
                                         RecordRow{5, 1040}, RecordRow{6, 16}, RecordRow{7, 16}, RecordRow{8, 84},
                                         RecordRow{9, 16}, RecordRow{10, 8}),
                         [](const auto &row) { return "Type" + std::to_string(row.param.wRuleType); });

TEST_F(RuleExportsTest, TakesRecordsAtOddAddresses)
{
    const long lRuleID = create(4);
    alignas(8) char bytes[sizeof(tagPELLORA_RULE_POLYGON) + 1] = {};
    const tagPELLORA_RULE_POLYGON polygon = {{{10, 20}, {30, 40}}, 2};
    std::memcpy(bytes + 1, &polygon, sizeof(polygon));
    EXPECT_EQ(PELLORA_SetRuleCoord(m_lHandle, lRuleID, bytes + 1, -1), 1);
    EXPECT_EQ(PELLORA_GetRuleCoord(m_lHandle, lRuleID, bytes + 1, -1), 1);
    EXPECT_EQ(rulereports::spellRecord(4, bytes + 1), "2 10,20 30,40");
}

struct PointCountRow {
    unsigned short wPointNum;
    const char *read;
};

class PolygonRecordTest : public RuleExportsTest, public testing::WithParamInterface<PointCountRow>
{
};

TEST_P(PolygonRecordTest, HoldsTenPointsAtMost)
{
    const long lRuleID = create(4);
    const GuardedBytes bytes(sizeof(tagPELLORA_RULE_POLYGON));
    auto *pPolygon = static_cast<tagPELLORA_RULE_POLYGON *>(bytes.get());
    for (long i = 0; i < 10; ++i) {
        pPolygon->struPoints[i] = {i * 10, i * 20};
    }
    pPolygon->wPointNum = GetParam().wPointNum;
    EXPECT_EQ(PELLORA_SetRuleCoord(m_lHandle, lRuleID, pPolygon, -1), 1);
    EXPECT_EQ(coordinates(lRuleID, 4), GetParam().read);
}

constexpr const char *kTenPoints = "10 0,0 10,20 20,40 30,60 40,80 50,100 60,120 70,140 80,160 90,180";
INSTANTIATE_TEST_SUITE_P(Every, PolygonRecordTest,
                         testing::Values(PointCountRow{0, "0"}, PointCountRow{1, "1 0,0"},
                                         PointCountRow{2, "2 0,0 10,20"}, PointCountRow{10, kTenPoints},
                                         PointCountRow{11, kTenPoints}, PointCountRow{65535, kTenPoints}),
                         [](const auto &row) { return "Of" + std::to_string(row.param.wPointNum); });

TEST_F(RuleExportsTest, ReadsAndLogsATextAndItsAnchorWhereTheDockIsExpected)
{
    const long lRuleID = create(5);
    tagPELLORA_RULE_TEXT text;
    std::memset(&text, 0, sizeof(text));
    std::strcpy(text.szText, "gate \xE9\x97\xA8");
    text.wAnchor = 1;
    text.struPoint = {100, 200};
    text.byDock = 2;
    m_log.clear();

    EXPECT_TRUE(set(lRuleID, text));

    EXPECT_THAT(m_log.texts(), ElementsAre("INFO PELLORA_SetRuleCoord: lHandle: 0, lSubHandel: -1, lRuleID: 0",
                                           "INFO setRuleCoode szText: gate \xE9\x97\xA8"));
    EXPECT_EQ(coordinates(lRuleID, 5), "\"gate \xE9\x97\xA8\" 1 100,200 1");
}

TEST_F(RuleExportsTest, CutsATextWithoutAnEnd)
{
    const long lRuleID = create(5);
    const GuardedBytes record(sizeof(tagPELLORA_RULE_TEXT));
    std::memset(record.get(), 'x', sizeof(tagPELLORA_RULE_TEXT));
    EXPECT_EQ(PELLORA_SetRuleCoord(m_lHandle, lRuleID, record.get(), -1), 1);
    EXPECT_EQ(PELLORA_GetRuleCoord(m_lHandle, lRuleID, record.get(), -1), 1);
    const auto *pText = static_cast<const tagPELLORA_RULE_TEXT *>(record.get());
    EXPECT_EQ(strnlen(pText->szText, 1024), 1023U);
}

TEST_F(RuleExportsTest, PutsArrowsOnLinesWithArrowsOnly)
{
    for (unsigned short wRuleType = 1; wRuleType <= 10; ++wRuleType) {
        const long lRuleID = create(wRuleType);
        for (const unsigned short wArrowType : {0, 1, 2, 3, 65535}) {
            m_log.clear();
            EXPECT_EQ(PELLORA_SetRuleArrowType(m_lHandle, lRuleID, wArrowType, -1), wRuleType == 6 ? 1 : 0);
            Texts lines = {"INFO PELLORA_SetRuleArrowType: lHandle: 0, lSubHandel: -1, lRuleID: " +
                           pointerDigits(lRuleID) + ", wArrowType: " + std::to_string(wArrowType) + "."};
            if (wRuleType != 6) {
                lines.push_back("WARN PELLORA_SetRuleArrowType: pane 0 of window 0 has no rule with arrows " +
                                std::to_string(lRuleID));
            }
            EXPECT_EQ(m_log.texts(), lines);
        }
    }
}

TEST_F(RuleExportsTest, LogsANegativeRuleNumberAsAPointerToo)
{
    m_log.clear();
    PELLORA_SetRuleArrowType(m_lHandle, -1, 0, -1);
    EXPECT_EQ(m_log.first().message, "PELLORA_SetRuleArrowType: lHandle: 0, lSubHandel: -1, lRuleID: "
                                     "FFFFFFFFFFFFFFFF, wArrowType: 0.");
}

TEST_F(RuleExportsTest, KeepsRulesWithinTheEdgesOfTheirMask)
{
    const long lRuleID = create(2, nullptr, 1 | 8);
    ASSERT_TRUE(set(lRuleID, tagPELLORA_RULE_LINE{{-100, -100}, {1200, 1200}}));
    // Left and bottom are kept, top and right are not.
    EXPECT_EQ(coordinates(lRuleID, 2), "0,-100 1200,1000");
}

// ---- the overlay ----

TEST_F(RuleExportsTest, OpensTheOverlayOnlyWhereSomethingPlays)
{
    EXPECT_EQ(PELLORA_OpenDraw(m_lHandle, -1), 1);
    EXPECT_EQ(PELLORA_CloseDraw(m_lHandle, -1), 1);
    EXPECT_EQ(PELLORA_OpenDraw(m_lHandle, 5), 0);
    EXPECT_EQ(PELLORA_CloseDraw(m_lHandle, 5), 0);
}

TEST_F(RuleExportsTest, AnswersAsThePlayerTakesTheOverlay)
{
    doubles::script("Kavun_RegisterDrawFun", {2, 2});
    EXPECT_EQ(PELLORA_OpenDraw(m_lHandle, -1), 0);
    EXPECT_EQ(PELLORA_CloseDraw(m_lHandle, -1), 0);
}

TEST_F(RuleExportsTest, LosesItsRulesWithTheFile)
{
    create(1);
    PELLORA_StopPreviewFile(m_lHandle);
    EXPECT_EQ(coordinates(0, 1), "none");
}

} // namespace
