// Live video against plain FFmpeg, with the cameras of the test bed on loopback, in one run:
//
//     tools/with-display.sh tests/cameras/with_cameras.py build/mingw-release/bin/live_bench.exe
//
// FirstPicture     start of a preview to the first picture on the screen; FFmpeg with its defaults until it has decoded
//                  the first picture of the same camera
// ArrivalToScreen  last byte of a picture at this machine to its presentation, in intervals of the camera's pictures
// NineStreams      processor time of a wall of nine 640 x 360 streams; FFmpeg only decoding as many pictures
// Memory           private bytes of that wall while all cameras go and come back every 30 seconds, for
//                  PELLORA_BENCH_MINUTES minutes (default 1)
#include "Kavun.h"
#include "Selvikdcm.h"
#include "bench/ProcessorTime.h"
#include "interface/Pellora.h"
#include "player/src/core/Ffmpeg.h"
#include "tests/cameras/CameraBed.h"
#include "tests/live/PaneScreen.h"
#include "tests/support/BarCode.h"
#include "tests/support/HostWindow.h"
#include "tests/support/ProcessMemory.h"

#include <benchmark/benchmark.h>

#include <winsock2.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <thread>
#include <vector>

namespace
{

using Clock = std::chrono::steady_clock;

double secondsSince(Clock::time_point begin)
{
    return std::chrono::duration<double>(Clock::now() - begin).count();
}

double privateMegabytes()
{
    return static_cast<double>(support::privateBytes()) / (1024.0 * 1024.0);
}

double median(std::vector<double> values)
{
    if (values.empty()) {
        return 0;
    }
    std::sort(values.begin(), values.end());
    return values[values.size() / 2];
}

cameras::CameraBed &bed()
{
    static cameras::CameraBed theBed;
    return theBed;
}

std::string openAddress(const std::string &path)
{
    return cameras::addressOf(bed().port(cameras::CameraBed::Port::Anybody), path);
}

// ---- plain FFmpeg ----

/** Reads and decodes with FFmpeg's defaults until the condition says enough; pictures decoded. */
int decodeUntil(const std::string &address, const std::function<bool(int)> &isEnough)
{
    AVFormatContext *pOpened = nullptr;
    if (avformat_open_input(&pOpened, address.c_str(), nullptr, nullptr) < 0) {
        return 0;
    }
    const player::FormatPtr pFormat(pOpened);
    avformat_find_stream_info(pFormat.get(), nullptr);
    const AVCodec *pDecoder = nullptr;
    const int stream = av_find_best_stream(pFormat.get(), AVMEDIA_TYPE_VIDEO, -1, -1, &pDecoder, 0);
    if (stream < 0) {
        return 0;
    }
    const player::CodecPtr pCodec(avcodec_alloc_context3(pDecoder));
    avcodec_parameters_to_context(pCodec.get(), pFormat->streams[stream]->codecpar);
    avcodec_open2(pCodec.get(), pDecoder, nullptr);
    const player::PacketPtr pPacket(av_packet_alloc());
    const player::FramePtr pFrame(av_frame_alloc());
    int pictures = 0;
    while (!isEnough(pictures) && av_read_frame(pFormat.get(), pPacket.get()) >= 0) {
        if (pPacket->stream_index == stream) {
            avcodec_send_packet(pCodec.get(), pPacket.get());
        }
        av_packet_unref(pPacket.get());
        while (avcodec_receive_frame(pCodec.get(), pFrame.get()) >= 0) {
            ++pictures;
        }
    }
    return pictures;
}

// ---- the library ----

/** A host with nine panes. */
class Wall
{
public:
    explicit Wall(unsigned short wPanes) : m_host(1280, 720), m_lHandle(PELLORA_CreateWindow(m_host.handle(), 2))
    {
        PELLORA_SplitScreen(m_lHandle, wPanes);
    }

    ~Wall()
    {
        PELLORA_DestroyWindow(m_lHandle);
        for (const long userID : m_logins) {
            SELVIK_DCM_Logout(userID);
        }
    }

    Wall(const Wall &) = delete;
    Wall &operator=(const Wall &) = delete;

    void start(const std::vector<std::string> &addresses)
    {
        tagPELLORA_BATCH_PREVIEW_PARAM batch = {};
        for (const std::string &address : addresses) {
            tagPELLORA_PREVIEW_PARAM &param = batch.struPreviewParam[batch.wNum++];
            param.userID = SELVIK_DCM_Login(address.c_str(), "", "");
            param.lChannel = batch.wNum;
            m_logins.push_back(param.userID);
        }
        PELLORA_BatchPreviewStream(m_lHandle, batch, nullptr);
    }

    [[nodiscard]] bool waitForPictures(int nPanes) const
    {
        const live::PaneScreen screen;
        for (int nPane = 0; nPane < nPanes; ++nPane) {
            if (!support::pumpUntil([&] { return screen.read(nPane).kind == live::PaneView::Kind::Whole; }, 30'000)) {
                return false;
            }
        }
        return true;
    }

    static void pumpFor(double seconds)
    {
        static_cast<void>(support::pumpUntil([] { return false; }, static_cast<unsigned>(seconds * 1000)));
    }

private:
    support::HostWindow m_host;
    long m_lHandle;
    std::vector<long> m_logins;
};

void firstPicture(benchmark::State &state)
{
    const std::string address = openAddress("h264");
    std::vector<double> plain;
    std::vector<double> ours;
    for ([[maybe_unused]] auto _ : state) {
        auto begin = Clock::now();
        if (decodeUntil(address, [](int nPictures) { return nPictures > 0; }) == 0) {
            state.SkipWithError("FFmpeg does not play the camera");
            return;
        }
        plain.push_back(secondsSince(begin));
        Wall wall(1);
        Wall::pumpFor(0.2);
        begin = Clock::now();
        wall.start({address});
        if (!wall.waitForPictures(1)) {
            state.SkipWithError("no picture on the screen");
            return;
        }
        ours.push_back(secondsSince(begin));
        state.SetIterationTime(ours.back());
    }
    state.counters["plain_ms"] = median(plain) * 1000;
    state.counters["ours_ms"] = median(ours) * 1000;
    state.counters["ratio"] = median(ours) / median(plain);
}

// ---- from the last byte to the screen ----

/**
 * Stands between a camera and the device library and notes when the last byte of each picture has come: the packet with
 * the marker on the first interleaved channel.
 *
 * Threads: its own, which ends with the camera's connection or the object.
 */
class NotingRelay
{
public:
    explicit NotingRelay(int nCameraPort) : m_nCameraPort(nCameraPort)
    {
        m_listener = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
        sockaddr_in address = loopback(0);
        int nSize = sizeof(address);
        if (bind(m_listener, reinterpret_cast<sockaddr *>(&address), nSize) != 0 || listen(m_listener, 1) != 0 ||
            getsockname(m_listener, reinterpret_cast<sockaddr *>(&address), &nSize) != 0) {
            throw std::runtime_error("no port for the relay");
        }
        m_nPort = ntohs(address.sin_port);
        m_thread = std::thread([this] { relay(); });
    }

    ~NotingRelay()
    {
        m_bStop = true;
        m_thread.join();
        closesocket(m_listener);
    }

    NotingRelay(const NotingRelay &) = delete;
    NotingRelay &operator=(const NotingRelay &) = delete;

    [[nodiscard]] int port() const
    {
        return m_nPort;
    }

    /** Of picture after picture, from the first one. */
    [[nodiscard]] std::vector<Clock::time_point> arrivals() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_arrivals;
    }

private:
    static sockaddr_in loopback(int nPort)
    {
        sockaddr_in address{};
        address.sin_family = AF_INET;
        address.sin_port = htons(static_cast<u_short>(nPort));
        address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
        return address;
    }

    static bool isReadable(SOCKET one, SOCKET other, bool &bOne, bool &bOther)
    {
        fd_set sockets;
        FD_ZERO(&sockets);
        FD_SET(one, &sockets);
        FD_SET(other, &sockets);
        timeval patience{0, 50'000};
        select(0, &sockets, nullptr, nullptr, &patience);
        bOne = FD_ISSET(one, &sockets) != 0;
        bOther = FD_ISSET(other, &sockets) != 0;
        return bOne || bOther;
    }

    void relay()
    {
        bool bViewer = false;
        bool bCamera = false;
        while (!m_bStop && !isReadable(m_listener, m_listener, bViewer, bCamera)) {
        }
        if (m_bStop) {
            return;
        }
        const SOCKET viewer = accept(m_listener, nullptr, nullptr);
        const SOCKET camera = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
        const sockaddr_in address = loopback(m_nCameraPort);
        const BOOL bOn = TRUE;
        setsockopt(viewer, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char *>(&bOn), sizeof(bOn));
        bool bOpen = connect(camera, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) == 0;
        std::vector<char> buffer(1 << 16);
        while (!m_bStop && bOpen) {
            if (!isReadable(viewer, camera, bViewer, bCamera)) {
                continue;
            }
            if (bViewer) {
                bOpen = forward(viewer, camera, buffer, false);
            }
            if (bOpen && bCamera) {
                bOpen = forward(camera, viewer, buffer, true);
            }
        }
        closesocket(viewer);
        closesocket(camera);
    }

    bool forward(SOCKET from, SOCKET to, std::vector<char> &buffer, bool bNote)
    {
        const int nRead = recv(from, buffer.data(), static_cast<int>(buffer.size()), 0);
        if (nRead <= 0) {
            return false;
        }
        if (bNote) {
            note(buffer.data(), static_cast<std::size_t>(nRead));
        }
        for (int nSent = 0; nSent < nRead;) {
            const int nNow = send(to, buffer.data() + nSent, nRead - nSent, 0);
            if (nNow <= 0) {
                return false;
            }
            nSent += nNow;
        }
        return true;
    }

    /** Follows the interleaved packets: '$', channel, length of two bytes, packet. Answers in between are skipped. */
    void note(const char *pBytes, std::size_t nBytes)
    {
        const auto now = Clock::now();
        m_pending.insert(m_pending.end(), pBytes, pBytes + nBytes);
        std::size_t nAt = 0;
        while (nAt < m_pending.size()) {
            if (m_pending[nAt] != '$') {
                ++nAt;
                continue;
            }
            if (nAt + 6 > m_pending.size()) {
                break;
            }
            const std::size_t nLength =
                static_cast<unsigned char>(m_pending[nAt + 2]) * 256U + static_cast<unsigned char>(m_pending[nAt + 3]);
            if (nAt + 4 + nLength > m_pending.size()) {
                break;
            }
            const bool bMarker = (static_cast<unsigned char>(m_pending[nAt + 5]) & 0x80U) != 0;
            if (m_pending[nAt + 1] == 0 && bMarker) {
                const std::lock_guard<std::mutex> lock(m_mutex);
                m_arrivals.push_back(now);
            }
            nAt += 4 + nLength;
        }
        m_pending.erase(m_pending.begin(), m_pending.begin() + static_cast<std::ptrdiff_t>(nAt));
    }

    const int m_nCameraPort;
    SOCKET m_listener = INVALID_SOCKET;
    int m_nPort = 0;
    std::atomic<bool> m_bStop{false};
    std::thread m_thread;
    std::vector<char> m_pending;

    // Guarded by m_mutex.
    mutable std::mutex m_mutex;
    std::vector<Clock::time_point> m_arrivals;
};

/** One preview fed into one port, whose draw callback notes when each number is presented. */
class NotingPlayer
{
public:
    explicit NotingPlayer(HWND hWnd) : m_hWnd(hWnd) {}

    ~NotingPlayer()
    {
        SELVIK_DCM_StopPreview(m_lPreview);
        Kavun_FreePort(m_lPort);
        SELVIK_DCM_Logout(m_lLogin);
    }

    NotingPlayer(const NotingPlayer &) = delete;
    NotingPlayer &operator=(const NotingPlayer &) = delete;

    bool start(const std::string &address)
    {
        m_lLogin = SELVIK_DCM_Login(address.c_str(), "", "");
        SELVIK_DCM_PREVIEW_INFO info{};
        info.channel = 1;
        info.word16 = 1;
        info.callback = &NotingPlayer::onStream;
        info.user = this;
        m_lPreview = SELVIK_DCM_StartPreview(m_lLogin, &info);
        return m_lPreview >= 0;
    }

    /** When a number was presented first. */
    [[nodiscard]] std::map<int, Clock::time_point> presented() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_presented;
    }

private:
    static void onStream(long, const SELVIK_DCM_STREAM_DATA *pData, void *pUser)
    {
        auto *pSelf = static_cast<NotingPlayer *>(pUser);
        if (pData->type == SELVIK_STREAM_DATA) {
            Kavun_InputData(pSelf->m_lPort, pData->bytes, pData->length);
            return;
        }
        Kavun_GetPort(&pSelf->m_lPort);
        Kavun_SetStreamOpenMode(pSelf->m_lPort, KAVUN_MODE_REAL_TIME);
        Kavun_OpenStream(pSelf->m_lPort, pData->bytes, pData->length, 0x500000);
        Kavun_RegisterDrawFun(pSelf->m_lPort, &NotingPlayer::onDraw, pSelf);
        Kavun_Play(pSelf->m_lPort, pSelf->m_hWnd);
    }

    static void onDraw(long, HDC hDc, void *pUser)
    {
        const auto now = Clock::now();
        DIBSECTION section{};
        if (GetObjectW(GetCurrentObject(hDc, OBJ_BITMAP), sizeof(section), &section) != sizeof(section)) {
            return;
        }
        GdiFlush();
        const int nWidth = section.dsBm.bmWidth;
        const int nHeight = section.dsBm.bmHeight;
        const bool bBottomUp = section.dsBmih.biHeight > 0;
        const auto *pFirst = static_cast<const std::uint8_t *>(section.dsBm.bmBits);
        const std::ptrdiff_t nStride = section.dsBm.bmWidthBytes;
        const auto number = bBottomUp
                                ? testsupport::readBarCode(pFirst + (nHeight - 1) * nStride, -nStride, nWidth, nHeight)
                                : testsupport::readBarCode(pFirst, nStride, nWidth, nHeight);
        if (number) {
            auto *pSelf = static_cast<NotingPlayer *>(pUser);
            const std::lock_guard<std::mutex> lock(pSelf->m_mutex);
            pSelf->m_presented.emplace(*number % cameras::kPicturesPerCamera, now);
        }
    }

    HWND m_hWnd;
    long m_lLogin = -1;
    long m_lPreview = -1;
    long m_lPort = -1;

    // Guarded by m_mutex.
    mutable std::mutex m_mutex;
    std::map<int, Clock::time_point> m_presented;
};

void arrivalToScreen(benchmark::State &state)
{
    const char *const pPath = state.range(0) == 1080 ? "hd" : "fast";
    const cameras::Camera camera = cameras::cameraAt(pPath);
    std::vector<double> intervals;
    for ([[maybe_unused]] auto _ : state) {
        support::HostWindow host(640, 360);
        NotingRelay relay(bed().port(cameras::CameraBed::Port::Anybody));
        NotingPlayer player(host.handle());
        if (!player.start(cameras::addressOf(relay.port(), pPath))) {
            state.SkipWithError("the camera does not start");
            return;
        }
        // Less than one round of the clip, so that every number comes once.
        Wall::pumpFor(0.8 * camera.nPictures / camera.nRate);
        const auto presented = player.presented();
        const auto arrivals = relay.arrivals();
        if (presented.empty()) {
            state.SkipWithError("no picture");
            return;
        }
        // Numbers go round; the first one presented is the first one that arrived.
        const auto first = std::min_element(presented.begin(), presented.end(),
                                            [](const auto &a, const auto &b) { return a.second < b.second; });
        for (const auto &[nNumber, when] : presented) {
            const int nIndex = (nNumber - first->first + camera.nPictures) % camera.nPictures;
            if (nIndex > 5 && static_cast<std::size_t>(nIndex) < arrivals.size()) {
                const double delay = std::chrono::duration<double>(when - arrivals[nIndex]).count();
                intervals.push_back(delay * camera.nRate);
            }
        }
        state.SetIterationTime(median(intervals) / camera.nRate);
    }
    std::sort(intervals.begin(), intervals.end());
    state.counters["median_ms"] = median(intervals) / camera.nRate * 1000;
    state.counters["median_intervals"] = median(intervals);
    state.counters["p95_intervals"] = intervals.empty() ? 0 : intervals[intervals.size() * 95 / 100];
    state.counters["pictures"] = static_cast<double>(intervals.size());
}

// ---- the wall ----

std::vector<std::string> wallAddresses()
{
    std::vector<std::string> addresses;
    for (int nChannel = 1; nChannel <= 9; ++nChannel) {
        addresses.push_back(openAddress(cameras::wallCamera(nChannel).path));
    }
    return addresses;
}

/** Processor time of decoding one picture of a wall camera's clip. */
double secondsToDecodeOne()
{
    const char *pFolder = std::getenv("PELLORA_TEST_MEDIA");
    const std::string clip = std::string(pFolder != nullptr ? pFolder : "build/media") + "/cameras/ch1.mkv";
    const double begin = bench::processorSeconds();
    int nPictures = 0;
    for (int i = 0; i < 20; ++i) {
        nPictures += decodeUntil(clip, [](int) { return false; });
    }
    return nPictures > 0 ? (bench::processorSeconds() - begin) / nPictures : 0;
}

void nineStreams(benchmark::State &state)
{
    constexpr double kSeconds = 20;
    double ours = 0;
    for ([[maybe_unused]] auto _ : state) {
        Wall wall(9);
        wall.start(wallAddresses());
        if (!wall.waitForPictures(9)) {
            state.SkipWithError("no pictures");
            return;
        }
        const double begin = bench::processorSeconds();
        Wall::pumpFor(kSeconds);
        ours = (bench::processorSeconds() - begin) / kSeconds;
        state.SetIterationTime(ours);
    }
    const double decoding = secondsToDecodeOne() * 9 * 25;
    state.counters["cores"] = ours;
    state.counters["decoding_cores"] = decoding;
    state.counters["ratio"] = decoding > 0 ? ours / decoding : 0;
}

void memory(benchmark::State &state)
{
    const char *const pMinutes = std::getenv("PELLORA_BENCH_MINUTES");
    const int nRounds = 2 * std::max(pMinutes != nullptr ? std::atoi(pMinutes) : 1, 1);
    for ([[maybe_unused]] auto _ : state) {
        Wall wall(9);
        wall.start(wallAddresses());
        std::vector<double> megabytes;
        for (int i = 0; i < nRounds; ++i) {
            Wall::pumpFor(15);
            bed().command("kill");
            Wall::pumpFor(1);
            bed().command("start");
            Wall::pumpFor(14);
            if (!wall.waitForPictures(9)) {
                state.SkipWithError("a camera has not come back");
                return;
            }
            megabytes.push_back(privateMegabytes());
            std::printf("after %d reconnections: %.1f MiB\n", i + 1, megabytes.back());
            std::fflush(stdout);
        }
        state.counters["first_MiB"] = megabytes.front();
        state.counters["last_MiB"] = megabytes.back();
        state.counters["highest_MiB"] = *std::max_element(megabytes.begin(), megabytes.end());
        state.SetIterationTime(1);
    }
}

} // namespace

BENCHMARK(firstPicture)->Name("FirstPicture")->Iterations(5)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(arrivalToScreen)
    ->Name("ArrivalToScreen")
    ->Arg(1080)
    ->Arg(360)
    ->Iterations(3)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(nineStreams)->Name("NineStreams")->Iterations(1)->UseManualTime();
BENCHMARK(memory)->Name("Memory")->Iterations(1)->UseManualTime();

int main(int nArguments, char **pArguments)
{
    benchmark::Initialize(&nArguments, pArguments);
    PELLORA_Init();
    av_log_set_level(AV_LOG_QUIET);
    benchmark::RunSpecifiedBenchmarks();
    PELLORA_Fini();
    return 0;
}
