// What playing a file costs, against FFmpeg only decoding the same file in the same run. The ratios are the figures to
// watch.
//
// Decoding   processor time of decoding one picture, in one go: the codec's number and how many threads
// Showing    processor time for each shown picture of a 1080p file, in a window of that width, against the better of
//            decoding with one thread and with as many as the player takes
// Fast       1080p at sixteen times its speed: cores that it takes, and how far the clock came against what it should
// Ports      so many ports of 640 x 360 at once: processor time of each
// Memory     private memory of each of four ports that play 1080p
// Again      a port opened, played and freed a thousand times: private memory, threads and handles before and after
#include "Kavun.h"

#include "bench/FilePort.h"
#include "bench/Measures.h"
#include "bench/PlainFfmpeg.h"
#include "bench/ProcessorTime.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <list>
#include <string>
#include <thread>

namespace
{

using bench::clipPath;
using bench::FilePort;
using bench::kNoClip;
using bench::privateMegabytes;
using bench::secondsSince;
using bench::ShownWindow;
using Clock = std::chrono::steady_clock;

std::string hdClip(std::int64_t codec)
{
    return clipPath(codec == 265 ? "bench-1080p-h265.mp4" : "bench-1080p.mp4");
}

/** As many as the player's decoder takes for pictures of this size. */
int threadsOfThePlayer()
{
    return std::clamp(static_cast<int>(std::thread::hardware_concurrency()), 1, 4);
}

/** Processor time of decoding one picture of the whole file; 0 where it cannot. */
double secondsToDecodeOne(const std::string &path, int threads)
{
    const double before = bench::processorSeconds();
    const int pictures = bench::decodeUntil(
        path, [](int) { return false; }, threads);
    return pictures > 0 ? (bench::processorSeconds() - before) / pictures : 0;
}

void decoding(benchmark::State &state)
{
    for ([[maybe_unused]] auto round : state) {
        const double seconds = secondsToDecodeOne(hdClip(state.range(0)), static_cast<int>(state.range(1)));
        state.SetIterationTime(seconds);
    }
}

void showing(benchmark::State &state)
{
    const std::string path = hdClip(state.range(0));
    const auto width = static_cast<int>(state.range(1));
    const ShownWindow window(width, width * 9 / 16);
    for ([[maybe_unused]] auto round : state) {
        const double one = secondsToDecodeOne(path, 1);
        const double many = secondsToDecodeOne(path, threadsOfThePlayer());
        const double before = bench::processorSeconds();
        FilePort port(path);
        if (!port.isOpen() || !port.play(window.handle()) || !port.waitForEnd() || one <= 0) {
            state.SkipWithError(kNoClip);
            return;
        }
        const double shown = (bench::processorSeconds() - before) / port.presented();
        state.counters["presented"] = port.presented();
        state.counters["one_ms"] = 1000 * one;
        state.counters["many_ms"] = 1000 * many;
        state.counters["shown_ms"] = 1000 * shown;
        state.counters["ratio"] = shown / std::min(one, many);
        state.SetIterationTime(shown);
    }
}

/** Until the port's clock has come so far. */
void waitForSecond(const FilePort &port, unsigned long second)
{
    const auto end = Clock::now() + std::chrono::seconds(10);
    while (Kavun_GetPlayedTime(port.number()) < second && Clock::now() < end) {
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
}

void fast(benchmark::State &state)
{
    const ShownWindow window(640, 360);
    for ([[maybe_unused]] auto round : state) {
        FilePort port(hdClip(264));
        if (!port.isOpen() || !port.play(window.handle()) || !port.waitForFirstPicture()) {
            state.SkipWithError(kNoClip);
            return;
        }
        for (int doubled = 1; doubled < 16; doubled *= 2) {
            Kavun_Fast(port.number());
        }
        waitForSecond(port, 1);
        const auto began = Clock::now();
        const double before = bench::processorSeconds();
        const int presented = port.presented();
        waitForSecond(port, 9);
        const double seconds = secondsSince(began);
        state.counters["cores"] = (bench::processorSeconds() - before) / seconds;
        state.counters["clock"] = (9.0 - 1.0) / 16 / seconds;
        state.counters["pictures_a_second"] = (port.presented() - presented) / seconds;
        state.SetIterationTime(seconds);
    }
}

void ports(benchmark::State &state)
{
    constexpr double kSeconds = 4;
    const auto count = static_cast<int>(state.range(0));
    const ShownWindow host(1280, 720);
    for ([[maybe_unused]] auto round : state) {
        std::list<ShownWindow> windows;
        std::list<FilePort> playing;
        for (int i = 0; i < count; ++i) {
            windows.emplace_back(210, 118, i % 6 * 212, i / 6 * 120);
            playing.emplace_back(clipPath("cameras/ch1.mkv"));
            if (!playing.back().isOpen() || !playing.back().play(windows.back().handle()) ||
                !playing.back().waitForFirstPicture()) {
                state.SkipWithError(kNoClip);
                return;
            }
        }
        const auto presented = [&] {
            int sum = 0;
            for (const FilePort &port : playing) {
                sum += port.presented();
            }
            return sum;
        };
        const int presentedBefore = presented();
        const double before = bench::processorSeconds();
        std::this_thread::sleep_for(std::chrono::duration<double>(kSeconds));
        const double each = (bench::processorSeconds() - before) / kSeconds / count;
        state.counters["cores_each"] = each;
        state.counters["pictures_each"] = (presented() - presentedBefore) / kSeconds / count;
        state.SetIterationTime(each);
    }
}

void memory(benchmark::State &state)
{
    constexpr int kPorts = 4;
    const auto width = static_cast<int>(state.range(1));
    std::list<ShownWindow> windows;
    for (int i = 0; i < kPorts; ++i) {
        windows.emplace_back(width, width * 9 / 16);
    }
    for ([[maybe_unused]] auto round : state) {
        const double before = privateMegabytes();
        std::list<FilePort> playing;
        for (const ShownWindow &window : windows) {
            playing.emplace_back(hdClip(state.range(0)));
            if (!playing.back().isOpen() || !playing.back().play(window.handle())) {
                state.SkipWithError(kNoClip);
                return;
            }
        }
        double most = 0;
        for (int i = 0; i < 12; ++i) {
            std::this_thread::sleep_for(std::chrono::milliseconds(250));
            most = std::max(most, privateMegabytes());
        }
        state.counters["MiB_each"] = (most - before) / kPorts;
        state.SetIterationTime(1);
    }
}

/** Wine does not count handles, but gives the lowest that is free. */
double freshHandle()
{
    const HANDLE hFresh = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    CloseHandle(hFresh);
    return static_cast<double>(reinterpret_cast<std::uintptr_t>(hFresh));
}

void again(benchmark::State &state)
{
    const ShownWindow window(320, 240);
    for ([[maybe_unused]] auto round : state) {
        double megabytes = 0;
        double handle = 0;
        for (int i = 0; i < 1100; ++i) {
            if (i == 100) {
                megabytes = privateMegabytes();
                handle = freshHandle();
            }
            FilePort port(clipPath("small.mp4"));
            if (!port.isOpen() || !port.play(window.handle()) || !port.waitForFirstPicture()) {
                state.SkipWithError(kNoClip);
                return;
            }
        }
        state.counters["MiB_before"] = megabytes;
        state.counters["MiB_after"] = privateMegabytes();
        state.counters["handles_more"] = (freshHandle() - handle) / 4;
        state.SetIterationTime(1);
    }
}

} // namespace

BENCHMARK(decoding)
    ->Name("Decoding")
    ->Args({264, 1})
    ->Args({264, 2})
    ->Args({265, 1})
    ->Args({265, 2})
    ->Iterations(1)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(showing)
    ->Name("Showing")
    ->Args({264, 640})
    ->Args({265, 640})
    ->Args({264, 1920})
    ->Args({265, 1920})
    ->Iterations(1)
    ->Repetitions(3)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(fast)->Name("Fast")->Iterations(1)->Repetitions(3)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(ports)->Name("Ports")->Arg(1)->Arg(4)->Arg(9)->Arg(16)->Arg(25)->Arg(36)->Iterations(1)->UseManualTime();
BENCHMARK(memory)
    ->Name("Memory")
    ->Args({264, 640})
    ->Args({265, 640})
    ->Args({264, 1920})
    ->Iterations(1)
    ->UseManualTime();
BENCHMARK(again)->Name("Again")->Iterations(1)->UseManualTime();

BENCHMARK_MAIN();
