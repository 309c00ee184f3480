// Drovel.dll as a host sees it: the C functions, real windows, real files.
#include "Kavun.h"

#include "player/tests/support/Clips.h"
#include "player/tests/support/MemoryBytes.h"
#include "player/tests/win/TestWindow.h"
#include "tests/support/ProcessMemory.h"
#include "tests/support/ProcessThreads.h"

#include <gtest/gtest.h>
#include <turbojpeg.h>

#include <algorithm>
#include <atomic>
#include <climits>
#include <cstdio>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

namespace
{

using player::test::mediaPath;
using player::test::pumpUntil;
using player::test::TestWindow;

/** The bytes that the player, which never writes to a path, takes as char pointer. */
char *text(std::string &string)
{
    return string.data();
}

class PlayerTest : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(Kavun_GetPort(&m_nPort));
    }

    void TearDown() override
    {
        EXPECT_TRUE(Kavun_FreePort(m_nPort));
    }

    unsigned long lastError() const
    {
        return Kavun_GetLastError(m_nPort);
    }

    int open(std::string path)
    {
        return Kavun_OpenFile(m_nPort, text(path));
    }

    void play(const char *file, HWND hWnd)
    {
        ASSERT_TRUE(open(mediaPath(file))) << lastError();
        ASSERT_TRUE(Kavun_Play(m_nPort, hWnd)) << lastError();
    }

    void holdAt(const char *file, HWND hWnd, unsigned long milliseconds)
    {
        play(file, hWnd);
        ASSERT_TRUE(Kavun_Pause(m_nPort, 1));
        ASSERT_TRUE(Kavun_SetPlayedTimeEx(m_nPort, milliseconds));
    }

    long m_nPort = -1;
};

TEST_F(PlayerTest, ShowsPicturesInTheWindow)
{
    const TestWindow window;
    play("h264.mp4", window.handle());
    EXPECT_TRUE(window.waitForNumber(30));
}

TEST_F(PlayerTest, SeeksExactlyWhilePaused)
{
    const TestWindow window;
    holdAt("h264.mp4", window.handle(), 2000);
    EXPECT_TRUE(window.waitForNumber(50));
    ASSERT_TRUE(Kavun_SetPlayedTimeEx(m_nPort, 999));
    EXPECT_TRUE(window.waitForNumber(24));
}

TEST_F(PlayerTest, TakesOrRefusesRectanglesOfAnyNumbers)
{
    const TestWindow window;
    holdAt("h264.mp4", window.handle(), 1000);
    ASSERT_TRUE(window.waitForNumber(25));
    constexpr LONG kNumbers[] = {LONG_MIN, LONG_MIN + 1, -1, 0, 1, 100, LONG_MAX - 1, LONG_MAX};
    std::vector<unsigned char> buffer(1 << 20);
    for (const LONG top : kNumbers) {
        for (const LONG bottom : kNumbers) {
            RECT rect{LONG_MIN, top, LONG_MAX, bottom};
            if (!Kavun_SetDisplayRegion(m_nPort, 0, &rect, nullptr, 1)) {
                EXPECT_EQ(lastError(), KAVUN_ERROR_ARGUMENT);
            }
            unsigned long crop[] = {0, static_cast<unsigned long>(top), 100, static_cast<unsigned long>(bottom)};
            CROP_PIC_INFO info{};
            info.pBuf = buffer.data();
            info.dwBufSize = static_cast<unsigned long>(buffer.size());
            info.pCropRect = crop;
            const bool bArea = crop[1] < 240 && crop[1] < crop[3];
            EXPECT_EQ(Kavun_GetCropJPEG(m_nPort, &info), bArea ? 1 : 0) << top << " " << bottom;
        }
    }
    ASSERT_TRUE(Kavun_SetDisplayRegion(m_nPort, 0, nullptr, nullptr, 1));
    EXPECT_TRUE(window.waitForNumber(25));
}

TEST_F(PlayerTest, StepsForwardToTheEnd)
{
    const TestWindow window;
    holdAt("h264.ts", window.handle(), 3800);
    ASSERT_TRUE(window.waitForNumber(95));
    for (int number = 96; number < 100; ++number) {
        ASSERT_TRUE(Kavun_OneByOne(m_nPort));
        ASSERT_TRUE(window.waitForNumber(number));
    }
    EXPECT_FALSE(Kavun_OneByOne(m_nPort));
    EXPECT_EQ(lastError(), KAVUN_ERROR_END);
}

TEST_F(PlayerTest, FollowsTheWindowsSizeWhilePaused)
{
    TestWindow window;
    holdAt("h264.mp4", window.handle(), 1000);
    ASSERT_TRUE(window.waitForNumber(25));
    window.resize(500, 400);
    EXPECT_TRUE(window.waitForNumber(25));
    window.resize(0, 0);
    window.resize(240, 160);
    EXPECT_TRUE(window.waitForNumber(25));
}

TEST_F(PlayerTest, ComesBackAfterTheWindowWasPaintedOver)
{
    const TestWindow window;
    holdAt("h264.mp4", window.handle(), 1000);
    ASSERT_TRUE(window.waitForNumber(25));
    const HDC hDc = GetDC(window.handle());
    PatBlt(hDc, 0, 0, 320, 240, BLACKNESS);
    ReleaseDC(window.handle(), hDc);
    EXPECT_TRUE(window.waitForNumber(25));
}

TEST_F(PlayerTest, GoesBackFromTheEndWhilePaused)
{
    const TestWindow window;
    std::atomic<int> ends{0};
    Kavun_SetFileEndCallback(
        m_nPort, [](long, void *user) { ++*static_cast<std::atomic<int> *>(user); }, &ends);
    play("h264.mp4", window.handle());
    ASSERT_TRUE(Kavun_SetPlayedTimeEx(m_nPort, 3900));
    ASSERT_TRUE(pumpUntil([&] { return ends == 1; }));
    EXPECT_TRUE(window.waitForNumber(99));
    ASSERT_TRUE(Kavun_Pause(m_nPort, 1));
    ASSERT_TRUE(Kavun_SetPlayedTimeEx(m_nPort, 1000));
    EXPECT_TRUE(window.waitForNumber(25));
    Kavun_SetFileEndCallback(m_nPort, nullptr, nullptr);
}

/** Draws over one quarter of a strip across the picture, each time over the next one. */
struct MovingOverlay {
    std::atomic<int> drawn{0};

    static void draw(long, HDC dc, void *user)
    {
        auto &self = *static_cast<MovingOverlay *>(user);
        const int turn = self.drawn++;
        PatBlt(dc, turn % 4 * 80, 120, 80, 40, turn % 2 == 0 ? WHITENESS : BLACKNESS);
    }
};

TEST_F(PlayerTest, DrawsAnOverlayThatMovesOverACleanPictureEachTime)
{
    const TestWindow window;
    holdAt("h264.mp4", window.handle(), 1000);
    ASSERT_TRUE(window.waitForNumber(25));
    const std::vector<COLORREF> clean = window.row(140);
    MovingOverlay overlay;
    ASSERT_TRUE(Kavun_RegisterDrawFun(m_nPort, &MovingOverlay::draw, &overlay));
    for (int drawings = 1; drawings <= 9; ++drawings) {
        ASSERT_TRUE(pumpUntil([&] { return overlay.drawn >= drawings; }));
        const std::vector<COLORREF> seen = window.row(140);
        int drawnOver = 0;
        for (std::size_t quarter = 0; quarter < 4; ++quarter) {
            const auto begin = static_cast<std::ptrdiff_t>(quarter * 80);
            drawnOver += std::equal(seen.begin() + begin, seen.begin() + begin + 80, clean.begin() + begin) ? 0 : 1;
        }
        EXPECT_LE(drawnOver, 1) << drawings;
    }
    ASSERT_TRUE(Kavun_RegisterDrawFun(m_nPort, nullptr, nullptr));
    EXPECT_TRUE(pumpUntil([&] { return window.row(140) == clean; }));
}

TEST_F(PlayerTest, ShowsPicturesOf16384Pixels)
{
    const TestWindow window;
    std::atomic<int> ends{0};
    Kavun_SetFileEndCallback(
        m_nPort, [](long, void *user) { ++*static_cast<std::atomic<int> *>(user); }, &ends);
    play("wide-16384x16.avi", window.handle());
    EXPECT_TRUE(window.waitForNumber(4));
    ASSERT_TRUE(Kavun_CloseFile(m_nPort));
    ends = 0;
    play("tall-16x16384.avi", window.handle());
    EXPECT_TRUE(pumpUntil([&] { return ends == 1; }));
    Kavun_SetFileEndCallback(m_nPort, nullptr, nullptr);
}

TEST_F(PlayerTest, NineOfTheSameFilePlayInNineWindows)
{
    std::vector<std::unique_ptr<TestWindow>> windows;
    std::vector<long> ports(9, -1);
    for (std::size_t i = 0; i < ports.size(); ++i) {
        const int place = static_cast<int>(i);
        windows.push_back(std::make_unique<TestWindow>(320, 240, place % 3 * 320, place / 3 * 240));
        std::string path = mediaPath("h264.mp4");
        ASSERT_TRUE(Kavun_GetPort(&ports[i]));
        ASSERT_TRUE(Kavun_OpenFile(ports[i], text(path)));
        ASSERT_TRUE(Kavun_Play(ports[i], windows[i]->handle()));
    }
    for (std::size_t i = 0; i < ports.size(); ++i) {
        ASSERT_TRUE(Kavun_Pause(ports[i], 1));
        ASSERT_TRUE(Kavun_SetPlayedTimeEx(ports[i], static_cast<unsigned long>(i) * 400));
    }
    for (std::size_t i = 0; i < ports.size(); ++i) {
        EXPECT_TRUE(windows[i]->waitForNumber(static_cast<int>(i) * 10)) << i;
        EXPECT_TRUE(Kavun_FreePort(ports[i]));
    }
}

TEST_F(PlayerTest, SurvivesAWindowThatVanishes)
{
    TestWindow window;
    play("h264.mp4", window.handle());
    ASSERT_TRUE(window.waitForAnyNumber());
    window.destroy();
    TestWindow other;
    ASSERT_TRUE(Kavun_Play(m_nPort, other.handle()));
    EXPECT_TRUE(other.waitForAnyNumber());
}

TEST_F(PlayerTest, StopsOnTheThreadThatOwnsTheWindowAndPumpsNothing)
{
    const TestWindow window;
    play("bench-1080p.mp4", window.handle());
    ASSERT_TRUE(window.waitForAnyNumber());
    // A message to the window would never be answered, and this would not return.
    EXPECT_TRUE(Kavun_Stop(m_nPort));
    EXPECT_TRUE(Kavun_CloseFile(m_nPort));
}

TEST_F(PlayerTest, TellsSizeLengthAndRecordingTimes)
{
    ASSERT_TRUE(open(mediaPath("recorded.mkv")));
    long width = 0;
    long height = 0;
    EXPECT_TRUE(Kavun_GetPictureSize(m_nPort, &width, &height));
    EXPECT_EQ(width, 320);
    EXPECT_EQ(height, 240);
    EXPECT_EQ(Kavun_GetFileTime(m_nPort), 4u);
    EXPECT_EQ(lastError(), 0u);
    KAVUN_SYSTEM_TIME start{};
    KAVUN_SYSTEM_TIME end{};
    ASSERT_TRUE(Kavun_GetFileTotalTime(m_nPort, &start, &end));
    EXPECT_EQ(start.dwYear, 2024u);
    EXPECT_EQ(start.dwMonth, 2u);
    EXPECT_EQ(start.dwDay, 29u);
    EXPECT_EQ(start.dwSecond, 58u);
    EXPECT_EQ(start.dwMillisecond, 500u);
    // The last of a hundred pictures, 3.96 s later, is of the next month.
    EXPECT_EQ(end.dwMonth, 3u);
    EXPECT_EQ(end.dwSecond, 2u);
    EXPECT_EQ(end.dwMillisecond, 460u);
}

TEST_F(PlayerTest, SaysWhatItDoesNotKnow)
{
    KAVUN_SYSTEM_TIME time{};
    ASSERT_TRUE(open(mediaPath("raw.h264")));
    EXPECT_FALSE(Kavun_GetFileTotalTime(m_nPort, &time, &time));
    EXPECT_EQ(lastError(), KAVUN_ERROR_NO_TIME);
    EXPECT_FALSE(Kavun_PlaySound(m_nPort));
    EXPECT_EQ(lastError(), KAVUN_ERROR_NO_SOUND);
    EXPECT_FALSE(Kavun_OneByOneBack(m_nPort));
    EXPECT_EQ(lastError(), KAVUN_ERROR_ORDER);
}

TEST_F(PlayerTest, TheIndexTellsARawStreamsLengthAndThePicturesBefore)
{
    const HANDLE hComplete = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    ASSERT_TRUE(Kavun_SetFileRefCallBack(
        m_nPort, [](long, void *user) { SetEvent(static_cast<HANDLE>(user)); }, hComplete));
    const TestWindow window;
    holdAt("raw.h264", window.handle(), 2000);
    ASSERT_EQ(WaitForSingleObject(hComplete, 30000), WAIT_OBJECT_0);
    EXPECT_EQ(Kavun_GetFileTime(m_nPort), 4u);
    EXPECT_EQ(lastError(), 0u);
    ASSERT_TRUE(window.waitForNumber(50));
    for (int number = 49; number > 40; --number) {
        ASSERT_TRUE(Kavun_OneByOneBack(m_nPort)) << lastError();
        ASSERT_TRUE(window.waitForNumber(number));
    }
    ASSERT_TRUE(Kavun_SetPlayedTimeEx(m_nPort, 0));
    ASSERT_TRUE(window.waitForNumber(0));
    EXPECT_FALSE(Kavun_OneByOneBack(m_nPort));
    EXPECT_EQ(lastError(), KAVUN_ERROR_END);
    EXPECT_TRUE(Kavun_SetFileRefCallBack(m_nPort, nullptr, nullptr));
    CloseHandle(hComplete);
}

struct Jpeg {
    int width = 0;
    int height = 0;
    std::vector<unsigned char> pixels; // BGRA
};

Jpeg decoded(const std::vector<unsigned char> &file)
{
    Jpeg jpeg;
    const tjhandle handle = tjInitDecompress();
    int subsampling = 0;
    int colours = 0;
    tjDecompressHeader3(handle, file.data(), static_cast<unsigned long>(file.size()), &jpeg.width, &jpeg.height,
                        &subsampling, &colours);
    EXPECT_EQ(subsampling, TJSAMP_420);
    jpeg.pixels.resize(static_cast<std::size_t>(jpeg.width) * jpeg.height * 4);
    tjDecompress2(handle, file.data(), static_cast<unsigned long>(file.size()), jpeg.pixels.data(), jpeg.width, 0,
                  jpeg.height, TJPF_BGRA, 0);
    tjDestroy(handle);
    return jpeg;
}

TEST_F(PlayerTest, CapturesThePictureOnDisplayWithoutWhatWasDrawnOverIt)
{
    const TestWindow window;
    holdAt("h264.mp4", window.handle(), 1000);
    std::atomic<int> drawn{0};
    Kavun_RegisterDrawFun(
        m_nPort,
        [](long, HDC dc, void *user) {
            PatBlt(dc, 0, 0, 320, 240, WHITENESS);
            ++*static_cast<std::atomic<int> *>(user);
        },
        &drawn);
    ASSERT_TRUE(pumpUntil([&] { return drawn > 2; }));
    EXPECT_EQ(window.number(), std::nullopt);
    std::vector<unsigned char> file(320 * 240 * 4);
    unsigned long size = 0;
    ASSERT_TRUE(Kavun_GetJPEG(m_nPort, file.data(), static_cast<unsigned long>(file.size()), &size));
    Kavun_RegisterDrawFun(m_nPort, nullptr, nullptr);
    file.resize(size);
    const Jpeg jpeg = decoded(file);
    ASSERT_EQ(jpeg.width, 320);
    ASSERT_EQ(jpeg.height, 240);
    // The first cell of the bar code is white, the second black: the overlay is in none of them.
    EXPECT_GT(jpeg.pixels[(30 * 320 + 8) * 4], 180);
    EXPECT_LT(jpeg.pixels[(30 * 320 + 24) * 4], 75);
}

TEST_F(PlayerTest, ReportsTheSizeThatACaptureNeeds)
{
    const TestWindow window;
    holdAt("h264.mp4", window.handle(), 1000);
    ASSERT_TRUE(window.waitForNumber(25));
    unsigned char small[16];
    unsigned long size = 0;
    EXPECT_FALSE(Kavun_GetJPEG(m_nPort, small, sizeof small, &size));
    EXPECT_EQ(lastError(), KAVUN_ERROR_BUFFER_TOO_SMALL);
    std::vector<unsigned char> file(size);
    EXPECT_TRUE(Kavun_GetJPEG(m_nPort, file.data(), size, &size));
}

TEST_F(PlayerTest, ReportsTheSizeThatACaptureNeedsToWhoHasNoBufferYet)
{
    const TestWindow window;
    holdAt("h264.mp4", window.handle(), 1000);
    ASSERT_TRUE(window.waitForNumber(25));
    unsigned long size = 0;
    EXPECT_FALSE(Kavun_GetJPEG(m_nPort, nullptr, 0, &size));
    EXPECT_EQ(lastError(), KAVUN_ERROR_BUFFER_TOO_SMALL);
    std::vector<unsigned char> file(size);
    EXPECT_TRUE(Kavun_GetJPEG(m_nPort, file.data(), size, &size));

    unsigned long rect[4] = {0, 0, 320, 240};
    CROP_PIC_INFO info{};
    info.pCropRect = rect;
    EXPECT_FALSE(Kavun_GetCropJPEG(m_nPort, &info));
    EXPECT_EQ(lastError(), KAVUN_ERROR_BUFFER_TOO_SMALL);
    EXPECT_EQ(info.dwPicSize, size);
}

TEST_F(PlayerTest, CapturesAPartClampedToThePicture)
{
    const TestWindow window;
    holdAt("h264.mp4", window.handle(), 1000);
    ASSERT_TRUE(window.waitForNumber(25));
    std::vector<unsigned char> file(320 * 240 * 4);
    unsigned long rect[4] = {300, 200, 0xFFFFFFFF, 5000};
    CROP_PIC_INFO info{};
    info.pBuf = file.data();
    info.dwBufSize = static_cast<unsigned long>(file.size());
    info.pCropRect = rect;
    ASSERT_TRUE(Kavun_GetCropJPEG(m_nPort, &info));
    file.resize(info.dwPicSize);
    const Jpeg jpeg = decoded(file);
    EXPECT_EQ(jpeg.width, 20);
    EXPECT_EQ(jpeg.height, 40);
    unsigned long empty[4] = {320, 0, 400, 100};
    info.pCropRect = empty;
    EXPECT_FALSE(Kavun_GetCropJPEG(m_nPort, &info));
    EXPECT_EQ(lastError(), KAVUN_ERROR_ARGUMENT);
}

TEST_F(PlayerTest, TellsTheEndOnceAndAgainAfterASeekBack)
{
    const TestWindow window;
    std::atomic<int> ends{0};
    Kavun_SetFileEndCallback(
        m_nPort, [](long, void *user) { ++*static_cast<std::atomic<int> *>(user); }, &ends);
    play("h264.mp4", window.handle());
    Kavun_SetPlayedTimeEx(m_nPort, 3900);
    ASSERT_TRUE(pumpUntil([&] { return ends == 1; }));
    EXPECT_TRUE(window.waitForNumber(99));
    Kavun_SetPlayedTimeEx(m_nPort, 3900);
    ASSERT_TRUE(pumpUntil([&] { return ends == 2; }));
    Kavun_SetFileEndCallback(m_nPort, nullptr, nullptr);
}

TEST_F(PlayerTest, FreesItsPortFromInsideTheDrawCallback)
{
    const TestWindow window;
    long port = -1;
    ASSERT_TRUE(Kavun_GetPort(&port));
    std::string path = mediaPath("h264.mp4");
    ASSERT_TRUE(Kavun_OpenFile(port, text(path)));
    std::atomic<int> freed{0};
    Kavun_RegisterDrawFun(
        port,
        [](long self, HDC, void *user) {
            Kavun_FreePort(self);
            ++*static_cast<std::atomic<int> *>(user);
        },
        &freed);
    ASSERT_TRUE(Kavun_Play(port, window.handle()));
    ASSERT_TRUE(pumpUntil([&] { return freed == 1; }));
    EXPECT_FALSE(Kavun_Stop(port));
    EXPECT_EQ(Kavun_GetLastError(port), KAVUN_ERROR_ARGUMENT);
}

/** Copies a clip to a place with that name and gives its path in a code page. */
std::string copyAs(const std::wstring &file, UINT codePage)
{
    std::wstring source(L"\\\\?\\unix");
    const std::string from = mediaPath("h264.mp4");
    source += std::wstring(from.begin(), from.end());
    EXPECT_TRUE(CopyFileW(source.c_str(), file.c_str(), FALSE)) << GetLastError();
    char path[4096];
    WideCharToMultiByte(codePage, 0, file.c_str(), -1, path, sizeof path, nullptr, nullptr);
    return path;
}

/** A name that no other process uses. */
std::wstring temporaryFile(const std::wstring &name)
{
    wchar_t folder[MAX_PATH];
    GetTempPathW(MAX_PATH, folder);
    return folder + std::to_wstring(GetCurrentProcessId()) + L' ' + name;
}

TEST_F(PlayerTest, OpensChineseNamesWithBlanksInUtf8)
{
    const std::wstring file = temporaryFile(L"\u5f55\u50cf \u6587\u4ef6.mp4");
    EXPECT_TRUE(open(copyAs(file, CP_UTF8)));
    EXPECT_TRUE(DeleteFileW(file.c_str()));
}

TEST_F(PlayerTest, OpensNamesInTheSystemsCodePage)
{
    const std::wstring file = temporaryFile(L"caf\u00e9 \u00fc.mp4");
    EXPECT_TRUE(open(copyAs(file, CP_ACP)));
    EXPECT_TRUE(DeleteFileW(file.c_str()));
}

TEST_F(PlayerTest, OpensPathsOfMoreThan260Characters)
{
    std::vector<std::wstring> folders;
    std::wstring folder = L"\\\\?\\" + temporaryFile(L"");
    for (int i = 0; i < 6; ++i) {
        folder += std::wstring(50, L'a' + static_cast<wchar_t>(i));
        ASSERT_TRUE(CreateDirectoryW(folder.c_str(), nullptr) || GetLastError() == ERROR_ALREADY_EXISTS);
        folders.push_back(folder);
        folder += L'\\';
    }
    const std::wstring file = folder + L"clip.mp4";
    const std::string path = copyAs(file, CP_UTF8).substr(4);
    EXPECT_GT(path.size(), 300u);
    EXPECT_TRUE(open(path));
    EXPECT_TRUE(Kavun_CloseFile(m_nPort));
    EXPECT_TRUE(DeleteFileW(file.c_str()));
    for (auto entry = folders.rbegin(); entry != folders.rend(); ++entry) {
        RemoveDirectoryW(entry->c_str());
    }
}

TEST_F(PlayerTest, PlaysOnWhenItsFileIsDeleted)
{
    const TestWindow window;
    const std::wstring file = temporaryFile(L"deleted.mp4");
    ASSERT_TRUE(open(copyAs(file, CP_UTF8)));
    ASSERT_TRUE(Kavun_Play(m_nPort, window.handle()));
    EXPECT_TRUE(DeleteFileW(file.c_str()));
    ASSERT_TRUE(Kavun_SetPlayedTimeEx(m_nPort, 3000));
    EXPECT_TRUE(window.waitForNumber(80));
}

TEST_F(PlayerTest, EndsWhereItsFileIsCutWhilePlaying)
{
    const TestWindow window;
    const std::wstring file = temporaryFile(L"cut.mp4");
    std::atomic<int> ends{0};
    Kavun_SetFileEndCallback(
        m_nPort, [](long, void *user) { ++*static_cast<std::atomic<int> *>(user); }, &ends);
    ASSERT_TRUE(open(copyAs(file, CP_UTF8)));
    ASSERT_TRUE(Kavun_Play(m_nPort, window.handle()));
    ASSERT_TRUE(window.waitForAnyNumber());
    const HANDLE hFile =
        CreateFileW(file.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                    OPEN_EXISTING, 0, nullptr);
    ASSERT_NE(hFile, INVALID_HANDLE_VALUE);
    SetFilePointer(hFile, 30000, nullptr, FILE_BEGIN);
    EXPECT_TRUE(SetEndOfFile(hFile));
    CloseHandle(hFile);
    // Past what is left of the file.
    ASSERT_TRUE(Kavun_SetPlayedTimeEx(m_nPort, 3900));
    EXPECT_TRUE(pumpUntil([&] { return ends >= 1; }));
    EXPECT_TRUE(window.number());
    Kavun_SetFileEndCallback(m_nPort, nullptr, nullptr);
    EXPECT_TRUE(Kavun_CloseFile(m_nPort));
    EXPECT_TRUE(DeleteFileW(file.c_str()));
    EXPECT_TRUE(open(mediaPath("h264.mp4")));
}

TEST_F(PlayerTest, FollowsASizeThatChangesInTheMiddle)
{
    const TestWindow window;
    const std::wstring file = temporaryFile(L"two sizes.mjpeg");
    const std::string path = copyAs(file, CP_UTF8);
    const auto pictures = player::test::codedPicturesOf({mediaPath("mjpeg.avi"), mediaPath("odd-321x243.avi")});
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char *>(pictures.data()), static_cast<std::streamsize>(pictures.size()));
    long width = 0;
    long height = 0;
    ASSERT_TRUE(open(path));
    ASSERT_TRUE(Kavun_Play(m_nPort, window.handle()));
    ASSERT_TRUE(Kavun_Pause(m_nPort, 1));
    ASSERT_TRUE(Kavun_SetPlayedTimeEx(m_nPort, 2000));
    EXPECT_TRUE(window.waitForNumber(50));
    EXPECT_TRUE(Kavun_GetPictureSize(m_nPort, &width, &height));
    EXPECT_EQ(width, 320);
    ASSERT_TRUE(Kavun_SetPlayedTimeEx(m_nPort, 3600000));
    EXPECT_TRUE(window.waitForNumber(24));
    EXPECT_TRUE(Kavun_GetPictureSize(m_nPort, &width, &height));
    EXPECT_EQ(width, 321);
    EXPECT_EQ(height, 243);
    EXPECT_TRUE(Kavun_CloseFile(m_nPort));
    EXPECT_TRUE(DeleteFileW(file.c_str()));
}

TEST_F(PlayerTest, RefusesFoldersAndFilesThatAreNotThere)
{
    for (const char *path : {"no such file.mp4", "C:\\windows", "", "NUL"}) {
        EXPECT_FALSE(open(path)) << path;
        EXPECT_EQ(lastError(), KAVUN_ERROR_OPEN) << path;
    }
    EXPECT_FALSE(Kavun_OpenFile(m_nPort, nullptr));
    EXPECT_EQ(lastError(), KAVUN_ERROR_ARGUMENT);
    EXPECT_TRUE(open(mediaPath("h264.mp4")));
}

TEST_F(PlayerTest, RefusesToPlayWithoutAWindow)
{
    ASSERT_TRUE(open(mediaPath("h264.mp4")));
    EXPECT_FALSE(Kavun_Play(m_nPort, nullptr));
    EXPECT_EQ(lastError(), KAVUN_ERROR_ARGUMENT);
}

class AnOddPort : public testing::TestWithParam<long>
{
};

TEST_P(AnOddPort, FailsEveryFunctionAndHarmsNothing)
{
    long port = GetParam();
    if (port == 0) {
        ASSERT_TRUE(Kavun_GetPort(&port));
        ASSERT_TRUE(Kavun_FreePort(port));
    }
    unsigned char byte = 0;
    unsigned long size = 0;
    long width = 0;
    KAVUN_SYSTEM_TIME time{};
    CROP_PIC_INFO info{};
    RECT rect{0, 0, 10, 10};
    std::string path = mediaPath("h264.mp4");
    const std::function<int()> calls[] = {[&] { return Kavun_FreePort(port); },
                                          [&] { return Kavun_SetStreamOpenMode(port, 1); },
                                          [&] { return Kavun_OpenStream(port, &byte, 1, 1); },
                                          [&] { return Kavun_CloseStream(port); },
                                          [&] { return Kavun_InputData(port, &byte, 1); },
                                          [&] { return Kavun_OpenFile(port, text(path)); },
                                          [&] { return Kavun_CloseFile(port); },
                                          [&] { return Kavun_SetDisplayBuf(port, 6); },
                                          [&] { return Kavun_Play(port, nullptr); },
                                          [&] { return Kavun_Stop(port); },
                                          [&] { return Kavun_Pause(port, 1); },
                                          [&] { return Kavun_Fast(port); },
                                          [&] { return Kavun_Slow(port); },
                                          [&] { return Kavun_OneByOne(port); },
                                          [&] { return Kavun_OneByOneBack(port); },
                                          [&] { return Kavun_SetPlayedTimeEx(port, 0); },
                                          [&] { return static_cast<int>(Kavun_GetPlayedTime(port)); },
                                          [&] { return static_cast<int>(Kavun_GetFileTime(port)); },
                                          [&] { return Kavun_GetFileTotalTime(port, &time, &time); },
                                          [&] { return Kavun_GetSystemTime(port, &time); },
                                          [&] { return Kavun_GetPictureSize(port, &width, &width); },
                                          [&] { return Kavun_GetJPEG(port, &byte, 1, &size); },
                                          [&] { return Kavun_GetCropJPEG(port, &info); },
                                          [&] { return Kavun_SetDisplayRegion(port, 0, &rect, nullptr, 0); },
                                          [&] { return Kavun_PlaySound(port); },
                                          [&] { return Kavun_SetVolume(port, 1); },
                                          [&] { return static_cast<int>(Kavun_GetVolume(port)); },
                                          [&] { return Kavun_SetFileEndCallback(port, nullptr, nullptr); },
                                          [&] { return Kavun_SetFileRefCallBack(port, nullptr, nullptr); },
                                          [&] { return Kavun_RegisterDrawFun(port, nullptr, nullptr); },
                                          [&] { return Kavun_RenderPrivateData(port, 1, 1); }};
    for (std::size_t i = 0; i < std::size(calls); ++i) {
        EXPECT_TRUE(Kavun_StopSound()); // leaves no error, so that the one below is the call's
        EXPECT_EQ(calls[i](), 0) << "function " << i;
        EXPECT_EQ(Kavun_GetLastError(port), KAVUN_ERROR_ARGUMENT) << "function " << i;
    }
}

INSTANTIATE_TEST_SUITE_P(Numbers, AnOddPort, testing::Values(-1, 0, 0x7FFFFFFF));

TEST_F(PlayerTest, RefusesNullForEveryPointer)
{
    const TestWindow window;
    holdAt("recorded.mkv", window.handle(), 1000);
    KAVUN_SYSTEM_TIME time{};
    long number = 0;
    unsigned char byte = 0;
    unsigned long rect[4] = {0, 0, 10, 10};
    CROP_PIC_INFO withoutBuffer{};
    withoutBuffer.pCropRect = rect;
    withoutBuffer.dwBufSize = 1;
    CROP_PIC_INFO withoutRectangle{};
    withoutRectangle.pBuf = &byte;
    const std::function<int()> calls[] = {
        [&] { return Kavun_GetPort(nullptr); },
        [&] { return Kavun_OpenFile(m_nPort, nullptr); },
        [&] { return Kavun_OpenStream(m_nPort, nullptr, 1, 1); },
        [&] { return Kavun_InputData(m_nPort, nullptr, 1); },
        [&] { return Kavun_GetFileTotalTime(m_nPort, nullptr, &time); },
        [&] { return Kavun_GetFileTotalTime(m_nPort, &time, nullptr); },
        [&] { return Kavun_GetSystemTime(m_nPort, nullptr); },
        [&] { return Kavun_GetPictureSize(m_nPort, nullptr, &number); },
        [&] { return Kavun_GetPictureSize(m_nPort, &number, nullptr); },
        [&] { return Kavun_GetJPEG(m_nPort, &byte, 1, nullptr); },
        [&] { return Kavun_GetJPEG(m_nPort, nullptr, 1, reinterpret_cast<unsigned long *>(&number)); },
        [&] { return Kavun_GetCropJPEG(m_nPort, nullptr); },
        [&] { return Kavun_GetCropJPEG(m_nPort, &withoutBuffer); },
        [&] { return Kavun_GetCropJPEG(m_nPort, &withoutRectangle); }};
    for (std::size_t i = 0; i < std::size(calls); ++i) {
        EXPECT_TRUE(Kavun_SetVolume(m_nPort, 1)); // leaves no error, so that the one below is the call's
        EXPECT_EQ(calls[i](), 0) << "call " << i;
        // What belongs to no port leaves its error with the thread.
        EXPECT_EQ(Kavun_GetLastError(i == 0 ? -1 : m_nPort), KAVUN_ERROR_ARGUMENT) << "call " << i;
    }
    EXPECT_TRUE(window.waitForNumber(25));
}

TEST_F(PlayerTest, KeepsTheVolume)
{
    EXPECT_EQ(Kavun_GetVolume(m_nPort), 0xFFFF);
    EXPECT_TRUE(Kavun_SetVolume(m_nPort, 1234));
    EXPECT_EQ(Kavun_GetVolume(m_nPort), 1234);
    EXPECT_EQ(lastError(), 0u);
}

TEST_F(PlayerTest, TwoPortsPlayInOneWindow)
{
    const TestWindow window;
    long second = -1;
    ASSERT_TRUE(Kavun_GetPort(&second));
    std::string path = mediaPath("h264.mp4");
    ASSERT_TRUE(Kavun_OpenFile(second, text(path)));
    ASSERT_TRUE(Kavun_Play(second, window.handle()));
    play("h264.ts", window.handle());
    EXPECT_TRUE(window.waitForAnyNumber());
    EXPECT_TRUE(Kavun_FreePort(second));
}

struct Resources {
    std::uintptr_t freshHandle = 0;
    std::size_t threads = 0;
    std::size_t privateBytes = 0;
};

Resources resourcesInUse()
{
    Resources resources;
    // Wine 8 answers 0 for the number of handles. A new one takes the lowest free place, which leaked ones push up.
    const HANDLE hFresh = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    resources.freshHandle = reinterpret_cast<std::uintptr_t>(hFresh);
    CloseHandle(hFresh);
    resources.threads = support::processThreads();
    resources.privateBytes = support::privateBytes();
    return resources;
}

TEST_F(PlayerTest, TheMeasuresOfResourcesSeeWhatIsInUse)
{
    const TestWindow window;
    const Resources before = resourcesInUse();
    play("bench-1080p.mp4", window.handle());
    ASSERT_TRUE(window.waitForAnyNumber());
    const Resources playing = resourcesInUse();
    EXPECT_GE(playing.threads, before.threads + 2);
    EXPECT_GT(playing.privateBytes, before.privateBytes + 1920 * 1080);
    std::vector<HANDLE> handles(50);
    for (HANDLE &hEvent : handles) {
        hEvent = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    }
    EXPECT_GT(resourcesInUse().freshHandle, before.freshHandle + 20);
    for (const HANDLE hEvent : handles) {
        CloseHandle(hEvent);
    }
}

TEST_F(PlayerTest, TwoHundredRoundsLeaveThreadsHandlesAndMemoryFlat)
{
    const TestWindow window;
    const auto round = [&](int number) {
        long port = -1;
        ASSERT_TRUE(Kavun_GetPort(&port));
        std::string path = mediaPath(number % 2 == 0 ? "h264.mp4" : "mpeg2.ts");
        ASSERT_TRUE(Kavun_OpenFile(port, text(path)));
        ASSERT_TRUE(Kavun_Play(port, window.handle()));
        ASSERT_TRUE(Kavun_SetPlayedTimeEx(port, static_cast<unsigned long>(number * 15)));
        ASSERT_TRUE(Kavun_OneByOne(port) || Kavun_GetLastError(port) == KAVUN_ERROR_END);
        ASSERT_TRUE(Kavun_Stop(port));
        ASSERT_TRUE(Kavun_CloseFile(port));
        ASSERT_TRUE(Kavun_FreePort(port));
    };
    for (int i = 0; i < 20; ++i) {
        round(i);
    }
    const Resources before = resourcesInUse();
    for (int i = 0; i < 200; ++i) {
        round(i);
    }
    const Resources after = resourcesInUse();
    std::printf("fresh handle %#llx -> %#llx, threads %llu -> %llu, private bytes %llu -> %llu\n",
                static_cast<unsigned long long>(before.freshHandle), static_cast<unsigned long long>(after.freshHandle),
                static_cast<unsigned long long>(before.threads), static_cast<unsigned long long>(after.threads),
                static_cast<unsigned long long>(before.privateBytes),
                static_cast<unsigned long long>(after.privateBytes));
    EXPECT_LE(after.freshHandle, before.freshHandle + 40); // ten handles, where one leaked each round makes 200
    EXPECT_LE(after.threads, before.threads);
    EXPECT_LE(after.privateBytes, before.privateBytes + 2 * 1024 * 1024);
}

TEST(PlayerPorts, GivesTwoHundredAndFiftySixAndLeavesTheNumberAloneAfterThat)
{
    std::vector<long> ports;
    for (long port = -1; Kavun_GetPort(&port);) {
        ports.push_back(port);
    }
    EXPECT_EQ(ports.size(), 256u);
    long untouched = 4711;
    EXPECT_FALSE(Kavun_GetPort(&untouched));
    EXPECT_EQ(Kavun_GetLastError(-1), KAVUN_ERROR_LIMIT);
    EXPECT_EQ(untouched, 4711);
    for (const long port : ports) {
        EXPECT_TRUE(Kavun_FreePort(port));
    }
}

} // namespace
