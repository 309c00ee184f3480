// Going to a picture, against FFmpeg decoding as far.
//
// FirstPicture  the player's way to a file's first picture: opened, playing, drawn; FFmpeg opening it and decoding one
// ExactSeek     a seek to the last but ten of 250 pictures with one key picture; FFmpeg decoding up to there
// Stepping      a hundred steps back in a group of pictures, from its end and from its middle, against a hundred on
#include "Kavun.h"

#include "bench/FilePort.h"
#include "bench/Measures.h"
#include "bench/PlainFfmpeg.h"

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <string>
#include <vector>

namespace
{

using bench::clipPath;
using bench::FilePort;
using bench::kNoClip;
using bench::median;
using bench::secondsSince;
using bench::ShownWindow;
using Clock = std::chrono::steady_clock;

constexpr const char *kOneGroup = "bench-1080p-one-group.mp4";

/** Which of two ways is gone first changes from round to round: what one leaves in the caches serves the other. */
void firstPicture(benchmark::State &state)
{
    const std::string path = clipPath(state.range(0) == 1080 ? "bench-1080p.mp4" : "cameras/ch1.mkv");
    const ShownWindow window(640, 360);
    std::vector<double> plain;
    std::vector<double> ours;
    std::vector<double> opening;
    for ([[maybe_unused]] auto round : state) {
        auto began = Clock::now();
        if (bench::decodeUntil(path, [](int pictures) { return pictures > 0; }) == 0) {
            state.SkipWithError(kNoClip);
            return;
        }
        plain.push_back(secondsSince(began));
        began = Clock::now();
        FilePort port(path);
        opening.push_back(secondsSince(began));
        if (!port.isOpen() || !port.play(window.handle()) || !port.waitForFirstPicture()) {
            state.SkipWithError(kNoClip);
            return;
        }
        ours.push_back(secondsSince(began));
        state.SetIterationTime(ours.back());
    }
    state.counters["plain_ms"] = 1000 * median(plain);
    state.counters["opening_ms"] = 1000 * median(opening);
    state.counters["ours_ms"] = 1000 * median(ours);
    state.counters["ratio"] = median(ours) / median(plain);
}

void exactSeek(benchmark::State &state)
{
    constexpr int kPicture = 240;
    const ShownWindow window(640, 360);
    std::vector<double> plain;
    std::vector<double> plainOne;
    std::vector<double> ours;
    FilePort port(clipPath(kOneGroup));
    if (!port.isOpen() || !port.play(window.handle()) || Kavun_Pause(port.number(), 1) == 0 || !port.waitForIndex()) {
        state.SkipWithError(kNoClip);
        return;
    }
    for ([[maybe_unused]] auto round : state) {
        const auto upToThere = [](int pictures) { return pictures > kPicture; };
        auto began = Clock::now();
        bench::decodeUntil(clipPath(kOneGroup), upToThere, 2);
        plain.push_back(secondsSince(began));
        began = Clock::now();
        bench::decodeUntil(clipPath(kOneGroup), upToThere, 1);
        plainOne.push_back(secondsSince(began));
        // Behind it, so that the way leads over the key picture.
        Kavun_SetPlayedTimeEx(port.number(), (kPicture + 8) * 40);
        bool done = port.waitForSeek();
        began = Clock::now();
        Kavun_SetPlayedTimeEx(port.number(), kPicture * 40);
        done = done && port.waitForSeek();
        ours.push_back(secondsSince(began));
        state.SetIterationTime(ours.back());
        if (!done) {
            state.SkipWithError("a seek failed");
            return;
        }
    }
    state.counters["plain_ms"] = 1000 * median(plain);
    state.counters["plain_one_ms"] = 1000 * median(plainOne);
    state.counters["ours_ms"] = 1000 * median(ours);
    state.counters["ratio"] = median(ours) / std::min(median(plain), median(plainOne));
}

/** Seconds for a hundred steps from there; 0 when one failed. The seek is over before they begin. */
double stepFrom(FilePort &port, unsigned long milliseconds, int (*step)(long port))
{
    Kavun_SetPlayedTimeEx(port.number(), milliseconds);
    if (!port.waitForSeek()) {
        return 0;
    }
    const auto began = Clock::now();
    for (int i = 0; i < 100; ++i) {
        if (step(port.number()) == 0) {
            return 0;
        }
    }
    return secondsSince(began);
}

void stepping(benchmark::State &state)
{
    const bool bHd = state.range(0) == 1080;
    const unsigned long last = bHd ? 249 : 299;
    const ShownWindow window(640, 360);
    for ([[maybe_unused]] auto round : state) {
        FilePort port(clipPath(bHd ? kOneGroup : "one-gop.mp4"));
        if (!port.isOpen() || !port.play(window.handle()) || Kavun_Pause(port.number(), 1) == 0 ||
            !port.waitForIndex()) {
            state.SkipWithError(kNoClip);
            return;
        }
        const double on = stepFrom(port, 100 * 40, &Kavun_OneByOne);
        const double backFromTheEnd = stepFrom(port, last * 40, &Kavun_OneByOneBack);
        const double backFromTheMiddle = stepFrom(port, (last + 1) / 2 * 40, &Kavun_OneByOneBack);
        if (on <= 0 || backFromTheEnd <= 0 || backFromTheMiddle <= 0) {
            state.SkipWithError("a step failed");
            return;
        }
        state.counters["on_ms"] = 10 * on;
        state.counters["ratio_end"] = backFromTheEnd / on;
        state.counters["ratio_middle"] = backFromTheMiddle / on;
        state.SetIterationTime(backFromTheMiddle);
    }
}

} // namespace

BENCHMARK(firstPicture)
    ->Name("FirstPicture")
    ->Arg(1080)
    ->Arg(360)
    ->Iterations(15)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
BENCHMARK(exactSeek)->Name("ExactSeek")->Iterations(5)->UseManualTime()->Unit(benchmark::kMillisecond);
BENCHMARK(stepping)
    ->Name("Stepping")
    ->Arg(240)
    ->Arg(1080)
    ->Iterations(1)
    ->Repetitions(3)
    ->UseManualTime()
    ->Unit(benchmark::kMillisecond);
