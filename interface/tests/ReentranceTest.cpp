// Everything that a host may do inside the library's callbacks.

#include "interface/tests/EveryExport.h"
#include "interface/tests/PreviewFixture.h"
#include "tests/support/NoRealMouse.h"

#include <functional>
#include <ostream>

using testing::IsEmpty;
using testing::SizeIs;

namespace
{

constexpr wchar_t kBox[] = L"Pellora asks";

/** Runs inside the callbacks below. */
std::function<void()> g_inside;
int g_nCalled = 0;

void tell()
{
    ++g_nCalled;
    // A copy, since it may be exchanged meanwhile.
    const auto inside = g_inside;
    if (inside) {
        inside();
    }
}

void onStatus(tagPELLORA_PREVIEW_STATUS)
{
    tell();
}

void onFileEnd(long)
{
    tell();
}

void onRule(long, unsigned short, void *, unsigned char, long, long, unsigned long)
{
    tell();
}

/** A window whose first pane is the scene of everyExport(), and the ways to be called back by it. */
class ReentranceFixture : public PreviewFixture
{
public:
    void SetUp() override
    {
        // Where it is over no window.
        SetCursorPos(0, 0);
        PreviewFixture::SetUp();
        g_inside = nullptr;
        g_nCalled = 0;
        m_target = {m_pHost->handle(), m_lHandle};
        setScene(m_target);
        m_lPort = doubles::openPorts().front();
        m_hPicture = nativeWindow(childNamed(pane(0), "m_pLiveViewWnd"));
    }

    void TearDown() override
    {
        g_inside = nullptr;
        if (m_bEnded) {
            PELLORA_Init();
            support::stopLogger();
            support::startLogger();
        }
        PreviewFixture::TearDown();
    }

    // ---- how to be called back ----

    void prepareStartsOutcome()
    {
        m_lPreview = startIn(1);
        EXPECT_EQ(PELLORA_SetCurWnd(m_lHandle, 0), 1);
        EXPECT_EQ(PELLORA_SetPreviewStatusCallback(m_lHandle, &onStatus), 1);
    }
    void bringStartsOutcome()
    {
        EXPECT_TRUE(doubles::sendStream(m_lPreview, SELVIK_STREAM_HEADER, "header"));
    }
    void prepareClick()
    {
        EXPECT_EQ(PELLORA_SetPreviewStatusCallback(m_lHandle, &onStatus), 1);
    }
    void bringClick()
    {
        // Beside the rule.
        click(0.1 + otherPlace(), 0.9);
    }
    void prepareFileEnd()
    {
        EXPECT_EQ(PELLORA_SetFileEndCallback(m_lHandle, &onFileEnd), 1UL);
    }
    void bringFileEnd()
    {
        EXPECT_TRUE(doubles::fireFileEnd(m_lPort));
    }
    void prepareRule()
    {
        EXPECT_EQ(PELLORA_SetRuleCoordCallback(m_lHandle, &onRule, -1), 1);
    }
    void bringRule()
    {
        const double fPlace = 0.3 + otherPlace();
        click(fPlace, fPlace);
    }

    /** Clicks at one place would be taken for double clicks, also those of the test before. */
    static double otherPlace()
    {
        static int s_nClicks = 0;
        return 0.05 * (++s_nClicks % 8);
    }

    /** In parts of the picture's width and height. */
    void click(double fX, double fY) const
    {
        RECT client = {};
        GetClientRect(m_hPicture, &client);
        const LPARAM place = MAKELPARAM(static_cast<int>(fX * client.right), static_cast<int>(fY * client.bottom));
        PostMessageW(m_hPicture, WM_LBUTTONDOWN, MK_LBUTTON, place);
        PostMessageW(m_hPicture, WM_LBUTTONUP, 0, place);
    }

    // ---- what is done there ----

    void end()
    {
        m_bEnded = true;
        EXPECT_EQ(PELLORA_Fini(), 1);
    }

    /** A message box over the host, as hosts show them; `meanwhile` runs while it is open, and then it is closed. */
    void showBox(const std::function<void()> &meanwhile)
    {
        static std::function<void()> s_meanwhile;
        s_meanwhile = meanwhile;
        const UINT_PTR nTimer = SetTimer(nullptr, 0, 10, [](HWND, UINT, UINT_PTR nId, DWORD) {
            const HWND hBox = FindWindowW(nullptr, kBox);
            if (hBox == nullptr || IsWindowVisible(hBox) == FALSE) {
                return;
            }
            KillTimer(nullptr, nId);
            s_meanwhile();
            PostMessageW(hBox, WM_COMMAND, IDOK, 0);
        });
        EXPECT_EQ(MessageBoxW(nullptr, L"Go on?", kBox, MB_OK), IDOK);
        KillTimer(nullptr, nTimer);
    }

    static void expectWorks()
    {
        support::HostWindow host;
        EXPECT_EQ(PELLORA_CreateWindow(host.handle(), 2), 0);
        setScene({host.handle(), 0});
        EXPECT_EQ(PELLORA_Play(0), 1);
        EXPECT_EQ(PELLORA_DestroyWindow(0), 1);
        EXPECT_TRUE(until([] { return videoWindows().empty(); }));
    }

    CallTarget m_target;
    long m_lPort = -1;
    long m_lPreview = -1;
    HWND m_hPicture = nullptr;
    const support::NoRealMouse m_noRealMouse;
    bool m_bEnded = false;
};

/** One way to be called back. */
struct Callback {
    const char *pName;
    void (ReentranceFixture::*pfnPrepare)();
    void (ReentranceFixture::*pfnBring)();
};

void PrintTo(const Callback &callback, std::ostream *pStream)
{
    *pStream << callback.pName;
}

const Callback kCallbacks[] = {
    {"StatusOfAStart", &ReentranceFixture::prepareStartsOutcome, &ReentranceFixture::bringStartsOutcome},
    {"StatusAtAClick", &ReentranceFixture::prepareClick, &ReentranceFixture::bringClick},
    {"FileEnd", &ReentranceFixture::prepareFileEnd, &ReentranceFixture::bringFileEnd},
    {"RuleCoordinates", &ReentranceFixture::prepareRule, &ReentranceFixture::bringRule},
};

// ---- each function in each callback ----

class InsideCallbackTest : public ReentranceFixture,
                           public testing::WithParamInterface<std::tuple<Callback, ExportCall>>
{
};

TEST_P(InsideCallbackTest, AnswersAsOutside)
{
    const auto &[callback, call] = GetParam();
    m_bEnded = std::string(call.name) == "Fini" || std::string(call.name) == "Init";
    (this->*callback.pfnPrepare)();
    long lAnswer = -77;
    g_inside = [&lAnswer, this, &call = call] {
        g_inside = nullptr;
        lAnswer = call.run(m_target);
    };

    (this->*callback.pfnBring)();

    EXPECT_TRUE(until([] { return g_nCalled > 0; }));
    EXPECT_EQ(lAnswer, call.lPlaying);
    support::pumpPosted();
}

INSTANTIATE_TEST_SUITE_P(Host, InsideCallbackTest,
                         testing::Combine(testing::ValuesIn(kCallbacks), testing::ValuesIn(everyExport())),
                         [](const auto &parameter) {
                             return std::get<0>(parameter.param).pName + std::string("_") +
                                    std::get<1>(parameter.param).name;
                         });

// ---- the hardest things in each callback ----

class CallbackTest : public ReentranceFixture, public testing::WithParamInterface<Callback>
{
protected:
    void TearDown() override
    {
        ReentranceFixture::TearDown();
        expectWorks();
    }

    /** Runs `inside` in the first callback that comes; true when it came. */
    [[nodiscard]] bool inside(const std::function<void()> &action)
    {
        (this->*GetParam().pfnPrepare)();
        g_inside = [action] {
            g_inside = nullptr;
            action();
        };
        (this->*GetParam().pfnBring)();
        const bool bCalled = until([] { return g_nCalled > 0; });
        support::pumpPosted();
        return bCalled;
    }

    void expectRefusals() const
    {
        for (const ExportCall &call : everyExport()) {
            if (call.bTakesHandle) {
                EXPECT_EQ(call.run(m_target), call.lRefused) << call.name;
            }
        }
    }

    void callEverything() const
    {
        for (const ExportCall &call : everyExportBetween()) {
            if (std::string(call.name) != "DestroyWindow") {
                call.run(m_target);
            }
        }
    }
};

TEST_P(CallbackTest, DestroysTheWindowAndAsksForItsPictureInside)
{
    EXPECT_TRUE(inside([this] {
        EXPECT_EQ(PELLORA_DestroyWindow(m_lHandle), 1);
        EXPECT_THAT(doubles::openPorts(), IsEmpty());
        EXPECT_THAT(support::childrenOf(m_pHost->handle()), IsEmpty());
        expectRefusals();
        EXPECT_EQ(PELLORA_DestroyWindow(m_lHandle), 1);
    }));
    EXPECT_EQ(g_nCalled, 1);
    EXPECT_TRUE(until([] { return videoWindows().empty(); }));
}

TEST_P(CallbackTest, PutsANewWindowInThePlaceOfTheCallingOneInside)
{
    EXPECT_TRUE(inside([this] {
        EXPECT_EQ(PELLORA_DestroyWindow(m_lHandle), 1);
        EXPECT_EQ(createWindow(), m_lHandle);
        setScene(m_target);
    }));

    EXPECT_TRUE(until([] { return videoWindows().size() == 1; }));
    EXPECT_THAT(doubles::openPorts(), SizeIs(1));
    EXPECT_EQ(PELLORA_GetPlayPos(m_lHandle), 17UL);
}

TEST_P(CallbackTest, CallsEveryFunctionOneAfterAnotherInside)
{
    EXPECT_TRUE(inside([this] { callEverything(); }));
    EXPECT_TRUE(until([] { return doubles::heldCalls("SELVIK_DCM_StartPreview") == 0; }));
}

TEST_P(CallbackTest, EndsTheLibraryInside)
{
    EXPECT_TRUE(inside([this] {
        end();
        EXPECT_EQ(PELLORA_Pause(m_lHandle), 1);
        end();
        callEverything();
    }));
    EXPECT_EQ(PELLORA_SetVisible(m_lHandle, 1), 1);
}

TEST_P(CallbackTest, EndsAndBeginsTheLibraryInside)
{
    EXPECT_TRUE(inside([this] {
        end();
        EXPECT_EQ(PELLORA_Init(), 1);
        EXPECT_EQ(PELLORA_Play(m_lHandle), 1);
        EXPECT_EQ(createWindow(), 1);
    }));
    EXPECT_EQ(PELLORA_DestroyWindow(1), 1);
    EXPECT_EQ(PELLORA_Play(m_lHandle), 1);
}

TEST_P(CallbackTest, DestroysTheHostsWindowInside)
{
    EXPECT_TRUE(inside([this] {
        m_pHost->destroy();
        EXPECT_EQ(PELLORA_FullScreen(m_lHandle), 0);
        callEverything();
    }));
    EXPECT_EQ(PELLORA_DestroyWindow(m_lHandle), 1);
    EXPECT_TRUE(until([] { return videoWindows().empty(); }));
}

TEST_P(CallbackTest, DestroysAndEndsInside)
{
    EXPECT_TRUE(inside([this] {
        EXPECT_EQ(PELLORA_DestroyWindow(m_lHandle), 1);
        end();
        m_pHost->destroy();
    }));
    EXPECT_TRUE(until([] { return videoWindows().empty(); }));
}

// ---- message loops inside ----

TEST_P(CallbackTest, ShowsAMessageBoxInside)
{
    const long lOther = createWindow();
    const long lOtherPort = playFile(lOther);
    static int s_nEnds = 0;
    s_nEnds = 0;
    EXPECT_EQ(PELLORA_SetFileEndCallback(lOther, [](long) { ++s_nEnds; }), 1UL);

    EXPECT_TRUE(inside([&] {
        showBox([&] {
            // Other windows' callbacks come in the box's loop, and every function works there.
            EXPECT_TRUE(doubles::fireFileEnd(lOtherPort));
            EXPECT_TRUE(until([] { return s_nEnds == 1; }));
            callEverything();
        });
    }));

    EXPECT_EQ(s_nEnds, 1);
}

TEST_P(CallbackTest, DestroysTheWindowUnderAMessageBoxInside)
{
    EXPECT_TRUE(inside([this] {
        showBox([this] {
            EXPECT_EQ(PELLORA_DestroyWindow(m_lHandle), 1);
            support::pumpPosted();
            // What is on the stack goes on using it.
            EXPECT_THAT(videoWindows(), SizeIs(1));
            expectRefusals();
        });
        EXPECT_THAT(doubles::openPorts(), IsEmpty());
    }));
    EXPECT_TRUE(until([] { return videoWindows().empty(); }));
}

TEST_P(CallbackTest, EndsTheLibraryUnderAMessageBoxInside)
{
    EXPECT_TRUE(inside([this] {
        showBox([this] {
            m_pHost->destroy();
            EXPECT_EQ(PELLORA_DestroyWindow(m_lHandle), 1);
            end();
        });
    }));
    EXPECT_TRUE(until([] { return videoWindows().empty(); }));
}

TEST_P(CallbackTest, DestroysTheWindowInACallbackInsideACallback)
{
    (this->*GetParam().pfnPrepare)();
    EXPECT_EQ(PELLORA_SetPreviewStatusCallback(m_lHandle, &onStatus), 1);
    g_inside = [this] {
        g_inside = [this] {
            g_inside = nullptr;
            EXPECT_EQ(PELLORA_DestroyWindow(m_lHandle), 1);
            support::pumpPosted();
            EXPECT_THAT(videoWindows(), SizeIs(1));
        };
        bringClick();
        EXPECT_TRUE(until([] { return g_nCalled >= 2; }));
        support::pumpPosted();
        EXPECT_THAT(videoWindows(), SizeIs(1));
    };

    (this->*GetParam().pfnBring)();

    EXPECT_TRUE(until([] { return g_nCalled >= 2 && videoWindows().empty(); }));
}

INSTANTIATE_TEST_SUITE_P(Host, CallbackTest, testing::ValuesIn(kCallbacks),
                         [](const auto &parameter) { return parameter.param.pName; });

// ---- callbacks that are exchanged while they run ----

TEST_P(CallbackTest, TakesItsCallbackBackInside)
{
    EXPECT_TRUE(inside([this] {
        EXPECT_EQ(PELLORA_SetPreviewStatusCallback(m_lHandle, nullptr), 1);
        EXPECT_EQ(PELLORA_SetFileEndCallback(m_lHandle, nullptr), 1UL);
        EXPECT_EQ(PELLORA_SetRuleCoordCallback(m_lHandle, nullptr, -1), 1);
    }));
    const int nCalled = g_nCalled;

    bringClick();
    bringRule();
    support::pumpPosted();

    EXPECT_FALSE(doubles::fireFileEnd(m_lPort));
    EXPECT_EQ(g_nCalled, nCalled);
}

} // namespace
