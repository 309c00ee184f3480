#include "tests/live/LiveFixture.h"

#include "Selvikdcm.h"
#include "base/CLog.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>

namespace live
{

namespace
{

using SteadyClock = std::chrono::steady_clock;

std::vector<tagPELLORA_PREVIEW_STATUS> g_statuses;

void onStatus(tagPELLORA_PREVIEW_STATUS status)
{
    g_statuses.push_back(status);
}

Milliseconds since(SteadyClock::time_point begin)
{
    return std::chrono::duration_cast<Milliseconds>(SteadyClock::now() - begin);
}

/** The library and the cameras, for the whole program; all levels of the log go to a file that is searched later. */
class LiveEnvironment : public testing::Environment
{
public:
    void SetUp() override
    {
        m_pBed = std::make_unique<cameras::CameraBed>();
        ASSERT_EQ(PELLORA_Init(), 1);
        support::stopLogger();
        const char *pFolder = std::getenv("PELLORA_CAMERA_LOGS");
        ASSERT_NE(pFolder, nullptr) << "run this program with tests/cameras/with_cameras.py";
        const std::string folder = pFolder;
        std::ofstream(folder + "/log.properties") << "log4j.rootLogger=TRACE, file\n"
                                                  << "log4j.appender.file=org.apache.log4j.FileAppender\n"
                                                  << "log4j.appender.file.File=live.log\n"
                                                  << "log4j.appender.file.layout=org.apache.log4j.PatternLayout\n"
                                                  << "log4j.appender.file.layout.ConversionPattern=%d %p %m (%M)%n\n";
        Base::CLog::getInstance()->InitLog(folder + "/log.properties");
    }
    void TearDown() override
    {
        PELLORA_Fini();
        m_pBed.reset();
    }
    [[nodiscard]] cameras::CameraBed &bed() const
    {
        return *m_pBed;
    }

private:
    std::unique_ptr<cameras::CameraBed> m_pBed;
};

// GoogleTest owns it.
LiveEnvironment *const g_pEnvironment =
    static_cast<LiveEnvironment *>(testing::AddGlobalTestEnvironment(new LiveEnvironment));

int portIn(const std::string &address)
{
    return std::atoi(address.c_str() + address.rfind(':') + 1);
}

/** Keeps what a pane showed when a test began to fail, for people. */
void keep(const Shot &shot, std::size_t nPane)
{
    const testing::TestInfo *pTest = testing::UnitTest::GetInstance()->current_test_info();
    std::string name = std::string(pTest->test_suite_name()) + "." + pTest->name() + ".pane" + std::to_string(nPane);
    std::replace(name.begin(), name.end(), '/', '-');
    writeShot(shot, std::string(std::getenv("PELLORA_CAMERA_LOGS")) + "/" + name + ".ppm");
}

} // namespace

const char *nameOf(Route route)
{
    return route == Route::Task ? "Task" : "Direct";
}

void PrintTo(Route route, std::ostream *pStream)
{
    *pStream << nameOf(route);
}

cameras::CameraBed &LiveFixture::bed()
{
    return g_pEnvironment->bed();
}

void LiveFixture::SetUp()
{
    bed().command("clean");
    m_pHost = std::make_unique<support::HostWindow>(1280, 720);
    m_lHandle = PELLORA_CreateWindow(m_pHost->handle(), 2);
    ASSERT_GE(m_lHandle, 0);
    g_statuses.clear();
    PELLORA_SetPreviewStatusCallback(m_lHandle, onStatus);
    m_pScreen = std::make_unique<PaneScreen>();
    split(1);
    m_log.clear();
}

void LiveFixture::TearDown()
{
    PELLORA_DestroyWindow(m_lHandle);
    for (const long userID : m_logins) {
        SELVIK_DCM_Logout(userID);
    }
    m_pHost.reset();
    support::pumpPosted();
    for (const int nPort : m_ports) {
        EXPECT_GE(waitUntilGone(nPort), 0) << "a connection is left";
    }
}

long LiveFixture::login(const std::string &address, const std::string &user, const std::string &password)
{
    const long userID = SELVIK_DCM_Login(address.c_str(), user.c_str(), password.c_str());
    EXPECT_GE(userID, 0);
    m_logins.push_back(userID);
    m_ports.push_back(portIn(address));
    return userID;
}

void LiveFixture::start(Route route, const std::vector<long> &userIDs)
{
    tagPELLORA_BATCH_PREVIEW_PARAM batch = {};
    for (const long userID : userIDs) {
        tagPELLORA_PREVIEW_PARAM &param = batch.struPreviewParam[batch.wNum++];
        param.userID = userID;
        param.lChannel = batch.wNum;
    }
    const bool bSingle = userIDs.size() == 1;
    if (route == Route::Direct) {
        ASSERT_EQ(PELLORA_BatchPreviewStream_Async(m_lHandle, batch, nullptr), 1);
    } else if (bSingle) {
        ASSERT_EQ(PELLORA_PreviewStream(m_lHandle, batch.struPreviewParam[0]), 1);
    } else {
        ASSERT_EQ(PELLORA_BatchPreviewStream(m_lHandle, batch, nullptr), 1);
    }
}

Milliseconds LiveFixture::stop(Route route)
{
    const auto begin = SteadyClock::now();
    EXPECT_EQ(route == Route::Direct ? PELLORA_StopAllPreviewStream_Async(m_lHandle)
                                     : PELLORA_StopAllPreviewStream(m_lHandle),
              1);
    return since(begin);
}

void LiveFixture::split(unsigned short wPanes)
{
    ASSERT_EQ(PELLORA_SplitScreen(m_lHandle, wPanes), 1);
    ASSERT_EQ(PELLORA_SetCurWnd(m_lHandle, 0), 1);
}

bool LiveFixture::waitForPicture(int nPane, const cameras::Camera &camera, unsigned milliseconds)
{
    return support::pumpUntil(
        [&] {
            const PaneView view = m_pScreen->read(nPane);
            return view.kind == PaneView::Kind::Whole && view.nCamera == camera.nIdentity;
        },
        milliseconds);
}

bool LiveFixture::waitForPictures(const std::vector<cameras::Camera> &wanted, unsigned milliseconds)
{
    const auto end = SteadyClock::now() + Milliseconds(milliseconds);
    for (std::size_t i = 0; i < wanted.size(); ++i) {
        const auto left = std::chrono::duration_cast<Milliseconds>(end - SteadyClock::now()).count();
        if (!waitForPicture(static_cast<int>(i), wanted[i], left > 0 ? static_cast<unsigned>(left) : 0)) {
            Shot shot;
            static_cast<void>(m_pScreen->read(static_cast<int>(i), &shot));
            keep(shot, i);
            return false;
        }
    }
    return true;
}

std::vector<Sighting> LiveFixture::watch(const std::vector<cameras::Camera> &wanted, std::size_t nPictures,
                                         unsigned milliseconds)
{
    std::vector<Sighting> sightings(wanted.size());
    const auto look = [&](std::size_t i) {
        Shot shot;
        const PaneView view = m_pScreen->read(static_cast<int>(i), &shot);
        Sighting &sighting = sightings[i];
        if (view.kind == PaneView::Kind::Broken) {
            keep(shot, i);
            ++sighting.nBroken;
        } else if (view.kind == PaneView::Kind::Empty) {
            ++sighting.nEmpty;
        } else if (view.kind == PaneView::Kind::Between) {
            return false;
        } else if (view.nCamera != wanted[i].nIdentity) {
            ++sighting.nStrangers;
        } else if (sighting.numbers.empty() || sighting.numbers.back() != view.nPicture) {
            if (!sighting.numbers.empty() &&
                cameras::shorterWay(view.nPicture - sighting.numbers.back(), wanted[i].nPictures) < 0) {
                ++sighting.nBack;
            }
            sighting.numbers.push_back(view.nPicture);
        }
        return sighting.numbers.size() >= nPictures;
    };
    static_cast<void>(support::pumpUntil(
        [&] {
            bool bAll = true;
            for (std::size_t i = 0; i < wanted.size(); ++i) {
                bAll = look(i) && bAll;
            }
            return bAll;
        },
        milliseconds));
    return sightings;
}

void LiveFixture::expectAdvancing(const cameras::Camera &camera, std::size_t nPictures, unsigned milliseconds)
{
    const Sighting sighting = watch({camera}, nPictures, milliseconds).front();
    EXPECT_GE(sighting.numbers.size(), nPictures);
    EXPECT_EQ(sighting.nEmpty, 0);
    EXPECT_EQ(sighting.nBroken, 0);
    EXPECT_EQ(sighting.nStrangers, 0);
    EXPECT_EQ(sighting.nBack, 0);
}

bool LiveFixture::waitForStatuses(std::size_t nCount, unsigned milliseconds)
{
    return support::pumpUntil([&] { return g_statuses.size() >= nCount; }, milliseconds);
}

int LiveFixture::waitUntilGone(int nPort, unsigned milliseconds)
{
    const auto begin = SteadyClock::now();
    const bool bGone = support::pumpUntil([&] { return bed().connections(nPort) == 0; }, milliseconds);
    return bGone ? static_cast<int>(since(begin).count()) : -1;
}

const std::vector<tagPELLORA_PREVIEW_STATUS> &LiveFixture::statuses()
{
    return g_statuses;
}

const PaneScreen &LiveFixture::screen() const
{
    return *m_pScreen;
}

void LiveFixture::report(const std::string &name, long long nValue, const char *pUnit)
{
    RecordProperty(name, std::to_string(nValue));
    std::cout << "           " << name << ": " << nValue << ' ' << pUnit << std::endl;
}

} // namespace live
