// What the soak test and the rounds count.

#include "tests/soak/Held.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <vector>

TEST(Held, CountsTheHandlesThatAreOpened)
{
    constexpr std::size_t kMany = 500;
    const std::size_t nBefore = soak::held().nHandles;
    ASSERT_GT(nBefore, 0U);

    std::vector<HANDLE> events(kMany);
    for (HANDLE &hEvent : events) {
        hEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    }
    EXPECT_GE(soak::held().nHandles, nBefore + kMany);

    for (const HANDLE hEvent : events) {
        CloseHandle(hEvent);
    }
    EXPECT_LT(soak::held().nHandles, nBefore + kMany / 2);
}
