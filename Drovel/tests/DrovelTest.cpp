#include "Drovel/tests/DrovelFixture.h"

#include <cstring>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

const char *const kStartStream =
    "bool __cdecl pellora::Drovel::startPlayStream(unsigned char *,unsigned long,struct HWND__ *)";
const char *const kStopStream = "bool __cdecl pellora::Drovel::stopPlayStream(void)";
const char *const kStartFile = "bool __cdecl pellora::Drovel::startPlayFile(char *,struct HWND__ *)";
const char *const kStopFile = "bool __cdecl pellora::Drovel::stopPlayFile(void)";
const char *const kPlay = "bool __cdecl pellora::Drovel::play(void)";
const char *const kFileTimeNoPreview = "unsigned long __cdecl pellora::Drovel::getFileTimeNoPreview(char *)";

class DrovelTest : public DrovelFixture
{
protected:
    std::string fileRefCall(long nPort) const
    {
        const auto address =
            reinterpret_cast<unsigned long long>(reinterpret_cast<void *>(&pellora::Drovel::fileRefDoneCallback));
        char text[128];
        std::snprintf(text, sizeof(text), "Kavun_SetFileRefCallBack(%ld, 0x%llX, 0x%llX)", nPort, address,
                      reinterpret_cast<unsigned long long>(&m_drovel));
        return text;
    }

    bool startStream()
    {
        return m_drovel.startPlayStream(header(), 3, m_hWnd);
    }

    bool startFile()
    {
        return m_drovel.startPlayFile(m_sPath.data(), m_hWnd);
    }

    void input(const char *pBytes)
    {
        std::string bytes = pBytes;
        m_drovel.inputData(reinterpret_cast<unsigned char *>(bytes.data()), static_cast<unsigned long>(bytes.size()));
    }
};

// ---- a fresh object ----

TEST_F(DrovelTest, HasNoPortAtFirst)
{
    EXPECT_FALSE(m_drovel.isOpened());
    EXPECT_THAT(newCalls(), IsEmpty());
}

TEST_F(DrovelTest, LeavesItsPortOpenWhenItGoesAway)
{
    {
        pellora::Drovel drovel;
        ASSERT_TRUE(drovel.startPlayStream(header(), 3, m_hWnd));
        doubles::clearCalls();
    }
    EXPECT_THAT(newCalls(), IsEmpty());
    EXPECT_THAT(doubles::openPorts(), ElementsAre(0));
    Kavun_FreePort(0);
}

// ---- live streams: start ----

TEST_F(DrovelTest, StartsAStreamInTheOrderThatThePlayerNeeds)
{
    EXPECT_TRUE(startStream());

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_GetPort(out)", "Kavun_SetStreamOpenMode(0, 0)",
                                        "Kavun_OpenStream(0, [010203], 3, 5242880)", "Kavun_SetDisplayBuf(0, 6)",
                                        "Kavun_Play(0, 0x1234)", "Kavun_GetLastError(0)",
                                        "Kavun_RenderPrivateData(0, 255, 0)", "Kavun_GetLastError(0)"));
    EXPECT_TRUE(m_drovel.isOpened());
    EXPECT_THAT(m_log.lines(), IsEmpty());
}

TEST_F(DrovelTest, HandsTheStoredOpenModeToAStream)
{
    m_drovel.setStreamOpenMode(7);
    EXPECT_THAT(newCalls(), IsEmpty());

    startStream();

    EXPECT_THAT(newCalls(), testing::Contains("Kavun_SetStreamOpenMode(0, 7)"));
}

TEST_F(DrovelTest, HasNoPortWhenAStreamGetsNone)
{
    doubles::script("Kavun_GetPort", {9});

    EXPECT_FALSE(startStream());

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_GetPort(out)", "Kavun_GetLastError(-1)"));
    EXPECT_FALSE(m_drovel.isOpened());
    EXPECT_THAT(m_log.lines(), ElementsAre(IsLogLine("ERROR", "Kavun_GetPort error: 9.", kStartStream)));
}

TEST_F(DrovelTest, FreesThePortWhenTheStreamModeIsRefused)
{
    doubles::script("Kavun_SetStreamOpenMode", {1});

    EXPECT_FALSE(startStream());

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_GetPort(out)", "Kavun_SetStreamOpenMode(0, 0)", "Kavun_GetLastError(0)",
                                        "Kavun_FreePort(0)"));
    EXPECT_THAT(m_log.lines(), ElementsAre(IsLogLine("ERROR", "Kavun_SetStreamOpenMode error: 1.", kStartStream)));
    EXPECT_THAT(doubles::openPorts(), IsEmpty());
}

TEST_F(DrovelTest, FreesThePortWhenTheStreamCannotBeOpened)
{
    doubles::script("Kavun_OpenStream", {3});

    EXPECT_FALSE(startStream());

    EXPECT_THAT(newCalls(),
                ElementsAre("Kavun_GetPort(out)", "Kavun_SetStreamOpenMode(0, 0)",
                            "Kavun_OpenStream(0, [010203], 3, 5242880)", "Kavun_GetLastError(0)", "Kavun_FreePort(0)"));
    EXPECT_THAT(m_log.lines(), ElementsAre(IsLogLine("ERROR", "Kavun_OpenStream error: 3.", kStartStream)));
    EXPECT_THAT(doubles::openPorts(), IsEmpty());
}

TEST_F(DrovelTest, CountsAsOpenedWithItsFreedNumberUntilTheNextStop)
{
    doubles::script("Kavun_OpenStream", {3});
    startStream();
    EXPECT_TRUE(m_drovel.isOpened());

    EXPECT_TRUE(m_drovel.stopPlayStream());
    EXPECT_FALSE(m_drovel.isOpened());
}

TEST_F(DrovelTest, StopsTheFreedNumberBeforeTheNextStart)
{
    doubles::script("Kavun_OpenStream", {3});
    startStream();
    newCalls();
    m_log.clear();

    EXPECT_TRUE(startStream());

    Texts calls = newCalls();
    calls.resize(7);
    EXPECT_THAT(calls,
                ElementsAre("Kavun_Stop(0)", "Kavun_GetLastError(0)", "Kavun_CloseStream(0)", "Kavun_GetLastError(0)",
                            "Kavun_FreePort(0)", "Kavun_GetLastError(0)", "Kavun_GetPort(out)"));
    EXPECT_THAT(m_log.texts(), ElementsAre("WARN Kavun_Stop error: 1.", "WARN Kavun_CloseStream error: 1.",
                                           "WARN Kavun_FreePort error: 1."));
    EXPECT_THAT(doubles::openPorts(), ElementsAre(1));
}

TEST_F(DrovelTest, PlaysAStreamThatGotNoDisplayBuffers)
{
    doubles::script("Kavun_SetDisplayBuf", {3});

    EXPECT_TRUE(startStream());

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_GetPort(out)", "Kavun_SetStreamOpenMode(0, 0)",
                                        "Kavun_OpenStream(0, [010203], 3, 5242880)", "Kavun_SetDisplayBuf(0, 6)",
                                        "Kavun_GetLastError(0)", "Kavun_Play(0, 0x1234)", "Kavun_GetLastError(0)",
                                        "Kavun_RenderPrivateData(0, 255, 0)", "Kavun_GetLastError(0)"));
    EXPECT_THAT(m_log.lines(), ElementsAre(IsLogLine("ERROR", "Kavun_SetDisplayBuf error: 3.", kStartStream)));
}

TEST_F(DrovelTest, SaysNothingWhenAStreamCannotBePlayedOrItsDataHidden)
{
    doubles::script("Kavun_Play", {2});
    doubles::script("Kavun_RenderPrivateData", {2});

    EXPECT_TRUE(startStream());

    EXPECT_TRUE(m_drovel.isOpened());
    EXPECT_THAT(m_log.lines(), IsEmpty());
}

TEST_F(DrovelTest, StopsTheStreamThatRunsBeforeTheNext)
{
    openStream();

    EXPECT_TRUE(startStream());

    EXPECT_THAT(newCalls(),
                ElementsAre("Kavun_Stop(0)", "Kavun_CloseStream(0)", "Kavun_FreePort(0)", "Kavun_GetPort(out)",
                            "Kavun_SetStreamOpenMode(1, 0)", "Kavun_OpenStream(1, [010203], 3, 5242880)",
                            "Kavun_SetDisplayBuf(1, 6)", "Kavun_Play(1, 0x1234)", "Kavun_GetLastError(1)",
                            "Kavun_RenderPrivateData(1, 255, 0)", "Kavun_GetLastError(1)"));
    EXPECT_THAT(doubles::openPorts(), ElementsAre(1));
}

TEST_F(DrovelTest, HasNoPortWhenTheNextStreamGetsNone)
{
    openStream();
    doubles::script("Kavun_GetPort", {9});

    EXPECT_FALSE(startStream());

    EXPECT_FALSE(m_drovel.isOpened());
}

// ---- live streams: stop ----

TEST_F(DrovelTest, StopsNoStreamWithoutAPort)
{
    EXPECT_FALSE(m_drovel.stopPlayStream());
    EXPECT_THAT(newCalls(), IsEmpty());
    EXPECT_THAT(m_log.lines(), IsEmpty());
}

TEST_F(DrovelTest, StopsClosesAndFreesAStream)
{
    openStream();

    EXPECT_TRUE(m_drovel.stopPlayStream());

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_Stop(0)", "Kavun_CloseStream(0)", "Kavun_FreePort(0)"));
    EXPECT_FALSE(m_drovel.isOpened());
    EXPECT_THAT(m_log.lines(), IsEmpty());
}

TEST_F(DrovelTest, GoesOnStoppingAStreamWhateverFails)
{
    openStream();
    doubles::script("Kavun_Stop", {2});
    doubles::script("Kavun_CloseStream", {3});
    doubles::script("Kavun_FreePort", {4});

    EXPECT_TRUE(m_drovel.stopPlayStream());

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_Stop(0)", "Kavun_GetLastError(0)", "Kavun_CloseStream(0)",
                                        "Kavun_GetLastError(0)", "Kavun_FreePort(0)", "Kavun_GetLastError(0)"));
    EXPECT_THAT(m_log.lines(), ElementsAre(IsLogLine("WARN", "Kavun_Stop error: 2.", kStopStream),
                                           IsLogLine("WARN", "Kavun_CloseStream error: 3.", kStopStream),
                                           IsLogLine("WARN", "Kavun_FreePort error: 4.", kStopStream)));
    EXPECT_FALSE(m_drovel.isOpened());
    Kavun_FreePort(0);
}

// ---- live streams: data ----

TEST_F(DrovelTest, TakesNoDataWithoutAPort)
{
    input("\x0a\x0b");
    EXPECT_THAT(newCalls(), IsEmpty());
}

TEST_F(DrovelTest, HandsDataOn)
{
    openStream();

    input("\x0a\x0b");

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_InputData(0, [0A0B], 2)"));
}

TEST_F(DrovelTest, DropsDataSilentlyAfterFourFullBuffers)
{
    openStream();
    doubles::script("Kavun_InputData", {}, KAVUN_ERROR_BUFFER_FULL);

    input("\x0a");

    EXPECT_THAT(newCalls(),
                ElementsAre("Kavun_InputData(0, [0A], 1)", "Kavun_GetLastError(0)", "Kavun_InputData(0, [0A], 1)",
                            "Kavun_InputData(0, [0A], 1)", "Kavun_InputData(0, [0A], 1)"));
    EXPECT_THAT(m_log.lines(), IsEmpty());
}

TEST_F(DrovelTest, StopsTryingWhenTheBufferTakesTheData)
{
    openStream();
    doubles::script("Kavun_InputData", {KAVUN_ERROR_BUFFER_FULL, KAVUN_ERROR_BUFFER_FULL});

    input("\x0a");

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_InputData(0, [0A], 1)", "Kavun_GetLastError(0)",
                                        "Kavun_InputData(0, [0A], 1)", "Kavun_InputData(0, [0A], 1)"));
}

TEST_F(DrovelTest, TriesDataThatFailOtherwiseOnlyOnce)
{
    openStream();
    doubles::script("Kavun_InputData", {}, KAVUN_ERROR_CORRUPT);

    input("\x0a");

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_InputData(0, [0A], 1)", "Kavun_GetLastError(0)"));
    EXPECT_THAT(m_log.lines(), IsEmpty());
}

// ---- files: start ----

TEST_F(DrovelTest, StartsAFileInTheOrderThatThePlayerNeeds)
{
    m_drovel.setStreamOpenMode(KAVUN_MODE_FILE);

    EXPECT_TRUE(startFile());

    EXPECT_THAT(newCalls(),
                ElementsAre("Kavun_GetPort(out)", fileRefCall(0), "Kavun_SetStreamOpenMode(0, 1)",
                            "Kavun_OpenFile(0, \"C:\\films\\a.mkv\")", "Kavun_SetDisplayBuf(0, 6)",
                            "Kavun_Play(0, 0x1234)", "Kavun_RenderPrivateData(0, 255, 0)", "Kavun_GetLastError(0)"));
    EXPECT_TRUE(m_drovel.isOpened());
    EXPECT_THAT(m_log.lines(), IsEmpty());
}

TEST_F(DrovelTest, HasNoPortWhenAFileGetsNone)
{
    doubles::script("Kavun_GetPort", {9});

    EXPECT_FALSE(startFile());

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_GetPort(out)", "Kavun_GetLastError(-1)"));
    EXPECT_FALSE(m_drovel.isOpened());
    EXPECT_THAT(m_log.lines(), ElementsAre(IsLogLine("ERROR", "Kavun_GetPort error: 9.", kStartFile)));
}

TEST_F(DrovelTest, PlaysAFileWhoseIndexNoticeIsRefused)
{
    doubles::script("Kavun_SetFileRefCallBack", {3});

    EXPECT_TRUE(startFile());

    EXPECT_THAT(m_log.lines(), ElementsAre(IsLogLine("ERROR", "Kavun_SetFileRefCallBack error: 3.", kStartFile)));
    EXPECT_THAT(newCalls(), testing::Contains("Kavun_Play(0, 0x1234)"));
}

TEST_F(DrovelTest, FreesThePortWhenTheFileModeIsRefused)
{
    doubles::script("Kavun_SetStreamOpenMode", {1});

    EXPECT_FALSE(startFile());

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_GetPort(out)", fileRefCall(0), "Kavun_SetStreamOpenMode(0, 0)",
                                        "Kavun_GetLastError(0)", "Kavun_FreePort(0)"));
    EXPECT_THAT(m_log.lines(), ElementsAre(IsLogLine("ERROR", "Kavun_SetStreamOpenMode error: 1.", kStartFile)));
    EXPECT_THAT(doubles::openPorts(), IsEmpty());
}

TEST_F(DrovelTest, FreesThePortWhenTheFileCannotBeOpened)
{
    doubles::script("Kavun_OpenFile", {4});

    EXPECT_FALSE(startFile());

    EXPECT_THAT(newCalls(),
                ElementsAre("Kavun_GetPort(out)", fileRefCall(0), "Kavun_SetStreamOpenMode(0, 0)",
                            "Kavun_OpenFile(0, \"C:\\films\\a.mkv\")", "Kavun_GetLastError(0)", "Kavun_FreePort(0)"));
    EXPECT_THAT(m_log.lines(), ElementsAre(IsLogLine("ERROR", "Kavun_OpenFile error: 4.", kStartFile)));
    EXPECT_THAT(doubles::openPorts(), IsEmpty());
    EXPECT_TRUE(m_drovel.isOpened());
}

TEST_F(DrovelTest, PlaysAFileThatGotNoDisplayBuffers)
{
    doubles::script("Kavun_SetDisplayBuf", {3});

    EXPECT_TRUE(startFile());

    EXPECT_THAT(m_log.lines(), ElementsAre(IsLogLine("ERROR", "Kavun_SetDisplayBuf error: 3.", kStartFile)));
    EXPECT_THAT(newCalls(), testing::Contains("Kavun_Play(0, 0x1234)"));
}

TEST_F(DrovelTest, CountsAFileAsPlayingWhateverThePlayerAnswers)
{
    doubles::script("Kavun_Play", {2});
    doubles::script("Kavun_RenderPrivateData", {2});
    EXPECT_TRUE(startFile());
    EXPECT_THAT(m_log.lines(), IsEmpty());
    newCalls();

    EXPECT_TRUE(m_drovel.fast());

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_Fast(0)"));
}

TEST_F(DrovelTest, HandsANullPathAndWindowToThePlayer)
{
    m_drovel.startPlayFile(nullptr, nullptr);

    EXPECT_THAT(newCalls(), testing::IsSupersetOf({"Kavun_OpenFile(0, null)", "Kavun_Play(0, null)"}));
}

TEST_F(DrovelTest, StopsTheFileThatPlaysBeforeTheNext)
{
    openFile();

    EXPECT_TRUE(startFile());

    Texts calls = newCalls();
    calls.resize(6);
    EXPECT_THAT(calls, ElementsAre("Kavun_SetFileRefCallBack(0, null, null)", "Kavun_Stop(0)", "Kavun_CloseFile(0)",
                                   "Kavun_FreePort(0)", "Kavun_GetPort(out)", fileRefCall(1)));
    EXPECT_THAT(doubles::openPorts(), ElementsAre(1));
}

// A start ends what it takes for its own kind. The port's owner ends a stream as a stream before; see PanePort.
TEST_F(DrovelTest, StopsAStreamWithTheFileCallsWhenAFileFollowsIt)
{
    openStream();

    startFile();

    Texts calls = newCalls();
    calls.resize(6);
    EXPECT_THAT(calls, ElementsAre("Kavun_SetFileRefCallBack(0, null, null)", "Kavun_Stop(0)", "Kavun_CloseFile(0)",
                                   "Kavun_GetLastError(0)", "Kavun_FreePort(0)", "Kavun_GetPort(out)"));
}

// ---- files: stop ----

TEST_F(DrovelTest, StopsClosesAndFreesAFile)
{
    openFile();

    EXPECT_TRUE(m_drovel.stopPlayFile());

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_SetFileRefCallBack(0, null, null)", "Kavun_Stop(0)",
                                        "Kavun_CloseFile(0)", "Kavun_FreePort(0)"));
    EXPECT_FALSE(m_drovel.isOpened());
    EXPECT_THAT(m_log.lines(), IsEmpty());
}

TEST_F(DrovelTest, GoesOnStoppingAFileWhateverFails)
{
    openFile();
    doubles::script("Kavun_SetFileRefCallBack", {1});
    doubles::script("Kavun_Stop", {2});
    doubles::script("Kavun_CloseFile", {3});
    doubles::script("Kavun_FreePort", {4});

    EXPECT_TRUE(m_drovel.stopPlayFile());

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_SetFileRefCallBack(0, null, null)", "Kavun_GetLastError(0)",
                                        "Kavun_Stop(0)", "Kavun_GetLastError(0)", "Kavun_CloseFile(0)",
                                        "Kavun_GetLastError(0)", "Kavun_FreePort(0)", "Kavun_GetLastError(0)"));
    EXPECT_THAT(m_log.lines(), ElementsAre(IsLogLine("ERROR", "Kavun_SetFileRefCallBack error: 1.", kStopFile),
                                           IsLogLine("WARN", "Kavun_Stop error: 2.", kStopFile),
                                           IsLogLine("WARN", "Kavun_CloseFile error: 3.", kStopFile),
                                           IsLogLine("WARN", "Kavun_FreePort error: 4.", kStopFile)));
    EXPECT_FALSE(m_drovel.isOpened());
    Kavun_FreePort(0);
}

TEST_F(DrovelTest, StopsNoFileWithoutAPort)
{
    EXPECT_FALSE(m_drovel.stopPlayFile());
    EXPECT_THAT(newCalls(), IsEmpty());
    EXPECT_THAT(m_log.lines(), IsEmpty());
}

TEST_F(DrovelTest, ForgetsSpeedStepsWhenAFileIsStoppedWithoutAPort)
{
    openStream();
    m_drovel.fast();
    m_drovel.stopPlayStream();

    EXPECT_FALSE(m_drovel.stopPlayFile());

    openStream();
    m_drovel.play();
    EXPECT_THAT(newCalls(), ElementsAre("Kavun_Play(1, null)"));
}

TEST_F(DrovelTest, ForgetsTheWindowWhenAFileIsStoppedWithoutAPort)
{
    openFile();
    m_drovel.stopPlayStream();

    EXPECT_FALSE(m_drovel.stopPlayFile());

    openStream();
    m_drovel.play();
    EXPECT_THAT(newCalls(), ElementsAre("Kavun_Play(1, null)"));
}

TEST_F(DrovelTest, ForgetsTheIndexWhenAFileIsStoppedWithoutAPort)
{
    m_drovel.setFileRefDone(true);

    EXPECT_FALSE(m_drovel.stopPlayFile());

    openStream();
    EXPECT_FALSE(m_drovel.oneByOneBack());
    EXPECT_THAT(newCalls(), IsEmpty());
}

TEST_F(DrovelTest, KeepsWindowStateAndSpeedWhenAStreamIsStopped)
{
    openFile();
    m_drovel.fast();
    m_drovel.stopPlayStream();
    openStream();

    m_drovel.fast();
    EXPECT_THAT(newCalls(), ElementsAre("Kavun_Fast(1)"));
    m_drovel.play();
    EXPECT_THAT(newCalls(), ElementsAre("Kavun_Play(1, 0x1234)", "Kavun_Fast(1)", "Kavun_Fast(1)"));
}

// ---- the file index ----

TEST_F(DrovelTest, StepsBackOnceThePlayerHasToldThatTheIndexIsComplete)
{
    openFile();
    ASSERT_TRUE(doubles::fireFileRef(0));

    EXPECT_TRUE(m_drovel.oneByOneBack());

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_OneByOneBack(0)"));
    EXPECT_THAT(m_log.lines(), IsEmpty());
}

TEST_F(DrovelTest, AsksThePlayerForNoStepBackBeforeTheIndexIsComplete)
{
    openFile();

    EXPECT_FALSE(m_drovel.oneByOneBack());

    EXPECT_THAT(newCalls(), IsEmpty());
    EXPECT_THAT(m_log.lines(), ElementsAre(IsLogLine("ERROR", "m_bFileRefDone: 0.",
                                                     "bool __cdecl pellora::Drovel::oneByOneBack(void)")));
}

TEST_F(DrovelTest, IgnoresAnIndexNoticeForNobody)
{
    openFile();

    pellora::Drovel::fileRefDoneCallback(0, nullptr);

    EXPECT_FALSE(m_drovel.oneByOneBack());
}

TEST_F(DrovelTest, ForgetsTheIndexWhenTheFileIsStopped)
{
    openFile();
    doubles::fireFileRef(0);
    m_drovel.stopPlayFile();
    openStream();

    EXPECT_FALSE(m_drovel.oneByOneBack());
}

TEST_F(DrovelTest, ForgetsAnIndexNoticeThatComesWhileTheFileIsBeingStopped)
{
    openFile();
    doubles::whenCalled("Kavun_SetFileRefCallBack", [] { doubles::fireFileRef(0); });

    m_drovel.stopPlayFile();

    doubles::whenCalled("Kavun_SetFileRefCallBack", nullptr);
    openStream();
    EXPECT_FALSE(m_drovel.oneByOneBack());
}

// ---- speed ----

TEST_F(DrovelTest, ReplaysStepsCountedWhilePausedOnPlayButNotOnRestore)
{
    openFile();
    m_drovel.pause();
    EXPECT_TRUE(m_drovel.fast());
    EXPECT_TRUE(m_drovel.fast());
    EXPECT_THAT(newCalls(), ElementsAre("Kavun_Pause(0, 1)"));

    EXPECT_TRUE(m_drovel.restore());
    EXPECT_THAT(newCalls(), ElementsAre("Kavun_Pause(0, 0)"));

    EXPECT_TRUE(m_drovel.play());
    EXPECT_THAT(newCalls(), ElementsAre("Kavun_Play(0, 0x1234)", "Kavun_Fast(0)", "Kavun_Fast(0)"));
}

TEST_F(DrovelTest, ReplaysTheSameStepsOnEveryPlay)
{
    openFile();
    m_drovel.slow();
    m_drovel.slow();
    m_drovel.slow();
    m_drovel.play();
    newCalls();

    m_drovel.play();

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_Play(0, 0x1234)", "Kavun_Slow(0)", "Kavun_Slow(0)", "Kavun_Slow(0)"));
}

TEST_F(DrovelTest, ReplaysNothingWhenStepsCancelOut)
{
    openFile();
    EXPECT_TRUE(m_drovel.fast());
    EXPECT_TRUE(m_drovel.slow());
    EXPECT_THAT(newCalls(), ElementsAre("Kavun_Fast(0)", "Kavun_Slow(0)"));

    m_drovel.play();

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_Play(0, 0x1234)"));
}

TEST_F(DrovelTest, CountsStepsWithoutALimit)
{
    openFile();
    m_drovel.pause();
    for (int i = 0; i < 100; ++i) {
        EXPECT_TRUE(m_drovel.fast());
    }
    newCalls();

    m_drovel.play();

    EXPECT_THAT(newCalls(), testing::SizeIs(101));
}

TEST_F(DrovelTest, CountsNoFastStepThatThePlayerRefuses)
{
    openFile();
    doubles::script("Kavun_Fast", {KAVUN_ERROR_LIMIT});

    EXPECT_FALSE(m_drovel.fast());

    EXPECT_THAT(m_log.lines(),
                ElementsAre(IsLogLine("ERROR", "Kavun_Fast error: 9.", "bool __cdecl pellora::Drovel::fast(void)")));
    newCalls();
    m_drovel.play();
    EXPECT_THAT(newCalls(), ElementsAre("Kavun_Play(0, 0x1234)"));
}

TEST_F(DrovelTest, CountsNoSlowStepThatThePlayerRefuses)
{
    openFile();
    doubles::script("Kavun_Slow", {KAVUN_ERROR_LIMIT});

    EXPECT_FALSE(m_drovel.slow());

    EXPECT_THAT(m_log.lines(),
                ElementsAre(IsLogLine("ERROR", "Kavun_Slow error: 9.", "bool __cdecl pellora::Drovel::slow(void)")));
    newCalls();
    m_drovel.play();
    EXPECT_THAT(newCalls(), ElementsAre("Kavun_Play(0, 0x1234)"));
}

TEST_F(DrovelTest, GoesOnReplayingStepsThatFail)
{
    openFile();
    m_drovel.fast();
    m_drovel.fast();
    newCalls();
    doubles::script("Kavun_Fast", {KAVUN_ERROR_LIMIT, KAVUN_ERROR_LIMIT});

    EXPECT_TRUE(m_drovel.play());

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_Play(0, 0x1234)", "Kavun_Fast(0)", "Kavun_GetLastError(0)",
                                        "Kavun_Fast(0)", "Kavun_GetLastError(0)"));
    EXPECT_THAT(m_log.lines(), ElementsAre(IsLogLine("ERROR", "Kavun_Fast error: 9.", kPlay),
                                           IsLogLine("ERROR", "Kavun_Fast error: 9.", kPlay)));
    m_drovel.play();
    EXPECT_THAT(newCalls(), ElementsAre("Kavun_Play(0, 0x1234)", "Kavun_Fast(0)", "Kavun_Fast(0)"));
}

TEST_F(DrovelTest, LogsSlowStepsThatFailOnPlay)
{
    openFile();
    m_drovel.slow();
    doubles::script("Kavun_Slow", {KAVUN_ERROR_LIMIT});

    EXPECT_TRUE(m_drovel.play());

    EXPECT_THAT(m_log.lines(), ElementsAre(IsLogLine("ERROR", "Kavun_Slow error: 9.", kPlay)));
}

TEST_F(DrovelTest, OnlyCountsStepsOnALiveStream)
{
    openStream();
    EXPECT_TRUE(m_drovel.fast());
    EXPECT_TRUE(m_drovel.fast());
    EXPECT_THAT(newCalls(), IsEmpty());

    EXPECT_TRUE(m_drovel.play());

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_Play(0, null)", "Kavun_Fast(0)", "Kavun_Fast(0)"));
}

TEST_F(DrovelTest, KeepsStepsCountedOnAStreamOverItsRestart)
{
    openStream();
    m_drovel.slow();
    openStream();

    m_drovel.play();

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_Play(1, null)", "Kavun_Slow(1)"));
}

TEST_F(DrovelTest, ForgetsStepsWhenTheNextFileStarts)
{
    openFile();
    m_drovel.fast();
    openFile();

    m_drovel.play();

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_Play(1, 0x1234)"));
}

TEST_F(DrovelTest, StaysPausedWhenPlayFails)
{
    openFile();
    m_drovel.pause();
    doubles::script("Kavun_Play", {2});

    EXPECT_FALSE(m_drovel.play());

    EXPECT_THAT(m_log.lines(), ElementsAre(IsLogLine("ERROR", "Kavun_Play error: 2.", kPlay)));
    newCalls();
    m_drovel.fast();
    EXPECT_THAT(newCalls(), IsEmpty());
}

TEST_F(DrovelTest, StaysPlayingWhenPauseFails)
{
    openFile();
    doubles::script("Kavun_Pause", {2});

    EXPECT_FALSE(m_drovel.pause());

    newCalls();
    m_drovel.fast();
    EXPECT_THAT(newCalls(), ElementsAre("Kavun_Fast(0)"));
}

TEST_F(DrovelTest, StaysPausedWhenRestoreFails)
{
    openFile();
    m_drovel.pause();
    doubles::script("Kavun_Pause", {2});

    EXPECT_FALSE(m_drovel.restore());

    newCalls();
    m_drovel.fast();
    EXPECT_THAT(newCalls(), IsEmpty());
}

TEST_F(DrovelTest, PlaysAgainAfterRestore)
{
    openFile();
    m_drovel.pause();
    m_drovel.restore();
    newCalls();

    m_drovel.fast();

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_Fast(0)"));
}

TEST_F(DrovelTest, IsStoppedAfterAFileWasStopped)
{
    openFile();
    m_drovel.stopPlayFile();
    openStream();

    EXPECT_TRUE(m_drovel.fast());

    EXPECT_THAT(newCalls(), IsEmpty());
}

TEST_F(DrovelTest, StepsForwardWithoutChangingThePlayState)
{
    openFile();
    m_drovel.oneByOne();
    newCalls();

    m_drovel.fast();

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_Fast(0)"));
}

// ---- values ----

TEST_F(DrovelTest, HandsThePlayersRecordsAndSizesOut)
{
    openFile();
    doubles::PlayerOutputs outputs;
    outputs.width = 1920;
    outputs.height = 1080;
    outputs.first = {2024, 2, 29, 23, 59, 58, 1};
    outputs.last = {2024, 3, 1, 0, 1, 2, 999};
    outputs.now = {2024, 3, 1, 0, 0, 0, 500};
    outputs.jpeg = "picture";
    doubles::setPlayerOutputs(outputs);

    long nWidth = 0;
    long nHeight = 0;
    EXPECT_TRUE(m_drovel.getPictureSize(nWidth, nHeight));
    EXPECT_EQ(nWidth, 1920);
    EXPECT_EQ(nHeight, 1080);

    KAVUN_SYSTEM_TIME start = {};
    KAVUN_SYSTEM_TIME end = {};
    KAVUN_SYSTEM_TIME now = {};
    EXPECT_TRUE(m_drovel.getSystemFileTime(&start, &end));
    EXPECT_TRUE(m_drovel.getSystemTime(&now));
    EXPECT_EQ(std::memcmp(&start, &outputs.first, sizeof(start)), 0);
    EXPECT_EQ(std::memcmp(&end, &outputs.last, sizeof(end)), 0);
    EXPECT_EQ(std::memcmp(&now, &outputs.now, sizeof(now)), 0);

    unsigned char buffer[16] = {};
    unsigned long nSize = 0;
    EXPECT_TRUE(m_drovel.capture(buffer, sizeof(buffer), &nSize));
    EXPECT_EQ(nSize, 7UL);
    EXPECT_STREQ(reinterpret_cast<char *>(buffer), "picture");
}

TEST_F(DrovelTest, CutsNoBitsOffTheMillisecondsOfASeek)
{
    openFile();

    m_drovel.setPlayedTime(4294967);

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_SetPlayedTimeEx(0, 4294967000)"));
}

// ---- analysis data ----

TEST_F(DrovelTest, SwitchesAnalysisDataAndAlwaysAnswersFalse)
{
    openStream();

    EXPECT_FALSE(m_drovel.setIntelData(true));
    EXPECT_FALSE(m_drovel.setIntelData(false));

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_RenderPrivateData(0, 1, 1)", "Kavun_GetLastError(0)",
                                        "Kavun_RenderPrivateData(0, 1, 0)", "Kavun_GetLastError(0)"));
    const char *const function = "bool __cdecl pellora::Drovel::setIntelData(bool)";
    EXPECT_THAT(m_log.lines(), ElementsAre(IsLogLine("INFO", "Kavun_RenderPrivateData error: 0.", function),
                                           IsLogLine("INFO", "Kavun_RenderPrivateData error: 0.", function)));
}

TEST_F(DrovelTest, LogsAnalysisDataThatCannotBeSwitchedAtInfoLevel)
{
    openStream();
    doubles::script("Kavun_RenderPrivateData", {5});

    EXPECT_FALSE(m_drovel.setIntelData(true));

    EXPECT_THAT(m_log.texts(), ElementsAre("INFO Kavun_RenderPrivateData error: 5."));
}

TEST_F(DrovelTest, SwitchesAnalysisDataEvenWithoutAPort)
{
    EXPECT_FALSE(m_drovel.setIntelData(true));

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_RenderPrivateData(-1, 1, 1)", "Kavun_GetLastError(-1)"));
    EXPECT_THAT(m_log.texts(), ElementsAre("INFO Kavun_RenderPrivateData error: 1."));
}

// ---- length of a file that is not shown ----

TEST_F(DrovelTest, MeasuresAFileOnAPortOfItsOwn)
{
    openFile();
    doubles::PlayerOutputs outputs;
    outputs.fileTime = 61;
    doubles::setPlayerOutputs(outputs);
    std::string path = "b.mp4";

    EXPECT_EQ(m_drovel.getFileTimeNoPreview(path.data()), 61UL);

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_GetPort(out)", "Kavun_OpenFile(1, \"b.mp4\")", "Kavun_GetFileTime(1)",
                                        "Kavun_GetLastError(1)", "Kavun_CloseFile(1)", "Kavun_FreePort(1)"));
    EXPECT_THAT(doubles::openPorts(), ElementsAre(0));
    EXPECT_THAT(m_log.lines(), IsEmpty());
}

TEST_F(DrovelTest, MeasuresNothingWithoutAPort)
{
    doubles::script("Kavun_GetPort", {9});

    EXPECT_EQ(m_drovel.getFileTimeNoPreview(m_sPath.data()), 0UL);

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_GetPort(out)", "Kavun_GetLastError(-1)"));
    EXPECT_THAT(m_log.lines(), ElementsAre(IsLogLine("ERROR", "Kavun_GetPort error: 9.", kFileTimeNoPreview)));
}

TEST_F(DrovelTest, FreesThePortOfAFileThatCannotBeMeasured)
{
    doubles::script("Kavun_OpenFile", {5});

    EXPECT_EQ(m_drovel.getFileTimeNoPreview(m_sPath.data()), 0UL);

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_GetPort(out)", "Kavun_OpenFile(0, \"C:\\films\\a.mkv\")",
                                        "Kavun_GetLastError(0)", "Kavun_FreePort(0)"));
    EXPECT_THAT(m_log.lines(), ElementsAre(IsLogLine("ERROR", "Kavun_OpenFile error: 5.", kFileTimeNoPreview)));
}

TEST_F(DrovelTest, HandsTheLengthOutWhateverTheErrorsAfterOpening)
{
    doubles::PlayerOutputs outputs;
    outputs.fileTime = 61;
    doubles::setPlayerOutputs(outputs);
    doubles::script("Kavun_GetFileTime", {12});
    doubles::script("Kavun_CloseFile", {2});
    doubles::script("Kavun_FreePort", {3});

    EXPECT_EQ(m_drovel.getFileTimeNoPreview(m_sPath.data()), 61UL);

    EXPECT_THAT(m_log.lines(), ElementsAre(IsLogLine("ERROR", "Kavun_GetFileTime error: 12.", kFileTimeNoPreview),
                                           IsLogLine("WARN", "Kavun_CloseFile error: 2.", kFileTimeNoPreview),
                                           IsLogLine("WARN", "Kavun_FreePort error: 3.", kFileTimeNoPreview)));
    Kavun_FreePort(0);
}

} // namespace
