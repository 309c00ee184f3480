// Rules and the mouse through the exports: real windows, mouse messages posted to the picture's own.

#include "VideoWindow/tests/RuleReports.h"
#include "interface/tests/PelloraFixture.h"
#include "tests/support/NoRealMouse.h"

#include <QEvent>

#include <cstring>
#include <sstream>
#include <stdexcept>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

/** Counts the mouse's events on one widget, after which a test may look at what came of them. */
class MouseEventCount : public QObject
{
public:
    [[nodiscard]] int count() const
    {
        return m_nCount;
    }

protected:
    bool eventFilter(QObject * /*pWatched*/, QEvent *pEvent) override
    {
        switch (pEvent->type()) {
        case QEvent::MouseButtonPress:
        case QEvent::MouseButtonRelease:
        case QEvent::MouseButtonDblClick:
        case QEvent::MouseMove:
            ++m_nCount;
            break;
        default:
            break;
        }
        return false;
    }

private:
    int m_nCount = 0;
};

struct MessageOfWord {
    const char *word;
    UINT message;
    WPARAM buttons;
};

constexpr MessageOfWord kMessages[] = {
    {"L+", WM_LBUTTONDOWN, MK_LBUTTON},
    {"L-", WM_LBUTTONUP, 0},
    {"R+", WM_RBUTTONDOWN, MK_RBUTTON},
    {"R-", WM_RBUTTONUP, 0},
    {"X+", WM_MBUTTONDOWN, MK_MBUTTON},
    {"X-", WM_MBUTTONUP, 0},
    {"M", WM_MOUSEMOVE, 0},
    {"D", WM_MOUSEMOVE, MK_LBUTTON},
};

/**
 * One window whose first pane shows 1000 by 500 pixels and plays with the overlay open: a pixel is a thousandth across
 * and two down.
 */
class RuleMouseTest : public PelloraFixture
{
protected:
    void SetUp() override
    {
        PelloraFixture::SetUp();
        rulereports::reset();
        // Where it is over no window.
        SetCursorPos(0, 0);
        // The selection frame takes a pixel on each side.
        m_pHost = std::make_unique<support::HostWindow>(1002, 502);
        m_lHandle = createWindow();
        playFile(m_lHandle);
        EXPECT_EQ(PELLORA_OpenDraw(m_lHandle, -1), 1);
        EXPECT_EQ(PELLORA_SetRuleCoordCallback(m_lHandle, &rulereports::callback, -1), 1);
        watch(0);
        ASSERT_EQ(m_pPicture->size(), QSize(1000, 500));
    }

    void TearDown() override
    {
        rulereports::reset();
        PelloraFixture::TearDown();
    }

    /** From now on the mouse is over this pane. */
    void watch(int nPane)
    {
        m_pPicture = childNamed(panesOf(videoWindows().front()).at(nPane), "m_pLiveViewWnd");
        m_pPicture->installEventFilter(&m_events);
    }

    long create(unsigned short wRuleType, void *pExtend = nullptr)
    {
        return PELLORA_CreateRule(m_lHandle, wRuleType, 0, 0, 0, pExtend, 0, -1);
    }

    long placePoint(long x, long y)
    {
        tagPELLORA_RULE_POINT point = {{x, y}};
        const long lRuleID = create(1);
        EXPECT_EQ(PELLORA_SetRuleCoord(m_lHandle, lRuleID, &point, -1), 1);
        return lRuleID;
    }

    /**
     * Posts "L+10,20 L-10,20 M30,40 D50,60": buttons down and up, moves without and with (D) the left one. The reports
     * that they brought.
     */
    Texts mouse(const std::string &script)
    {
        std::istringstream words(script);
        for (std::string word; words >> word;) {
            for (const MessageOfWord &entry : kMessages) {
                const std::size_t nLength = std::strlen(entry.word);
                if (word.compare(0, nLength, entry.word) == 0) {
                    postAndWait(entry, std::stoi(word.substr(nLength)), std::stoi(word.substr(word.find(',') + 1)));
                }
            }
        }
        return rulereports::take();
    }

    long m_lHandle = -1;
    QWidget *m_pPicture = nullptr;
    MouseEventCount m_events;

private:
    const support::NoRealMouse m_noRealMouse;

    void postAndWait(const MessageOfWord &entry, int x, int y)
    {
        const int nBefore = m_events.count();
        PostMessageW(nativeWindow(m_pPicture), entry.message, entry.buttons, MAKELPARAM(x, y));
        EXPECT_TRUE(support::pumpUntil([&] { return m_events.count() > nBefore; })) << entry.word << x << ',' << y;
    }
};

struct DrawRow {
    unsigned short wRuleType;
    const char *mouse;
    Texts reports; /**< without "rule 0 type N " */
};

void PrintTo(const DrawRow &row, std::ostream *pStream)
{
    *pStream << "type " << row.wRuleType << ": " << row.mouse;
}

class RuleDrawingTest : public RuleMouseTest, public testing::WithParamInterface<DrawRow>
{
};

TEST_P(RuleDrawingTest, IsReportedInFull)
{
    EXPECT_EQ(create(GetParam().wRuleType), 0);
    Texts expected;
    for (const std::string &report : GetParam().reports) {
        expected.push_back("rule 0 type " + std::to_string(GetParam().wRuleType) + ' ' + report);
    }
    EXPECT_EQ(mouse(GetParam().mouse), expected);
}

/** The reports, each without its beginning that tells state and record size. */
Texts inFull(int nState, int nSize, const Texts &records)
{
    Texts texts;
    for (const std::string &record : records) {
        texts.push_back("state " + std::to_string(nState) + " handle 0 pane 0 size " + std::to_string(nSize) + ": " +
                        record);
    }
    return texts;
}

Texts drawn(int nSize, const Texts &records, const std::string &last)
{
    Texts texts = inFull(2, nSize, records);
    texts.push_back(inFull(0, nSize, {last}).front());
    return texts;
}

std::vector<DrawRow> drawRows()
{
    // Buttons go up and down where the mouse is: Qt puts a move in front of those that do not.
    const char *const pPointMouse = "L+100,100 L-100,100 M300,300";
    const char *const pLineMouse = "L+100,100 L-100,100 M200,150 X+200,150 X-200,150 M300,50 L+300,50 L-300,50";
    const char *const pRectMouse = "R+9,9 R-9,9 L+300,200 D200,150 D100,250 L-100,250";
    const char *const pPolygonMouse = "L+100,100 L-100,100 M200,100 L+200,100 L-200,100 M200,200 L+200,200 L-200,200 "
                                      "M100,200 L+100,200 L-100,200";
    const Texts point = drawn(8, {}, "100,200");
    const Texts line = drawn(16,
                             {"100,200 100,200", "100,200 100,200", "100,200 200,300", "100,200 200,300",
                              "100,200 200,300", "100,200 300,100"},
                             "100,200 300,100");
    const Texts rect = drawn(16, {"300,400 300,400", "200,300 300,400", "100,400 300,500"}, "100,400 300,500");
    const Texts polygon =
        drawn(84,
              {"2 100,200 100,200", "2 100,200 100,200", "2 100,200 200,200", "3 100,200 200,200 200,200",
               "3 100,200 200,200 200,200", "3 100,200 200,200 200,400", "4 100,200 200,200 200,400 200,400",
               "4 100,200 200,200 200,400 200,400", "4 100,200 200,200 200,400 100,400"},
              "4 100,200 200,200 200,400 100,400");
    return {
        {1, pPointMouse, point},
        {2, pLineMouse, line},
        {3, pRectMouse, rect},
        {4, pPolygonMouse, polygon},
        // Nothing of a text is drawn by mouse.
        {5, pPointMouse, {}},
        // From 500,125 to 500,375; its end is dragged.
        {6, "L+500,375 D510,400 D520,410 L-520,410",
         inFull(4, 16, {"500,250 500,750", "500,250 510,800", "500,250 520,820"})},
        {7, pRectMouse, rect},
        {8, pPolygonMouse, polygon},
        {9, pLineMouse, line},
        {10, pPointMouse, point},
    };
}

INSTANTIATE_TEST_SUITE_P(Every, RuleDrawingTest, testing::ValuesIn(drawRows()),
                         [](const auto &row) { return "Type" + std::to_string(row.param.wRuleType); });

TEST_F(RuleMouseTest, IgnoresTheSecondPressOfADoubleClick)
{
    create(4);
    EXPECT_EQ(mouse("L+100,100 L-100,100 L+100,100").size(), 2U);
    // Two points still: the second press was none.
    EXPECT_THAT(mouse("L-100,100"), ElementsAre("rule 0 type 4 state 2 handle 0 pane 0 size 84: 2 100,200 100,200"));
}

TEST_F(RuleMouseTest, TakesThePictureForWholeOnceTheSourceWithARegionHasEnded)
{
    tagPELLORA_RECT region = {0, 0, 500, 500};
    EXPECT_EQ(PELLORA_SetDisplayRegion(m_lHandle, &region, -1), 1);
    playFile(m_lHandle, 0, 1);

    create(1);

    EXPECT_THAT(mouse("L+140,160"), ElementsAre("rule 0 type 1 state 0 handle 0 pane 0 size 8: 140,320"));
}

TEST_F(RuleMouseTest, GoesOnAfterTheHostsCallbackHasThrown)
{
    EXPECT_EQ(PELLORA_SetRuleCoordCallback(
                  m_lHandle,
                  [](long, unsigned short, void *, unsigned char, long, long, unsigned long) {
                      throw std::runtime_error("the host's");
                  },
                  -1),
              1);
    create(1);
    m_log.clear();

    EXPECT_THAT(mouse("L+300,350 L-300,350"), IsEmpty());

    EXPECT_THAT(m_log.texts(), testing::Contains("ERROR exception: the host's"));
    EXPECT_EQ(PELLORA_SetRuleCoordCallback(m_lHandle, &rulereports::callback, -1), 1);
    create(1);
    EXPECT_THAT(mouse("L+500,100"), ElementsAre("rule 1 type 1 state 0 handle 0 pane 0 size 8: 500,200"));
}

TEST_F(RuleMouseTest, HearsNothingWhileTheOverlayIsClosed)
{
    placePoint(100, 200);
    placePoint(400, 200);
    PELLORA_CloseDraw(m_lHandle, -1);
    EXPECT_THAT(mouse("L+100,100 L-100,100"), IsEmpty());
    PELLORA_OpenDraw(m_lHandle, -1);
    EXPECT_THAT(mouse("L+400,100"), ElementsAre("rule 1 type 1 state 4 handle 0 pane 0 size 8: 400,200"));
}

TEST_F(RuleMouseTest, HearsEachEventOnceHoweverOftenTheOverlayIsOpened)
{
    placePoint(100, 200);
    PELLORA_OpenDraw(m_lHandle, -1);
    PELLORA_OpenDraw(m_lHandle, -1);
    EXPECT_EQ(mouse("L+100,100").size(), 1U);
}

TEST_F(RuleMouseTest, NamesThePaneAndTheHandleThatTheCallbackWasSetWith)
{
    PELLORA_SplitScreen(m_lHandle, 4);
    PELLORA_SetCurWnd(m_lHandle, 3);
    playFile(m_lHandle, 0, 1);
    PELLORA_SetRuleCoordCallback(m_lHandle, &rulereports::callback, 255);
    watch(3);
    EXPECT_EQ(PELLORA_CreateRule(m_lHandle, 10, 0, 0, 0, nullptr, 0, 3), 0);
    EXPECT_THAT(mouse("L+0,0"), ElementsAre("rule 0 type 10 state 0 handle 0 pane 3 size 8: 0,0"));
}

TEST_F(RuleMouseTest, FollowsTheMouseOutsideAndIsLetGoThere)
{
    const long lRuleID = placePoint(100, 200);
    EXPECT_THAT(mouse("L+100,100 D-60,610 L--60,610"),
                ElementsAre("rule 0 type 1 state 4 handle 0 pane 0 size 8: 100,200",
                            "rule 0 type 1 state 4 handle 0 pane 0 size 8: -60,1220"));
    tagPELLORA_RULE_POINT point = {};
    EXPECT_EQ(PELLORA_GetRuleCoord(m_lHandle, lRuleID, &point, -1), 1);
    EXPECT_EQ(point.struPoint.x, -60);
    EXPECT_EQ(point.struPoint.y, 1220);
}

TEST_F(RuleMouseTest, PutsARuleDownWithTheNextClickAfterALostCapture)
{
    placePoint(100, 200);
    EXPECT_EQ(mouse("L+100,100 D150,100").size(), 2U);
    ReleaseCapture();
    support::pumpPosted();
    // It still follows the mouse, whose release it never saw; a click puts it down.
    EXPECT_THAT(mouse("D700,400 L+700,400 L-700,400"),
                ElementsAre("rule 0 type 1 state 4 handle 0 pane 0 size 8: 700,800",
                            "rule 0 type 1 state 4 handle 0 pane 0 size 8: 700,800"));
}

TEST_F(RuleMouseTest, GoesOnWithADragInAnotherSize)
{
    placePoint(100, 200);
    EXPECT_EQ(mouse("L+100,100").size(), 1U);
    PELLORA_SetGeometry(m_lHandle, 0, 0, 502, 252);
    ASSERT_TRUE(support::pumpUntil([this] { return m_pPicture->size() == QSize(500, 250); }));
    // Of 500 by 250 pixels: each is two thousandths across and four down.
    EXPECT_THAT(mouse("D60,50 D70,60 L-70,60"), ElementsAre("rule 0 type 1 state 4 handle 0 pane 0 size 8: 120,200",
                                                            "rule 0 type 1 state 4 handle 0 pane 0 size 8: 140,240"));
}

TEST_F(RuleMouseTest, LosesTheRuleInHandWithTheFile)
{
    placePoint(100, 200);
    EXPECT_EQ(mouse("L+100,100 D150,100").size(), 2U);
    PELLORA_StopPreviewFile(m_lHandle);
    EXPECT_THAT(mouse("D200,100 L-200,100"), IsEmpty());
}

TEST_F(RuleMouseTest, SaysNothingMoreAfterTheHostDestroyedTheWindowWhileItWasTold)
{
    placePoint(100, 200);
    rulereports::whenReported([this](unsigned char) { PELLORA_DestroyWindow(m_lHandle); });
    PostMessageW(nativeWindow(m_pPicture), WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(100, 100));
    PostMessageW(nativeWindow(m_pPicture), WM_MOUSEMOVE, MK_LBUTTON, MAKELPARAM(200, 100));
    PostMessageW(nativeWindow(m_pPicture), WM_LBUTTONUP, 0, MAKELPARAM(300, 100));
    EXPECT_TRUE(support::pumpUntil([] { return videoWindows().empty(); }));
    EXPECT_THAT(rulereports::take(), ElementsAre("rule 0 type 1 state 4 handle 0 pane 0 size 8: 100,200"));
}

TEST_F(RuleMouseTest, TakesAnythingThatTheHostDoesWhileItIsTold)
{
    placePoint(100, 200);
    rulereports::whenReported([this](unsigned char) {
        PELLORA_ClearRule(m_lHandle, -1);
        PELLORA_CloseDraw(m_lHandle, -1);
        PELLORA_StopPreviewFile(m_lHandle);
    });
    EXPECT_EQ(mouse("L+100,100 D200,100 L-200,100").size(), 1U);
}

} // namespace
