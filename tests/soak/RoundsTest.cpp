// Windows that come, play and go, again and again: what the process holds stays as it is.
//
// PELLORA_ROUNDS  how many; 100 unless told, 2000 for the long form

#include "Selvikdcm.h"
#include "interface/Pellora.h"
#include "tests/soak/Held.h"
#include "tests/support/HostWindow.h"
#include "tests/support/LogCapture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <iostream>
#include <string>
#include <vector>

namespace
{

constexpr unsigned kPatience = 60'000;

class Rounds : public testing::Test
{
protected:
    static void SetUpTestSuite()
    {
        PELLORA_Init();
        support::stopLogger();
        support::startLogger();
        static_cast<void>(soak::held());
    }
    static void TearDownTestSuite()
    {
        PELLORA_Fini();
    }

    static std::string clip(const char *pName)
    {
        const char *const pFolder = std::getenv("PELLORA_TEST_MEDIA");
        return std::string("Z:") + (pFolder != nullptr ? pFolder : "") + "/" + pName;
    }

    static bool hasPicture(long lHandle)
    {
        tagPELLORA_POINT size{};
        return support::pumpUntil([&] { return PELLORA_GetPictureSize(lHandle, &size) != 0 && size.x > 0; }, kPatience);
    }

    /** Creates, plays a file and a camera, and destroys; every other time the host's window goes first. */
    void play(std::size_t nRound)
    {
        support::HostWindow host;
        const long lHandle = PELLORA_CreateWindow(host.handle(), 2);
        ASSERT_EQ(lHandle, 0);
        ASSERT_EQ(PELLORA_SplitScreen(lHandle, 4), 1);
        std::string path = clip("h264-alaw.mkv");
        ASSERT_EQ(PELLORA_PreviewFile(lHandle, path.data(), 1, 1), 1);
        ASSERT_TRUE(hasPicture(lHandle));
        PELLORA_OpenSound(lHandle);
        std::vector<unsigned char> jpeg(200'000);
        unsigned long nWritten = 0;
        // A capture waits half a second for a loop's seek, and then fails.
        EXPECT_TRUE(support::pumpUntil(
            [&] {
                return PELLORA_Capture(lHandle, jpeg.data(), static_cast<unsigned long>(jpeg.size()), &nWritten) == 1;
            },
            kPatience));
        EXPECT_EQ(PELLORA_CreateRule(lHandle, PELLORA_RULE_RECT, 255, 0, 0, nullptr, 0, 0), 0);

        ASSERT_EQ(PELLORA_SetCurWnd(lHandle, 1), 1);
        tagPELLORA_PREVIEW_PARAM param{};
        param.userID = SELVIK_DCM_Login(("file:///" + clip("long.mp4")).c_str(), "", "");
        param.lChannel = 1;
        param.openDraw = 1;
        ASSERT_EQ(PELLORA_PreviewStream(lHandle, param), 1);
        ASSERT_TRUE(hasPicture(lHandle));
        if (nRound % 2 == 1) {
            host.destroy();
        }
        EXPECT_EQ(PELLORA_DestroyWindow(lHandle), 1);
        EXPECT_EQ(SELVIK_DCM_Logout(param.userID), 1);
        support::pumpPosted();
    }
};

TEST_F(Rounds, LeaveNothingBehind)
{
    constexpr std::size_t kWarmUp = 20;
    // A window that stayed in each of a hundred rounds would take far more.
    constexpr std::size_t kSomeBytes = 2U << 20U;
    const char *const pText = std::getenv("PELLORA_ROUNDS");
    const std::size_t nRounds = pText != nullptr ? std::strtoul(pText, nullptr, 10) : 100;
    for (std::size_t i = 0; i < kWarmUp && !HasFatalFailure(); ++i) {
        play(i);
    }
    const soak::Held before = soak::held();
    std::cout << "before: " << soak::textOf(before) << std::endl;
    constexpr std::size_t kLooks = 8;
    for (std::size_t i = 0; i < nRounds && !HasFatalFailure(); ++i) {
        play(i);
        if ((i + 1) % std::max<std::size_t>(nRounds / kLooks, 1) == 0) {
            std::cout << i + 1 << ": " << soak::textOf(soak::held()) << std::endl;
        }
    }
    // Qt makes 16 events when two threads first want one of its mutexes at the same time. Each mutex that the libraries
    // have for good makes one when that happens to it. More rounds make no more of them.
    constexpr std::size_t kSomeHandles = 32;
    soak::Held most = before;
    most.nHandles += kSomeHandles;
    // Wine makes one of its own when it likes.
    ++most.nThreads;
    EXPECT_TRUE(soak::waitForHeld(most, kPatience))
        << "before: " << soak::textOf(before) << "\nafter: " << soak::textOf(soak::held());
    EXPECT_LE(soak::held().nUsed, before.nUsed + kSomeBytes);
}

} // namespace
