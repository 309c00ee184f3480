#include "hosts/node/src/LogReason.h"

#include <gtest/gtest.h>

namespace pellora::node
{
namespace
{

const std::string kBefore = "2026-01-02 03:04:05.678 [0x1] WARN  PELLORA_Pause: there is no window 3 (Pellora: __cdecl "
                            "PELLORA_Pause: 41)\r\n";
const std::string kCall =
    "2026-01-02 03:04:05.679 [0x1] INFO  PELLORA_Pause: lHandle: 0 (Pellora: __cdecl PELLORA_Pause: 41)\r\n";
const std::string kOther =
    "2026-01-02 03:04:05.680 [0x2] ERROR SELVIK_DCM_StartPreview error: 5, userID: 0, previewHandel: "
    "-1. (VideoWindow\\VideoWnd: run: 12)\r\n";
const std::string kRefusal = "2026-01-02 03:04:05.681 [0x1] WARN  PELLORA_Pause: nothing plays in pane 0 of window 0 "
                             "(Pellora: __cdecl PELLORA_Pause: 41)\r\n";

TEST(LogReasonTest, IsTheWarningBehindTheLastCall)
{
    EXPECT_EQ(LogReason::in(kBefore + kCall + kRefusal, "PELLORA_Pause"), "nothing plays in pane 0 of window 0");
}

TEST(LogReasonTest, IsTheCallsOwnWarningRatherThanAnotherThreadsError)
{
    EXPECT_EQ(LogReason::in(kCall + kOther + kRefusal, "PELLORA_Pause"), "nothing plays in pane 0 of window 0");
}

TEST(LogReasonTest, IsTheErrorWhereThereIsNoWarning)
{
    EXPECT_EQ(LogReason::in(kCall + kOther, "PELLORA_Pause"),
              "SELVIK_DCM_StartPreview error: 5, userID: 0, previewHandel: -1.");
}

TEST(LogReasonTest, IsTheEarlierWarningOfAQuestionThatRepeats)
{
    EXPECT_EQ(LogReason::in(kCall + kRefusal + kCall, "PELLORA_Pause"), "nothing plays in pane 0 of window 0");
}

TEST(LogReasonTest, IsEmptyForAFunctionThatWasNotCalled)
{
    EXPECT_EQ(LogReason::in(kCall + kRefusal, "PELLORA_Play"), "");
    EXPECT_EQ(LogReason::in("", "PELLORA_Play"), "");
}

TEST(LogReasonTest, KeepsParenthesesOfTheText)
{
    EXPECT_EQ(
        LogReason::in("x INFO  PELLORA_Init (a: b: 1)\nx WARN  PELLORA_Init: no (2) way (a: b: 1)\n", "PELLORA_Init"),
        "no (2) way");
}

} // namespace
} // namespace pellora::node
