// A host that does anything, in any order: random calls, right and wrong, over files, cameras, rules, windows. The same
// seed makes the same steps. Not a GoogleTest program, since the runs that fail end in the middle.
//
//   soak [--seed N] [--steps A-B] [--replay FILE] [--seconds S] [--watchdog S] [--no-leaks] [--list] [--plant KIND]
//
// --steps     of those that the seed makes, these; 0-999 unless told
// --replay    the steps of a file instead: what --list prints
// --seconds   ends early, and well, when the time is over
// --watchdog  a step that takes longer is a hang; 60 unless told
// --no-leaks  does not count what is left at the end, which is a matter of a second or two
// --plant     answer, crash, hang or leak: fails once a window shows nine panes, to try whoever finds failures
//
// It ends with 0, or with what failed (tests/soak/Failure.h), after a line that begins with "FAILURE".
// PELLORA_TEST_MEDIA is the folder of the clips; PELLORA_SOAK_CAMERAS has the addresses of more cameras, if there are
// any.

#include "tests/soak/Failure.h"
#include "tests/soak/Held.h"
#include "tests/soak/Operations.h"
#include "tests/soak/World.h"

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <stdexcept>
#include <string>

namespace
{

using soak::Outcome;
using soak::Step;

struct Options {
    std::uint64_t seed = 1;
    std::size_t nFirst = 0;
    std::size_t nLast = 999;
    std::string replay;
    unsigned nSeconds = 0;
    unsigned nWatchdog = 60;
    bool bLeaks = true;
    bool bList = false;
    std::string plant;
};

Options optionsIn(int nArguments, char **ppArguments)
{
    Options options;
    for (int i = 1; i < nArguments; ++i) {
        const std::string name = ppArguments[i];
        const auto value = [&]() -> std::string {
            if (i + 1 >= nArguments) {
                throw std::invalid_argument(name + " needs a value");
            }
            return ppArguments[++i];
        };
        if (name == "--seed") {
            options.seed = std::stoull(value());
        } else if (name == "--steps") {
            const std::string range = value();
            const std::size_t nDash = range.find('-');
            options.nFirst = std::stoul(range);
            options.nLast = nDash != std::string::npos ? std::stoul(range.substr(nDash + 1)) : options.nFirst;
        } else if (name == "--replay") {
            options.replay = value();
        } else if (name == "--seconds") {
            options.nSeconds = static_cast<unsigned>(std::stoul(value()));
        } else if (name == "--watchdog") {
            options.nWatchdog = static_cast<unsigned>(std::stoul(value()));
        } else if (name == "--no-leaks") {
            options.bLeaks = false;
        } else if (name == "--list") {
            options.bList = true;
        } else if (name == "--plant") {
            options.plant = value();
        } else {
            throw std::invalid_argument("there is no option " + name);
        }
    }
    return options;
}

/** A defect of our own making: a grid of nine panes. */
void springPlant(const Options &options, soak::World &world, const Step &step)
{
    if (options.plant.empty() || std::string(soak::operations()[step.nOperation].name) != "SplitScreen") {
        return;
    }
    const auto lHandle = static_cast<long>(step.arguments[0]);
    if (!soak::World::isHandle(lHandle) || !world.window(lHandle).isAlive() || world.window(lHandle).split != 9) {
        return;
    }
    if (options.plant == "crash") {
        *reinterpret_cast<volatile int *>(GetCurrentProcessId() & 1U) = 1;
    } else if (options.plant == "hang") {
        Sleep(INFINITE);
    } else if (options.plant == "leak") {
        for (int i = 0; i < 200; ++i) {
            CreateEventW(nullptr, FALSE, FALSE, nullptr);
        }
    } else {
        soak::fail(Outcome::WrongAnswer, "planted");
    }
}

/** One of everything, so that what is made once and kept is there before anything is counted. */
const char *const kWarmUp[] = {"MakeHost 0",
                               "PageOfHost 0 0",
                               "CreateWindow 0 0",
                               "SplitScreen 0 9",
                               "PreviewFile 0 7 1 1",
                               "Command 0 7",
                               "Pump 300",
                               "CreateRule 0 0 7 1 0",
                               "Capture 0 200000 0",
                               "FullScreen 0 1",
                               "Pump 100",
                               "FullScreen 0 0",
                               "SetCurWnd 0 1",
                               "Login 0 0 0",
                               "PreviewStream 0 0 1 0 1",
                               "BatchPreview 0 9 0 1 0 0",
                               "Pump 300",
                               "Mouse 0 0 50 50 1",
                               "SetIntelData 0 1",
                               "Pump 100",
                               "InitAgain 1",
                               "OnOtherThread 0 2",
                               "CreateWindow2 0"};

void warmUp(soak::World &world)
{
    for (int nRound = 0; nRound < 2; ++nRound) {
        for (const char *pText : kWarmUp) {
            world.apply(soak::stepIn(pText));
            soak::alive();
        }
        world.clean();
    }
}

void lookForLeaks(const soak::Held &before)
{
    constexpr unsigned kPatience = 30'000;
    // Qt makes 16 events when two threads first want one of its mutexes at the same time. Each mutex that the libraries
    // have for good, the log's most of all, makes one when that happens to it.
    constexpr std::size_t kSomeHandles = 48;
    // Fonts and caches; and the log keeps 2 KiB of every thread that wrote a line and ended: the pool's with each
    // PELLORA_Fini, and the host's own.
    constexpr std::size_t kSomeBytes = 8U << 20U;
    soak::Held most = before;
    most.nHandles += kSomeHandles;
    soak::setDoing("the end");
    const bool bQuiet = soak::waitForHeld(most, kPatience);
    const soak::Held after = soak::held();
    std::printf("before: %s\nafter:  %s\n", soak::textOf(before).c_str(), soak::textOf(after).c_str());
    if (!bQuiet || after.nUsed > before.nUsed + kSomeBytes) {
        soak::fail(Outcome::Leak, "before: " + soak::textOf(before) + "; after: " + soak::textOf(after));
    }
}

/** Says what is held each minute, so that long runs show whether it grows. */
class Minutes
{
public:
    void look(std::size_t nDone)
    {
        const ULONGLONG nMinutes = (GetTickCount64() - m_nBegin) / kMinute;
        if (nMinutes > m_nMinutes) {
            m_nMinutes = nMinutes;
            std::printf("%llu min, %zu steps: %s\n", nMinutes, nDone, soak::textOf(soak::held()).c_str());
            std::fflush(stdout);
        }
    }

private:
    static constexpr ULONGLONG kMinute = 60'000;

    const ULONGLONG m_nBegin = GetTickCount64();
    ULONGLONG m_nMinutes = 0;
};

void run(const Options &options, const std::vector<Step> &steps)
{
    soak::reportCrashes();
    soak::watch(options.nWatchdog);
    soak::setDoing("the beginning");
    soak::World world;
    // From now on objects are counted.
    static_cast<void>(soak::held());
    if (options.bLeaks) {
        warmUp(world);
    }
    const soak::Held before = soak::held();
    const ULONGLONG begin = GetTickCount64();
    std::size_t nDone = 0;
    Minutes minutes;
    for (const Step &step : steps) {
        if (options.nSeconds != 0 && GetTickCount64() - begin > options.nSeconds * 1000ULL) {
            break;
        }
        soak::alive();
        world.apply(step);
        springPlant(options, world, step);
        ++nDone;
        minutes.look(nDone);
    }
    soak::alive();
    soak::setDoing("the end");
    world.clean();
    std::printf("%zu steps in %llu ms\n", nDone, GetTickCount64() - begin);
    if (options.bLeaks) {
        lookForLeaks(before);
    }
    soak::alive();
}

} // namespace

int main(int nArguments, char **ppArguments)
{
    try {
        const Options options = optionsIn(nArguments, ppArguments);
        const std::vector<Step> steps = options.replay.empty()
                                            ? soak::stepsOf(options.seed, options.nFirst, options.nLast)
                                            : soak::stepsIn(options.replay);
        if (options.bList) {
            for (const Step &step : steps) {
                std::printf("%s\n", soak::textOf(step).c_str());
            }
            return 0;
        }
        if (options.replay.empty()) {
            std::printf("seed %llu, steps %zu-%zu\n", static_cast<unsigned long long>(options.seed), options.nFirst,
                        options.nLast);
        }
        std::fflush(stdout);
        run(options, steps);
        return 0;
    } catch (const std::exception &exception) {
        std::printf("%s\n", exception.what());
        return static_cast<int>(Outcome::Usage);
    }
}
