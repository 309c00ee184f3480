// Impatient hosts against devices and a player that delay and reorder. Afterwards previews, ports, windows, tasks and
// threads are counted, and none is left.
//
// PELLORA_RACE_ROUNDS  rounds of each test; 15 unless told, 200 for the long form
// PELLORA_RACE_SEED    the seed of delays and decisions; a failure tells it with its round

#include "interface/tests/PreviewFixture.h"
#include "tests/support/LiveObjects.h"
#include "tests/support/ProcessThreads.h"

#include <QApplication>
#include <QMouseEvent>

#include <atomic>
#include <chrono>
#include <cstdlib>
#include <random>
#include <thread>

namespace
{

unsigned int numberFrom(const char *variable, unsigned int otherwise)
{
    const char *const pText = std::getenv(variable);
    return pText != nullptr ? static_cast<unsigned int>(std::strtoul(pText, nullptr, 10)) : otherwise;
}

class PreviewRaceTest : public PreviewFixture
{
protected:
    void SetUp() override
    {
        PreviewFixture::SetUp();
        PELLORA_DestroyWindow(m_lHandle);
        m_notices.clear();
        m_panes.clear();
    }

    void TearDown() override
    {
        m_bDraw = false;
        if (m_painter.joinable()) {
            m_painter.join();
        }
        doubles::delayCalls(0, 0);
        doubles::whenCalled("Kavun_InputData", nullptr);
        PreviewFixture::TearDown();
    }

    /** Plays the rounds and then counts what is left. */
    void race(const std::function<void()> &round)
    {
        const unsigned int nSeed = numberFrom("PELLORA_RACE_SEED", 1);
        const unsigned int nRounds = numberFrom("PELLORA_RACE_ROUNDS", 15);
        doubles::Traffic traffic;
        traffic.recordsPerHeader = 6;
        traffic.longestPause = 2;
        traffic.longestStart = 12;
        doubles::setTraffic(&traffic);
        // What Qt, Wine and the library make once and keep has been made after the first rounds.
        constexpr unsigned int kWarmUp = 3;
        for (unsigned int nRound = 0; nRound < kWarmUp; ++nRound) {
            play(round, nSeed, nRound);
        }
        ASSERT_TRUE(untilQuiet());
        const int nObjects = support::liveObjects();
        const std::size_t nThreads = support::processThreads();
        for (unsigned int nRound = kWarmUp; nRound < kWarmUp + nRounds && !HasFailure(); ++nRound) {
            play(round, nSeed, nRound);
        }
        EXPECT_TRUE(untilQuiet());
        EXPECT_TRUE(until([nObjects] { return support::liveObjects() == nObjects; }));
        EXPECT_EQ(support::liveObjects(), nObjects);
        EXPECT_TRUE(support::waitForThreads(nThreads, kPatience));
        EXPECT_LE(support::processThreads(), nThreads);
        EXPECT_EQ(doubles::startedPreviews(), doubles::stoppedPreviews());
        EXPECT_EQ(m_nExceptions, 0);
    }

    unsigned int upTo(unsigned int nMost)
    {
        return std::uniform_int_distribution<unsigned int>(0, nMost)(m_random);
    }

    bool perhaps()
    {
        return upTo(1) == 1;
    }

    /** Goes on at once, lets the messages run, or waits a little. */
    void idle()
    {
        switch (upTo(4)) {
        case 0:
        case 1:
            break;
        case 2:
            support::pumpPosted();
            break;
        default:
            static_cast<void>(support::pumpUntil([] { return false; }, upTo(6)));
        }
    }

    /** Some of the next starts fail. */
    void letSomeStartsFail()
    {
        std::vector<unsigned long> errors;
        for (int i = 0; i < 20; ++i) {
            errors.push_back(upTo(4) == 0 ? SELVIK_ERROR_HOST : SELVIK_ERROR_NONE);
        }
        doubles::script("SELVIK_DCM_StartPreview", errors);
    }

    void startOne()
    {
        PELLORA_SetCurWnd(m_lHandle, static_cast<long>(upTo(8)));
        PELLORA_PreviewStream(m_lHandle, previewParam(7, 2, 1, perhaps() ? 1 : 0));
    }

    void startSome()
    {
        tagPELLORA_BATCH_PREVIEW_PARAM batch = batchOf(static_cast<unsigned short>(1 + upTo(8)));
        batch.struPreviewParam[0].openDraw = 1;
        if (perhaps()) {
            PELLORA_BatchPreviewStream(m_lHandle, batch, nullptr);
        } else {
            PELLORA_BatchPreviewStream_Async(m_lHandle, batch, nullptr);
        }
    }

    void stopSome()
    {
        switch (upTo(3)) {
        case 0:
            PELLORA_StopAllPreviewStream(m_lHandle);
            break;
        case 1:
            PELLORA_StopAllPreviewStream_Async(m_lHandle);
            break;
        default:
            PELLORA_SetCurWnd(m_lHandle, static_cast<long>(upTo(8)));
            PELLORA_StopPreviewStream(m_lHandle);
        }
    }

    void changeSettings()
    {
        tagPELLORA_RECT region = {250, 0, 750, 500};
        PELLORA_SetCurWnd(m_lHandle, static_cast<long>(upTo(2)));
        switch (upTo(6)) {
        case 0:
            PELLORA_OpenSound(m_lHandle);
            break;
        case 1:
            PELLORA_SetVolume(m_lHandle, 1000);
            break;
        case 2:
            PELLORA_SetDisplayRegion(m_lHandle, perhaps() ? &region : nullptr, -1);
            break;
        case 3:
            PELLORA_OpenDraw(m_lHandle, -1);
            break;
        case 4:
            PELLORA_CloseDraw(m_lHandle, -1);
            break;
        case 5:
            PELLORA_SetIntelData(m_lHandle, perhaps() ? 1 : 0);
            break;
        default:
            PELLORA_CreateRule(m_lHandle, 1, 255, 0, 0, nullptr, 0, -1);
        }
    }

    void playOrStopAFile()
    {
        std::string path = "a.mkv";
        PELLORA_SetCurWnd(m_lHandle, static_cast<long>(upTo(2)));
        if (perhaps()) {
            PELLORA_PreviewFile(m_lHandle, path.data(), 0, perhaps() ? 1 : 0);
        } else {
            PELLORA_StopPreviewFile(m_lHandle);
        }
    }

    static void restartLibrary()
    {
        PELLORA_Fini();
        PELLORA_Init();
        support::stopLogger();
        support::startLogger();
    }

    /** The player presents pictures on whatever ports there are, as it does in life. */
    void startPainting()
    {
        m_bDraw = true;
        m_painter = std::thread([this] {
            const HDC hDc = CreateCompatibleDC(nullptr);
            while (m_bDraw) {
                for (const long lPort : doubles::openPorts()) {
                    doubles::fireDraw(lPort, hDc);
                }
                // About a picture's time.
                std::this_thread::sleep_for(std::chrono::milliseconds(10));
            }
            DeleteDC(hDc);
        });
    }

private:
    void play(const std::function<void()> &round, unsigned int nSeed, unsigned int nRound)
    {
        SCOPED_TRACE("PELLORA_RACE_SEED=" + std::to_string(nSeed) + ", round " + std::to_string(nRound));
        m_random.seed(nSeed * 100003 + nRound);
        doubles::delayCalls(nSeed * 100003 + nRound, 2);
        m_lHandle = createWindow();
        ASSERT_EQ(m_lHandle, 0);
        s_told.clear();
        round();
        s_whenTold = nullptr;
        PELLORA_DestroyWindow(m_lHandle);
        settle();
        doubles::script("SELVIK_DCM_StartPreview", {});
        doubles::clearCalls();
        for (const support::LogLine &line : m_log.lines()) {
            m_nExceptions += line.message.find("exception") != std::string::npos ? 1 : 0;
        }
        m_log.clear();
        if (nRound % 5 == 4) {
            ASSERT_TRUE(untilQuiet());
        }
    }

    /** Nothing of the rounds so far is left. */
    static bool untilQuiet()
    {
        return until([] {
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            return doubles::openPreviews().empty() && doubles::openPorts().empty() && doubles::runningStreams() == 0 &&
                   videoWindows().empty();
        });
    }

    std::mt19937 m_random;
    int m_nExceptions = 0;
    std::atomic<bool> m_bDraw{false};
    std::thread m_painter;
};

TEST_F(PreviewRaceTest, StartsAndStops)
{
    race([this] {
        for (int i = 0; i < 6; ++i) {
            startOne();
            idle();
            if (perhaps()) {
                PELLORA_StopPreviewStream(m_lHandle);
            } else {
                PELLORA_StopAllPreviewStream_Async(m_lHandle);
            }
            idle();
        }
    });
}

TEST_F(PreviewRaceTest, StartsAndDestroysTheWindow)
{
    race([this] {
        letSomeStartsFail();
        startSome();
        idle();
        if (perhaps()) {
            startOne();
        }
        idle();
    });
}

TEST_F(PreviewRaceTest, StartsBatchesAndStopsThemAll)
{
    race([this] {
        letSomeStartsFail();
        for (int i = 0; i < 3; ++i) {
            startSome();
            idle();
            if (perhaps()) {
                PELLORA_StopAllPreviewStream(m_lHandle);
            } else {
                PELLORA_StopAllPreviewStream_Async(m_lHandle);
            }
            idle();
        }
    });
}

TEST_F(PreviewRaceTest, EndsAndBeginsTheLibraryWhileStartsRun)
{
    race([this] {
        startSome();
        idle();
        if (perhaps()) {
            stopSome();
        }
        if (upTo(3) == 0) {
            PELLORA_DestroyWindow(m_lHandle);
        }
        restartLibrary();
        if (perhaps()) {
            startSome();
            idle();
        }
    });
}

TEST_F(PreviewRaceTest, StopsInsideTheStatusCallback)
{
    race([this] {
        listen();
        s_whenTold = [this](const tagPELLORA_PREVIEW_STATUS &) {
            switch (upTo(4)) {
            case 0:
                PELLORA_DestroyWindow(m_lHandle);
                break;
            case 1:
                PELLORA_StopAllPreviewStream_Async(m_lHandle);
                break;
            case 2:
                startOne();
                break;
            default:
                stopSome();
            }
        };
        letSomeStartsFail();
        startSome();
        static_cast<void>(support::pumpUntil([this] { return s_told.size() >= 2; }, upTo(40)));
    });
}

TEST_F(PreviewRaceTest, StopsInsideTheDevicesCallback)
{
    race([this] {
        const unsigned int nEvery = 1 + upTo(6);
        auto pRecords = std::make_shared<std::atomic<unsigned int>>(0U);
        // Somebody else who has the handle, in the middle of a record.
        doubles::whenCalled("Kavun_InputData", [nEvery, pRecords] {
            if (++*pRecords % nEvery == 0) {
                SELVIK_DCM_StopPreview(doubles::currentPreview());
            }
        });
        startSome();
        idle();
        stopSome();
        idle();
        startSome();
        idle();
    });
}

TEST_F(PreviewRaceTest, ChangesItsMindAllTheTime)
{
    startPainting();
    race([this] {
        letSomeStartsFail();
        for (int i = 0; i < 12; ++i) {
            switch (upTo(6)) {
            case 0:
                startOne();
                break;
            case 1:
                startSome();
                break;
            case 2:
                stopSome();
                break;
            case 3:
                playOrStopAFile();
                break;
            default:
                changeSettings();
            }
            idle();
        }
    });
}

} // namespace
