#include "tests/doubles/DoubleControl.h"
#include "tests/support/ExportNames.h"
#include "tests/support/HostWindow.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <thread>

using testing::ElementsAre;

namespace
{

class DoublesTest : public testing::Test
{
protected:
    void SetUp() override
    {
        doubles::reset();
    }
};

TEST_F(DoublesTest, ExportsWhatThePlayersHeaderDeclares)
{
    const auto declared = support::declaredFunctions("player/include/Kavun.h", "Kavun_");
    EXPECT_EQ(declared.size(), 34U);
    EXPECT_EQ(support::exportedNames(GetModuleHandleW(L"Drovel.dll")), declared);
}

TEST_F(DoublesTest, ExportsWhatTheDeviceLibrarysHeaderDeclaresButForItsNewsForHosts)
{
    auto declared = support::declaredFunctions("device/include/Selvikdcm.h", "SELVIK_DCM_");
    EXPECT_EQ(declared.count("SELVIK_DCM_StartPreview"), 1U);
    // The library must do with a device library that has none: it is loaded with this one in all its tests.
    EXPECT_EQ(declared.erase("SELVIK_DCM_SetStateCallback"), 1U);
    EXPECT_EQ(declared.erase("SELVIK_DCM_GetErrorText"), 1U);
    EXPECT_EQ(support::exportedNames(GetModuleHandleW(L"Selvikdcm.dll")), declared);
}

TEST_F(DoublesTest, ClosesAPortOnlyAsWhatItWasOpenedAs)
{
    unsigned char header[] = {1};
    char path[] = "a.mkv";
    long nPort = -1;
    Kavun_GetPort(&nPort);
    EXPECT_EQ(Kavun_CloseStream(nPort), 0);
    EXPECT_EQ(Kavun_GetLastError(nPort), static_cast<unsigned long>(KAVUN_ERROR_ORDER));

    EXPECT_NE(Kavun_OpenStream(nPort, header, 1, 1), 0);
    EXPECT_EQ(Kavun_CloseFile(nPort), 0);
    EXPECT_EQ(Kavun_GetLastError(nPort), static_cast<unsigned long>(KAVUN_ERROR_ORDER));
    EXPECT_NE(Kavun_CloseStream(nPort), 0);

    EXPECT_NE(Kavun_OpenFile(nPort, path), 0);
    EXPECT_EQ(Kavun_CloseStream(nPort), 0);
    EXPECT_EQ(Kavun_GetLastError(nPort), static_cast<unsigned long>(KAVUN_ERROR_ORDER));
    EXPECT_NE(Kavun_CloseFile(nPort), 0);
    Kavun_FreePort(nPort);
}

TEST_F(DoublesTest, RecordsBothLibrariesInOneOrder)
{
    long nPort = -1;
    Kavun_GetPort(&nPort);
    SELVIK_DCM_StopPreview(5);
    Kavun_FreePort(nPort);

    EXPECT_THAT(doubles::callTexts(),
                ElementsAre("Kavun_GetPort(out)", "SELVIK_DCM_StopPreview(5)", "Kavun_FreePort(0)"));
}

TEST_F(DoublesTest, FailsJustTheCallThatTheScriptNames)
{
    doubles::script("Kavun_GetPort", {0, 9});
    long nFirst = -1;
    long nSecond = -1;
    long nThird = -1;

    EXPECT_NE(Kavun_GetPort(&nFirst), 0);
    EXPECT_EQ(Kavun_GetPort(&nSecond), 0);
    EXPECT_EQ(Kavun_GetLastError(-1), 9UL);
    EXPECT_NE(Kavun_GetPort(&nThird), 0);

    EXPECT_EQ(nSecond, -1);
    EXPECT_THAT(doubles::openPorts(), ElementsAre(0, 1));
}

TEST_F(DoublesTest, KeepsLastErrorsApartByThread)
{
    long nPort = -1;
    Kavun_GetPort(&nPort);
    doubles::script("Kavun_Stop", {2});
    std::thread([nPort] { Kavun_Stop(nPort); }).join();

    EXPECT_EQ(Kavun_GetLastError(nPort), 0UL);
}

TEST_F(DoublesTest, RefusesAPortThatWasFreed)
{
    long nPort = -1;
    Kavun_GetPort(&nPort);
    Kavun_FreePort(nPort);

    EXPECT_EQ(Kavun_Stop(nPort), 0);
    EXPECT_EQ(Kavun_GetLastError(nPort), 1UL);
}

TEST_F(DoublesTest, RunsTheCallbackThatIsSetOnAnotherThread)
{
    long nPort = -1;
    Kavun_GetPort(&nPort);
    EXPECT_FALSE(doubles::fireFileEnd(nPort));
    unsigned long nThread = 0;
    Kavun_SetFileEndCallback(
        nPort, [](long, void *pUser) { *static_cast<unsigned long *>(pUser) = GetCurrentThreadId(); }, &nThread);

    EXPECT_TRUE(doubles::fireFileEnd(nPort));

    EXPECT_NE(nThread, 0UL);
    EXPECT_NE(nThread, GetCurrentThreadId());
}

TEST_F(DoublesTest, LetsACallbackExchangeItself)
{
    long nPort = -1;
    Kavun_GetPort(&nPort);
    Kavun_SetFileEndCallback(
        nPort, [](long nEnded, void *) { Kavun_SetFileEndCallback(nEnded, nullptr, nullptr); }, nullptr);

    EXPECT_TRUE(doubles::fireFileEnd(nPort));
    EXPECT_FALSE(doubles::fireFileEnd(nPort));
}

TEST_F(DoublesTest, SendsStreamDataUntilThePreviewIsStopped)
{
    std::string received;
    SELVIK_DCM_PREVIEW_INFO info = {};
    info.channel = 2;
    info.user = &received;
    info.callback = [](long, const SELVIK_DCM_STREAM_DATA *pData, void *pUser) {
        static_cast<std::string *>(pUser)->append(reinterpret_cast<const char *>(pData->bytes), pData->length);
    };
    const long nPreview = SELVIK_DCM_StartPreview(0, &info);

    EXPECT_TRUE(doubles::sendStream(nPreview, SELVIK_STREAM_HEADER, "head"));
    EXPECT_TRUE(doubles::sendStream(nPreview, SELVIK_STREAM_DATA, "data"));
    EXPECT_NE(SELVIK_DCM_StopPreview(nPreview), 0);
    EXPECT_FALSE(doubles::sendStream(nPreview, SELVIK_STREAM_DATA, "late"));

    EXPECT_EQ(received, "headdata");
    EXPECT_THAT(doubles::openPreviews(), testing::IsEmpty());
}

TEST_F(DoublesTest, WaitsForARunningCallbackBeforeExchangingIt)
{
    long nPort = -1;
    Kavun_GetPort(&nPort);
    struct Progress {
        HANDLE entered = CreateEventW(nullptr, TRUE, FALSE, nullptr);
        HANDLE leave = CreateEventW(nullptr, TRUE, FALSE, nullptr);
        volatile LONG nLeft = 0;
    } progress;
    Kavun_SetFileEndCallback(
        nPort,
        [](long, void *pUser) {
            auto *pProgress = static_cast<Progress *>(pUser);
            SetEvent(pProgress->entered);
            WaitForSingleObject(pProgress->leave, 5000);
            InterlockedExchange(&pProgress->nLeft, 1);
        },
        &progress);
    std::thread player([nPort] { doubles::fireFileEnd(nPort); });
    WaitForSingleObject(progress.entered, 5000);
    // The callback is let go only when the exchange has begun.
    doubles::whenCalled("Kavun_SetFileEndCallback", [&progress] { SetEvent(progress.leave); });

    Kavun_SetFileEndCallback(nPort, nullptr, nullptr);

    EXPECT_EQ(progress.nLeft, 1);
    player.join();
    CloseHandle(progress.entered);
    CloseHandle(progress.leave);
}

// ---- calls that are held ----

TEST_F(DoublesTest, LetsHeldCallsEndInAnotherOrderThanTheyBegan)
{
    doubles::hold("SELVIK_DCM_Logout");
    std::atomic<int> nEnded{0};
    int nFirst = 0;
    int nSecond = 0;
    std::thread first([&] {
        SELVIK_DCM_Logout(1);
        nFirst = ++nEnded;
    });
    ASSERT_TRUE(support::pumpUntil([] { return doubles::heldCalls("SELVIK_DCM_Logout") == 1; }, 20000));
    std::thread second([&] {
        SELVIK_DCM_Logout(2);
        nSecond = ++nEnded;
    });
    ASSERT_TRUE(support::pumpUntil([] { return doubles::heldCalls("SELVIK_DCM_Logout") == 2; }, 20000));

    EXPECT_TRUE(doubles::letThrough("SELVIK_DCM_Logout", 1));
    second.join();
    EXPECT_TRUE(doubles::letThrough("SELVIK_DCM_Logout"));
    first.join();

    EXPECT_EQ(nSecond, 1);
    EXPECT_EQ(nFirst, 2);
    EXPECT_FALSE(doubles::letThrough("SELVIK_DCM_Logout"));
}

TEST_F(DoublesTest, DelaysAlikeFromTheSameSeed)
{
    const auto run = [] {
        doubles::delayCalls(7, 1);
        std::vector<unsigned int> numbers;
        for (int i = 0; i < 5; ++i) {
            numbers.push_back(doubles::chance(1000));
        }
        return numbers;
    };

    EXPECT_EQ(run(), run());
}

// ---- previews as the device library has them ----

TEST_F(DoublesTest, HandsNoPreviewNumberOutTwice)
{
    const SELVIK_DCM_PREVIEW_INFO info = {};
    const long nFirst = SELVIK_DCM_StartPreview(0, &info);
    doubles::reset();

    EXPECT_GT(SELVIK_DCM_StartPreview(0, &info), nFirst);
}

TEST_F(DoublesTest, AnswersStartsAsTold)
{
    const SELVIK_DCM_PREVIEW_INFO info = {};
    doubles::answerStarts({-7, 5000});
    doubles::script("SELVIK_DCM_StartPreview", {8});

    EXPECT_EQ(SELVIK_DCM_StartPreview(0, &info), -7);
    EXPECT_EQ(SELVIK_DCM_GetLastError(), 8UL);
    EXPECT_EQ(SELVIK_DCM_StartPreview(0, &info), 5000);
    EXPECT_THAT(doubles::openPreviews(), ElementsAre(5000));
}

TEST_F(DoublesTest, StopsAPreviewFromInsideItsCallback)
{
    SELVIK_DCM_PREVIEW_INFO info = {};
    info.callback = [](long nPreview, const SELVIK_DCM_STREAM_DATA *, void *) { SELVIK_DCM_StopPreview(nPreview); };
    const long nPreview = SELVIK_DCM_StartPreview(0, &info);

    EXPECT_TRUE(doubles::sendStream(nPreview, SELVIK_STREAM_HEADER, "head"));

    EXPECT_THAT(doubles::openPreviews(), testing::IsEmpty());
    EXPECT_EQ(SELVIK_DCM_StopPreview(nPreview), 0);
    EXPECT_EQ(SELVIK_DCM_GetLastError(), static_cast<unsigned long>(SELVIK_ERROR_HANDLE));
}

TEST_F(DoublesTest, SendsByItselfFromTheStartToTheStop)
{
    struct Received {
        std::atomic<int> nHeaders{0};
        std::atomic<int> nData{0};
    } received;
    SELVIK_DCM_PREVIEW_INFO info = {};
    info.user = &received;
    info.callback = [](long, const SELVIK_DCM_STREAM_DATA *pData, void *pUser) {
        auto *pReceived = static_cast<Received *>(pUser);
        ++(pData->type == SELVIK_STREAM_HEADER ? pReceived->nHeaders : pReceived->nData);
    };
    doubles::Traffic traffic;
    traffic.recordsPerHeader = 4;
    traffic.longestPause = 1;
    doubles::setTraffic(&traffic);
    const long nPreview = SELVIK_DCM_StartPreview(0, &info);
    ASSERT_TRUE(support::pumpUntil([&] { return received.nHeaders >= 2 && received.nData >= 3; }, 20000));

    SELVIK_DCM_StopPreview(nPreview);
    const int nData = received.nData;
    const int nHeaders = received.nHeaders;

    EXPECT_TRUE(support::pumpUntil([] { return doubles::runningStreams() == 0; }, 20000));
    EXPECT_EQ(received.nData, nData);
    EXPECT_EQ(received.nHeaders, nHeaders);
}

TEST_F(DoublesTest, WaitsForNoOtherPreviewsCallback)
{
    struct Progress {
        HANDLE entered = CreateEventW(nullptr, TRUE, FALSE, nullptr);
        HANDLE leave = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    } progress;
    SELVIK_DCM_PREVIEW_INFO info = {};
    info.user = &progress;
    info.callback = [](long, const SELVIK_DCM_STREAM_DATA *, void *pUser) {
        SetEvent(static_cast<Progress *>(pUser)->entered);
        WaitForSingleObject(static_cast<Progress *>(pUser)->leave, 20000);
    };
    const long nBusy = SELVIK_DCM_StartPreview(0, &info);
    const long nOther = SELVIK_DCM_StartPreview(0, &info);
    std::thread device([nBusy] { doubles::sendStream(nBusy, SELVIK_STREAM_DATA, "data"); });
    WaitForSingleObject(progress.entered, 20000);

    EXPECT_NE(SELVIK_DCM_StopPreview(nOther), 0);

    SetEvent(progress.leave);
    device.join();
    EXPECT_NE(SELVIK_DCM_StopPreview(nBusy), 0);
    CloseHandle(progress.entered);
    CloseHandle(progress.leave);
}

} // namespace
