#include "interface/tests/PelloraFixture.h"

#include <cstring>
#include <functional>
#include <thread>

using testing::ElementsAre;
using testing::IsEmpty;

namespace
{

void onFileEnd(long) {}

/** One export about files, sound or the picture, as a row: how it reads in the log and at the player. */
struct Command {
    const char *name;
    std::function<long(long lHandle)> run;
    std::string log; /**< with "%d" where the handle stands */
    const char *signature;
    Texts calls; /**< on port 0 of window 0, whose current pane plays a file */
    long success;
    const char *player; /**< the player's function whose failure is the command's; null: none is */
    long failure = 0;
};

void PrintTo(const Command &command, std::ostream *pStream)
{
    *pStream << command.name;
}

tagPELLORA_SYSTEM_TIME g_time;
tagPELLORA_POINT g_size;
unsigned long g_crop[4];
tagPELLORA_CROP_PIC_INFO g_info;

std::string digits(const void *pPointer)
{
    char text[32];
    std::snprintf(text, sizeof(text), "%016llX", reinterpret_cast<unsigned long long>(pPointer));
    return text;
}

std::string withHandle(const std::string &format, long lHandle)
{
    std::string text = format;
    const std::size_t at = text.find("%d");
    return text.replace(at, 2, std::to_string(lHandle));
}

std::vector<Command> commands()
{
    unsigned char *const pBuffer = reinterpret_cast<unsigned char *>(0x1234);
    return {
        {"Play",
         [](long h) { return PELLORA_Play(h); },
         "PELLORA_Play: lHandle: %d",
         "int __cdecl PELLORA_Play(long)",
         {"Kavun_Play(0, WINDOW)"},
         1,
         "Kavun_Play"},
        {"Pause",
         [](long h) { return PELLORA_Pause(h); },
         "PELLORA_Pause: lHandle: %d",
         "int __cdecl PELLORA_Pause(long)",
         {"Kavun_Pause(0, 1)"},
         1,
         "Kavun_Pause"},
        {"Restore",
         [](long h) { return PELLORA_Restore(h); },
         "PELLORA_Restore: lHandle: %d",
         "int __cdecl PELLORA_Restore(long)",
         {"Kavun_Pause(0, 0)"},
         1,
         "Kavun_Pause"},
        {"Fast",
         [](long h) { return PELLORA_Fast(h); },
         "PELLORA_Fast: lHandle: %d",
         "int __cdecl PELLORA_Fast(long)",
         {"Kavun_Fast(0)"},
         1,
         "Kavun_Fast"},
        {"Slow",
         [](long h) { return PELLORA_Slow(h); },
         "PELLORA_Slow: lHandle: %d",
         "int __cdecl PELLORA_Slow(long)",
         {"Kavun_Slow(0)"},
         1,
         "Kavun_Slow"},
        {"OneByOne",
         [](long h) { return PELLORA_OneByOne(h); },
         "PELLORA_OneByOne: lHandle: %d",
         "int __cdecl PELLORA_OneByOne(long)",
         {"Kavun_OneByOne(0)"},
         1,
         "Kavun_OneByOne"},
        {"OneByOneBack",
         [](long h) {
             doubles::fireFileRef(0);
             return PELLORA_OneByOneBack(h);
         },
         "PELLORA_OneByOneBack: lHandle: %d",
         "int __cdecl PELLORA_OneByOneBack(long)",
         {"Kavun_OneByOneBack(0)"},
         1,
         "Kavun_OneByOneBack"},
        {"SetPlayPos",
         [](long h) { return PELLORA_SetPlayPos(h, 90); },
         "PELLORA_SetPlayPos: lHandle: %d, dwPlayedTime: 90",
         "int __cdecl PELLORA_SetPlayPos(long,unsigned long)",
         {"Kavun_SetPlayedTimeEx(0, 90000)"},
         1,
         "Kavun_SetPlayedTimeEx"},
        {"GetPlayPos",
         [](long h) { return static_cast<long>(PELLORA_GetPlayPos(h)); },
         "PELLORA_GetPlayPos: lHandle: %d",
         "unsigned long __cdecl PELLORA_GetPlayPos(long)",
         {"Kavun_GetPlayedTime(0)"},
         17,
         "Kavun_GetPlayedTime"},
        {"GetFileTime",
         [](long h) { return static_cast<long>(PELLORA_GetFileTime(h)); },
         "PELLORA_GetFileTime: lHandle: %d",
         "unsigned long __cdecl PELLORA_GetFileTime(long)",
         {"Kavun_GetFileTime(0)"},
         3600,
         "Kavun_GetFileTime"},
        {"GetSystemFileTime",
         [](long h) { return PELLORA_GetSystemFileTime(h, &g_time, &g_time); },
         "PELLORA_GetSystemFileTime: lHandle: %d",
         "int __cdecl PELLORA_GetSystemFileTime(long,struct tagPELLORA_SYSTEM_TIME *,struct tagPELLORA_SYSTEM_TIME *)",
         {"Kavun_GetFileTotalTime(0, out, out)"},
         0,
         "Kavun_GetFileTotalTime"},
        {"GetSystemTime",
         [](long h) { return PELLORA_GetSystemTime(h, &g_time); },
         "PELLORA_GetSystemTime: lHandle: %d.",
         "int __cdecl PELLORA_GetSystemTime(long,struct tagPELLORA_SYSTEM_TIME *)",
         {"Kavun_GetSystemTime(0, out)"},
         0,
         "Kavun_GetSystemTime"},
        {"GetPictureSize",
         [](long h) { return PELLORA_GetPictureSize(h, &g_size); },
         "PELLORA_GetPictureSize: lHandle: %d.",
         "int __cdecl PELLORA_GetPictureSize(long,struct tagPELLORA_POINT *)",
         {"Kavun_GetPictureSize(0, out, out)"},
         1,
         "Kavun_GetPictureSize"},
        {"Capture",
         [pBuffer](long h) { return PELLORA_Capture(h, pBuffer, 0, nullptr); },
         "PELLORA_Capture: lHandle: %d, pJpeg: 0000000000001234, dwBufSize: 0, pJpegSize: 0000000000000000.",
         "int __cdecl PELLORA_Capture(long,unsigned char *,unsigned long,unsigned long *)",
         {"Kavun_GetJPEG(0, 0x1234, 0, null)"},
         1,
         "Kavun_GetJPEG"},
        {"Screenshot",
         [](long h) {
             const unsigned long thousandths[4] = {100, 200, 500, 1000};
             std::memcpy(g_crop, thousandths, sizeof(g_crop));
             g_info = {nullptr, 64, 0, 85, {0, 0, 0}, g_crop};
             return PELLORA_Screenshot(h, &g_info);
         },
         "PELLORA_Screenshot: lHandle: %d",
         "int __cdecl PELLORA_Screenshot(long,struct tagPELLORA_CROP_PIC_INFO *)",
         {"Kavun_GetPictureSize(0, out, out)", "Kavun_GetCropJPEG(0, {null, 64, 0, 85, 0, 0, 0, {70, 115, 352, 576}})"},
         1,
         "Kavun_GetCropJPEG"},
        {"OpenSound",
         [](long h) { return PELLORA_OpenSound(h); },
         "PELLORA_OpenSound: lHandle: %d",
         "int __cdecl PELLORA_OpenSound(long)",
         {"Kavun_PlaySound(0)"},
         1,
         "Kavun_PlaySound"},
        {"CloseSound",
         [](long h) { return PELLORA_CloseSound(h); },
         "PELLORA_CloseSound: lHandle: %d",
         "int __cdecl PELLORA_CloseSound(long)",
         {"Kavun_StopSound()"},
         1,
         "Kavun_StopSound"},
        {"SetVolume",
         [](long h) { return PELLORA_SetVolume(h, 40000); },
         "PELLORA_SetVolume: lHandle: %d",
         "int __cdecl PELLORA_SetVolume(long,unsigned short)",
         {"Kavun_SetVolume(0, 40000)"},
         1,
         "Kavun_SetVolume"},
        {"GetVolume",
         [](long h) { return static_cast<long>(PELLORA_GetVolume(h)); },
         "PELLORA_GetVolume: lHandle: %d",
         "unsigned short __cdecl PELLORA_GetVolume(long)",
         {"Kavun_GetVolume(0)"},
         50000,
         "Kavun_GetVolume"},
        {"StopPreviewFile",
         [](long h) { return PELLORA_StopPreviewFile(h); },
         "PELLORA_StopPreviewFile: lHandle: %d",
         "int __cdecl PELLORA_StopPreviewFile(long)",
         {"Kavun_RegisterDrawFun(0, null, null)", "Kavun_SetFileEndCallback(0, null, null)",
          "Kavun_SetFileRefCallBack(0, null, null)", "Kavun_Stop(0)", "Kavun_CloseFile(0)", "Kavun_FreePort(0)"},
         1,
         nullptr},
        {"ClearFileEndCallback",
         [](long h) { return static_cast<long>(PELLORA_SetFileEndCallback(h, nullptr)); },
         "PELLORA_SetFileEndCallback: lHandle: %d, fFileEndCBFun: 0000000000000000.",
         "unsigned long __cdecl PELLORA_SetFileEndCallback(long,void (__cdecl *)(long))",
         {"Kavun_SetFileEndCallback(0, null, null)"},
         1,
         "Kavun_SetFileEndCallback"},
        {"ClearDisplayRegion",
         [](long h) { return PELLORA_SetDisplayRegion(h, nullptr, -1); },
         "PELLORA_SetDisplayRegion: lHandle: %d, lSubHandel: -1",
         "int __cdecl PELLORA_SetDisplayRegion(long,struct tagPELLORA_RECT *,long)",
         {"Kavun_SetDisplayRegion(0, 0, null, null, 0)"},
         1,
         "Kavun_SetDisplayRegion"},
    };
}

class FileCommandTest : public PelloraFixture, public testing::WithParamInterface<Command>
{
protected:
    void SetUp() override
    {
        PelloraFixture::SetUp();
        doubles::PlayerOutputs outputs;
        outputs.playedTime = 17;
        outputs.fileTime = 3600;
        outputs.volume = 50000;
        doubles::setPlayerOutputs(outputs);
    }

    /** The row's calls with the pane's window put in. */
    Texts expectedCalls() const
    {
        Texts calls = GetParam().calls;
        const std::string window = pictureWindow(panesOf(videoWindows().front()).front());
        for (std::string &call : calls) {
            const std::size_t at = call.find("WINDOW");
            if (at != std::string::npos) {
                call.replace(at, 6, window);
            }
        }
        return calls;
    }
};

TEST_P(FileCommandTest, LogsAndCallsThePlayerOfTheCurrentPane)
{
    const long lHandle = createWindow();
    playFile(lHandle);

    EXPECT_EQ(GetParam().run(lHandle), GetParam().success);

    EXPECT_EQ(newCalls(), expectedCalls());
    EXPECT_THAT(m_log.lines(), ElementsAre(IsExportLine(withHandle(GetParam().log, lHandle), GetParam().signature)));
}

TEST_P(FileCommandTest, AnswersAsThePlayerFails)
{
    if (GetParam().player == nullptr) {
        // The command succeeds whatever the player says.
        const long lHandle = createWindow();
        playFile(lHandle);
        doubles::script("Kavun_Stop", {2});
        EXPECT_EQ(GetParam().run(lHandle), GetParam().success);
        return;
    }
    const long lHandle = createWindow();
    playFile(lHandle);
    doubles::script(GetParam().player, {2});

    EXPECT_EQ(GetParam().run(lHandle), GetParam().failure);

    EXPECT_THAT(m_log.texts(), ElementsAre("INFO " + withHandle(GetParam().log, lHandle),
                                           "ERROR " + std::string(GetParam().player) + " error: 2."));
}

TEST_P(FileCommandTest, OnlyLogsWithoutSuchAWindow)
{
    createWindow();
    for (const long lHandle : {-1L, 1L, 8L, 9L, 2147483647L}) {
        m_log.clear();

        EXPECT_EQ(GetParam().run(lHandle), 0) << lHandle;

        EXPECT_THAT(newCalls(), IsEmpty());
        EXPECT_THAT(m_log.lines(),
                    ElementsAre(IsExportLine(withHandle(GetParam().log, lHandle), GetParam().signature)));
    }
}

TEST_P(FileCommandTest, TouchesNothingOnAnotherThread)
{
    const long lHandle = createWindow();
    playFile(lHandle);
    long nResult = -7;

    std::thread([&] { nResult = GetParam().run(lHandle); }).join();

    EXPECT_EQ(nResult, 0);
    EXPECT_THAT(newCalls(), IsEmpty());
    EXPECT_THAT(m_log.texts(), testing::Contains(testing::StartsWith("ERROR ")));
}

TEST_P(FileCommandTest, ReachesNoPlayerWhenNothingPlays)
{
    const long lHandle = createWindow();

    GetParam().run(lHandle);

    EXPECT_THAT(newCalls(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Every, FileCommandTest, testing::ValuesIn(commands()),
                         [](const auto &command) { return std::string(command.param.name); });

class FileCommandsTest : public PelloraFixture
{
};

// ---- previews of files ----

TEST_F(FileCommandsTest, PlaysAFileInTheOrderThatThePlayerNeeds)
{
    const long lHandle = createWindow();
    m_log.clear();
    std::string path = "C:\\films\\b.mp4";

    EXPECT_EQ(PELLORA_PreviewFile(lHandle, path.data(), 0, 0), 1);

    const Texts calls = newCalls();
    ASSERT_EQ(calls.size(), 7U);
    EXPECT_EQ(calls[0], "Kavun_GetPort(out)");
    EXPECT_THAT(calls[1], testing::StartsWith("Kavun_SetFileRefCallBack(0, 0x"));
    EXPECT_EQ(calls[2], "Kavun_SetStreamOpenMode(0, 1)");
    EXPECT_EQ(calls[3], "Kavun_OpenFile(0, \"C:\\films\\b.mp4\")");
    EXPECT_EQ(calls[4], "Kavun_SetDisplayBuf(0, 6)");
    EXPECT_EQ(calls[5], "Kavun_Play(0, " + pictureWindow(panesOf(videoWindows().front()).front()) + ")");
    EXPECT_EQ(calls[6], "Kavun_RenderPrivateData(0, 255, 0)");
    EXPECT_THAT(m_log.lines(),
                ElementsAre(IsExportLine("PELLORA_PreviewFile: lHandle: 0, pFileName: C:\\films\\b.mp4",
                                         "int __cdecl PELLORA_PreviewFile(long,char *,unsigned char,unsigned char)")));
}

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

TEST_F(FileCommandsTest, FillsTheSystemTimeAndStillAnswersZero)
{
    const long lHandle = createWindow();
    playFile(lHandle);
    doubles::PlayerOutputs outputs;
    outputs.now = {2024, 2, 29, 23, 59, 58, 999};
    doubles::setPlayerOutputs(outputs);
    tagPELLORA_SYSTEM_TIME time = {};

    EXPECT_EQ(PELLORA_GetSystemTime(lHandle, &time), 0);

    EXPECT_EQ(std::memcmp(&time, &outputs.now, sizeof(time)), 0);
}

TEST_F(FileCommandsTest, FillsTheTimesOfTheFileAndStillAnswersZero)
{
    const long lHandle = createWindow();
    playFile(lHandle);
    doubles::PlayerOutputs outputs;
    outputs.first = {2024, 2, 29, 23, 59, 58, 999};
    outputs.last = {2024, 3, 1, 0, 0, 1, 2};
    doubles::setPlayerOutputs(outputs);
    tagPELLORA_SYSTEM_TIME start = {};
    tagPELLORA_SYSTEM_TIME end = {};

    EXPECT_EQ(PELLORA_GetSystemFileTime(lHandle, &start, &end), 0);

    EXPECT_EQ(std::memcmp(&start, &outputs.first, sizeof(start)), 0);
    EXPECT_EQ(std::memcmp(&end, &outputs.last, sizeof(end)), 0);
}

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

TEST_F(FileCommandsTest, AsksForNoTimesWithoutARecord)
{
    const long lHandle = createWindow();
    playFile(lHandle);
    tagPELLORA_SYSTEM_TIME time = {};

    EXPECT_EQ(PELLORA_GetSystemTime(lHandle, nullptr), 0);
    EXPECT_EQ(PELLORA_GetSystemFileTime(lHandle, nullptr, &time), 0);
    EXPECT_EQ(PELLORA_GetSystemFileTime(lHandle, &time, nullptr), 0);

    EXPECT_THAT(newCalls(), IsEmpty());
}

TEST_F(FileCommandsTest, MeasuresAFileWithoutAWindow)
{
    doubles::PlayerOutputs outputs;
    outputs.fileTime = 61;
    doubles::setPlayerOutputs(outputs);
    std::string path = "b.mp4";

    EXPECT_EQ(PELLORA_GetFileTimeNoPriview(path.data()), 61UL);

    EXPECT_THAT(newCalls(), ElementsAre("Kavun_GetPort(out)", "Kavun_OpenFile(0, \"b.mp4\")", "Kavun_GetFileTime(0)",
                                        "Kavun_CloseFile(0)", "Kavun_FreePort(0)"));
    EXPECT_THAT(m_log.lines(), ElementsAre(IsExportLine("PELLORA_GetFileTimeNoPriview: pFileName: b.mp4.",
                                                        "unsigned long __cdecl PELLORA_GetFileTimeNoPriview(char *)")));
}

TEST_F(FileCommandsTest, MeasuresNoFileOnAnotherThread)
{
    std::string path = "b.mp4";
    unsigned long nLength = 7;

    std::thread([&] { nLength = PELLORA_GetFileTimeNoPriview(path.data()); }).join();

    EXPECT_EQ(nLength, 0UL);
    EXPECT_THAT(newCalls(), IsEmpty());
}

// ---- pictures ----

TEST_F(FileCommandsTest, WritesThePictureSizeIntoThePoint)
{
    const long lHandle = createWindow();
    playFile(lHandle);
    tagPELLORA_POINT size = {};

    EXPECT_EQ(PELLORA_GetPictureSize(lHandle, &size), 1);

    EXPECT_EQ(size.x, 704);
    EXPECT_EQ(size.y, 576);
}

TEST_F(FileCommandsTest, AsksForNoPictureSizeWithoutARecord)
{
    const long lHandle = createWindow();
    playFile(lHandle);

    EXPECT_EQ(PELLORA_GetPictureSize(lHandle, nullptr), 0);

    EXPECT_THAT(newCalls(), IsEmpty());
    EXPECT_THAT(m_log.texts(), ElementsAre("INFO PELLORA_GetPictureSize: lHandle: 0."));
}

TEST_F(FileCommandsTest, CapturesIntoTheHostsBuffer)
{
    const long lHandle = createWindow();
    playFile(lHandle);
    doubles::PlayerOutputs outputs;
    outputs.jpeg = "picture";
    doubles::setPlayerOutputs(outputs);
    unsigned char buffer[16] = {};
    unsigned long nSize = 0;

    EXPECT_EQ(PELLORA_Capture(lHandle, buffer, sizeof(buffer), &nSize), 1);

    EXPECT_EQ(nSize, 7UL);
    EXPECT_STREQ(reinterpret_cast<char *>(buffer), "picture");
    EXPECT_THAT(m_log.texts(), ElementsAre("INFO PELLORA_Capture: lHandle: 0, pJpeg: " + digits(buffer) +
                                           ", dwBufSize: 16, pJpegSize: " + digits(&nSize) + "."));
}

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
    EXPECT_THAT(m_log.texts(), ElementsAre("INFO PELLORA_Screenshot: lHandle: 0"));
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

TEST_F(FileEndTest, LogsAndRegistersTheCallback)
{
    const long lHandle = createWindow();
    playFile(lHandle);

    EXPECT_EQ(PELLORA_SetFileEndCallback(lHandle, &onFileEnd), 1UL);

    EXPECT_THAT(newCalls(), ElementsAre(testing::AllOf(
                                testing::StartsWith("Kavun_SetFileEndCallback(0, 0x"),
                                testing::EndsWith(", " + spelled(panesOf(videoWindows().front()).front()) + ")"))));
    EXPECT_THAT(m_log.texts(), ElementsAre("INFO PELLORA_SetFileEndCallback: lHandle: 0, fFileEndCBFun: " +
                                           digits(reinterpret_cast<void *>(&onFileEnd)) + "."));
}

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

TEST_F(FileCommandsTest, SelectsNoPaneForTheCurrentOneOrBeyondTheLast)
{
    const long lHandle = createWindow();
    m_log.clear();

    EXPECT_EQ(PELLORA_SetCurWnd(lHandle, -1), 0);
    EXPECT_EQ(PELLORA_SetCurWnd(lHandle, -2), 0);
    EXPECT_EQ(PELLORA_SetCurWnd(lHandle, 9), 0);
    EXPECT_EQ(PELLORA_SetCurWnd(lHandle, 255), 0);
    EXPECT_EQ(PELLORA_SetCurWnd(1, 4), 0);
    EXPECT_EQ(PELLORA_SetCurWnd(lHandle, 8), 1);

    EXPECT_THAT(m_log.first(), IsExportLine("PELLORA_SetCurWnd: lHandle: 0, lSubHandel: -1",
                                            "int __cdecl PELLORA_SetCurWnd(long,long)"));
}

TEST_F(FileCommandsTest, SplitsOnlyIntoOneFourOrNine)
{
    const long lHandle = createWindow();
    m_log.clear();

    EXPECT_EQ(PELLORA_SplitScreen(lHandle, 4), 1);
    EXPECT_EQ(PELLORA_SplitScreen(lHandle, 9), 1);
    EXPECT_EQ(PELLORA_SplitScreen(lHandle, 1), 1);
    EXPECT_EQ(PELLORA_SplitScreen(lHandle, 2), 0);
    EXPECT_EQ(PELLORA_SplitScreen(lHandle, 0), 0);
    EXPECT_EQ(PELLORA_SplitScreen(99, 4), 0);

    EXPECT_THAT(m_log.first(), IsExportLine("PELLORA_SplitScreen: lHandle: 0, wSplitNum: 4",
                                            "int __cdecl PELLORA_SplitScreen(long,unsigned short)"));
}

} // namespace
