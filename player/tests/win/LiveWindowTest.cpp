// Streams as a host pushes them into Drovel.dll, in real windows.
#include "Kavun.h"

#include "player/tests/support/PushedStream.h"
#include "player/tests/win/TestWindow.h"
#include "tests/support/ProcessThreads.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdio>
#include <list>
#include <vector>

namespace
{

using player::test::liveMatroska;
using player::test::LiveOptions;
using player::test::liveTransport;
using player::test::pumpUntil;
using player::test::PushedStream;
using player::test::TestWindow;

constexpr unsigned long kBufferBytes = 0x500000;

/** A port with a stream, from taking it to giving it back. */
class LivePort
{
public:
    LivePort()
    {
        Kavun_GetPort(&m_nPort);
    }

    ~LivePort()
    {
        Kavun_FreePort(m_nPort);
    }

    LivePort(const LivePort &) = delete;
    LivePort &operator=(const LivePort &) = delete;

    [[nodiscard]] long number() const
    {
        return m_nPort;
    }

    bool open(PushedStream &stream, HWND hWnd, unsigned long bufferBytes = kBufferBytes)
    {
        return Kavun_SetStreamOpenMode(m_nPort, KAVUN_MODE_REAL_TIME) &&
               Kavun_OpenStream(m_nPort, stream.header.data(), static_cast<unsigned long>(stream.header.size()),
                                bufferBytes) &&
               Kavun_SetDisplayBuf(m_nPort, 6) && Kavun_Play(m_nPort, hWnd) &&
               Kavun_RenderPrivateData(m_nPort, 0xff, 0);
    }

    int input(PushedStream &stream, std::size_t record)
    {
        auto &bytes = stream.records[record].bytes;
        return Kavun_InputData(m_nPort, bytes.data(), static_cast<unsigned long>(bytes.size()));
    }

    [[nodiscard]] unsigned long lastError() const
    {
        return Kavun_GetLastError(m_nPort);
    }

private:
    long m_nPort = -1;
};

TEST(LiveWindowTest, ShowsEachPictureWhenItsRecordHasCome)
{
    const TestWindow window;
    PushedStream stream = liveMatroska("h264.avi");
    LivePort port;
    ASSERT_TRUE(port.open(stream, window.handle()));
    for (std::size_t i = 0; i < 30; ++i) {
        ASSERT_TRUE(port.input(stream, i)) << port.lastError();
        ASSERT_TRUE(window.waitForNumber(static_cast<int>(i)));
    }
    long width = 0;
    long height = 0;
    EXPECT_TRUE(Kavun_GetPictureSize(port.number(), &width, &height));
    EXPECT_EQ(width, 320);
    EXPECT_EQ(height, 240);
    std::vector<unsigned char> file(200000);
    unsigned long size = 0;
    EXPECT_TRUE(Kavun_GetJPEG(port.number(), file.data(), static_cast<unsigned long>(file.size()), &size));
    EXPECT_GT(size, 1000u);
}

/** What AnalysisPainter draws with. */
constexpr COLORREF kAnalysisColour = RGB(0, 230, 255);

/** Which columns of a row have that colour. */
std::vector<int> drawnIn(const TestWindow &window, int top)
{
    const std::vector<COLORREF> row = window.row(top);
    std::vector<int> columns;
    for (std::size_t x = 0; x < row.size(); ++x) {
        if (row[x] == kAnalysisColour) {
            columns.push_back(static_cast<int>(x));
        }
    }
    return columns;
}

std::vector<unsigned char> captured(long port)
{
    std::vector<unsigned char> file(200000);
    unsigned long size = 0;
    EXPECT_TRUE(Kavun_GetJPEG(port, file.data(), static_cast<unsigned long>(file.size()), &size));
    file.resize(size);
    return file;
}

TEST(LiveWindowTest, DrawsWhatACameraHasFoundWhereTheHostWantsThatAndNeverIntoCaptures)
{
    constexpr long kAnalysis = 1;
    const TestWindow window;
    LiveOptions options;
    options.metadata = true;
    options.document = [](int) {
        return "<MetadataStream><VideoAnalytics><Frame><Object><Appearance><Shape><BoundingBox left='-0.5' top='0.5' "
               "right='0.5' bottom='-0.5'/></Shape></Appearance></Object></Frame></VideoAnalytics></MetadataStream>";
    };
    PushedStream stream = liveMatroska("h264.avi", options);
    LivePort port;
    ASSERT_TRUE(port.open(stream, window.handle()));
    for (std::size_t i = 0; i < 10; ++i) {
        ASSERT_TRUE(port.input(stream, i)) << port.lastError();
    }
    ASSERT_TRUE(window.waitForNumber(4));
    EXPECT_EQ(drawnIn(window, 120), std::vector<int>());
    const auto before = captured(port.number());

    ASSERT_TRUE(Kavun_RenderPrivateData(port.number(), kAnalysis, 1));
    // Lines of two pixels at a quarter and three quarters of the width, and nothing in between.
    EXPECT_TRUE(pumpUntil([&] { return drawnIn(window, 120).size() == 4; }));
    for (const int x : drawnIn(window, 120)) {
        EXPECT_TRUE((x >= 79 && x <= 81) || (x >= 239 && x <= 241)) << x;
    }
    EXPECT_EQ(drawnIn(window, 30), std::vector<int>());
    EXPECT_EQ(captured(port.number()), before);

    // The right half of the picture: the line at three quarters is in the middle.
    RECT region{160, 0, 320, 240};
    ASSERT_TRUE(Kavun_SetDisplayRegion(port.number(), 0, &region, nullptr, 1));
    EXPECT_TRUE(pumpUntil([&] {
        const std::vector<int> columns = drawnIn(window, 120);
        return columns.size() == 2 && columns.front() >= 159 && columns.back() <= 161;
    }));
    ASSERT_TRUE(Kavun_RenderPrivateData(port.number(), kAnalysis, 0));
    EXPECT_TRUE(pumpUntil([&] { return drawnIn(window, 120).empty(); }));
}

/** A window in a window, and a way in which nothing of it can be seen. */
struct OutOfSight {
    const char *name;
    void (*leave)(HWND hParent, HWND hPane);
    void (*comeBack)(HWND hParent, HWND hPane);
};

void place(HWND hWnd, int left, int width, int height)
{
    SetWindowPos(hWnd, nullptr, left, 0, width, height, SWP_NOZORDER | SWP_NOACTIVATE);
}

const OutOfSight kOutOfSight[] = {{"Hidden", [](HWND, HWND hPane) { ShowWindow(hPane, SW_HIDE); },
                                   [](HWND, HWND hPane) { ShowWindow(hPane, SW_SHOWNA); }},
                                  {"InAHiddenWindow", [](HWND hParent, HWND) { ShowWindow(hParent, SW_HIDE); },
                                   [](HWND hParent, HWND) { ShowWindow(hParent, SW_SHOWNOACTIVATE); }},
                                  {"InAMinimisedWindow",
                                   [](HWND hParent, HWND) { ShowWindow(hParent, SW_SHOWMINNOACTIVE); },
                                   [](HWND hParent, HWND) { ShowWindow(hParent, SW_SHOWNOACTIVATE); }},
                                  {"WithoutASize", [](HWND, HWND hPane) { place(hPane, 0, 0, 0); },
                                   [](HWND, HWND hPane) { place(hPane, 0, 320, 240); }}};

void PrintTo(const OutOfSight &row, std::ostream *pStream)
{
    *pStream << row.name;
}

class AWindowOutOfSight : public testing::TestWithParam<OutOfSight>
{
};

TEST_P(AWindowOutOfSight, IsNotDrawnIntoWhileTheStreamGoesOn)
{
    const TestWindow parent;
    const HWND hPane = CreateWindowExW(0, L"STATIC", L"", WS_CHILD | WS_VISIBLE, 0, 0, 320, 240, parent.handle(),
                                       nullptr, GetModuleHandleW(nullptr), nullptr);
    PushedStream stream = liveMatroska("h264.avi");
    LivePort port;
    ASSERT_TRUE(port.open(stream, hPane));
    std::atomic<int> drawn{0};
    Kavun_RegisterDrawFun(
        port.number(), [](long, HDC, void *pUser) { ++*static_cast<std::atomic<int> *>(pUser); }, &drawn);
    // Every twenty-fifth is a key picture, which is shown however far a busy machine falls behind.
    auto pushUpTo = [&, next = std::size_t{0}](unsigned long second) mutable {
        for (; next <= 25 * second; ++next) {
            port.input(stream, next);
        }
        return pumpUntil([&] { return Kavun_GetPlayedTime(port.number()) == second; });
    };
    ASSERT_TRUE(pushUpTo(0));
    ASSERT_TRUE(pumpUntil([&] { return drawn > 0; }));
    GetParam().leave(parent.handle(), hPane);
    // A drawing that had begun before is over.
    ASSERT_TRUE(pushUpTo(1));
    const int before = drawn;
    ASSERT_TRUE(pushUpTo(2));
    ASSERT_TRUE(pushUpTo(3));
    EXPECT_EQ(drawn, before);
    std::vector<unsigned char> file(200000);
    unsigned long size = 0;
    EXPECT_TRUE(Kavun_GetJPEG(port.number(), file.data(), static_cast<unsigned long>(file.size()), &size));
    GetParam().comeBack(parent.handle(), hPane);
    EXPECT_TRUE(pumpUntil([&] { return drawn > before; }));
    Kavun_RegisterDrawFun(port.number(), nullptr, nullptr);
}

INSTANTIATE_TEST_SUITE_P(Ways, AWindowOutOfSight, testing::ValuesIn(kOutOfSight),
                         [](const auto &row) { return std::string(row.param.name); });

TEST(LiveWindowTest, KeepsItsPictureWhenTheWindowIsResizedOrPaintedOver)
{
    TestWindow window;
    PushedStream stream = liveMatroska("h264.avi");
    LivePort port;
    ASSERT_TRUE(port.open(stream, window.handle()));
    ASSERT_TRUE(port.input(stream, 0));
    ASSERT_TRUE(window.waitForNumber(0));
    window.resize(500, 400);
    EXPECT_TRUE(window.waitForNumber(0));
    const HDC hDc = GetDC(window.handle());
    PatBlt(hDc, 0, 0, 500, 400, BLACKNESS);
    ReleaseDC(window.handle(), hDc);
    EXPECT_TRUE(window.waitForNumber(0));
}

TEST(LiveWindowTest, HoldsWhilePausedAndGoesOnInTheSameWindow)
{
    const TestWindow window;
    PushedStream stream = liveMatroska("h264.avi");
    LivePort port;
    ASSERT_TRUE(port.open(stream, window.handle()));
    ASSERT_TRUE(port.input(stream, 0));
    ASSERT_TRUE(window.waitForNumber(0));
    ASSERT_TRUE(Kavun_Pause(port.number(), 1));
    for (std::size_t i = 1; i < 60; ++i) {
        ASSERT_TRUE(port.input(stream, i));
    }
    EXPECT_EQ(window.number(), 0);
    ASSERT_TRUE(Kavun_Play(port.number(), nullptr));
    EXPECT_TRUE(window.waitForNumber(59));
}

TEST(LiveWindowTest, AnswersWithTheErrorsOfItsState)
{
    const TestWindow window;
    PushedStream stream = liveMatroska("h264.avi");
    LivePort port;
    unsigned char byte = 0;
    EXPECT_FALSE(Kavun_OpenStream(port.number(), &byte, 0, kBufferBytes));
    EXPECT_EQ(port.lastError(), KAVUN_ERROR_ARGUMENT);
    EXPECT_FALSE(port.input(stream, 0));
    EXPECT_EQ(port.lastError(), KAVUN_ERROR_ORDER);
    ASSERT_TRUE(port.open(stream, window.handle(), 30000));
    long side = 0;
    EXPECT_FALSE(Kavun_GetPictureSize(port.number(), &side, &side));
    EXPECT_EQ(port.lastError(), KAVUN_ERROR_NO_PICTURE);
    EXPECT_FALSE(Kavun_Fast(port.number()));
    EXPECT_EQ(port.lastError(), KAVUN_ERROR_ORDER);
    EXPECT_FALSE(Kavun_PlaySound(port.number()));
    EXPECT_EQ(port.lastError(), KAVUN_ERROR_NO_SOUND);
    std::vector<unsigned char> large(30001);
    EXPECT_FALSE(Kavun_InputData(port.number(), large.data(), static_cast<unsigned long>(large.size())));
    EXPECT_EQ(port.lastError(), KAVUN_ERROR_BUFFER_FULL);
    EXPECT_TRUE(port.input(stream, 0));
    EXPECT_EQ(port.lastError(), KAVUN_ERROR_NONE);
    EXPECT_FALSE(Kavun_CloseFile(port.number()));
    EXPECT_EQ(port.lastError(), KAVUN_ERROR_ORDER);
    EXPECT_TRUE(Kavun_Stop(port.number()));
    EXPECT_FALSE(port.input(stream, 1));
    EXPECT_EQ(port.lastError(), KAVUN_ERROR_ORDER);
    EXPECT_TRUE(Kavun_CloseStream(port.number()));
}

TEST(LiveWindowTest, TellsTheTimeThatTheDeviceStamped)
{
    const TestWindow window;
    LiveOptions options;
    options.captured = 1709251198500000; // 2024-02-29T23:59:58.5
    PushedStream stream = liveMatroska("mjpeg.mov", options);
    LivePort port;
    ASSERT_TRUE(port.open(stream, window.handle()));
    ASSERT_TRUE(port.input(stream, 0));
    ASSERT_TRUE(window.waitForNumber(0));
    KAVUN_SYSTEM_TIME time{};
    ASSERT_TRUE(Kavun_GetSystemTime(port.number(), &time));
    EXPECT_EQ(time.dwYear, 2024u);
    EXPECT_EQ(time.dwMonth, 2u);
    EXPECT_EQ(time.dwDay, 29u);
    EXPECT_EQ(time.dwSecond, 58u);
    EXPECT_EQ(time.dwMillisecond, 500u);
}

TEST(LiveWindowTest, NineStreamsInNineWindowsOneOfWhichVanishes)
{
    std::list<TestWindow> windows;
    std::list<LivePort> ports;
    PushedStream matroska = liveMatroska("h265.mp4");
    PushedStream transport = liveTransport("h264.mp4");
    for (int i = 0; i < 9; ++i) {
        windows.emplace_back(320, 240, 330 * (i % 3), 250 * (i / 3));
        ports.emplace_back();
        ASSERT_TRUE(ports.back().open(i % 2 == 0 ? matroska : transport, windows.back().handle()));
    }
    for (std::size_t record = 0; record < 90; ++record) {
        int i = 0;
        for (LivePort &port : ports) {
            ASSERT_TRUE(port.input(i++ % 2 == 0 ? matroska : transport, record));
        }
        if (record == 40) {
            windows.front().destroy();
        }
    }
    for (auto window = std::next(windows.begin()); window != windows.end(); ++window) {
        EXPECT_TRUE(pumpUntil([&] { return window->number().value_or(0) >= 80; }));
    }
}

TEST(LiveWindowTest, StopsOnTheThreadThatOwnsTheWindowAndPumpsNothing)
{
    const TestWindow window;
    PushedStream stream = liveMatroska("h264.avi");
    LivePort port;
    ASSERT_TRUE(port.open(stream, window.handle()));
    for (std::size_t i = 0; i < 30; ++i) {
        ASSERT_TRUE(port.input(stream, i));
    }
    // A message to the window would never be answered, and this would not return.
    EXPECT_TRUE(Kavun_Stop(port.number()));
    EXPECT_TRUE(Kavun_CloseStream(port.number()));
}

TEST(LiveWindowTest, FreesItsPortFromInsideTheDrawCallback)
{
    struct Freed {
        std::atomic<int> count{0};
    } freed;
    const TestWindow window;
    PushedStream stream = liveMatroska("h264.avi");
    long port = -1;
    ASSERT_TRUE(Kavun_GetPort(&port));
    ASSERT_TRUE(
        Kavun_OpenStream(port, stream.header.data(), static_cast<unsigned long>(stream.header.size()), 1000000));
    ASSERT_TRUE(Kavun_RegisterDrawFun(
        port, [](long number, HDC, void *pUser) { static_cast<Freed *>(pUser)->count += Kavun_FreePort(number) != 0; },
        &freed));
    ASSERT_TRUE(Kavun_Play(port, window.handle()));
    auto &bytes = stream.records[0].bytes;
    ASSERT_TRUE(Kavun_InputData(port, bytes.data(), static_cast<unsigned long>(bytes.size())));
    EXPECT_TRUE(pumpUntil([&] { return freed.count == 1; }));
    EXPECT_FALSE(Kavun_InputData(port, bytes.data(), static_cast<unsigned long>(bytes.size())));
    EXPECT_EQ(Kavun_GetLastError(port), KAVUN_ERROR_ARGUMENT);
}

TEST(LiveWindowTest, AHundredRoundsLeaveNoThread)
{
    const TestWindow window;
    PushedStream stream = liveMatroska("h264.avi");
    const std::size_t before = support::processThreads();
    for (int round = 0; round < 100; ++round) {
        LivePort port;
        ASSERT_TRUE(port.open(stream, window.handle()));
        for (std::size_t i = 0; i < static_cast<std::size_t>(round % 4); ++i) {
            ASSERT_TRUE(port.input(stream, i));
        }
        if (round % 2 == 0) {
            EXPECT_TRUE(Kavun_Stop(port.number()));
            EXPECT_TRUE(Kavun_CloseStream(port.number()));
        }
    }
    EXPECT_TRUE(pumpUntil([&] { return support::processThreads() <= before; }));
}

/** When a picture was drawn: the overlay is the last thing before it becomes visible. */
struct Drawn {
    std::atomic<std::int64_t> microseconds{0};
    std::atomic<int> count{0};
};

std::int64_t now()
{
    using namespace std::chrono;
    return duration_cast<microseconds>(steady_clock::now().time_since_epoch()).count();
}

class TimeToTheScreen : public testing::TestWithParam<const char *>
{
};

TEST_P(TimeToTheScreen, IsMeasuredPictureByPicture)
{
    const TestWindow window(640, 360);
    PushedStream stream = liveMatroska(GetParam());
    LivePort port;
    ASSERT_TRUE(port.open(stream, window.handle()));
    Drawn drawn;
    ASSERT_TRUE(Kavun_RegisterDrawFun(
        port.number(),
        [](long, HDC, void *pUser) {
            auto &d = *static_cast<Drawn *>(pUser);
            d.microseconds = now();
            ++d.count;
        },
        &drawn));
    std::vector<std::int64_t> times;
    // Where the order of showing asks for it, the first few records bring nothing to the screen.
    constexpr std::size_t kReordered = 4;
    for (std::size_t i = 0; i < kReordered; ++i) {
        ASSERT_TRUE(port.input(stream, i));
    }
    ASSERT_TRUE(pumpUntil([&] { return drawn.count > 0; }));
    std::int64_t next = now();
    for (std::size_t i = kReordered; i < 75; ++i) {
        pumpUntil([&] { return now() >= next; });
        next += 40000;
        const std::int64_t begun = now();
        ASSERT_TRUE(port.input(stream, i));
        // A redraw of the picture before may come in between, shortly after the record; its time does no harm below.
        const int count = drawn.count;
        ASSERT_TRUE(pumpUntil([&] { return drawn.count > count; }));
        times.push_back(drawn.microseconds - begun);
    }
    Kavun_RegisterDrawFun(port.number(), nullptr, nullptr);
    std::sort(times.begin(), times.end());
    std::printf("[ MEASURED ] %s: record to screen, median %lld us, nine of ten within %lld us\n", GetParam(),
                static_cast<long long>(times[times.size() / 2]), static_cast<long long>(times[times.size() * 9 / 10]));
    // Only measured: how long it takes depends on the machine. That no picture waits is tested without a window.
}

INSTANTIATE_TEST_SUITE_P(Clips, TimeToTheScreen, testing::Values("h264.avi", "mjpeg.mov", "bench-1080p.mp4"));

} // namespace
