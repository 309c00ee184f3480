#ifndef TESTS_LIVE_LIVEFIXTURE_H
#define TESTS_LIVE_LIVEFIXTURE_H

#include "interface/Pellora.h"
#include "tests/cameras/CameraBed.h"
#include "tests/live/PaneScreen.h"
#include "tests/support/HostWindow.h"
#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

#include <chrono>
#include <memory>
#include <ostream>
#include <string>
#include <vector>

namespace live
{

using Milliseconds = std::chrono::milliseconds;

/** By a worker of the library, or on the calling thread; the names of the functions are the other way round. */
enum class Route { Task, Direct };

/** What was on the screen in a pane over a while. */
struct Sighting {
    std::vector<int> numbers; /**< of whole pictures, each time another one came */
    int nEmpty = 0;
    int nBroken = 0;
    int nStrangers = 0; /**< pictures of another camera */
    int nBack = 0;      /**< how often an earlier picture came after a later one */
};

/**
 * The library with its player and its device library, a host of plain Win32, and cameras on loopback.
 *
 * Every test ends with no window and no connection left.
 */
class LiveFixture : public testing::Test
{
protected:
    void SetUp() override;
    void TearDown() override;

    [[nodiscard]] static cameras::CameraBed &bed();

    /** A log-in with an address, which ends with the test. */
    long login(const std::string &address, const std::string &user = "", const std::string &password = "");
    /** Starts the previews of log-ins in panes 0, 1 and so on; by Direct it returns when all have answered. */
    void start(Route route, const std::vector<long> &userIDs);
    /** Stops all panes; how long the call took. */
    Milliseconds stop(Route route);
    /** Shows so many panes; the first one is the current one. */
    void split(unsigned short wPanes);

    /** Waits until the pane shows a whole picture of the camera. */
    [[nodiscard]] bool waitForPicture(int nPane, const cameras::Camera &camera, unsigned milliseconds = 20'000);
    /** Waits until every pane i shows a whole picture of camera i. */
    [[nodiscard]] bool waitForPictures(const std::vector<cameras::Camera> &wanted, unsigned milliseconds = 30'000);
    /** Looks at panes 0, 1 ... until each has shown so many different pictures, or the time is over. */
    [[nodiscard]] std::vector<Sighting> watch(const std::vector<cameras::Camera> &wanted, std::size_t nPictures,
                                              unsigned milliseconds = 20'000);
    /** The pane shows the camera, picture after picture, each of them whole. */
    void expectAdvancing(const cameras::Camera &camera, std::size_t nPictures = 10, unsigned milliseconds = 20'000);
    [[nodiscard]] bool waitForStatuses(std::size_t nCount, unsigned milliseconds = 20'000);
    /** Waits until no client has a connection to the port; how long it took, -1 when it is still there. */
    [[nodiscard]] static int waitUntilGone(int nPort, unsigned milliseconds = 10'000);

    [[nodiscard]] static const std::vector<tagPELLORA_PREVIEW_STATUS> &statuses();
    [[nodiscard]] const PaneScreen &screen() const;

    /** Notes a measured time with the test's results and prints it. */
    static void report(const std::string &name, long long nValue, const char *pUnit = "ms");

    std::unique_ptr<support::HostWindow> m_pHost;
    long m_lHandle = -1;
    support::LogCapture m_log;

private:
    std::unique_ptr<PaneScreen> m_pScreen;
    std::vector<long> m_logins;
    std::vector<int> m_ports; /**< that a preview of this test was told of */
};

[[nodiscard]] const char *nameOf(Route route);
/** For GoogleTest's messages. */
void PrintTo(Route route, std::ostream *pStream);

} // namespace live

#endif
