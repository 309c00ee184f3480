// The host's own messages: each arrives as in a window that nobody has subclassed.

#include "tests/embedding/EmbeddingFixture.h"
#include "tests/embedding/RecordingHost.h"

#include <atomic>
#include <functional>
#include <thread>

using testing::ElementsAreArray;

namespace embedding
{

namespace
{

/** A mode, and the child window that the shell brings, if any. */
struct Embedding {
    const char *pName;
    unsigned char embedMode;
    const wchar_t *pPageClass;
};

void PrintTo(const Embedding &embedding, std::ostream *pStream)
{
    *pStream << embedding.pName;
}

/** A program's way with a host's window. What it hears and what the host was given goes into the host's record. */
class Talk
{
public:
    explicit Talk(RecordingHost &host) : m_host(host), m_hWnd(host.handle()) {}

    void everything()
    {
        sendPlainMessages();
        postPlainMessages();
        sendWhatPointersLeadTo();
        paint();
        waitForTimer();
        resize();
        nest();
        fromAnotherThread([this] { postFromThere(); });
        fromAnotherThread([this] { sendFromThere(); });
    }

private:
    void noteAnswer(LRESULT nAnswer)
    {
        m_host.note("answer " + std::to_string(nAnswer));
    }

    void sendPlainMessages()
    {
        for (UINT nMessage :
             {UINT{WM_COMMAND}, UINT{WM_KEYDOWN}, UINT{WM_CHAR}, UINT{WM_HSCROLL}, UINT{WM_NOTIFY},
              UINT{WM_QUERYENDSESSION}, UINT{WM_ENDSESSION}, UINT{WM_CLOSE}, UINT{WM_APPCOMMAND},
              UINT{WM_POWERBROADCAST}, UINT{WM_DEVICECHANGE}, UINT{WM_DPICHANGED}, UINT{WM_MOUSEWHEEL},
              UINT{WM_CONTEXTMENU}, UINT{WM_SYSCOMMAND}, UINT{WM_INITMENU}, UINT{WM_DISPLAYCHANGE}, UINT{WM_NULL}}) {
            noteAnswer(SendMessageW(m_hWnd, nMessage, nMessage + 1, -7));
        }
        for (UINT nMessage = WM_USER; nMessage < WM_USER + 40; ++nMessage) {
            noteAnswer(SendMessageW(m_hWnd, nMessage, ~WPARAM{0} - nMessage, nMessage));
        }
        noteAnswer(SendMessageA(m_hWnd, WM_USER + 1, 5, 6));
        noteAnswer(SendMessageW(m_hWnd, RegisterWindowMessageW(L"PelloraTestsOwnMessage"), 1, 2));
    }

    void postPlainMessages()
    {
        for (UINT i = 0; i < 200; ++i) {
            PostMessageW(m_hWnd, i % 3 == 0 ? WM_COMMAND : WM_APP + i, i, -static_cast<LPARAM>(i));
        }
        PostMessageW(m_hWnd, WM_KEYDOWN, 'X', 1);
        PostMessageW(m_hWnd, kLast, 0, 0);
        waitForLast();
    }

    void sendWhatPointersLeadTo()
    {
        copyData("from the same thread");
        SetWindowTextW(m_hWnd, L"twelve signs");
        m_host.note("text of " + std::to_string(GetWindowTextLengthW(m_hWnd)));
        MINMAXINFO limits = {{1, 2}, {3, 4}, {5, 6}, {7, 8}, {9, 10}};
        noteAnswer(SendMessageW(m_hWnd, WM_GETMINMAXINFO, 0, reinterpret_cast<LPARAM>(&limits)));
        for (const POINT &point : {limits.ptReserved, limits.ptMaxSize, limits.ptMaxPosition, limits.ptMinTrackSize,
                                   limits.ptMaxTrackSize}) {
            m_host.note(std::to_string(point.x) + " by " + std::to_string(point.y));
        }
    }

    void copyData(std::string text)
    {
        COPYDATASTRUCT data = {99, static_cast<DWORD>(text.size()), text.data()};
        noteAnswer(SendMessageW(m_hWnd, WM_COPYDATA, 0, reinterpret_cast<LPARAM>(&data)));
    }

    /** Each invalid part is painted once, whole, and the host rests afterwards. */
    void paint()
    {
        for (const RECT &part : {RECT{500, 400, 530, 440}, RECT{450, 300, 470, 330}, RECT{480, 10, 500, 410}}) {
            InvalidateRect(m_hWnd, &part, FALSE);
            PostMessageW(m_hWnd, kLast, 0, 0);
            waitForLast();
            support::pumpPosted();
        }
        InvalidateRect(m_hWnd, nullptr, TRUE);
        UpdateWindow(m_hWnd);
        RECT part = {1, 2, 3, 4};
        m_host.note("left to paint: " + std::to_string(GetUpdateRect(m_hWnd, &part, FALSE)));
        support::pumpPosted();
        noteAnswer(SendMessageW(m_hWnd, WM_PAINT, 0, 0));
    }

    void waitForTimer()
    {
        SetTimer(m_hWnd, 5, 10, nullptr);
        const auto isTimer = [](const std::string &line) { return line.rfind("113 ", 0) == 0; };
        EXPECT_TRUE(
            support::pumpUntil([&] { return std::any_of(m_host.record().begin(), m_host.record().end(), isTimer); }));
        KillTimer(m_hWnd, 5);
    }

    void resize()
    {
        SetWindowPos(m_hWnd, nullptr, 0, 0, 10, 10, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
        RECT rect = {};
        GetWindowRect(m_hWnd, &rect);
        m_host.note("window of " + std::to_string(rect.right - rect.left) + " by " +
                    std::to_string(rect.bottom - rect.top));
        SetWindowPos(m_hWnd, nullptr, 0, 0, 640, 480, SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
        support::pumpPosted();
    }

    void nest()
    {
        noteAnswer(SendMessageW(m_hWnd, RecordingHost::kNesting, 0, 0));
        PostMessageW(m_hWnd, kLast, 0, 0);
        waitForLast();
    }

    void fromAnotherThread(const std::function<void()> &action)
    {
        std::atomic<bool> bDone{false};
        std::thread other([&] {
            action();
            bDone = true;
        });
        EXPECT_TRUE(support::pumpUntil([&bDone] { return bDone.load(); }));
        other.join();
        waitForLast();
    }

    void postFromThere()
    {
        for (UINT i = 0; i < 100; ++i) {
            PostMessageW(m_hWnd, WM_USER + i % 80, i, i);
        }
        PostMessageW(m_hWnd, kLast, 0, 0);
    }

    /** Only the host's own thread writes into its record: answers are kept until then. */
    void sendFromThere()
    {
        for (UINT i = 0; i < 20; ++i) {
            m_answers.push_back(SendMessageW(m_hWnd, WM_USER + i, i, 2 * i));
            DWORD_PTR nAnswer = 0;
            SendMessageTimeoutW(m_hWnd, WM_APP + i, i, 3, SMTO_NORMAL, kLongest, &nAnswer);
            m_answers.push_back(static_cast<LRESULT>(nAnswer));
        }
        std::string text = "from another thread";
        COPYDATASTRUCT data = {98, static_cast<DWORD>(text.size()), text.data()};
        m_answers.push_back(SendMessageW(m_hWnd, WM_COPYDATA, 7, reinterpret_cast<LPARAM>(&data)));
        SendNotifyMessageW(m_hWnd, WM_USER + 7, 8, 9);
        // Behind it, so that it has come by then.
        m_answers.push_back(SendMessageW(m_hWnd, WM_USER + 8, 8, 9));
        PostMessageW(m_hWnd, kLast, 0, 0);
    }

    void waitForLast()
    {
        static_cast<void>(support::pumpUntil(
            [this] { return std::count(m_host.record().begin(), m_host.record().end(), "8888 0 0") > m_nLast; }));
        ++m_nLast;
        for (const LRESULT nAnswer : std::exchange(m_answers, {})) {
            noteAnswer(nAnswer);
        }
    }

    static constexpr UINT kLast = 0x8888;
    static constexpr UINT kLongest = 30'000;
    RecordingHost &m_host;
    const HWND m_hWnd;
    std::ptrdiff_t m_nLast = 0;
    std::vector<LRESULT> m_answers;
};

class HostMessagesTest : public EmbeddingFixture, public testing::WithParamInterface<Embedding>
{
protected:
    /** The record of a host of its own, with a page as the shell has, and a video window if wanted. */
    static std::vector<std::string> recordOf(bool bWithVideo)
    {
        RecordingHost host;
        std::optional<PageWindow> page;
        if (GetParam().pPageClass != nullptr) {
            page.emplace(host.handle(), GetParam().pPageClass, 0, 0, 300, 200);
        }
        if (bWithVideo) {
            EXPECT_EQ(PELLORA_CreateWindow(host.handle(), GetParam().embedMode), 0);
            PELLORA_SetGeometry(0, 10, 20, 300, 200);
        }
        // What the new windows have brought about is over then.
        UpdateWindow(host.handle());
        support::pumpPosted();
        const std::size_t nBefore = host.record().size();
        Talk(host).everything();
        std::vector<std::string> record(host.record().begin() + static_cast<std::ptrdiff_t>(nBefore),
                                        host.record().end());
        PELLORA_DestroyWindow(0);
        support::pumpPosted();
        return record;
    }
};

TEST_P(HostMessagesTest, ArriveAsInAWindowThatNobodyHasSubclassed)
{
    const std::vector<std::string> expected = recordOf(false);
    EXPECT_GT(expected.size(), 500U);

    EXPECT_THAT(recordOf(true), ElementsAreArray(expected));
}

INSTANTIATE_TEST_SUITE_P(Embeddings, HostMessagesTest,
                         testing::Values(Embedding{"BehindNoRenderWidget", 0, nullptr},
                                         Embedding{"AboveARenderWidget", 0, kRenderWidget},
                                         Embedding{"BehindNoD3dWindow", 1, nullptr},
                                         Embedding{"BehindAD3dWindow", 1, kD3dWindow}, Embedding{"Plain", 2, nullptr},
                                         Embedding{"UnknownMode", 255, nullptr}),
                         [](const auto &row) { return row.param.pName; });

using HostPaintTest = EmbeddingFixture;

TEST_F(HostPaintTest, LeavesThePaintToTheHostWhateverTheMode)
{
    // Without a procedure of the host's that paints, the part stays invalid.
    for (const unsigned char embedMode : {kRenderWidgetMode, kD3dMode, kPlainMode}) {
        PageWindow page(host(), embedMode == kRenderWidgetMode ? kRenderWidget : kD3dWindow);
        static LONG_PTR s_nBefore = 0;
        static int s_nPaints = 0;
        s_nPaints = 0;
        s_nBefore = SetWindowLongPtrW(
            host(), GWLP_WNDPROC,
            reinterpret_cast<LONG_PTR>(static_cast<WNDPROC>([](HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam) {
                if (nMessage == WM_PAINT) {
                    ++s_nPaints;
                    return LRESULT{0};
                }
                return CallWindowProcW(reinterpret_cast<WNDPROC>(s_nBefore), hWnd, nMessage, wParam, lParam);
            })));
        makeVideo(embedMode, 10, 20, 300, 200);
        support::pumpPosted();
        RECT part = {400, 300, 450, 340};
        ValidateRect(host(), nullptr);
        InvalidateRect(host(), &part, FALSE);

        paintHost();

        RECT left = {};
        EXPECT_GE(s_nPaints, 1);
        EXPECT_TRUE(GetUpdateRect(host(), &left, FALSE));
        EXPECT_TRUE(left.left <= part.left && left.top <= part.top && left.right >= part.right &&
                    left.bottom >= part.bottom);
        PELLORA_DestroyWindow(0);
        SetWindowLongPtrW(host(), GWLP_WNDPROC, s_nBefore);
        support::pumpPosted();
    }
}

// ---- scaling ----

using ScaleTest = EmbeddingFixture;

// What Windows tells children of a window that knows several scales.
constexpr UINT kBeforeParent = 0x02E2;
constexpr UINT kAfterParent = 0x02E3;

TEST_F(ScaleTest, HandsAChangeOfScaleOnAndScalesNothing)
{
    const long lHandle = makeVideo(kPlainMode, 10, 20, 300, 200);
    PELLORA_SplitScreen(lHandle, 4);
    support::pumpPosted();
    QWidget *pSurface = childNamed(videoWindows().front(), "m_pLiveViewWnd");
    const HWND hFrame = nativeWindow(childNamed(videoWindows().front(), "m_pPlayArea"));
    const HWND hSurface = nativeWindow(pSurface);
    const std::vector<long> surface = placeOf(hSurface);
    RECT suggested = {0, 0, 1280, 960};
    const int nBefore = m_pHost->received(WM_DPICHANGED);

    SendMessageW(host(), WM_DPICHANGED, MAKEWPARAM(192, 192), reinterpret_cast<LPARAM>(&suggested));
    for (const HWND hWnd : {video(), hFrame, hSurface}) {
        SendMessageW(hWnd, kBeforeParent, 0, 0);
        SendMessageW(hWnd, kAfterParent, 0, 0);
    }
    support::pumpPosted();

    EXPECT_EQ(m_pHost->received(WM_DPICHANGED), nBefore + 1);
    EXPECT_EQ(placeOf(video()), (std::vector<long>{10, 20, 300, 200}));
    EXPECT_EQ(placeOf(hFrame), (std::vector<long>{10, 20, 300, 200}));
    EXPECT_EQ(placeOf(hSurface), surface);
    EXPECT_EQ(pSurface->devicePixelRatio(), 1);
}

TEST_F(ScaleTest, GoesOnCoveringTheScreenWhenItsScaleChanges)
{
    const long lHandle = makeVideo(kPlainMode, 10, 20, 300, 200);
    const HWND hFrame = nativeWindow(childNamed(videoWindows().front(), "m_pPlayArea"));
    PELLORA_FullScreen(lHandle);
    support::pumpPosted();
    RECT before = {};
    GetWindowRect(hFrame, &before);
    ASSERT_EQ(before.right, GetSystemMetrics(SM_CXSCREEN));

    // The place that Windows suggests keeps the size in inches.
    RECT suggested = {100, 100, 900, 700};
    SendMessageW(hFrame, WM_DPICHANGED, MAKEWPARAM(192, 192), reinterpret_cast<LPARAM>(&suggested));
    support::pumpPosted();

    RECT after = {};
    GetWindowRect(hFrame, &after);
    EXPECT_TRUE(EqualRect(&before, &after));
    PELLORA_NormalScreen(lHandle);
    EXPECT_TRUE(support::pumpUntil([&] { return placeOf(hFrame) == std::vector<long>{10, 20, 300, 200}; }));
}

TEST_F(ScaleTest, TakesGeometryInDevicePixelsAlsoAfterAChangeOfScale)
{
    const long lHandle = makeVideo(kPlainMode, 10, 20, 300, 200);
    RECT suggested = {0, 0, 1280, 960};
    SendMessageW(host(), WM_DPICHANGED, MAKEWPARAM(192, 192), reinterpret_cast<LPARAM>(&suggested));

    PELLORA_SetGeometry(lHandle, 15, 30, 450, 300);
    tagPELLORA_CLIP_AREA area = {{{100, 50, 200, 150}, {}, {}, {}}, {0, 0, 0, 0}, 1};
    PELLORA_SetClipArea(lHandle, &area);

    EXPECT_EQ(placeOf(video()), (std::vector<long>{15, 30, 450, 300}));
    EXPECT_TRUE(shows(115, 80, kHostColour));
    EXPECT_TRUE(shows(114 + 101, 179, kPaneColour));
    EXPECT_TRUE(shows(15 + 198, 30 + 148, kHostColour));
}

} // namespace

} // namespace embedding
