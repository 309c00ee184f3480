// What showing a picture costs: processor time for each shown picture of a 1080p H.264 file in a window of 640 x 360,
// against FFmpeg only decoding the same file in the same run. The ratio of the two is the figure to watch.
#include "Kavun.h"

#include "bench/ProcessorTime.h"
#include "player/src/core/Ffmpeg.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstdlib>
#include <string>
#include <thread>
#include <vector>

namespace
{

constexpr int kWidth = 640;
constexpr int kHeight = 360;

std::string clipPath()
{
    const char *folder = std::getenv("PELLORA_TEST_MEDIA");
    return std::string(folder ? folder : "build/media") + "/bench-1080p.mp4";
}

/** As many as the player's decoder takes for pictures of this size. */
int threadsOfThePlayer()
{
    return std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, 4);
}

/** Decodes the whole file with as many threads as the player takes; the number of pictures. */
int decodeWithFfmpegAlone(const std::string &path)
{
    AVFormatContext *pOpened = nullptr;
    if (avformat_open_input(&pOpened, path.c_str(), nullptr, nullptr) < 0) {
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
    pCodec->thread_count = threadsOfThePlayer();
    avcodec_open2(pCodec.get(), pDecoder, nullptr);
    const player::PacketPtr pPacket(av_packet_alloc());
    const player::FramePtr pFrame(av_frame_alloc());
    int pictures = 0;
    for (bool more = true; more;) {
        more = av_read_frame(pFormat.get(), pPacket.get()) >= 0;
        if (!more || pPacket->stream_index == stream) {
            avcodec_send_packet(pCodec.get(), more ? pPacket.get() : nullptr);
        }
        av_packet_unref(pPacket.get());
        while (avcodec_receive_frame(pCodec.get(), pFrame.get()) >= 0) {
            ++pictures;
        }
    }
    return pictures;
}

struct Played {
    std::atomic<int> presented{0};
    HANDLE hEnd = nullptr;
};

/** Plays the whole file at its own speed; the number of pictures presented. */
int playInWindow(std::string path, HWND hWnd)
{
    Played played;
    played.hEnd = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    long port = -1;
    Kavun_GetPort(&port);
    Kavun_SetFileEndCallback(
        port, [](long, void *user) { SetEvent(static_cast<Played *>(user)->hEnd); }, &played);
    Kavun_RegisterDrawFun(
        port, [](long, HDC, void *user) { ++static_cast<Played *>(user)->presented; }, &played);
    int presented = 0;
    if (Kavun_OpenFile(port, path.data()) && Kavun_Play(port, hWnd)) {
        WaitForSingleObject(played.hEnd, 60000);
        presented = played.presented;
    }
    Kavun_FreePort(port);
    CloseHandle(played.hEnd);
    return presented;
}

void showing1080pIn640x360(benchmark::State &state)
{
    const std::string path = clipPath();
    const HWND hWnd = CreateWindowExW(0, L"STATIC", L"", WS_POPUP | WS_VISIBLE, 0, 0, kWidth, kHeight, nullptr, nullptr,
                                      nullptr, nullptr);
    for ([[maybe_unused]] auto step : state) {
        double before = bench::processorSeconds();
        const int decoded = decodeWithFfmpegAlone(path);
        const double decoding = bench::processorSeconds() - before;
        before = bench::processorSeconds();
        const int presented = playInWindow(path, hWnd);
        const double playing = bench::processorSeconds() - before;
        if (decoded == 0 || presented == 0) {
            state.SkipWithError("the clip could not be played; run tests/media/make-media.sh");
            break;
        }
        state.counters["decoding_ms"] = 1000 * decoding / decoded;
        state.counters["showing_ms"] = 1000 * playing / presented;
        state.counters["presented"] = presented;
        state.counters["ratio"] = (playing / presented) / (decoding / decoded);
    }
    DestroyWindow(hWnd);
}

BENCHMARK(showing1080pIn640x360)->Iterations(1)->Repetitions(3)->Unit(benchmark::kMillisecond)->UseRealTime();

/** A file held at a time, the index complete. */
class HeldFile
{
public:
    HeldFile(const std::string &name, HWND hWnd) : m_hComplete(CreateEventW(nullptr, TRUE, FALSE, nullptr))
    {
        const char *folder = std::getenv("PELLORA_TEST_MEDIA");
        std::string path = std::string(folder ? folder : "build/media") + "/" + name;
        Kavun_GetPort(&m_nPort);
        Kavun_SetFileRefCallBack(
            m_nPort, [](long, void *user) { SetEvent(static_cast<HANDLE>(user)); }, m_hComplete);
        m_bOpen = Kavun_OpenFile(m_nPort, path.data()) && Kavun_Play(m_nPort, hWnd) && Kavun_Pause(m_nPort, 1) &&
                  WaitForSingleObject(m_hComplete, 60000) == WAIT_OBJECT_0;
    }

    ~HeldFile()
    {
        Kavun_FreePort(m_nPort);
        CloseHandle(m_hComplete);
    }

    HeldFile(const HeldFile &) = delete;
    HeldFile &operator=(const HeldFile &) = delete;

    [[nodiscard]] bool isOpen() const
    {
        return m_bOpen;
    }

    /** Seconds for a hundred steps from there; 0 when one failed. The seek is over before they begin. */
    double stepFrom(unsigned long milliseconds, int (*step)(long port))
    {
        std::vector<unsigned char> jpeg(1024 * 1024);
        unsigned long size = 0;
        Kavun_SetPlayedTimeEx(m_nPort, milliseconds);
        Kavun_GetJPEG(m_nPort, jpeg.data(), static_cast<unsigned long>(jpeg.size()), &size);
        const auto begun = std::chrono::steady_clock::now();
        for (int i = 0; i < 100; ++i) {
            if (!step(m_nPort)) {
                return 0;
            }
        }
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - begun).count();
    }

private:
    long m_nPort = -1;
    HANDLE m_hComplete;
    bool m_bOpen = false;
};

/** A single group of 300 pictures: a hundred steps on from its middle, then a hundred back from its end. */
void stepping(benchmark::State &state)
{
    const HWND hWnd = CreateWindowExW(0, L"STATIC", L"", WS_POPUP | WS_VISIBLE, 0, 0, kWidth, kHeight, nullptr, nullptr,
                                      nullptr, nullptr);
    for ([[maybe_unused]] auto round : state) {
        HeldFile file("one-gop.mp4", hWnd);
        const double on = file.isOpen() ? file.stepFrom(150 * 40, &Kavun_OneByOne) : 0;
        const double backFromTheEnd = file.isOpen() ? file.stepFrom(299 * 40, &Kavun_OneByOneBack) : 0;
        const double backFromTheMiddle = file.isOpen() ? file.stepFrom(200 * 40, &Kavun_OneByOneBack) : 0;
        if (on <= 0 || backFromTheEnd <= 0 || backFromTheMiddle <= 0) {
            state.SkipWithError("a step failed");
            break;
        }
        state.counters["on_ms"] = 10 * on;
        state.counters["ratio_end"] = backFromTheEnd / on;
        state.counters["ratio_middle"] = backFromTheMiddle / on;
    }
    DestroyWindow(hWnd);
}

BENCHMARK(stepping)->Iterations(1)->Repetitions(3)->Unit(benchmark::kMillisecond)->UseRealTime();

} // namespace

BENCHMARK_MAIN();
