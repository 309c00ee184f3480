// What a camera or the network between can do wrong, with a preview running or being started.

#include "tests/live/LiveFixture.h"
#include "tests/support/ProcessMemory.h"

#include "Selvikdcm.h"

#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <functional>
#include <optional>

namespace live
{
namespace
{

using cameras::addressOf;
using cameras::CameraBed;
using testing::Values;

// A stop that waited for a connection attempt would take the rest of its 4.8 seconds, and one that waited for several
// panes a multiple. That it waits for nothing at all is shown by device_tests, on a fake time.
constexpr Milliseconds kNoWaiting{4000};
// After a camera's return its next attempt comes within 8.8 seconds; the rest is for a busy machine.
constexpr unsigned kBackWithin = 30'000;

/** Memory that only this process has, in KB. */
long long privateMemory()
{
    return static_cast<long long>(support::privateBytes() / 1024);
}

/** A number from the environment, for the long forms of tests. */
int countFrom(const char *pVariable, int nShort)
{
    const char *pText = std::getenv(pVariable);
    return pText != nullptr ? std::atoi(pText) : nShort;
}

class CameraFault : public LiveFixture, public testing::WithParamInterface<Route>
{
protected:
    void TearDown() override
    {
        bed().command("clean");
        LiveFixture::TearDown();
    }

    void on(const char *pCommand, int nProxy, const std::string &values = "")
    {
        bed().command(std::string(pCommand) + " " + std::to_string(nProxy) + " " + values);
    }
    /** Starts a camera in pane 0 through a new proxy, which it waits for to show; the proxy's port. */
    int play(const cameras::Camera &camera, CameraBed::Port port = CameraBed::Port::Anybody)
    {
        const int nProxy = bed().addProxy(port);
        start(GetParam(), {login(addressOf(nProxy, camera.path))});
        EXPECT_TRUE(waitForPicture(0, camera));
        return nProxy;
    }
    /** How many connections a proxy has had. */
    [[nodiscard]] static int accepted(int nProxy)
    {
        return bed().command("accepted " + std::to_string(nProxy)).at(0);
    }
    /** Another picture than the one that is there now, which must go on to be whole. */
    [[nodiscard]] bool waitForNews(const cameras::Camera &camera, unsigned milliseconds = kBackWithin)
    {
        return watch({camera}, 2, milliseconds).front().numbers.size() >= 2;
    }
    /** How many pictures a pane is ahead of pane 0; none while one of them does not show a whole one. */
    [[nodiscard]] std::optional<int> aheadOfFirst(int nPane, const cameras::Camera &camera) const
    {
        const PaneView first = screen().read(0);
        const PaneView other = screen().read(nPane);
        if (first.kind != PaneView::Kind::Whole || other.kind != PaneView::Kind::Whole) {
            return std::nullopt;
        }
        return cameras::shorterWay(other.nPicture - first.nPicture, camera.nPictures);
    }
    /** The picture stands still, since nothing comes. */
    [[nodiscard]] bool standsStill()
    {
        constexpr unsigned kQuiet = 1000;
        const PaneView before = screen().read(0);
        return before.kind == PaneView::Kind::Whole &&
               !support::pumpUntil([&] { return screen().read(0).nPicture != before.nPicture; }, kQuiet);
    }
};

INSTANTIATE_TEST_SUITE_P(Routes, CameraFault, Values(Route::Task, Route::Direct),
                         [](const testing::TestParamInfo<Route> &parameter) {
                             return std::string(nameOf(parameter.param));
                         });

TEST_P(CameraFault, AServerThatIsKilledAndStartedIsBackWithItsPicture)
{
    const int nRestarts = countFrom("PELLORA_LIVE_RESTARTS", GetParam() == Route::Task ? 3 : 1);
    const cameras::Camera camera = cameras::cameraAt("aac");
    start(GetParam(),
          {login(addressOf(bed().port(CameraBed::Port::Digest), camera.path), cameras::kUser, cameras::kPassword)});
    ASSERT_TRUE(waitForPicture(0, camera));

    std::vector<long long> memory;
    for (int i = 0; i < nRestarts; ++i) {
        bed().command("kill");
        ASSERT_TRUE(support::pumpUntil([&] { return standsStill(); }, 5000));
        bed().command("start");
        const ULONGLONG returned = GetTickCount64();
        ASSERT_TRUE(waitForNews(camera)) << "after restart " << i;
        report("BackAfter" + std::to_string(i), static_cast<long long>(GetTickCount64() - returned));
        expectAdvancing(camera);
        memory.push_back(privateMemory());
        report("PrivateMemory" + std::to_string(i), memory.back(), "KB");
    }
    // The first round fills caches. A leaked decoder or player port takes megabytes each time.
    const long long kSlack = 3 * 1024;
    EXPECT_LT(memory.back(), memory.front() + kSlack);
    // The outcome of a start is told once; reconnections are the library's own business.
    EXPECT_EQ(statuses().size(), 1U);
    stop(GetParam());
}

TEST_P(CameraFault, AFrozenCameraIsTakenUpAgainWhenItThaws)
{
    const cameras::Camera camera = cameras::cameraAt("h264");
    const int nProxy = play(camera);
    bed().command("freeze");
    // The device library notices and begins to connect anew, in vain for the time being.
    ASSERT_TRUE(support::pumpUntil([&] { return accepted(nProxy) >= 2; }, kBackWithin));
    ASSERT_TRUE(standsStill());
    bed().command("thaw");
    EXPECT_TRUE(waitForNews(camera));
    expectAdvancing(camera);
    stop(GetParam());
}

TEST_P(CameraFault, AShortHangIsSurvivedOnTheSameConnection)
{
    const cameras::Camera camera = cameras::cameraAt("alaw");
    const int nProxy = play(camera);
    bed().command("freeze");
    ASSERT_TRUE(support::pumpUntil([&] { return standsStill(); }, 5000));
    bed().command("thaw");
    EXPECT_TRUE(waitForNews(camera));
    expectAdvancing(camera);
    EXPECT_EQ(accepted(nProxy), 1);
    stop(GetParam());
}

TEST_P(CameraFault, AResetInTheMiddleOfAPictureShowsNothingBroken)
{
    const cameras::Camera camera = cameras::cameraAt("hd");
    const int nProxy = play(camera);
    for (int i = 0; i < 2; ++i) {
        on("reset", nProxy);
        // From the last picture before the reset to the first ones after it.
        const Sighting sighting = watch({camera}, 40, kBackWithin).front();
        EXPECT_EQ(sighting.nBroken, 0);
        EXPECT_EQ(sighting.nStrangers, 0);
        EXPECT_GE(sighting.numbers.size(), 40U);
    }
    stop(GetParam());
}

TEST_P(CameraFault, LostPacketsShowNothingBroken)
{
    const cameras::Camera camera = cameras::cameraAt("h264");
    const int nProxy = play(camera, CameraBed::Port::UdpOnly);
    on("loss", nProxy, "3");
    const Sighting sighting = watch({camera}, 60, 30'000).front();
    EXPECT_EQ(sighting.nBroken, 0);
    EXPECT_EQ(sighting.nEmpty, 0);
    EXPECT_EQ(sighting.nBack, 0);
    EXPECT_GE(sighting.numbers.size(), 60U);
    const int nLost = bed().command("lost " + std::to_string(nProxy)).at(0);
    report("PacketsLost", nLost, "");
    EXPECT_GT(nLost, 0);
    stop(GetParam());
}

TEST_P(CameraFault, ADelayThatWaversPlays)
{
    const cameras::Camera camera = cameras::cameraAt("h264");
    const int nProxy = play(camera, CameraBed::Port::UdpOnly);
    // Within the time that packets are waited for, so that they only come in another order.
    on("delay", nProxy, "200 20");
    const Sighting sighting = watch({camera}, 60, 30'000).front();
    EXPECT_EQ(sighting.nBroken, 0);
    EXPECT_EQ(sighting.nBack, 0);
    EXPECT_GE(sighting.numbers.size(), 60U);
    stop(GetParam());
}

TEST_P(CameraFault, AHoldUpOfTheNetworkLeavesNoDelayBehind)
{
    const cameras::Camera camera = cameras::cameraAt("h264");
    const int nProxy = bed().addProxy();
    split(4);
    start(GetParam(),
          {login(addressOf(nProxy, camera.path)), login(addressOf(bed().port(CameraBed::Port::Anybody), camera.path))});
    ASSERT_TRUE(waitForPictures({camera, camera}));
    // How far the panes are apart: the server runs a camera of its own for each port by which it is asked.
    constexpr std::size_t kInARow = 20;
    std::vector<int> apart;
    const auto look = [&] {
        if (const std::optional<int> ahead = aheadOfFirst(1, camera)) {
            apart.push_back(*ahead);
        }
        return apart.size();
    };
    ASSERT_TRUE(support::pumpUntil([&] { return look() == kInARow; }, kBackWithin));
    std::nth_element(apart.begin(), apart.begin() + kInARow / 2, apart.end());
    const int nUsual = apart[kInARow / 2];
    on("stall", nProxy);
    ASSERT_TRUE(support::pumpUntil([&] { return standsStill(); }, 5000));
    on("pass", nProxy);
    // So far apart as before, or nearly so, many times in a row.
    apart.clear();
    EXPECT_TRUE(support::pumpUntil(
        [&] {
            constexpr int kNearly = 3;
            const std::size_t nBefore = apart.size();
            if (look() > nBefore && std::abs(cameras::shorterWay(apart.back() - nUsual, camera.nPictures)) > kNearly) {
                apart.clear();
            }
            return apart.size() == kInARow;
        },
        kBackWithin));
    stop(GetParam());
}

/** A state of the network in which a running preview is stopped. */
struct StateCase {
    const char *pName;
    /** What the proxy is told, one after the other, while the preview plays. */
    std::vector<const char *> commands;
    std::string values;
    /** Connections by then: the preview's own, or that of its attempt to reconnect. */
    int nConnections = 1;
};

// A reset makes the preview connect anew, into whatever the first command has prepared.
const StateCase kStates[] = {
    {"Playing", {}, ""},
    {"Stalled", {"stall"}, ""},
    {"Delayed", {"delay"}, "500 0"},
    {"Refusing", {"refuse"}, "", 0},
    {"SayingNothing", {"mute", "reset"}, ""},
    {"HalfAnAnswer", {"cut", "reset"}, "60"},
    {"HalfADescription", {"cut", "reset"}, "500"},
    {"HalfAPicture", {"cut", "reset"}, "4000"},
};

class StopInTrouble : public CameraFault
{
protected:
    /** Stops pane after pane where the route has a call for one, else all in one call. */
    void stopAndReport(std::size_t nPanes, const std::function<std::string(std::size_t)> &name)
    {
        if (GetParam() == Route::Direct) {
            const Milliseconds duration = stop(Route::Direct);
            report("StopOfAllTook", duration.count());
            EXPECT_LT(duration, kNoWaiting);
            return;
        }
        for (std::size_t i = 0; i < nPanes; ++i) {
            const ULONGLONG begin = GetTickCount64();
            ASSERT_EQ(PELLORA_SetCurWnd(m_lHandle, static_cast<long>(i)), 1);
            ASSERT_EQ(PELLORA_StopPreviewStream(m_lHandle), 1);
            const Milliseconds duration(GetTickCount64() - begin);
            report("StopTook" + name(i), duration.count());
            EXPECT_LT(duration, kNoWaiting);
        }
    }
    static void expectGone(int nPort, const std::string &name)
    {
        const int nGone = waitUntilGone(nPort);
        report("ConnectionGoneAfter" + name, nGone);
        EXPECT_GE(nGone, 0);
    }
};

INSTANTIATE_TEST_SUITE_P(Routes, StopInTrouble, Values(Route::Task, Route::Direct),
                         [](const testing::TestParamInfo<Route> &parameter) {
                             return std::string(nameOf(parameter.param));
                         });

TEST_P(StopInTrouble, OfTheNetworkWaitsForNothing)
{
    split(9);
    std::vector<cameras::Camera> cameras;
    std::vector<int> proxies;
    std::vector<long> userIDs;
    for (std::size_t i = 0; i < std::size(kStates); ++i) {
        cameras.push_back(cameras::wallCamera(static_cast<int>(i) + 1));
        proxies.push_back(bed().addProxy());
        userIDs.push_back(login(addressOf(proxies.back(), cameras.back().path)));
    }
    start(GetParam(), userIDs);
    ASSERT_TRUE(waitForPictures(cameras));
    for (std::size_t i = 0; i < std::size(kStates); ++i) {
        for (const char *pCommand : kStates[i].commands) {
            const bool bPlain = std::string(pCommand) == "reset";
            on(pCommand, proxies[i], bPlain ? "" : kStates[i].values);
        }
    }
    for (std::size_t i = 0; i < std::size(kStates); ++i) {
        const StateCase &state = kStates[i];
        const bool bReset = !state.commands.empty() && std::string(state.commands.back()) == "reset";
        EXPECT_TRUE(support::pumpUntil(
            [&] {
                return accepted(proxies[i]) >= (bReset ? 2 : 1) && bed().connections(proxies[i]) == state.nConnections;
            },
            20'000))
            << state.pName;
    }
    stopAndReport(std::size(kStates), [](std::size_t i) { return kStates[i].pName; });
    for (std::size_t i = 0; i < std::size(kStates); ++i) {
        expectGone(proxies[i], kStates[i].pName);
    }
}

TEST_P(StopInTrouble, OfTheCameraWaitsForNothing)
{
    for (const char *pCommand : {"freeze", "kill"}) {
        bed().command("clean");
        const int nProxy = play(cameras::cameraAt("h264"));
        bed().command(pCommand);
        ASSERT_TRUE(support::pumpUntil([&] { return standsStill(); }, 5000));
        stopAndReport(1, [&](std::size_t) { return std::string(pCommand); });
        expectGone(nProxy, pCommand);
    }
}

/** A camera that a start does not get through to. */
struct UnreachableCase {
    const char *pName;
    /** Its address. */
    std::function<std::string(CameraBed &)> address;
    int nError;
};

std::string nameOfCase(const testing::TestParamInfo<UnreachableCase> &parameter)
{
    return parameter.param.pName;
}

std::string throughProxy(CameraBed &bed, const std::string &command, const std::string &value = "")
{
    const int nProxy = bed.addProxy();
    bed.command(command + " " + std::to_string(nProxy) + " " + value);
    return addressOf(nProxy, "h264");
}

// They answer at once.
const UnreachableCase kRefusing[] = {
    // Too long for a name, so that no resolver asks anybody.
    {"NoSuchHost", [](CameraBed &) { return "rtsp://" + std::string(70, 'x') + ".invalid:554/h264"; },
     SELVIK_ERROR_HOST},
    {"Refusing", [](CameraBed &bed) { return throughProxy(bed, "refuse"); }, SELVIK_ERROR_HOST},
};
// They keep a start waiting for as long as it may take.
const UnreachableCase kSilent[] = {
    {"SayingNothing", [](CameraBed &bed) { return throughProxy(bed, "mute"); }, SELVIK_ERROR_TIMEOUT},
    {"HalfAnAnswer", [](CameraBed &bed) { return throughProxy(bed, "cut", "60"); }, SELVIK_ERROR_TIMEOUT},
    {"HalfADescription", [](CameraBed &bed) { return throughProxy(bed, "cut", "500"); }, SELVIK_ERROR_TIMEOUT},
};

void PrintTo(const UnreachableCase &unreachable, std::ostream *pStream)
{
    *pStream << unreachable.pName;
}

class UnreachableCamera : public LiveFixture, public testing::WithParamInterface<UnreachableCase>
{
};

TEST_P(UnreachableCamera, IsToldOnceWithItsReason)
{
    const cameras::Camera camera = cameras::cameraAt("h264");
    const long reachable = login(addressOf(bed().port(CameraBed::Port::Anybody), camera.path));
    for (const Route route : {Route::Task, Route::Direct}) {
        SCOPED_TRACE(nameOf(route));
        const std::size_t nBefore = statuses().size();
        const long userID = login(GetParam().address(bed()));
        start(route, {userID});
        ASSERT_TRUE(waitForStatuses(nBefore + 1));
        EXPECT_EQ(statuses().back().byPlaying, 0);
        const std::vector<std::string> texts = m_log.texts();
        const std::string line = "ERROR SELVIK_DCM_StartPreview error: " + std::to_string(GetParam().nError) +
                                 ", userID: " + std::to_string(userID) + ", previewHandel: -1.";
        EXPECT_EQ(std::count(texts.begin(), texts.end(), line), 1) << line;
        // The pane is free again.
        start(route, {reachable});
        EXPECT_TRUE(waitForPicture(0, camera));
        // The picture may be there before the notice has been looked at.
        EXPECT_TRUE(waitForStatuses(nBefore + 2));
        EXPECT_EQ(statuses().size(), nBefore + 2);
        stop(route);
    }
}

INSTANTIATE_TEST_SUITE_P(Refusing, UnreachableCamera, testing::ValuesIn(kRefusing), nameOfCase);
INSTANTIATE_TEST_SUITE_P(Silent, UnreachableCamera, testing::ValuesIn(kSilent), nameOfCase);

class StartUnderWay : public LiveFixture, public testing::WithParamInterface<UnreachableCase>
{
};

TEST_P(StartUnderWay, IsStoppedWithoutWaitingAndNeverTold)
{
    const cameras::Camera camera = cameras::cameraAt("h264");
    const std::string address = GetParam().address(bed());
    start(Route::Task, {login(address)});
    const int nProxy = std::atoi(address.c_str() + address.rfind(':') + 1);
    ASSERT_TRUE(
        support::pumpUntil([&] { return bed().command("accepted " + std::to_string(nProxy)).at(0) == 1; }, 20'000));
    const Milliseconds duration = stop(Route::Task);
    report("StopTook", duration.count());
    EXPECT_LT(duration, kNoWaiting);
    // A start that is under way has no handle yet by which to stop it: its connection ends with its own time.
    const int nGone = waitUntilGone(nProxy);
    report("ConnectionGoneAfter", nGone);
    EXPECT_GE(nGone, 0);
    // As soon as it has come back the pane takes the next one.
    const long userID = login(addressOf(bed().port(CameraBed::Port::Anybody), camera.path));
    tagPELLORA_PREVIEW_PARAM param = {};
    param.userID = userID;
    param.lChannel = 1;
    EXPECT_TRUE(support::pumpUntil([&] { return PELLORA_PreviewStream(m_lHandle, param) == 1; }, 10'000));
    EXPECT_TRUE(waitForPicture(0, camera));
    ASSERT_EQ(statuses().size(), 1U);
    EXPECT_EQ(statuses().front().userID, userID);
    stop(Route::Task);
}

INSTANTIATE_TEST_SUITE_P(Silent, StartUnderWay, testing::ValuesIn(kSilent), nameOfCase);

} // namespace
} // namespace live
