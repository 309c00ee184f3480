// Live video against plain FFmpeg, with the cameras of the test bed on loopback, in one run:
//
//     tools/with-display.sh tests/cameras/with_cameras.py build/mingw-release/bin/live_bench.exe
//
// FirstPicture     start of a preview to the first picture on the screen; FFmpeg with its defaults until it has decoded
//                  the first picture of the same camera
// ArrivalToScreen  last byte of a picture at this machine to its presentation, in intervals of the camera's pictures
//                  and against the floor: until the last byte of the first picture has come, and one decoding
// NineStreams      processor time of a wall of nine 640 x 360 streams; FFmpeg only decoding as many pictures: one after
//                  the other in one go, and paced, in as many threads at the cameras' pace
// Cameras          the same for so many cameras of so many rows in windows without the library's panes, with the
//                  pictures that were not presented, and memory; the third argument hides the windows
// Memory           private bytes of that wall while all cameras go and come back every 30 seconds, for
//                  PELLORA_BENCH_MINUTES minutes (default 1)
#include "bench/Measures.h"
#include "bench/NotingPlayer.h"
#include "bench/NotingRelay.h"
#include "bench/PlainFfmpeg.h"
#include "bench/ProcessorTime.h"
#include "bench/Wall.h"
#include "ffmpeg/FfmpegHandles.h"
#include "interface/Pellora.h"
#include "tests/cameras/CameraBed.h"
#include "tests/support/HostWindow.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <list>
#include <thread>
#include <vector>

namespace
{

using bench::decodeUntil;
using bench::median;
using bench::NotingPlayer;
using bench::NotingRelay;
using bench::privateMegabytes;
using bench::secondsSince;
using bench::Wall;
using Clock = std::chrono::steady_clock;

cameras::CameraBed &bed()
{
    static cameras::CameraBed theBed;
    return theBed;
}

std::string openAddress(const std::string &path)
{
    return cameras::addressOf(bed().port(cameras::CameraBed::Port::Anybody), path);
}

std::string clipPath(const std::string &name)
{
    const char *pFolder = std::getenv("PELLORA_TEST_MEDIA");
    return std::string(pFolder != nullptr ? pFolder : "build/media") + "/cameras/" + name;
}

/** Processor time of decoding one picture of a camera's clip, in one go. */
double secondsToDecodeOne(const std::string &name)
{
    const double begin = bench::processorSeconds();
    int nPictures = 0;
    for (int i = 0; i < 10; ++i) {
        nPictures += decodeUntil(clipPath(name), [](int) { return false; });
    }
    return nPictures > 0 ? (bench::processorSeconds() - begin) / nPictures : 0;
}

/** Cores that are busy while as many threads decode the clip at its pace, and do nothing else. */
double coresToDecodePaced(const std::string &name, int nStreams)
{
    constexpr double kSeconds = 8;
    const double busy = bench::processorSeconds();
    std::vector<std::thread> threads;
    for (int i = 0; i < nStreams; ++i) {
        threads.emplace_back([&name] {
            const auto begin = Clock::now();
            for (int nBefore = 0; secondsSince(begin) < kSeconds;) {
                nBefore += decodeUntil(clipPath(name), [&](int nPictures) {
                    std::this_thread::sleep_until(begin + std::chrono::milliseconds(40) * (nBefore + nPictures));
                    return secondsSince(begin) >= kSeconds;
                });
            }
        });
    }
    for (std::thread &thread : threads) {
        thread.join();
    }
    return (bench::processorSeconds() - busy) / kSeconds;
}

void countDecoding(benchmark::State &state, double cores, const std::string &clip, int nStreams)
{
    const double decoding = secondsToDecodeOne(clip) * nStreams * 25;
    const double paced = coresToDecodePaced(clip, nStreams);
    state.counters["cores"] = cores;
    state.counters["decoding_cores"] = decoding;
    state.counters["paced_cores"] = paced;
    state.counters["ratio"] = decoding > 0 ? cores / decoding : 0;
    state.counters["paced_ratio"] = paced > 0 ? cores / paced : 0;
}

void firstPicture(benchmark::State &state)
{
    const std::string address = openAddress("h264");
    std::vector<double> plain;
    std::vector<double> ours;
    std::vector<double> arrived;
    for ([[maybe_unused]] auto _ : state) {
        auto begin = Clock::now();
        if (decodeUntil(address, [](int nPictures) { return nPictures > 0; }) == 0) {
            state.SkipWithError("FFmpeg does not play the camera");
            return;
        }
        plain.push_back(secondsSince(begin));
        Wall wall(1);
        Wall::pumpFor(0.2);
        NotingRelay relay(bed().port(cameras::CameraBed::Port::Anybody));
        begin = Clock::now();
        wall.start({cameras::addressOf(relay.port(), "h264")});
        if (!Wall::waitForPictures(1)) {
            state.SkipWithError("no picture on the screen");
            return;
        }
        ours.push_back(secondsSince(begin));
        arrived.push_back(std::chrono::duration<double>(relay.arrivals().at(0) - begin).count());
        state.SetIterationTime(ours.back());
    }
    const double floor = median(arrived) + secondsToDecodeOne("h264.mkv");
    state.counters["arrived_ms"] = median(arrived) * 1000;
    state.counters["over_floor_ms"] = (median(ours) - floor) * 1000;
    state.counters["floor_ratio"] = median(ours) / floor;
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
    countDecoding(state, ours, "ch1.mkv", 9);
}

/** Windows of a host, side by side in rows of at least three. */
std::vector<HWND> childWindows(support::HostWindow &host, int nWindows, int nWidth, int nHeight)
{
    int nRow = 3;
    while (nRow * nRow < nWindows) {
        ++nRow;
    }
    std::vector<HWND> windows;
    for (int i = 0; i < nWindows; ++i) {
        windows.push_back(host.addChild(L"BenchPane", i % nRow * nWidth / nRow, i / nRow * nHeight / nRow,
                                        nWidth / nRow, nHeight / nRow));
    }
    return windows;
}

void manyCameras(benchmark::State &state)
{
    constexpr double kSeconds = 16;
    const bool bHd = state.range(0) == 1080;
    const auto nCameras = static_cast<int>(state.range(1));
    double cores = 0;
    for ([[maybe_unused]] auto _ : state) {
        support::HostWindow host(1280, 720);
        std::list<NotingPlayer> players;
        const double before = privateMegabytes();
        for (const HWND hWnd : childWindows(host, nCameras, 1280, 720)) {
            const int nChannel = 1 + static_cast<int>(players.size()) % 9;
            const std::string path = bHd ? "hd" : cameras::wallCamera(nChannel).path;
            players.emplace_back(hWnd, cameras::Camera().nPictures);
            if (!players.back().start(openAddress(path))) {
                state.SkipWithError("a camera does not start");
                return;
            }
        }
        if (state.range(2) != 0) {
            ShowWindow(host.handle(), SW_HIDE);
        }
        Wall::pumpFor(5);
        for (NotingPlayer &player : players) {
            static_cast<void>(player.takeTally());
        }
        const double begin = bench::processorSeconds();
        Wall::pumpFor(kSeconds);
        cores = (bench::processorSeconds() - begin) / kSeconds;
        NotingPlayer::Tally all;
        for (NotingPlayer &player : players) {
            const NotingPlayer::Tally tally = player.takeTally();
            all.nShown += tally.nShown;
            all.nDropped += tally.nDropped;
        }
        state.counters["shown"] = all.nShown;
        state.counters["dropped"] = all.nDropped;
        state.counters["MiB_each"] = (privateMegabytes() - before) / nCameras;
        state.SetIterationTime(cores);
    }
    countDecoding(state, cores, bHd ? "hd.mkv" : "ch1.mkv", nCameras);
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
BENCHMARK(manyCameras)
    ->Name("Cameras")
    ->Args({360, 9, 0})
    ->Args({360, 9, 1})
    ->Args({360, 36, 0})
    ->Args({360, 81, 0})
    ->Args({1080, 9, 0})
    ->Args({1080, 9, 1})
    ->Args({1080, 12, 0})
    ->Args({1080, 16, 0})
    ->Args({1080, 20, 0})
    ->Iterations(1)
    ->UseManualTime();
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
