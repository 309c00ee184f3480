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
#include "bench/NotingPlayer.h"
#include "bench/NotingRelay.h"
#include "bench/PlainFfmpeg.h"
#include "bench/ProcessorTime.h"
#include "bench/Wall.h"
#include "ffmpeg/FfmpegHandles.h"
#include "interface/Pellora.h"
#include "tests/cameras/CameraBed.h"
#include "tests/support/HostWindow.h"
#include "tests/support/ProcessMemory.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <vector>

namespace
{

using bench::decodeUntil;
using bench::NotingPlayer;
using bench::NotingRelay;
using bench::Wall;
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
        if (!Wall::waitForPictures(1)) {
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
        if (!Wall::waitForPictures(9)) {
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
            if (!Wall::waitForPictures(9)) {
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
