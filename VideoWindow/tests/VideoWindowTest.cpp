#include "VideoWindow/tests/SignalSpy.h"
#include "interface/tests/PelloraFixture.h"

#include <QApplication>
#include <QFile>
#include <QGridLayout>
#include <QLabel>
#include <QMetaMethod>
#include <QMouseEvent>
#include <QScreen>

#include <cstring>
#include <stdexcept>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

const std::vector<std::string> kPaneSignals = {"signalMaxmized", "signalNormal", "signalSelected",
                                               "signalPreviewStatus"};

void click(QWidget *pWidget, Qt::MouseButton button, QEvent::Type type = QEvent::MouseButtonPress)
{
    QMouseEvent event(type, QPointF(3, 3), button, button, Qt::NoModifier);
    QApplication::sendEvent(pWidget, &event);
}

QRect around(const QWidget *pPane)
{
    return pPane->geometry().adjusted(-1, -1, 1, 1);
}

class VideoWindowTest : public PelloraFixture
{
protected:
    void SetUp() override
    {
        PelloraFixture::SetUp();
        m_lHandle = createWindow();
        ASSERT_EQ(videoWindows().size(), 1U);
        m_pWindow = videoWindows().front();
        m_panes = panesOf(m_pWindow);
        ASSERT_EQ(m_panes.size(), 9U);
        m_pFrame = childNamed(m_pWindow, "m_pSelBodWnd");
        m_pPlayArea = childNamed(m_pWindow, "m_pPlayArea");
        ASSERT_NE(m_pFrame, nullptr);
        ASSERT_NE(m_pPlayArea, nullptr);
        support::pumpPosted();
    }

    std::vector<int> shownPanes() const
    {
        std::vector<int> shown;
        for (int i = 0; i < 9; ++i) {
            if (m_panes[static_cast<std::size_t>(i)]->isVisible()) {
                shown.push_back(i);
            }
        }
        return shown;
    }

    long m_lHandle = -1;
    QWidget *m_pWindow = nullptr;
    QWidget *m_pFrame = nullptr;
    QWidget *m_pPlayArea = nullptr;
    std::vector<QWidget *> m_panes;
};

// ---- what a window is made of ----

TEST_F(VideoWindowTest, HoldsNinePanesAndAFrameInOnePlayArea)
{
    EXPECT_TRUE(m_pWindow->inherits("QWinWidget"));
    EXPECT_TRUE(m_pPlayArea->inherits("ZentixGUIToolkit::CFullScreenWidget"));
    EXPECT_EQ(m_pPlayArea->parentWidget(), m_pWindow);
    EXPECT_TRUE(m_pFrame->inherits("pellora::SelectBoderWnd"));
    EXPECT_EQ(m_pFrame->parentWidget(), m_pPlayArea);
    for (const QWidget *pPane : m_panes) {
        EXPECT_EQ(pPane->parentWidget(), m_pPlayArea);
        EXPECT_TRUE(pPane->hasMouseTracking());
    }
    const auto *pLayout = qobject_cast<QGridLayout *>(m_pWindow->layout());
    ASSERT_NE(pLayout, nullptr);
    EXPECT_EQ(pLayout->contentsMargins(), QMargins(0, 0, 0, 0));
    EXPECT_EQ(pLayout->spacing(), 0);
    EXPECT_EQ(pLayout->itemAtPosition(0, 0)->widget(), m_pPlayArea);
}

TEST_F(VideoWindowTest, ShowsItsFirstPaneAloneAtFirst)
{
    EXPECT_THAT(shownPanes(), ElementsAre(0));
    EXPECT_EQ(m_pFrame->geometry(), around(m_panes[0]));
}

TEST_F(VideoWindowTest, GivesEachPaneANativePictureSurfaceThatFillsIt)
{
    for (const QWidget *pPane : m_panes) {
        auto *pSurface = qobject_cast<QLabel *>(childNamed(pPane, "m_pLiveViewWnd"));
        ASSERT_NE(pSurface, nullptr);
        EXPECT_TRUE(pSurface->testAttribute(Qt::WA_NativeWindow));
        EXPECT_EQ(pSurface->sizePolicy(), QSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored));
    }
    EXPECT_EQ(childNamed(m_panes[0], "m_pLiveViewWnd")->geometry(), m_panes[0]->rect());
}

TEST_F(VideoWindowTest, HasTheSlotsOfItsClassInTheirOrder)
{
    const QMetaObject *pMeta = m_pWindow->metaObject();
    EXPECT_STREQ(pMeta->className(), "pellora::VideoWindow");
    std::vector<std::string> slotNames;
    for (int i = pMeta->methodOffset(); i < pMeta->methodCount(); ++i) {
        slotNames.push_back(pMeta->method(i).methodSignature().toStdString());
    }
    EXPECT_THAT(slotNames, ElementsAre("onWndSelected()", "onMaximized()", "onNormal()"));
}

TEST_F(VideoWindowTest, HasTheNamesOfAPanesSignals)
{
    const QMetaObject *pMeta = m_panes[0]->metaObject();
    for (const char *name : {"signalMaxmized(QWidget*)", "signalNormal()", "signalSelected()", "signalPreviewStatus()",
                             "signalFileEnd(long,void*)"}) {
        EXPECT_GE(pMeta->indexOfSignal(name), 0) << name;
    }
    EXPECT_GE(pMeta->indexOfSlot("onFileEnd(long,void*)"), 0);
}

// ---- style ----

TEST_F(VideoWindowTest, AppliesTheStyleSheetToTheApplication)
{
    const QString sheet = "pellora--VideoWindow,\r\nQFrame#m_pPlayArea{\r\n  background-color: #232323\r\n}\r\n\r\n"
                          "pellora--VideoWnd,\r\nQLabel#m_pLiveViewWnd {\r\n  background-color: #000000;\r\n}\r\n\r\n"
                          "QFrame#m_pSelBodWnd {\r\n  border: 1px solid;\r\n  border-color: #386dfa;\r\n}";
    EXPECT_EQ(sheet.size(), 230);
    EXPECT_EQ(qApp->styleSheet(), sheet);
    QFile resource(":/Qss/Qss/Pellora.qss");
    ASSERT_TRUE(resource.open(QIODevice::ReadOnly));
    EXPECT_EQ(resource.readAll(), sheet.toUtf8());
}

TEST_F(VideoWindowTest, DrawsTheFrameFromTheStyleSheetAlone)
{
    const auto *pFrame = qobject_cast<QFrame *>(m_pFrame);
    ASSERT_NE(pFrame, nullptr);
    const QImage image = m_pFrame->grab().toImage();
    EXPECT_EQ(image.pixelColor(0, 0), QColor(0x38, 0x6d, 0xfa));
    EXPECT_EQ(image.pixelColor(image.width() - 1, image.height() / 2), QColor(0x38, 0x6d, 0xfa));
}

// ---- split ----

TEST_F(VideoWindowTest, ShowsAsManyPanesAsItIsSplitInto)
{
    PELLORA_SplitScreen(m_lHandle, 4);
    EXPECT_THAT(shownPanes(), ElementsAre(0, 1, 2, 3));
    PELLORA_SplitScreen(m_lHandle, 9);
    EXPECT_THAT(shownPanes(), ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8));
    PELLORA_SplitScreen(m_lHandle, 2);
    EXPECT_THAT(shownPanes(), ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8));
    PELLORA_SplitScreen(m_lHandle, 1);
    EXPECT_THAT(shownPanes(), ElementsAre(0));
}

TEST_F(VideoWindowTest, OrdersPanesByRowsWithoutOverlap)
{
    PELLORA_SplitScreen(m_lHandle, 9);
    for (std::size_t i = 0; i < 9; ++i) {
        for (std::size_t j = i + 1; j < 9; ++j) {
            EXPECT_FALSE(m_panes[i]->geometry().intersects(m_panes[j]->geometry())) << i << ' ' << j;
        }
        if (i % 3 != 0) {
            EXPECT_GT(m_panes[i]->x(), m_panes[i - 1]->x());
            EXPECT_EQ(m_panes[i]->y(), m_panes[i - 1]->y());
        }
        if (i >= 3) {
            EXPECT_GT(m_panes[i]->y(), m_panes[i - 3]->y());
        }
    }
}

TEST_F(VideoWindowTest, LeavesRoomForTheRingAroundEveryPaneInEverySplit)
{
    for (const unsigned short wSplit : {1, 4, 9}) {
        PELLORA_SplitScreen(m_lHandle, wSplit);
        for (const int nPane : shownPanes()) {
            PELLORA_SetCurWnd(m_lHandle, nPane);
            const QRect ring = m_pFrame->geometry();
            EXPECT_EQ(ring, around(m_panes[static_cast<std::size_t>(nPane)]));
            EXPECT_TRUE(m_pPlayArea->rect().contains(ring)) << wSplit << ' ' << nPane;
            for (const int nOther : shownPanes()) {
                if (nOther == nPane) {
                    continue;
                }
                const QRect other = m_panes[static_cast<std::size_t>(nOther)]->geometry();
                EXPECT_FALSE(ring.intersects(other)) << wSplit << ' ' << nPane << ' ' << nOther;
            }
        }
    }
}

// ---- selection ----

TEST_F(VideoWindowTest, MovesFrameAndCommandsToTheSelectedPane)
{
    PELLORA_SplitScreen(m_lHandle, 9);
    EXPECT_EQ(PELLORA_SetCurWnd(m_lHandle, 4), 1);

    EXPECT_EQ(m_pFrame->geometry(), around(m_panes[4]));
    std::string path = "a.mkv";
    PELLORA_PreviewFile(m_lHandle, path.data(), 0, 0);
    EXPECT_THAT(newCalls(), testing::Contains("Kavun_Play(0, " + pictureWindow(m_panes[4]) + ")"));
}

TEST_F(VideoWindowTest, KeepsACurrentPaneThatTheGridDoesNotShow)
{
    PELLORA_SplitScreen(m_lHandle, 9);
    PELLORA_SetCurWnd(m_lHandle, 5);
    PELLORA_SplitScreen(m_lHandle, 1);

    EXPECT_THAT(shownPanes(), ElementsAre(0));
    std::string path = "a.mkv";
    PELLORA_PreviewFile(m_lHandle, path.data(), 0, 0);
    EXPECT_THAT(newCalls(), testing::Contains("Kavun_Play(0, " + pictureWindow(m_panes[5]) + ")"));
}

TEST_F(VideoWindowTest, SelectsAPaneThatIsLeftClicked)
{
    PELLORA_SplitScreen(m_lHandle, 9);
    SignalSpy spy(m_panes[5], kPaneSignals);

    click(m_panes[5], Qt::LeftButton);

    EXPECT_THAT(spy.emitted(), ElementsAre("signalSelected", "signalPreviewStatus"));
    EXPECT_EQ(m_pFrame->geometry(), around(m_panes[5]));
}

TEST_F(VideoWindowTest, SelectsNothingByARightClick)
{
    PELLORA_SplitScreen(m_lHandle, 9);
    SignalSpy spy(m_panes[5], kPaneSignals);

    click(m_panes[5], Qt::RightButton);

    EXPECT_THAT(spy.emitted(), IsEmpty());
    EXPECT_EQ(m_pFrame->geometry(), around(m_panes[0]));
}

/** A part of Qt, or of the host's Qt, that fails. */
class FailingFilter : public QObject
{
public:
    bool eventFilter(QObject *, QEvent *pEvent) override
    {
        if (pEvent->type() == QEvent::Move) {
            throw std::runtime_error("no frame");
        }
        return false;
    }
};

TEST_F(VideoWindowTest, SurvivesASelectionThatFails)
{
    PELLORA_SplitScreen(m_lHandle, 9);
    m_log.clear();
    FailingFilter filter;
    m_pFrame->installEventFilter(&filter);

    click(m_panes[5], Qt::LeftButton);

    EXPECT_THAT(m_log.texts(), ElementsAre("ERROR exception: no frame"));
    m_pFrame->removeEventFilter(&filter);
    click(m_panes[4], Qt::LeftButton);
    EXPECT_EQ(m_pFrame->geometry(), around(m_panes[4]));
}

TEST_F(VideoWindowTest, SelectsByAClickOnThePicture)
{
    PELLORA_SplitScreen(m_lHandle, 4);

    click(childNamed(m_panes[3], "m_pLiveViewWnd"), Qt::LeftButton);

    EXPECT_EQ(m_pFrame->geometry(), around(m_panes[3]));
}

// ---- maximising ----

TEST_F(VideoWindowTest, AlternatesBetweenMaximisedAndNormalOnDoubleClicks)
{
    PELLORA_SplitScreen(m_lHandle, 4);
    SignalSpy spy(m_panes[0], kPaneSignals);

    click(m_panes[0], Qt::LeftButton, QEvent::MouseButtonDblClick);
    EXPECT_THAT(shownPanes(), ElementsAre(0));
    click(m_panes[0], Qt::LeftButton, QEvent::MouseButtonDblClick);

    EXPECT_THAT(shownPanes(), ElementsAre(0, 1, 2, 3));
    std::vector<std::string> emitted;
    for (const std::string &name : spy.emitted()) {
        if (name == "signalMaxmized" || name == "signalNormal") {
            emitted.push_back(name);
        }
    }
    EXPECT_THAT(emitted, ElementsAre("signalMaxmized", "signalNormal"));
}

TEST_F(VideoWindowTest, MaximisesTheCurrentPaneWhicheverAsksForIt)
{
    PELLORA_SplitScreen(m_lHandle, 4);
    PELLORA_SetCurWnd(m_lHandle, 1);

    QMetaObject::invokeMethod(m_panes[2], "signalMaxmized", Q_ARG(QWidget *, m_panes[2]));

    EXPECT_THAT(shownPanes(), ElementsAre(1));
    EXPECT_EQ(m_pFrame->geometry(), around(m_panes[1]));
    QMetaObject::invokeMethod(m_panes[2], "signalNormal");
    EXPECT_THAT(shownPanes(), ElementsAre(0, 1, 2, 3));
}

// ---- the frame ----

TEST_F(VideoWindowTest, LaysTheFrameBeneathThePanes)
{
    const QObjectList &children = m_pPlayArea->children();
    const int nFrame = children.indexOf(m_pFrame);
    for (QWidget *pPane : m_panes) {
        EXPECT_LT(nFrame, children.indexOf(pPane));
    }
}

TEST_F(VideoWindowTest, FollowsTheSizeOfTheSelectedPane)
{
    m_panes[0]->setGeometry(0, 0, 100, 80);

    EXPECT_EQ(m_pFrame->geometry(), QRect(-1, -1, 102, 82));
}

TEST_F(VideoWindowTest, FollowsNoMoveWithoutAResize)
{
    const QRect before = m_pFrame->geometry();

    m_panes[0]->move(m_panes[0]->x() + 10, m_panes[0]->y() + 10);

    EXPECT_EQ(m_pFrame->geometry(), before);
}

TEST_F(VideoWindowTest, FollowsThePaneBeforeNoLonger)
{
    PELLORA_SplitScreen(m_lHandle, 4);
    PELLORA_SetCurWnd(m_lHandle, 1);
    const QRect before = m_pFrame->geometry();

    m_panes[0]->resize(20, 20);

    EXPECT_EQ(m_pFrame->geometry(), before);
}

TEST_F(VideoWindowTest, FollowsTheHostsGeometry)
{
    PELLORA_SetGeometry(m_lHandle, 5, 6, 300, 200);
    support::pumpPosted();

    EXPECT_EQ(m_pFrame->geometry(), around(m_panes[0]));
    EXPECT_LE(m_panes[0]->width(), 300);
}

// ---- full screen ----

TEST_F(VideoWindowTest, CoversTheScreenAndComesBack)
{
    PELLORA_SplitScreen(m_lHandle, 4);
    const QRect before = m_pPlayArea->geometry();
    const HWND hPicture = nativeWindow(childNamed(m_panes[2], "m_pLiveViewWnd"));

    EXPECT_EQ(PELLORA_FullScreen(m_lHandle), 1);
    support::pumpPosted();

    EXPECT_EQ(QRect(m_pPlayArea->mapToGlobal(QPoint(0, 0)), m_pPlayArea->size()),
              QApplication::primaryScreen()->geometry());
    EXPECT_EQ(m_pPlayArea->parentWidget(), m_pWindow);
    EXPECT_THAT(shownPanes(), ElementsAre(0, 1, 2, 3));
    EXPECT_TRUE(IsWindow(hPicture));

    EXPECT_EQ(PELLORA_NormalScreen(m_lHandle), 1);
    support::pumpPosted();

    EXPECT_EQ(m_pPlayArea->geometry(), before);
    EXPECT_TRUE(m_pPlayArea->isVisible());
    EXPECT_EQ(nativeWindow(childNamed(m_panes[2], "m_pLiveViewWnd")), hPicture);
}

TEST_F(VideoWindowTest, SplitsInFullScreen)
{
    PELLORA_FullScreen(m_lHandle);
    PELLORA_SplitScreen(m_lHandle, 9);

    EXPECT_THAT(shownPanes(), testing::SizeIs(9));

    PELLORA_NormalScreen(m_lHandle);
    EXPECT_THAT(shownPanes(), testing::SizeIs(9));
}

TEST_F(VideoWindowTest, LeavesFullScreenWhenItIsHidden)
{
    const QRect before = m_pPlayArea->geometry();
    PELLORA_FullScreen(m_lHandle);
    support::pumpPosted();

    EXPECT_EQ(PELLORA_SetVisible(m_lHandle, 0), 1);
    support::pumpPosted();

    for (const QWidget *pWidget : QApplication::allWidgets()) {
        EXPECT_FALSE(pWidget->isVisible()) << pWidget->metaObject()->className();
    }
    EXPECT_FALSE(IsWindowVisible(nativeWindow(m_pPlayArea)));

    EXPECT_EQ(PELLORA_SetVisible(m_lHandle, 1), 1);
    support::pumpPosted();
    EXPECT_EQ(m_pPlayArea->geometry(), before);
    EXPECT_TRUE(IsWindowVisible(nativeWindow(m_pPlayArea)));
    EXPECT_EQ(GetParent(nativeWindow(m_pPlayArea)), nativeWindow(m_pWindow));
    EXPECT_EQ(PELLORA_FullScreen(m_lHandle), 1);
    EXPECT_EQ(PELLORA_NormalScreen(m_lHandle), 1);
    EXPECT_EQ(m_pPlayArea->geometry(), before);
}

TEST_F(VideoWindowTest, LeavesFullScreenWithItsNativeWindowsWhenTheHostGoes)
{
    playFile(m_lHandle);
    const HWND hPlayArea = nativeWindow(m_pPlayArea);
    const HWND hPicture = nativeWindow(childNamed(m_panes[0], "m_pLiveViewWnd"));
    PELLORA_FullScreen(m_lHandle);
    support::pumpPosted();

    m_pHost->destroy();

    // The player goes on drawing until it is stopped.
    EXPECT_TRUE(IsWindow(hPicture));
    EXPECT_TRUE(IsWindow(hPlayArea));
    EXPECT_FALSE(IsWindowVisible(hPlayArea));
    EXPECT_EQ(GetParent(hPlayArea), nativeWindow(m_pWindow));
}

TEST_F(VideoWindowTest, LeavesFullScreenWhenWhatTheHostLiesInGoes)
{
    support::HostWindow frame;
    SetParent(m_pHost->handle(), frame.handle());
    SetWindowLongW(m_pHost->handle(), GWL_STYLE, WS_CHILD | WS_VISIBLE);
    const HWND hPicture = nativeWindow(childNamed(m_panes[0], "m_pLiveViewWnd"));
    PELLORA_FullScreen(m_lHandle);
    support::pumpPosted();

    frame.destroy();

    EXPECT_TRUE(IsWindow(hPicture));
    EXPECT_FALSE(IsWindowVisible(hPicture));
    EXPECT_EQ(PELLORA_FullScreen(m_lHandle), 0);
}

TEST_F(VideoWindowTest, AnswersOneForNormalScreenWithoutFullScreen)
{
    EXPECT_EQ(PELLORA_NormalScreen(m_lHandle), 1);
}

TEST_F(VideoWindowTest, LogsScreenCommandsAndNeedsTheWindow)
{
    m_log.clear();
    EXPECT_EQ(PELLORA_FullScreen(3), 0);
    EXPECT_EQ(PELLORA_NormalScreen(3), 0);
    EXPECT_EQ(PELLORA_SetVisible(3, 1), 0);

    EXPECT_THAT(m_log.lines(),
                ElementsAre(IsExportLine("PELLORA_FullScreen: lHandle: 3", "int __cdecl PELLORA_FullScreen(long)"),
                            IsExportLine("PELLORA_NormalScreen: lHandle: 3", "int __cdecl PELLORA_NormalScreen(long)"),
                            IsExportLine("PELLORA_SetVisible: lHandle: 3, wVisible: 1",
                                         "int __cdecl PELLORA_SetVisible(long,unsigned short)")));
}

// ---- place and holes ----

TEST_F(VideoWindowTest, ShowsForAnyValueButZero)
{
    EXPECT_EQ(PELLORA_SetVisible(m_lHandle, 0), 1);
    EXPECT_FALSE(IsWindowVisible(nativeWindow(m_pWindow)));
    EXPECT_EQ(PELLORA_SetVisible(m_lHandle, 2), 1);
    EXPECT_TRUE(IsWindowVisible(nativeWindow(m_pWindow)));
}

TEST_F(VideoWindowTest, TakesItsGeometryInTheHostsClientPixels)
{
    m_log.clear();
    EXPECT_EQ(PELLORA_SetGeometry(m_lHandle, 11, 22, 333, 222), 1);
    EXPECT_THAT(m_log.lines(), IsEmpty());
    EXPECT_EQ(PELLORA_SetGeometry(3, 11, 22, 333, 222), 0);

    RECT place = {};
    GetWindowRect(nativeWindow(m_pWindow), &place);
    MapWindowPoints(nullptr, m_pHost->handle(), reinterpret_cast<POINT *>(&place), 2);
    EXPECT_THAT((std::vector<long>{place.left, place.top, place.right, place.bottom}), ElementsAre(11, 22, 344, 244));
}

class ClipAreaTest : public VideoWindowTest
{
protected:
    /** The window's own region, or null without one. */
    HRGN windowRegion() const
    {
        HRGN region = CreateRectRgn(0, 0, 0, 0);
        if (GetWindowRgn(nativeWindow(m_pWindow), region) == ERROR) {
            DeleteObject(region);
            return nullptr;
        }
        return region;
    }

    /** Compares with the full rectangle less these holes. */
    void expectHoles(const std::vector<RECT> &holes, const std::vector<int> &radii) const
    {
        HRGN expected = CreateRectRgn(0, 0, m_pWindow->width(), m_pWindow->height());
        for (std::size_t i = 0; i < holes.size(); ++i) {
            HRGN hole =
                CreateRoundRectRgn(holes[i].left, holes[i].top, holes[i].right, holes[i].bottom, radii[i], radii[i]);
            CombineRgn(expected, expected, hole, RGN_DIFF);
            DeleteObject(hole);
        }
        HRGN actual = windowRegion();
        ASSERT_NE(actual, nullptr);
        EXPECT_TRUE(EqualRgn(actual, expected));
        DeleteObject(actual);
        DeleteObject(expected);
    }
};

TEST_F(ClipAreaTest, CutsExactlyTheFirstRectangles)
{
    m_log.clear();
    tagPELLORA_CLIP_AREA area = {
        {{10, 10, 60, 40}, {100, 50, 200, 150}, {300, 300, 400, 400}, {0, 0, 5, 5}}, {0, 20, 0, 0}, 2};

    EXPECT_EQ(PELLORA_SetClipArea(m_lHandle, &area), 1);

    expectHoles({{10, 10, 60, 40}, {100, 50, 200, 150}}, {0, 20});
    EXPECT_THAT(m_log.lines(), IsEmpty());
}

TEST_F(ClipAreaTest, ReplacesEarlierHoles)
{
    tagPELLORA_CLIP_AREA area = {{{10, 10, 60, 40}, {}, {}, {}}, {0, 0, 0, 0}, 1};
    PELLORA_SetClipArea(m_lHandle, &area);
    area.struRect[0] = {200, 200, 220, 220};

    PELLORA_SetClipArea(m_lHandle, &area);

    expectHoles({{200, 200, 220, 220}}, {0});
}

TEST_F(ClipAreaTest, ClosesAllHolesWithoutRectangles)
{
    tagPELLORA_CLIP_AREA area = {{{10, 10, 60, 40}, {}, {}, {}}, {0, 0, 0, 0}, 1};
    PELLORA_SetClipArea(m_lHandle, &area);
    area.wNum = 0;

    EXPECT_EQ(PELLORA_SetClipArea(m_lHandle, &area), 1);

    expectHoles({}, {});
}

TEST_F(ClipAreaTest, CutsAllFourRectangles)
{
    tagPELLORA_CLIP_AREA area = {{{0, 0, 10, 10}, {20, 0, 30, 10}, {40, 0, 50, 10}, {60, 0, 90, 30}}, {0, 2, 4, 8}, 4};

    EXPECT_EQ(PELLORA_SetClipArea(m_lHandle, &area), 1);

    expectHoles({{0, 0, 10, 10}, {20, 0, 30, 10}, {40, 0, 50, 10}, {60, 0, 90, 30}}, {0, 2, 4, 8});
}

/** A clip record of six rectangles, of which two lie behind it, at the end of the memory that can be read. */
class LongClipArea
{
public:
    LongClipArea()
        : m_pPages(
              static_cast<unsigned char *>(VirtualAlloc(nullptr, 2 * kPage, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE)))
    {
        DWORD nOld = 0;
        VirtualProtect(m_pPages + kPage, kPage, PAGE_NOACCESS, &nOld);
        const RECT last = {200, 200, 240, 230};
        // The fifth is made of the radii and of the number.
        get()->wRadius[0] = 300;
        get()->wRadius[2] = 310;
        get()->wNum = kCount;
        const LONG nBottom = 330;
        std::memcpy(m_pPages + kPage - sizeof(last) - sizeof(nBottom), &nBottom, sizeof(nBottom));
        std::memcpy(m_pPages + kPage - sizeof(last), &last, sizeof(last));
    }
    ~LongClipArea()
    {
        VirtualFree(m_pPages, 0, MEM_RELEASE);
    }
    LongClipArea(const LongClipArea &) = delete;
    LongClipArea &operator=(const LongClipArea &) = delete;

    [[nodiscard]] tagPELLORA_CLIP_AREA *get() const
    {
        return reinterpret_cast<tagPELLORA_CLIP_AREA *>(m_pPages + kPage - kCount * sizeof(tagPELLORA_RECT));
    }

    static constexpr unsigned short kCount = 6;

private:
    static constexpr std::size_t kPage = 4096;

    unsigned char *m_pPages;
};

TEST_F(ClipAreaTest, ReadsOnBehindTheRecordAsFarAsItClaims)
{
    const LongClipArea area;

    EXPECT_EQ(PELLORA_SetClipArea(m_lHandle, area.get()), 1);

    expectHoles({{0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}, {300, 310, 6, 330}, {200, 200, 240, 230}},
                {300, 0, 310, 0, LongClipArea::kCount, 0});
}

TEST_F(ClipAreaTest, CutsNothingWhenTheRecordClaimsMoreThanCanBeRead)
{
    const LongClipArea area;
    tagPELLORA_CLIP_AREA before = {{{10, 10, 60, 40}, {}, {}, {}}, {0, 0, 0, 0}, 1};
    EXPECT_EQ(PELLORA_SetClipArea(m_lHandle, &before), 1);
    area.get()->wNum = LongClipArea::kCount + 1;
    m_log.clear();

    EXPECT_EQ(PELLORA_SetClipArea(m_lHandle, area.get()), 0);
    EXPECT_EQ(PELLORA_SetClipArea(m_lHandle, reinterpret_cast<tagPELLORA_CLIP_AREA *>(0x10)), 0);

    expectHoles({{10, 10, 60, 40}}, {0});
    const std::string line = "WARN PELLORA_SetClipArea: the memory of the record ends before its rectangles do";
    EXPECT_THAT(m_log.texts(), ElementsAre(line, line));
}

TEST_F(ClipAreaTest, NeedsAWindowAndARecord)
{
    tagPELLORA_CLIP_AREA area = {};
    EXPECT_EQ(PELLORA_SetClipArea(5, &area), 0);
    EXPECT_EQ(PELLORA_SetClipArea(-1, &area), 0);
    EXPECT_EQ(PELLORA_SetClipArea(m_lHandle, nullptr), 0);
}

// ---- display region ----

class DisplayRegionTest : public VideoWindowTest
{
protected:
    void SetUp() override
    {
        VideoWindowTest::SetUp();
        playFile(m_lHandle);
    }

    int show(long lLeft, long lTop, long lRight, long lBottom)
    {
        tagPELLORA_RECT region = {lLeft, lTop, lRight, lBottom};
        return PELLORA_SetDisplayRegion(m_lHandle, &region, -1);
    }
};

TEST_F(DisplayRegionTest, HandsTheRegionOnInPixelsOfThePicture)
{
    EXPECT_EQ(show(100, 200, 555, 1000), 1);

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_GetPictureSize(0, out, out)",
                                        "Kavun_SetDisplayRegion(0, 0, {70, 115, 390, 576}, null, 0)"));
    EXPECT_THAT(m_log.lines(),
                ElementsAre(IsExportLine("PELLORA_SetDisplayRegion: lHandle: 0, lSubHandel: -1",
                                         "int __cdecl PELLORA_SetDisplayRegion(long,struct tagPELLORA_RECT *,long)")));
}

TEST_F(DisplayRegionTest, HandsRowsCountedFromTheBottomOnAsTheyAre)
{
    EXPECT_EQ(show(0, 1000, 500, 500), 1);

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_GetPictureSize(0, out, out)",
                                        "Kavun_SetDisplayRegion(0, 0, {0, 576, 352, 288}, null, 0)"));
}

TEST_F(DisplayRegionTest, HandsAnEmptyRectangleOnWhenThePictureHasNoSize)
{
    doubles::script("Kavun_GetPictureSize", {8});
    // The player's answer to a rectangle without an area.
    doubles::script("Kavun_SetDisplayRegion", {1});

    EXPECT_EQ(show(0, 0, 500, 500), 0);

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_GetPictureSize(0, out, out)",
                                        "Kavun_SetDisplayRegion(0, 0, {0, 0, 0, 0}, null, 0)"));
}

TEST_F(DisplayRegionTest, RefusesARegionWithoutWidth)
{
    EXPECT_EQ(show(500, 0, 500, 1000), 0);

    EXPECT_THAT(newCalls(), testing::Not(testing::Contains(testing::StartsWith("Kavun_SetDisplayRegion"))));
    EXPECT_EQ(m_log.lines().size(), 2U);
}

TEST_F(DisplayRegionTest, RefusesARegionWithoutHeight)
{
    EXPECT_EQ(show(0, 300, 1000, 300), 0);

    EXPECT_THAT(newCalls(), testing::Not(testing::Contains(testing::StartsWith("Kavun_SetDisplayRegion"))));
    EXPECT_EQ(m_log.lines().size(), 2U);
}

TEST_F(DisplayRegionTest, AnswersAsThePlayerDoes)
{
    doubles::script("Kavun_SetDisplayRegion", {1});

    EXPECT_EQ(show(0, 0, 2000, 2000), 0);

    EXPECT_THAT(m_log.texts(), testing::Contains("ERROR Kavun_SetDisplayRegion error: 1."));
}

TEST_F(DisplayRegionTest, ReachesThePaneThatItIsMeantFor)
{
    PELLORA_SetCurWnd(m_lHandle, 3);
    playFile(m_lHandle);
    newCalls();

    EXPECT_EQ(PELLORA_SetDisplayRegion(m_lHandle, nullptr, 0), 1);
    EXPECT_EQ(PELLORA_SetDisplayRegion(m_lHandle, nullptr, -1), 1);
    EXPECT_EQ(PELLORA_SetDisplayRegion(m_lHandle, nullptr, 3), 1);
    EXPECT_EQ(PELLORA_SetDisplayRegion(m_lHandle, nullptr, 9), 0);
    EXPECT_EQ(PELLORA_SetDisplayRegion(m_lHandle, nullptr, -2), 0);
    EXPECT_EQ(PELLORA_SetDisplayRegion(m_lHandle, nullptr, 255), 0);

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_SetDisplayRegion(0, 0, null, null, 0)",
                                        "Kavun_SetDisplayRegion(1, 0, null, null, 0)",
                                        "Kavun_SetDisplayRegion(1, 0, null, null, 0)"));
}

TEST_F(DisplayRegionTest, SurvivesWildNumbers)
{
    constexpr long kLeast = -2147483647 - 1;
    constexpr long kMost = 2147483647;
    // The rules' picture would shrink to nothing.
    EXPECT_EQ(show(kLeast, kLeast, kMost, kMost), 0);
    EXPECT_EQ(show(kMost, kMost, kLeast, kLeast), 0);
    EXPECT_THAT(newCalls(), testing::Not(testing::Contains(testing::StartsWith("Kavun_SetDisplayRegion"))));

    EXPECT_EQ(show(-1000, -1000, -999, -999), 1);
    EXPECT_EQ(show(0, 0, 1000, kMost), 1);
    EXPECT_THAT(newCalls(), ElementsAre("Kavun_GetPictureSize(0, out, out)",
                                        "Kavun_SetDisplayRegion(0, 0, {-704, -576, -703, -575}, null, 0)",
                                        "Kavun_GetPictureSize(0, out, out)",
                                        "Kavun_SetDisplayRegion(0, 0, {0, 0, 704, 1236950580}, null, 0)"));

    // None of them has left a trace.
    EXPECT_EQ(PELLORA_SetDisplayRegion(m_lHandle, nullptr, -1), 1);
    EXPECT_EQ(show(0, 0, 500, 500), 1);
    EXPECT_THAT(newCalls(),
                ElementsAre("Kavun_SetDisplayRegion(0, 0, null, null, 0)", "Kavun_GetPictureSize(0, out, out)",
                            "Kavun_SetDisplayRegion(0, 0, {0, 0, 352, 288}, null, 0)"));
}

// ---- the surface under a picture ----

TEST_F(VideoWindowTest, LetsQtPaintTheSurfaceOnlyWhileNothingPlays)
{
    const QWidget *pSurface = childNamed(m_panes[0], "m_pLiveViewWnd");
    EXPECT_TRUE(pSurface->updatesEnabled());
    playFile(m_lHandle);
    EXPECT_FALSE(pSurface->updatesEnabled());

    PELLORA_StopPreviewFile(m_lHandle);

    EXPECT_TRUE(pSurface->updatesEnabled());
}

TEST_F(VideoWindowTest, TracksTheMouseOverThePictureWhileTheOverlayIsOpen)
{
    const QWidget *pSurface = childNamed(m_panes[0], "m_pLiveViewWnd");
    playFile(m_lHandle, 0, 1);
    EXPECT_TRUE(pSurface->hasMouseTracking());

    PELLORA_StopPreviewFile(m_lHandle);

    EXPECT_FALSE(pSurface->hasMouseTracking());
}

TEST_F(VideoWindowTest, DrawsWithoutRulesOnThePlayersContext)
{
    const long nPort = playFile(m_lHandle, 0, 1);
    HDC hScreen = GetDC(nullptr);
    HDC hDc = CreateCompatibleDC(hScreen);
    ReleaseDC(nullptr, hScreen);

    EXPECT_TRUE(doubles::fireDraw(nPort, hDc));

    DeleteDC(hDc);
    PELLORA_StopPreviewFile(m_lHandle);
    EXPECT_FALSE(doubles::fireDraw(nPort, nullptr));
}

TEST_F(VideoWindowTest, KeepsThePictureSurfaceWhenThePaneHasNoSize)
{
    m_panes[0]->resize(0, 0);
    m_panes[0]->resize(200, 100);

    EXPECT_EQ(childNamed(m_panes[0], "m_pLiveViewWnd")->geometry(), QRect(0, 0, 200, 100));
}

} // namespace
