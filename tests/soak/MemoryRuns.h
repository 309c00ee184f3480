#ifndef TESTS_SOAK_MEMORYRUNS_H
#define TESTS_SOAK_MEMORYRUNS_H

#include "tests/soak/FailingMemory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <functional>
#include <new>
#include <system_error>

namespace soak
{

/** Does what may run out of memory, and has to tell it so if it throws anything. Needs no memory itself. */
template <typename Body>
void attempt(Body body)
{
    try {
        body();
    } catch (const std::bad_alloc &) {
        return;
    } catch (const std::system_error &) {
        return; // a thread that could not be started
    }
}

/**
 * Goes through something again and again, while its first allocation fails, its second one and so on: alone, and with
 * all behind it. Past the first ones it goes on in steps, so that there are some hundred runs however many they are;
 * PELLORA_MEMORY_RUNS sets how many.
 *
 * part   runs while memory runs out
 * whole  runs after each, with memory: nothing may have been lost
 */
inline void runOutOfMemory(const std::function<void()> &part, const std::function<void()> &whole)
{
    const char *const pText = std::getenv("PELLORA_MEMORY_RUNS");
    const std::size_t nRuns = pText != nullptr ? std::strtoul(pText, nullptr, 10) : 60;
    attempt(part);
    whole();
    failAllocation(0, Lack::Once);
    attempt(part);
    const std::size_t nAll = endFailing();
    whole();
    ASSERT_GT(nAll, 10U) << "nothing is counted";
    std::size_t nFailed = 0;
    for (const Lack lack : {Lack::Once, Lack::Lasting}) {
        for (std::size_t nRun = 1, nNumber = 1; nNumber <= nAll; ++nRun) {
            SCOPED_TRACE(testing::Message() << "allocation " << nNumber << " of " << nAll
                                            << (lack == Lack::Once ? " alone" : " and all behind it"));
            failAllocation(nNumber, lack);
            attempt(part);
            endFailing();
            nFailed += hasFailed() ? 1 : 0;
            whole();
            if (testing::Test::HasFatalFailure() || testing::Test::HasNonfatalFailure()) {
                return;
            }
            // One by one in the first third, and then evenly to the end.
            const std::size_t nEach = nRuns / 3;
            nNumber = nRun < nEach ? nNumber + 1
                                   : nNumber + std::max<std::size_t>(1, nAll / std::max<std::size_t>(1, nRuns - nEach));
        }
    }
    // Threads do not allocate the same number each time, so that the last ones may have nothing to fail.
    EXPECT_GT(nFailed, 10U);
    testing::Test::RecordProperty("allocations", std::to_string(nAll));
    testing::Test::RecordProperty("failed", std::to_string(nFailed));
}

} // namespace soak

#endif
