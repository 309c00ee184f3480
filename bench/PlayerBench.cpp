// What showing a picture costs: processor time for each shown picture of a 1080p H.264 file in a window of 640 x 360,
// against FFmpeg only decoding the same file in the same run. The ratio of the two is the figure to watch.
#include "Kavun.h"

#include "bench/ProcessorTime.h"
#include "player/src/core/Ffmpeg.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <atomic>
#include <cstdlib>
#include <string>
#include <thread>

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

} // namespace

BENCHMARK_MAIN();
