// The C++ wrapper, over the library itself and doubles of what it stands on.
#include "interface/Pellora.hpp"
#include "interface/tests/PelloraFixture.h"

#include <stdexcept>
#include <thread>

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace
{

/** The callback about cameras, as the device library would keep it. */
struct StateListener {
    SELVIK_DCM_STATE_CB pfnCallback = nullptr;
    void *pUser = nullptr;
};
StateListener g_listener;

int setStateCallback(SELVIK_DCM_STATE_CB pfnCallback, void *pUser)
{
    g_listener = {pfnCallback, pUser};
    return 1;
}

const char *errorText(unsigned long dwError)
{
    return dwError == SELVIK_ERROR_REFUSED ? "refused" : "another reason";
}

/** From a thread of its own, as the device library does it. */
void tellState(long lUser, unsigned int nState, unsigned int nError = SELVIK_ERROR_NONE)
{
    ASSERT_NE(g_listener.pfnCallback, nullptr);
    const SELVIK_DCM_STATE state{lUser, 2, 1, -1, nState, nError};
    std::thread([&state] { g_listener.pfnCallback(&state, g_listener.pUser); }).join();
}

/** The library's own functions; the double of the device library has none about states. */
pellora::Functions functions()
{
    pellora::Functions functions;
#define USE_VIDEO(result, name, parameters) functions.video.name = &::name;
    PELLORA_FUNCTIONS(USE_VIDEO)
    functions.devices.SELVIK_DCM_Login = &SELVIK_DCM_Login;
    functions.devices.SELVIK_DCM_Logout = &SELVIK_DCM_Logout;
    functions.devices.SELVIK_DCM_SetStateCallback = &setStateCallback;
    functions.devices.SELVIK_DCM_GetErrorText = &errorText;
    return functions;
}

int g_nInit = 0;
int g_nFini = 0;

class WrapperTest : public PelloraFixture
{
protected:
    void SetUp() override
    {
        PelloraFixture::SetUp();
        g_listener = {};
        m_session = pellora::Session::start(functions());
        ASSERT_TRUE(m_session);
        m_window = m_session->createWindow(m_pHost->handle());
        ASSERT_TRUE(m_window);
        doubles::clearCalls();
    }

    void TearDown() override
    {
        m_other.reset();
        m_window.reset();
        PelloraFixture::TearDown();
        m_session.reset();
        EXPECT_EQ(g_listener.pfnCallback, nullptr);
        for (const auto &pState : pellora::detail::g_windows) {
            EXPECT_EQ(pState, nullptr);
        }
    }

    /** Plays a file in a pane; its port. */
    static long play(const pellora::Pane &pane)
    {
        EXPECT_TRUE(pane.playFile("a.mkv"));
        doubles::clearCalls();
        return doubles::openPorts().back();
    }

    /** The file of a port ends; waits until the host has been told so. */
    static void endFile(long lPort, const std::function<bool()> &told)
    {
        ASSERT_TRUE(doubles::fireFileEnd(lPort));
        EXPECT_TRUE(support::pumpUntil(told, 30000));
    }

    std::optional<pellora::Session> m_session;
    std::optional<pellora::Window> m_window;
    std::optional<pellora::Window> m_other;
};

// ---- the session ----

TEST_F(WrapperTest, InitialisesOnceAndEndsOnceHoweverOftenItIsMoved)
{
    pellora::Functions counted = functions();
    g_nInit = g_nFini = 0;
    counted.video.PELLORA_Init = [] { return ++g_nInit; };
    counted.video.PELLORA_Fini = [] { return ++g_nFini; };
    {
        auto session = pellora::Session::start(counted);
        ASSERT_TRUE(session);
        pellora::Session moved = std::move(*session);
        session.reset();
        EXPECT_EQ(g_nFini, 0);
        auto replaced = pellora::Session::start(counted);
        *replaced = std::move(moved);
        EXPECT_EQ(g_nInit, 2);
    }
    EXPECT_EQ(g_nFini, 2);
}

TEST_F(WrapperTest, DoesNotStartOnAnotherThread)
{
    bool bStarted = true;
    std::thread([&bStarted] { bStarted = pellora::Session::start(functions()).has_value(); }).join();
    EXPECT_FALSE(bStarted);
}

TEST_F(WrapperTest, SaysInWordsWhyTheLibraryCannotBeLoaded)
{
    std::string reason;
    EXPECT_FALSE(pellora::loadedFunctions(L"C:\\no such library.dll", &reason));
    EXPECT_THAT(reason, HasSubstr("Windows error 126"));
}

TEST_F(WrapperTest, TakesNamesOfWindowsAsUtf8)
{
    EXPECT_EQ(pellora::utf8(L"C:\\\u6444\u50cf.mp4"), "C:\\\xE6\x91\x84\xE5\x83\x8F.mp4");
    EXPECT_EQ(pellora::utf8(L""), "");
}

// ---- windows ----

TEST_F(WrapperTest, DestroysItsWindowInTheEndAndNotWhenItIsMoved)
{
    EXPECT_EQ(m_window->handle(), 0);
    pellora::Window moved = std::move(*m_window);
    m_window.reset();
    EXPECT_EQ(videoWindows().size(), 1U);
    m_window = std::move(moved);
    EXPECT_EQ(videoWindows().size(), 1U);

    m_window.reset();
    EXPECT_TRUE(support::pumpUntil([] { return videoWindows().empty(); }, 30000));
    m_window = m_session->createWindow(m_pHost->handle());
    EXPECT_EQ(m_window->handle(), 0);
}

TEST_F(WrapperTest, HasNoTenthWindow)
{
    std::vector<pellora::Window> windows;
    for (int i = 1; i < PELLORA_MAX_WINDOWS; ++i) {
        windows.push_back(*m_session->createWindow(m_pHost->handle()));
    }
    EXPECT_FALSE(m_session->createWindow(m_pHost->handle()));
    EXPECT_FALSE(m_session->createWindow(nullptr));
}

TEST_F(WrapperTest, DoesNotDestroyTheWindowThatHasTakenADeadOnesHandle)
{
    static std::vector<long> destroyed;
    destroyed.clear();
    pellora::Functions given = functions();
    given.video.PELLORA_CreateWindow = [](HWND, unsigned char) { return 4L; };
    given.video.PELLORA_DestroyWindow = [](long lHandle) {
        destroyed.push_back(lHandle);
        return 1;
    };
    auto session = pellora::Session::start(given);
    auto dead = session->createWindow(m_pHost->handle());
    auto heir = session->createWindow(m_pHost->handle());
    const pellora::Pane pane = dead->pane(0);

    EXPECT_EQ(dead->handle(), PELLORA_NO_WINDOW);
    EXPECT_FALSE(pane.playFile("a.mkv"));
    dead.reset();
    EXPECT_THAT(destroyed, IsEmpty());
    heir.reset();
    EXPECT_THAT(destroyed, ElementsAre(4));
}

TEST_F(WrapperTest, PlacesSplitsAndShowsTheWindow)
{
    QWidget *const pWidget = videoWindows().front();
    EXPECT_TRUE(m_window->place(10, 20, 300, 200));
    EXPECT_EQ(pWidget->geometry(), QRect(10, 20, 300, 200));
    EXPECT_TRUE(m_window->split(4));
    for (const int nPanes : {-1, 0, 2, 10, 65540}) {
        EXPECT_FALSE(m_window->split(nPanes)) << nPanes;
    }
    EXPECT_TRUE(m_window->show(false));
    EXPECT_FALSE(pWidget->isVisible());
    EXPECT_TRUE(m_window->show());
    EXPECT_TRUE(pWidget->isVisible());
    EXPECT_TRUE(m_window->showAnalysis(true));
    EXPECT_TRUE(m_window->fullScreen(true));
    EXPECT_TRUE(m_window->fullScreen(false));
}

TEST_F(WrapperTest, CutsAtMostFourHoles)
{
    const HWND hWnd = nativeWindow(videoWindows().front());
    m_window->place(0, 0, 100, 100);
    const auto isHole = [hWnd](int x, int y) {
        const HRGN hRegion = CreateRectRgn(0, 0, 0, 0);
        const bool bHole = GetWindowRgn(hWnd, hRegion) != 0 && !PtInRegion(hRegion, x, y);
        DeleteObject(hRegion);
        return bHole;
    };
    EXPECT_TRUE(m_window->cut({{{10, 10, 20, 20}}, {{50, 50, 90, 90}, 8}}));
    EXPECT_TRUE(isHole(15, 15));
    EXPECT_TRUE(isHole(70, 70));
    EXPECT_FALSE(isHole(30, 30));
    EXPECT_FALSE(m_window->cut(std::vector<pellora::Hole>(5, {{0, 0, 5, 5}})));
    EXPECT_TRUE(isHole(15, 15));
    EXPECT_TRUE(m_window->cut({}));
    EXPECT_FALSE(isHole(15, 15));
}

// ---- panes ----

struct PaneRow {
    const char *name;
    bool (*pfnCall)(const pellora::Pane &pane);
    const char *call;
};

class PaneCommand : public WrapperTest, public testing::WithParamInterface<PaneRow>
{
};

TEST_P(PaneCommand, ReachesThePlayerOfItsPaneAndHandsTheAnswerOn)
{
    const long lOther = play(m_window->pane(0));
    const long lPort = play(m_window->pane(5));
    ASSERT_TRUE(doubles::fireFileRef(lPort)); // from here on it steps back
    m_window->pane(0).select();
    ASSERT_NE(lPort, lOther);
    const std::string call = GetParam().call;
    const std::string expected =
        call.substr(0, call.find('@')) + std::to_string(lPort) + call.substr(call.find('@') + 1);

    EXPECT_TRUE(GetParam().pfnCall(m_window->pane(5)));
    EXPECT_THAT(newCalls(), testing::Contains(StartsWith(expected)));
    // It has become the current one.
    EXPECT_TRUE(GetParam().pfnCall(m_window->current()));
    EXPECT_THAT(newCalls(), testing::Contains(StartsWith(expected)));

    doubles::script(call.substr(0, call.find('(')), {}, 3);
    EXPECT_FALSE(GetParam().pfnCall(m_window->pane(5)));
}

INSTANTIATE_TEST_SUITE_P(
    Player, PaneCommand,
    testing::Values(
        PaneRow{"pause", [](const pellora::Pane &pane) { return pane.pause(); }, "Kavun_Pause(@, 1)"},
        PaneRow{"resume", [](const pellora::Pane &pane) { return pane.resume(); }, "Kavun_Pause(@, 0)"},
        PaneRow{"play", [](const pellora::Pane &pane) { return pane.play(); }, "Kavun_Play(@, 0x"},
        PaneRow{"faster", [](const pellora::Pane &pane) { return pane.faster(); }, "Kavun_Fast(@)"},
        PaneRow{"slower", [](const pellora::Pane &pane) { return pane.slower(); }, "Kavun_Slow(@)"},
        PaneRow{"stepOn", [](const pellora::Pane &pane) { return pane.stepOn(); }, "Kavun_OneByOne(@)"},
        PaneRow{"stepBack", [](const pellora::Pane &pane) { return pane.stepBack(); }, "Kavun_OneByOneBack(@)"},
        PaneRow{"seek", [](const pellora::Pane &pane) { return pane.seek(61); }, "Kavun_SetPlayedTimeEx(@, 61000)"},
        PaneRow{"setVolume", [](const pellora::Pane &pane) { return pane.setVolume(40000); },
                "Kavun_SetVolume(@, 40000)"},
        PaneRow{"openSound", [](const pellora::Pane &pane) { return pane.openSound(); }, "Kavun_PlaySound(@)"},
        PaneRow{"pictureSize", [](const pellora::Pane &pane) { return pane.pictureSize().has_value(); },
                "Kavun_GetPictureSize(@, out, out)"},
        PaneRow{"capture", [](const pellora::Pane &pane) { return pane.capture().has_value(); },
                "Kavun_GetJPEG(@, 0x"}),
    [](const testing::TestParamInfo<PaneRow> &row) { return std::string(row.param.name); });

TEST_F(WrapperTest, AnswersTheValuesOfThePlayer)
{
    doubles::PlayerOutputs outputs;
    outputs.width = 1920;
    outputs.height = 1080;
    outputs.playedTime = 17000;
    outputs.fileTime = 61000;
    outputs.volume = 1234;
    doubles::setPlayerOutputs(outputs);
    const pellora::Pane pane = m_window->pane(2);
    EXPECT_FALSE(pane.recordingTime());
    play(pane);

    EXPECT_EQ(pane.pictureSize()->x, 1920);
    EXPECT_EQ(pane.pictureSize()->y, 1080);
    EXPECT_EQ(pane.position(), PELLORA_GetPlayPos(0));
    EXPECT_GT(pane.position(), 0UL);
    EXPECT_EQ(pane.length(), PELLORA_GetFileTime(0));
    EXPECT_GT(pane.length(), pane.position());
    EXPECT_EQ(pane.volume(), 1234);
    EXPECT_FALSE(pane.recordingTime());
    outputs.now = {2026, 11, 22, 1, 2, 3, 4};
    doubles::setPlayerOutputs(outputs);
    ASSERT_TRUE(pane.recordingTime());
    EXPECT_EQ(pane.recordingTime()->dwMillisecond, 4UL);
    EXPECT_TRUE(pane.stopFile());
    EXPECT_THAT(doubles::openPorts(), IsEmpty());
}

TEST_F(WrapperTest, HasNoPanesButNine)
{
    for (const int nPane : {-2, -1, 9, 255}) {
        const pellora::Pane pane = m_window->pane(nPane);
        EXPECT_FALSE(pane.select()) << nPane;
        EXPECT_FALSE(pane.playFile("a.mkv")) << nPane;
        EXPECT_FALSE(pane.openOverlay()) << nPane;
        EXPECT_FALSE(pane.clearRules()) << nPane;
        EXPECT_FALSE(pane.addRule<PELLORA_RULE_LINE>()) << nPane;
    }
    EXPECT_THAT(doubles::openPorts(), IsEmpty());
}

TEST_F(WrapperTest, FailsInPanesWhoseWindowIsGone)
{
    const pellora::Pane pane = m_window->pane(0);
    const pellora::Pane current = m_window->current();
    const auto rule = pane.addRule<PELLORA_RULE_POINT>();
    ASSERT_TRUE(rule);
    m_window.reset();
    // The handle is another window's now.
    m_other = m_session->createWindow(m_pHost->handle());
    ASSERT_EQ(m_other->handle(), 0);

    EXPECT_FALSE(pane.playFile("a.mkv"));
    EXPECT_FALSE(current.playFile("a.mkv"));
    EXPECT_FALSE(current.pause());
    EXPECT_FALSE(pane.addRule<PELLORA_RULE_POINT>());
    EXPECT_FALSE(rule->get());
    EXPECT_FALSE(rule->remove());
    EXPECT_THAT(doubles::openPorts(), IsEmpty());
}

TEST_F(WrapperTest, CapturesAPictureThatGrowsBetweenTheCalls)
{
    doubles::PlayerOutputs outputs;
    outputs.jpeg = std::string(1000, 'a');
    doubles::setPlayerOutputs(outputs);
    play(m_window->pane(0));
    int nCalls = 0;
    doubles::whenCalled("Kavun_GetJPEG", [&] {
        // The first call learns 1,000; the picture of the second one has twice as many.
        outputs.jpeg = std::string(++nCalls == 1 ? 1000 : 2000, 'b');
        doubles::setPlayerOutputs(outputs);
    });

    const auto jpeg = m_window->pane(0).capture();
    ASSERT_TRUE(jpeg);
    EXPECT_EQ(std::string(jpeg->begin(), jpeg->end()), std::string(2000, 'b'));
    EXPECT_EQ(nCalls, 3);
    doubles::whenCalled("Kavun_GetJPEG", nullptr);
}

TEST_F(WrapperTest, CapturesTheSamePartAtEachTry)
{
    doubles::PlayerOutputs outputs;
    outputs.width = 1000;
    outputs.height = 500;
    outputs.jpeg = std::string(3000, 'c');
    doubles::setPlayerOutputs(outputs);
    play(m_window->pane(0));

    const auto jpeg = m_window->pane(0).capturePart({100, 200, 900, 800}, 70);
    ASSERT_TRUE(jpeg);
    EXPECT_EQ(jpeg->size(), 3000U);
    std::vector<std::string> takes;
    for (const std::string &call : newCalls()) {
        if (call.rfind("Kavun_GetCropJPEG", 0) == 0) {
            takes.push_back(call.substr(call.find(", 70, ")));
        }
    }
    EXPECT_THAT(takes, ElementsAre(", 70, 0, 0, 0, {100, 100, 900, 400}})", ", 70, 0, 0, 0, {100, 100, 900, 400}})"));
}

TEST_F(WrapperTest, HasNothingToCaptureInAnEmptyPane)
{
    EXPECT_FALSE(m_window->pane(0).capture());
    EXPECT_FALSE(m_window->pane(0).capturePart({0, 0, 1000, 1000}));
}

TEST_F(WrapperTest, ShowsAPartOfThePicture)
{
    play(m_window->pane(0));
    EXPECT_TRUE(m_window->pane(0).showPart({0, 0, 500, 500}));
    EXPECT_THAT(newCalls(), testing::Contains(StartsWith("Kavun_SetDisplayRegion(0, ")));
    EXPECT_TRUE(m_window->pane(0).showWhole());
    EXPECT_FALSE(m_window->pane(0).showPart({500, 500, 500, 500}));
}

// ---- the end of a file ----

TEST_F(WrapperTest, TellsWhichPanesFileHasEnded)
{
    std::vector<int> ended;
    m_window->onFileEnd([&ended](int nPane) { ended.push_back(nPane); });
    const long lThird = play(m_window->pane(3));
    const long lLast = play(m_window->pane(8));
    const long lCurrent = play((m_window->pane(1).select(), m_window->current()));

    endFile(lLast, [&ended] { return ended.size() == 1; });
    endFile(lThird, [&ended] { return ended.size() == 2; });
    endFile(lCurrent, [&ended] { return ended.size() == 3; });
    EXPECT_THAT(ended, ElementsAre(8, 3, -1));
}

TEST_F(WrapperTest, TellsTheEndToTheWindowOfTheFile)
{
    m_other = m_session->createWindow(m_pHost->handle());
    Texts told;
    m_window->onFileEnd([&told](int nPane) { told.push_back("first " + std::to_string(nPane)); });
    m_other->onFileEnd([&told](int nPane) { told.push_back("second " + std::to_string(nPane)); });
    const long lFirst = play(m_window->pane(0));
    const long lSecond = play(m_other->pane(0));

    endFile(lSecond, [&told] { return told.size() == 1; });
    endFile(lFirst, [&told] { return told.size() == 2; });
    EXPECT_THAT(told, ElementsAre("second 0", "first 0"));
}

TEST_F(WrapperTest, IsDestroyedInsideItsOwnCallback)
{
    const auto pAlive = std::make_shared<int>(7);
    int nSeen = 0;
    m_window->onFileEnd([this, pAlive, &nSeen](int) {
        m_window.reset();
        nSeen = *pAlive; // the function itself is still there
    });
    const long lPort = play(m_window->pane(0));
    endFile(lPort, [&nSeen] { return nSeen != 0; });

    EXPECT_EQ(nSeen, 7);
    EXPECT_EQ(pAlive.use_count(), 1);
    EXPECT_TRUE(support::pumpUntil([] { return videoWindows().empty(); }, 30000));
}

TEST_F(WrapperTest, IsMovedInsideItsOwnCallback)
{
    int nEnds = 0;
    m_window->onFileEnd([this, &nEnds](int) {
        if (++nEnds == 1) {
            m_other = std::move(m_window);
            m_window.reset();
        }
    });
    const long lPort = play(m_window->pane(0));
    endFile(lPort, [&nEnds] { return nEnds == 1; });
    endFile(lPort, [&nEnds] { return nEnds == 2; });
    EXPECT_EQ(m_other->handle(), 0);
}

// What the function below holds, and what it has seen of it: outside of itself, in case that it is gone.
std::weak_ptr<int> g_held;
Texts g_told;

TEST_F(WrapperTest, TakesAnotherFunctionInsideTheOneThatRuns)
{
    g_told.clear();
    pellora::Window *const pWindow = &*m_window;
    auto pHeld = std::make_shared<int>(7);
    g_held = pHeld;
    m_window->onFileEnd([pWindow, pHeld = std::move(pHeld)](int) {
        pWindow->onFileEnd([](int) { g_told.emplace_back("second"); });
        g_told.emplace_back(g_held.expired() ? "the first one is gone" : "first");
    });
    const long lPort = play(m_window->pane(0));
    endFile(lPort, [] { return g_told.size() == 1; });
    EXPECT_TRUE(g_held.expired());
    endFile(lPort, [] { return g_told.size() == 2; });
    EXPECT_THAT(g_told, ElementsAre("first", "second"));
}

TEST_F(WrapperTest, EndsExceptionsOfTheHostsFunctions)
{
    int nEnds = 0;
    m_window->onFileEnd([&nEnds](int) {
        ++nEnds;
        throw std::runtime_error("the host's");
    });
    const long lPort = play(m_window->pane(0));
    endFile(lPort, [&nEnds] { return nEnds == 1; });
    endFile(lPort, [&nEnds] { return nEnds == 2; });
    // The library would have written a line about an exception that came through.
    for (const std::string &text : m_log.texts()) {
        EXPECT_THAT(text, testing::Not(HasSubstr("the host's")));
    }
}

// ---- previews ----

TEST_F(WrapperTest, TellsStatusesToTheWindowThatTheyAreOf)
{
    m_other = m_session->createWindow(m_pHost->handle());
    doubles::script("SELVIK_DCM_StartPreview", {}, SELVIK_ERROR_HOST);
    Texts told;
    const auto listener = [&told](const char *pName) {
        return [&told, pName](const pellora::PaneStatus &status) {
            told.push_back(pName + std::to_string(status.pane) + " " + std::to_string(status.login) + "/" +
                           std::to_string(status.channel) + (status.playing ? " plays" : " failed"));
        };
    };
    EXPECT_TRUE(m_window->onStatus(listener("first ")));
    EXPECT_TRUE(m_other->onStatus(listener("second ")));
    EXPECT_TRUE(m_other->pane(4).preview({7, 2}));
    ASSERT_TRUE(support::pumpUntil([&told] { return told.size() == 1; }, 30000));
    EXPECT_TRUE(m_window->pane(1).preview({8, 3, PELLORA_STREAM_SUB}));
    ASSERT_TRUE(support::pumpUntil([&told] { return told.size() == 2; }, 30000));
    EXPECT_TRUE(m_other->onStatus(nullptr));
    EXPECT_TRUE(m_other->pane(5).preview({7, 2}));
    ASSERT_TRUE(support::pumpUntil([] { return doubles::startRequests().size() == 3; }, 30000));
    EXPECT_TRUE(m_window->pane(2).preview({9, 1}));
    ASSERT_TRUE(support::pumpUntil([&told] { return told.size() == 3; }, 30000));

    EXPECT_THAT(told, ElementsAre("second 4 7/2 failed", "first 1 8/3 failed", "first 2 9/1 failed"));
    EXPECT_FALSE(m_window->pane(0).preview({-1, 1}));
    EXPECT_FALSE(m_window->pane(0).preview({7, 0}));
}

TEST_F(WrapperTest, DestroysTheWindowInsideItsStatus)
{
    doubles::script("SELVIK_DCM_StartPreview", {}, SELVIK_ERROR_HOST);
    bool bTold = false;
    m_window->onStatus([&](const pellora::PaneStatus &) {
        m_window.reset();
        bTold = true;
    });
    EXPECT_TRUE(m_window->pane(0).preview({7, 2}));
    EXPECT_TRUE(support::pumpUntil([&bTold] { return bTold; }, 30000));
    EXPECT_THAT(doubles::openPorts(), IsEmpty());
}

TEST_F(WrapperTest, StartsSeveralPreviewsAtTheirOwnAddresses)
{
    std::vector<pellora::PreviewRequest> requests(3, pellora::PreviewRequest{7, 1});
    requests[1].address = "rtsp://192.0.2.7/second";
    EXPECT_EQ(m_window->previewAll(requests), 3);
    ASSERT_TRUE(support::pumpUntil([] { return doubles::startRequests().size() == 3; }, 30000));
    std::vector<std::string> addresses;
    for (const doubles::StartRequest &request : doubles::startRequests()) {
        addresses.push_back(request.bUrl ? request.url : "the log-in's");
    }
    EXPECT_THAT(addresses, testing::UnorderedElementsAre("the log-in's", "rtsp://192.0.2.7/second", "the log-in's"));
    EXPECT_TRUE(m_window->stopAllPreviews());
    EXPECT_EQ(m_window->previewAll({}), 0);
    ASSERT_TRUE(support::pumpUntil([] { return doubles::openPreviews().empty(); }, 30000));
}

// ---- rules ----

struct CreatedRule {
    unsigned short wRuleType;
    unsigned long colour[3];
    std::string extension;
    unsigned char byLimits;
    long lPane;
};
std::vector<CreatedRule> g_rules;

long createRule(long, unsigned short wRuleType, unsigned long dwRed, unsigned long dwGreen, unsigned long dwBlue,
                const void *pExtend, unsigned char byLimits, long lPane)
{
    // A caption behind three bytes for polygons, else by itself.
    const auto *pText = static_cast<const char *>(pExtend);
    const bool bPolygon = wRuleType == PELLORA_RULE_POLYGON || wRuleType == PELLORA_RULE_POLYGON_WITH_TEXT;
    std::string extension = pText == nullptr ? "null" : bPolygon ? std::string(pText, 3) + (pText + 3) : pText;
    g_rules.push_back({wRuleType, {dwRed, dwGreen, dwBlue}, std::move(extension), byLimits, lPane});
    return static_cast<long>(g_rules.size());
}

TEST_F(WrapperTest, CreatesRulesAsTheirTypesWantThem)
{
    pellora::Functions recording = functions();
    recording.video.PELLORA_CreateRule = &createRule;
    recording.video.PELLORA_CreateWindow = [](HWND, unsigned char) { return 3L; };
    g_rules.clear();
    auto session = pellora::Session::start(recording);
    auto window = session->createWindow(m_pHost->handle());
    const pellora::RuleLook look{RGB(1, 2, 3), "gate", PELLORA_LIMIT_LEFT, 6, true};

    EXPECT_EQ(window->pane(7).addRule<PELLORA_RULE_POLYGON_WITH_TEXT>(look)->number(), 1);
    EXPECT_TRUE(window->current().addRule<PELLORA_RULE_RECT_WITH_TEXT>(look));
    EXPECT_TRUE(window->pane(0).addRule<PELLORA_RULE_POLYGON>());
    EXPECT_TRUE(window->pane(0).addRule<PELLORA_RULE_LINE_WITH_TEXT>());

    ASSERT_EQ(g_rules.size(), 4U);
    EXPECT_EQ(g_rules[0].wRuleType, PELLORA_RULE_POLYGON_WITH_TEXT);
    EXPECT_THAT(g_rules[0].colour, ElementsAre(1, 2, 3));
    EXPECT_EQ(g_rules[0].extension, std::string("\6\0\1gate", 7));
    EXPECT_EQ(g_rules[0].byLimits, PELLORA_LIMIT_LEFT);
    EXPECT_EQ(g_rules[0].lPane, 7);
    EXPECT_EQ(g_rules[1].extension, "gate");
    EXPECT_EQ(g_rules[1].lPane, PELLORA_CURRENT_PANE);
    EXPECT_EQ(g_rules[2].extension, std::string("\4\0\1", 3));
    EXPECT_EQ(g_rules[3].extension, "null");
}

TEST_F(WrapperTest, SetsAndReadsTheCoordinatesOfEachType)
{
    const pellora::Pane pane = m_window->pane(0);
    play(pane);
    ASSERT_TRUE(pane.openOverlay());
    const auto isNear = [](const tagPELLORA_POINT &point, long x, long y) {
        return std::abs(point.x - x) <= 4 && std::abs(point.y - y) <= 4;
    };
    const auto point = pane.addRule<PELLORA_RULE_POINT>();
    ASSERT_TRUE(point && point->set({{100, 200}}) && point->get());
    EXPECT_EQ(point->number(), 0);
    EXPECT_TRUE(isNear(point->get()->struPoint, 100, 200));
    const auto rect = pane.addRule<PELLORA_RULE_RECT_WITH_TEXT>({RGB(0, 0, 255), "door"});
    ASSERT_TRUE(rect && rect->set({{300, 300}, {500, 600}}) && rect->get());
    EXPECT_TRUE(isNear(rect->get()->struBottomRight, 500, 600));
    const auto text = pane.addRule<PELLORA_RULE_TEXT>();
    ASSERT_TRUE(text && text->set(pellora::textRecord("words", {700, 100})) && text->get());
    EXPECT_STREQ(text->get()->szText, "words");
    const auto arrows = pane.addRule<PELLORA_RULE_LINE_WITH_ARROWS>();
    ASSERT_TRUE(arrows && arrows->setArrows(PELLORA_ARROW_A));

    EXPECT_TRUE(rect->remove());
    EXPECT_FALSE(rect->get());
    EXPECT_TRUE(pane.setOrigin(PELLORA_ORIGIN_BOTTOM_LEFT));
    EXPECT_TRUE(pane.clearRules());
    EXPECT_FALSE(point->get());
    EXPECT_TRUE(pane.closeOverlay());
}

TEST_F(WrapperTest, CutsATextThatIsTooLong)
{
    const tagPELLORA_RULE_TEXT record = pellora::textRecord(std::string(5000, 'x'), {1, 2}, PELLORA_ANCHOR_TOP_RIGHT);
    EXPECT_EQ(std::string(record.szText).size(), PELLORA_MAX_TEXT - 1U);
    EXPECT_EQ(record.wAnchor, PELLORA_ANCHOR_TOP_RIGHT);
}

PELLORA_RULE_COORD_CB g_pfnRule = nullptr;

TEST_F(WrapperTest, TellsRulesByTheRecordsOfTheirTypes)
{
    pellora::Functions recording = functions();
    recording.video.PELLORA_SetRuleCoordCallback = [](long, PELLORA_RULE_COORD_CB pfnCallback, long lPane) {
        EXPECT_EQ(lPane, PELLORA_ALL_PANES);
        g_pfnRule = pfnCallback;
        return 1;
    };
    recording.video.PELLORA_CreateWindow = [](HWND, unsigned char) { return 5L; };
    auto session = pellora::Session::start(recording);
    auto window = session->createWindow(m_pHost->handle());
    std::vector<pellora::RuleEvent> events;
    EXPECT_TRUE(window->onRule([&events](const pellora::RuleEvent &event) { events.push_back(event); }));

    const std::size_t kinds[] = {0, 0, 1, 2, 3, 4, 1, 2, 3, 1, 0};
    for (unsigned short wType = 1; wType <= PELLORA_MAX_RULE_TYPE; ++wType) {
        tagPELLORA_RULE_TEXT bytes{};
        bytes.szText[0] = static_cast<char>(wType);
        g_pfnRule(20 + wType, wType, &bytes, PELLORA_EDIT_EDITING, 5, 6, 8);
        ASSERT_EQ(events.size(), wType);
        EXPECT_EQ(events.back().coordinates.index(), kinds[wType]) << wType;
        EXPECT_EQ(events.back().rule, 20 + wType);
        EXPECT_EQ(events.back().type, wType);
        EXPECT_EQ(events.back().pane, 6);
        EXPECT_EQ(events.back().state, PELLORA_EDIT_EDITING);
        // The first eight bytes of any record.
        std::visit([wType](const auto &record) { EXPECT_EQ(*reinterpret_cast<const char *>(&record), wType); },
                   events.back().coordinates);
    }
    g_pfnRule(1, PELLORA_RULE_POINT, nullptr, 0, 5, 6, 8);
    tagPELLORA_RULE_POINT point{};
    for (const long lHandle : {-1L, 4L, 9L}) {
        g_pfnRule(1, PELLORA_RULE_POINT, &point, 0, lHandle, 6, 8);
    }
    EXPECT_EQ(events.size(), 10U);
    EXPECT_TRUE(window->onRule(nullptr));
    EXPECT_EQ(g_pfnRule, nullptr);
}

// ---- cameras ----

TEST_F(WrapperTest, LogsInAndOut)
{
    {
        auto login = m_session->logIn("rtsp://192.0.2.7/{channel}", "user", "password");
        ASSERT_TRUE(login);
        EXPECT_EQ(login->id(), 0);
        pellora::Login moved = std::move(*login);
        login.reset();
        EXPECT_EQ(moved.id(), 0);
        EXPECT_THAT(newCalls(),
                    ElementsAre("SELVIK_DCM_Login(\"rtsp://192.0.2.7/{channel}\", \"user\", \"password\")"));
    }
    EXPECT_THAT(newCalls(), ElementsAre("SELVIK_DCM_Logout(0)"));
    doubles::script("SELVIK_DCM_Login", {SELVIK_ERROR_ADDRESS});
    EXPECT_FALSE(m_session->logIn("nonsense"));
}

TEST_F(WrapperTest, TellsOnTheUserInterfaceThreadWhyACameraFails)
{
    Texts told;
    DWORD dwThread = 0;
    EXPECT_TRUE(m_session->onCameraState([&](const pellora::CameraState &state) {
        dwThread = GetCurrentThreadId();
        told.push_back(std::to_string(state.login) + "/" + std::to_string(state.channel) + "/" +
                       std::to_string(state.stream) + " " + std::to_string(state.state) + " " +
                       std::to_string(state.error) + " " + state.reason);
    }));
    tellState(3, SELVIK_STATE_STARTING);
    tellState(3, SELVIK_STATE_FAILED, SELVIK_ERROR_REFUSED);
    EXPECT_THAT(told, IsEmpty());

    EXPECT_TRUE(support::pumpUntil([&told] { return told.size() == 2; }, 30000));
    EXPECT_THAT(told, ElementsAre("3/2/1 1 0 ", "3/2/1 4 6 refused"));
    EXPECT_EQ(dwThread, GetCurrentThreadId());
    EXPECT_TRUE(m_session->onCameraState(nullptr));
    EXPECT_EQ(g_listener.pfnCallback, nullptr);
}

TEST_F(WrapperTest, EndsInsideACamerasState)
{
    int nTold = 0;
    m_session->onCameraState([&](const pellora::CameraState &) {
        ++nTold;
        m_window.reset();
        m_session.reset();
    });
    tellState(3, SELVIK_STATE_STARTING);
    tellState(3, SELVIK_STATE_PLAYING);
    EXPECT_TRUE(support::pumpUntil([&nTold] { return nTold > 0; }, 30000));
    support::pumpPosted();
    EXPECT_EQ(nTold, 1);
    EXPECT_EQ(g_listener.pfnCallback, nullptr);
}

TEST_F(WrapperTest, GoesOnAfterAnExceptionAboutACamera)
{
    int nTold = 0;
    m_session->onCameraState([&](const pellora::CameraState &) {
        ++nTold;
        throw std::runtime_error("the host's");
    });
    tellState(3, SELVIK_STATE_STARTING);
    tellState(3, SELVIK_STATE_PLAYING);
    EXPECT_TRUE(support::pumpUntil([&nTold] { return nTold == 2; }, 30000));
}

TEST_F(WrapperTest, KeepsTheNewestStatesOfAHostThatIsStuck)
{
    std::vector<long> told;
    m_session->onCameraState([&told](const pellora::CameraState &state) { told.push_back(state.login); });
    std::thread([] {
        for (long i = 0; i < 5000; ++i) {
            const SELVIK_DCM_STATE state{i, 1, 0, -1, SELVIK_STATE_STARTING, 0};
            g_listener.pfnCallback(&state, g_listener.pUser);
        }
    }).join();
    EXPECT_TRUE(support::pumpUntil([&told] { return !told.empty(); }, 30000));
    EXPECT_EQ(told.size(), 4096U);
    EXPECT_EQ(told.front(), 5000 - 4096);
    EXPECT_EQ(told.back(), 4999);
}

} // namespace
