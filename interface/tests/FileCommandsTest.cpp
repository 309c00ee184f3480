#include "interface/tests/PelloraFixture.h"

#include <cstring>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

class FileCommandsTest : public PelloraFixture
{
};

// ---- previews of files ----

TEST_F(FileCommandsTest, OpensTheOverlayBeforeItListensForTheEndOfALoop)
{
    const long lHandle = createWindow();
    std::string path = "a.mkv";

    EXPECT_EQ(PELLORA_PreviewFile(lHandle, path.data(), 1, 1), 1);

    const std::string pane = spelled(panesOf(videoWindows().front()).front());
    Texts calls = newCalls();
    ASSERT_EQ(calls.size(), 9U);
    EXPECT_THAT(calls[7], testing::AllOf(testing::StartsWith("Kavun_RegisterDrawFun(0, 0x"),
                                         testing::EndsWith(", " + pane + ")")));
    EXPECT_THAT(calls[8], testing::AllOf(testing::StartsWith("Kavun_SetFileEndCallback(0, 0x"),
                                         testing::EndsWith(", " + pane + ")")));
}

TEST_F(FileCommandsTest, LoopsAndOpensTheOverlayForAnyValueButZero)
{
    const long lHandle = createWindow();
    std::string path = "a.mkv";
    for (const unsigned char byFlag : {1, 2, 255}) {
        newCalls();
        EXPECT_EQ(PELLORA_PreviewFile(lHandle, path.data(), byFlag, byFlag), 1);
        const Texts calls = newCalls();
        ASSERT_GE(calls.size(), 2U);
        EXPECT_THAT(calls[calls.size() - 2], testing::StartsWith("Kavun_RegisterDrawFun(")) << byFlag;
        EXPECT_THAT(calls.back(), testing::StartsWith("Kavun_SetFileEndCallback(")) << byFlag;
    }
}

TEST_F(FileCommandsTest, StopsTheFileThatPlaysBeforeTheNext)
{
    const long lHandle = createWindow();
    playFile(lHandle);
    std::string path = "b.mkv";

    EXPECT_EQ(PELLORA_PreviewFile(lHandle, path.data(), 0, 0), 1);

    Texts calls = newCalls();
    calls.resize(7);
    EXPECT_THAT(calls, ElementsAre("Kavun_RegisterDrawFun(0, null, null)", "Kavun_SetFileEndCallback(0, null, null)",
                                   "Kavun_SetFileRefCallBack(0, null, null)", "Kavun_Stop(0)", "Kavun_CloseFile(0)",
                                   "Kavun_FreePort(0)", "Kavun_GetPort(out)"));
    EXPECT_THAT(doubles::openPorts(), ElementsAre(1));
}

TEST_F(FileCommandsTest, AsksTheDeviceLibraryForNothingWhenNoPreviewRuns)
{
    const long lHandle = createWindow();
    playFile(lHandle);
    std::string path = "b.mkv";

    PELLORA_PreviewFile(lHandle, path.data(), 0, 0);
    PELLORA_StopPreviewFile(lHandle);

    EXPECT_THAT(newCalls(), testing::Not(testing::Contains(testing::StartsWith("SELVIK"))));
}

TEST_F(FileCommandsTest, SaysThatAFileCannotBeOpened)
{
    const long lHandle = createWindow();
    m_log.clear();
    doubles::script("Kavun_OpenFile", {4});
    std::string path = "missing.mkv";

    EXPECT_EQ(PELLORA_PreviewFile(lHandle, path.data(), 0, 0), 0);

    EXPECT_THAT(m_log.texts(), ElementsAre("INFO PELLORA_PreviewFile: lHandle: 0, pFileName: missing.mkv",
                                           "ERROR Kavun_OpenFile error: 4."));
    EXPECT_THAT(doubles::openPorts(), IsEmpty());
}

TEST_F(FileCommandsTest, PlaysTheNextFileAfterOneThatCannotBeOpened)
{
    const long lHandle = createWindow();
    doubles::script("Kavun_OpenFile", {4});
    std::string path = "missing.mkv";
    PELLORA_PreviewFile(lHandle, path.data(), 1, 1);

    EXPECT_EQ(playFile(lHandle), 1);
    EXPECT_EQ(PELLORA_Pause(lHandle), 1);
}

TEST_F(FileCommandsTest, PlaysAFileInEachPane)
{
    const long lHandle = createWindow();
    for (long nPane = 0; nPane < 9; ++nPane) {
        EXPECT_EQ(PELLORA_SetCurWnd(lHandle, nPane), 1);
        EXPECT_EQ(playFile(lHandle), nPane);
    }
    PELLORA_SetCurWnd(lHandle, 4);
    newCalls();

    PELLORA_Pause(lHandle);

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_Pause(4, 1)"));
}

TEST_F(FileCommandsTest, StopsNothingWhenNoFilePlays)
{
    const long lHandle = createWindow();

    EXPECT_EQ(PELLORA_StopPreviewFile(lHandle), 1);

    EXPECT_THAT(newCalls(), IsEmpty());
}

TEST_F(FileCommandsTest, StopsAllFilesWhenTheWindowIsDestroyed)
{
    const long lHandle = createWindow();
    playFile(lHandle);
    PELLORA_SetCurWnd(lHandle, 7);
    playFile(lHandle);

    EXPECT_EQ(PELLORA_DestroyWindow(lHandle), 1);

    EXPECT_THAT(doubles::openPorts(), IsEmpty());
}

// ---- speed ----

TEST_F(FileCommandsTest, ReplaysSpeedStepsOnPlayButNotOnRestore)
{
    const long lHandle = createWindow();
    playFile(lHandle);
    PELLORA_Pause(lHandle);
    EXPECT_EQ(PELLORA_Fast(lHandle), 1);
    EXPECT_EQ(PELLORA_Restore(lHandle), 1);
    EXPECT_THAT(newCalls(), ElementsAre("Kavun_Pause(0, 1)", "Kavun_Pause(0, 0)"));

    EXPECT_EQ(PELLORA_Play(lHandle), 1);

    EXPECT_THAT(newCalls(), ElementsAre(testing::StartsWith("Kavun_Play(0, 0x"), "Kavun_Fast(0)"));
}

TEST_F(FileCommandsTest, StepsNoPictureBackBeforeTheIndexIsComplete)
{
    const long lHandle = createWindow();
    playFile(lHandle);

    EXPECT_EQ(PELLORA_OneByOneBack(lHandle), 0);

    EXPECT_THAT(newCalls(), IsEmpty());
    EXPECT_THAT(m_log.texts(), ElementsAre("INFO PELLORA_OneByOneBack: lHandle: 0", "ERROR m_bFileRefDone: 0."));
}

// ---- times ----

TEST_F(FileCommandsTest, LeavesTimesAloneThatThePlayerDoesNotKnow)
{
    const long lHandle = createWindow();
    playFile(lHandle);
    doubles::script("Kavun_GetSystemTime", {10});
    doubles::script("Kavun_GetFileTotalTime", {10});
    tagPELLORA_SYSTEM_TIME time = {1, 2, 3, 4, 5, 6, 7};
    const tagPELLORA_SYSTEM_TIME before = time;

    PELLORA_GetSystemTime(lHandle, &time);
    PELLORA_GetSystemFileTime(lHandle, &time, &time);

    EXPECT_EQ(std::memcmp(&time, &before, sizeof(time)), 0);
}

// ---- pictures ----

TEST_F(FileCommandsTest, RewritesTheCropRectangleInPlaceAndHandsTheRecordBack)
{
    const long lHandle = createWindow();
    playFile(lHandle);
    unsigned char buffer[16] = {};
    unsigned long crop[4] = {1, 999, 1000, 1001};
    tagPELLORA_CROP_PIC_INFO info = {buffer, sizeof(buffer), 0, 0, {0, 0, 0}, crop};

    EXPECT_EQ(PELLORA_Screenshot(lHandle, &info), 1);

    EXPECT_THAT(crop, ElementsAre(0UL, 575UL, 704UL, 576UL));
    EXPECT_EQ(info.dwPicSize, 4UL);
    EXPECT_EQ(info.pBuf, buffer);
    EXPECT_EQ(info.pCropRect, crop);
    EXPECT_STREQ(reinterpret_cast<char *>(buffer), "jpeg");
}

TEST_F(FileCommandsTest, RewritesTheCropRectangleAlsoWhenThePlayerFails)
{
    const long lHandle = createWindow();
    playFile(lHandle);
    doubles::script("Kavun_GetCropJPEG", {8});
    unsigned long crop[4] = {0, 0, 1000, 1000};
    tagPELLORA_CROP_PIC_INFO info = {nullptr, 0, 0, 0, {0, 0, 0}, crop};

    EXPECT_EQ(PELLORA_Screenshot(lHandle, &info), 0);

    EXPECT_THAT(crop, ElementsAre(0UL, 0UL, 704UL, 576UL));
}

TEST_F(FileCommandsTest, CropsNothingOfAPictureWithoutASize)
{
    const long lHandle = createWindow();
    playFile(lHandle);
    doubles::script("Kavun_GetPictureSize", {8});
    unsigned long crop[4] = {100, 100, 900, 900};
    tagPELLORA_CROP_PIC_INFO info = {nullptr, 0, 0, 0, {0, 0, 0}, crop};

    EXPECT_EQ(PELLORA_Screenshot(lHandle, &info), 1);

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_GetPictureSize(0, out, out)",
                                        "Kavun_GetCropJPEG(0, {null, 0, 0, 0, 0, 0, 0, {0, 0, 0, 0}})"));
}

TEST_F(FileCommandsTest, TakesNoScreenshotWithoutARecordOrARectangle)
{
    const long lHandle = createWindow();
    playFile(lHandle);
    tagPELLORA_CROP_PIC_INFO info = {};

    EXPECT_EQ(PELLORA_Screenshot(lHandle, nullptr), 0);
    EXPECT_THAT(newCalls(), IsEmpty());
    EXPECT_THAT(m_log.texts(),
                ElementsAre("INFO PELLORA_Screenshot: lHandle: 0", "WARN PELLORA_Screenshot: pInfo is null"));
    EXPECT_EQ(PELLORA_Screenshot(lHandle, &info), 0);
}

// ---- end of file ----

long g_nEnded = -1;
int g_nEnds = 0;

void countEnds(long lHandle)
{
    g_nEnded = lHandle;
    ++g_nEnds;
}

class FileEndTest : public PelloraFixture
{
protected:
    void SetUp() override
    {
        PelloraFixture::SetUp();
        g_nEnded = -1;
        g_nEnds = 0;
    }
};

TEST_F(FileEndTest, TellsTheHostOnItsOwnThreadWithTheWindowsHandle)
{
    createWindow();
    const long lHandle = createWindow();
    const long nPort = playFile(lHandle);
    PELLORA_SetFileEndCallback(lHandle, &countEnds);
    doubles::fireFileEnd(nPort);
    EXPECT_EQ(g_nEnds, 0);

    EXPECT_TRUE(support::pumpUntil([] { return g_nEnds > 0; }));

    EXPECT_EQ(g_nEnds, 1);
    EXPECT_EQ(g_nEnded, lHandle);
}

TEST_F(FileEndTest, PlaysALoopFromItsBeginningAfterTellingTheHost)
{
    const long lHandle = createWindow();
    PELLORA_SetFileEndCallback(lHandle, &countEnds);
    const long nPort = playFile(lHandle, 1);
    doubles::whenCalled("Kavun_SetPlayedTimeEx", [] { EXPECT_EQ(g_nEnds, 1); });
    doubles::fireFileEnd(nPort);

    EXPECT_TRUE(support::pumpUntil([] { return !doubles::callTexts().empty(); }));

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_SetPlayedTimeEx(0, 0)"));
}

TEST_F(FileEndTest, SeeksNothingWhenTheFileDoesNotLoop)
{
    const long lHandle = createWindow();
    const long nPort = playFile(lHandle, 0);
    PELLORA_SetFileEndCallback(lHandle, &countEnds);
    newCalls();
    doubles::fireFileEnd(nPort);

    EXPECT_TRUE(support::pumpUntil([] { return g_nEnds > 0; }));

    EXPECT_THAT(newCalls(), IsEmpty());
}

TEST_F(FileEndTest, KeepsACallbackThatWasSetBeforeTheFile)
{
    const long lHandle = createWindow();
    EXPECT_EQ(PELLORA_SetFileEndCallback(lHandle, &countEnds), 0UL);
    const long nPort = playFile(lHandle, 0);
    ASSERT_TRUE(doubles::fireFileEnd(nPort));

    EXPECT_TRUE(support::pumpUntil([] { return g_nEnds > 0; }));
    EXPECT_EQ(g_nEnded, lHandle);
}

TEST_F(FileEndTest, KeepsTheCallbackForTheNextFile)
{
    const long lHandle = createWindow();
    playFile(lHandle);
    PELLORA_SetFileEndCallback(lHandle, &countEnds);
    PELLORA_StopPreviewFile(lHandle);
    const long nPort = playFile(lHandle);
    ASSERT_TRUE(doubles::fireFileEnd(nPort));

    EXPECT_TRUE(support::pumpUntil([] { return g_nEnds > 0; }));
}

TEST_F(FileEndTest, ForgetsAClearedCallback)
{
    const long lHandle = createWindow();
    PELLORA_SetFileEndCallback(lHandle, &countEnds);
    EXPECT_EQ(PELLORA_SetFileEndCallback(lHandle, nullptr), 0UL);

    const long nPort = playFile(lHandle, 0);

    EXPECT_FALSE(doubles::fireFileEnd(nPort));
}

TEST_F(FileEndTest, TellsNobodyAfterTheCallbackWasClearedInALoop)
{
    const long lHandle = createWindow();
    PELLORA_SetFileEndCallback(lHandle, &countEnds);
    const long nPort = playFile(lHandle, 1);

    EXPECT_EQ(PELLORA_SetFileEndCallback(lHandle, nullptr), 1UL);

    doubles::fireFileEnd(nPort);
    support::pumpPosted();
    EXPECT_EQ(g_nEnds, 0);
}

TEST_F(FileEndTest, HasNoEffectOnceTheFileWasStopped)
{
    const long lHandle = createWindow();
    PELLORA_SetFileEndCallback(lHandle, &countEnds);
    const long nPort = playFile(lHandle, 1);
    ASSERT_TRUE(doubles::fireFileEnd(nPort));
    PELLORA_StopPreviewFile(lHandle);
    newCalls();

    support::pumpPosted();

    EXPECT_EQ(g_nEnds, 0);
    EXPECT_THAT(newCalls(), IsEmpty());
}

TEST_F(FileEndTest, HasNoEffectOnTheNextFile)
{
    const long lHandle = createWindow();
    PELLORA_SetFileEndCallback(lHandle, &countEnds);
    ASSERT_TRUE(doubles::fireFileEnd(playFile(lHandle, 1)));
    playFile(lHandle, 1);

    support::pumpPosted();

    EXPECT_EQ(g_nEnds, 0);
    EXPECT_THAT(newCalls(), IsEmpty());
}

TEST_F(FileEndTest, ReachesNobodyOnceTheWindowIsGone)
{
    const long lHandle = createWindow();
    PELLORA_SetFileEndCallback(lHandle, &countEnds);
    ASSERT_TRUE(doubles::fireFileEnd(playFile(lHandle, 1)));
    PELLORA_DestroyWindow(lHandle);

    support::pumpPosted();

    EXPECT_EQ(g_nEnds, 0);
}

TEST_F(FileEndTest, LetsTheHostDestroyTheWindowFromTheCallback)
{
    const long lHandle = createWindow();
    PELLORA_SetFileEndCallback(lHandle, [](long lEnded) {
        ++g_nEnds;
        EXPECT_EQ(PELLORA_DestroyWindow(lEnded), 1);
        EXPECT_EQ(PELLORA_Play(lEnded), 0);
    });
    ASSERT_TRUE(doubles::fireFileEnd(playFile(lHandle, 1)));

    EXPECT_TRUE(support::pumpUntil([] { return videoWindows().empty(); }));

    EXPECT_EQ(g_nEnds, 1);
    EXPECT_THAT(doubles::openPorts(), IsEmpty());
}

TEST_F(FileEndTest, ReusesTheHandleThatWasDestroyedInTheCallbackAtOnce)
{
    static support::HostWindow *s_pHost;
    static long s_lNew;
    s_pHost = m_pHost.get();
    s_lNew = -1;
    const long lHandle = createWindow();
    PELLORA_SetFileEndCallback(lHandle, [](long lEnded) {
        PELLORA_DestroyWindow(lEnded);
        s_lNew = PELLORA_CreateWindow(s_pHost->handle(), 2);
    });
    ASSERT_TRUE(doubles::fireFileEnd(playFile(lHandle)));

    EXPECT_TRUE(support::pumpUntil([] { return s_lNew >= 0; }));
    EXPECT_EQ(s_lNew, lHandle);
    EXPECT_TRUE(support::pumpUntil([] { return videoWindows().size() == 1; }));
    EXPECT_EQ(PELLORA_StopPreviewFile(s_lNew), 1);
}

TEST_F(FileEndTest, LetsTheHostPlayTheNextFileFromTheCallback)
{
    const long lHandle = createWindow();
    PELLORA_SetFileEndCallback(lHandle, [](long lEnded) {
        ++g_nEnds;
        std::string path = "next.mkv";
        EXPECT_EQ(PELLORA_PreviewFile(lEnded, path.data(), 1, 0), 1);
    });
    ASSERT_TRUE(doubles::fireFileEnd(playFile(lHandle, 1)));

    EXPECT_TRUE(support::pumpUntil([] { return g_nEnds > 0; }));

    // The end belonged to the file before: the next one is not sent back to its beginning.
    EXPECT_THAT(newCalls(), testing::Not(testing::Contains("Kavun_SetPlayedTimeEx(1, 0)")));
}

// ---- texts ----

TEST_F(FileCommandsTest, PrintsANullNameAndHandsItOn)
{
    const long lHandle = createWindow();
    m_log.clear();
    doubles::script("Kavun_OpenFile", {1});

    EXPECT_EQ(PELLORA_PreviewFile(lHandle, nullptr, 0, 0), 0);

    EXPECT_THAT(m_log.texts(), ElementsAre("INFO PELLORA_PreviewFile: lHandle: 0, pFileName: (null)",
                                           "ERROR Kavun_OpenFile error: 1."));
}

TEST_F(FileCommandsTest, LogsNoMoreThanAKibibyteOfANameAndPlaysAllOfIt)
{
    const long lHandle = createWindow();
    m_log.clear();
    std::string path(5000, 'x');

    EXPECT_EQ(PELLORA_PreviewFile(lHandle, path.data(), 0, 0), 1);

    EXPECT_THAT(newCalls(), testing::Contains("Kavun_OpenFile(0, \"" + path + "\")"));
    const std::string message = m_log.first().message;
    const std::string beginning = "PELLORA_PreviewFile: lHandle: 0, pFileName: ";
    ASSERT_EQ(message.substr(0, beginning.size()), beginning);
    EXPECT_GE(message.size(), beginning.size() + 1000);
    EXPECT_LE(message.size(), beginning.size() + 1024);
}

TEST_F(FileCommandsTest, ReadsANameOnlyAsFarAsItCanBeRead)
{
    constexpr std::size_t kPage = 4096;
    auto *pPages = static_cast<char *>(VirtualAlloc(nullptr, 2 * kPage, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE));
    DWORD nOld = 0;
    ASSERT_TRUE(VirtualProtect(pPages + kPage, kPage, PAGE_NOACCESS, &nOld));
    // NOLINTNEXTLINE(bugprone-not-null-terminated-result): that there is no end is the point.
    std::memcpy(pPages + kPage - 5, "films", 5);

    // No such window: the name reaches the log only.
    EXPECT_EQ(PELLORA_PreviewFile(99, pPages + kPage - 5, 0, 0), 0);
    EXPECT_EQ(PELLORA_PreviewFile(99, pPages + kPage, 0, 0), 0);
    EXPECT_EQ(PELLORA_PreviewFile(99, reinterpret_cast<char *>(0x10), 0, 0), 0);

    EXPECT_EQ(m_log.first().message, "PELLORA_PreviewFile: lHandle: 99, pFileName: films");
    EXPECT_EQ(m_log.texts().size(), 3U);
    VirtualFree(pPages, 0, MEM_RELEASE);
}

// ---- pane choice ----

} // namespace
