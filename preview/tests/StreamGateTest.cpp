#include "preview/StreamGate.h"
#include "preview/RetiredPreviews.h"

#include <gtest/gtest.h>

#include <string>

using namespace pellora;

namespace
{

using Verdict = StreamGate::Verdict;

void keep(StreamGate &gate, long lHandle, unsigned int nType, std::size_t nBytes)
{
    const std::vector<unsigned char> bytes(nBytes, static_cast<unsigned char>(lHandle));
    gate.keep(lHandle, nType, bytes.data(), static_cast<unsigned int>(nBytes));
}

TEST(StreamGateTest, LetsNothingInBeforeAStart)
{
    StreamGate gate;
    EXPECT_EQ(gate.admit(0), Verdict::Drop);
}

TEST(StreamGateTest, TakesTheFirstHandleOfAStartForItsOwn)
{
    StreamGate gate;
    gate.open(false);
    EXPECT_EQ(gate.admit(7), Verdict::Pass);
    EXPECT_EQ(gate.admit(8), Verdict::Drop);
    EXPECT_EQ(gate.admit(7), Verdict::Pass);
}

TEST(StreamGateTest, LetsOnlyTheHandleInThatTheStartCameBackWith)
{
    StreamGate gate;
    gate.open(false);
    EXPECT_TRUE(gate.bind(3).empty());
    EXPECT_EQ(gate.admit(3), Verdict::Pass);
    EXPECT_EQ(gate.admit(4), Verdict::Drop);
}

TEST(StreamGateTest, DropsWhatTheEarlierPreviewStillSends)
{
    StreamGate gate;
    RetiredPreviews::instance().retire(5);
    gate.open(false);
    EXPECT_EQ(gate.admit(5), Verdict::Drop);
    EXPECT_EQ(gate.admit(6), Verdict::Pass);
    RetiredPreviews::instance().forget(5);
}

TEST(StreamGateTest, DropsEverythingOnceItIsClosed)
{
    StreamGate gate;
    gate.open(false);
    ASSERT_EQ(gate.admit(1), Verdict::Pass);
    gate.close();
    EXPECT_EQ(gate.admit(1), Verdict::Drop);
    EXPECT_EQ(gate.admit(2), Verdict::Drop);
}

TEST(StreamGateTest, ForgetsTheHandleOfTheStartBefore)
{
    StreamGate gate;
    gate.open(false);
    ASSERT_EQ(gate.admit(1), Verdict::Pass);
    gate.open(false);
    EXPECT_EQ(gate.admit(2), Verdict::Pass);
    EXPECT_EQ(gate.admit(1), Verdict::Drop);
}

TEST(StreamGateTest, KeepsRecordsApartUntilItIsKnownWhoseTheyAre)
{
    StreamGate gate;
    gate.open(true);
    ASSERT_EQ(gate.admit(10), Verdict::Keep);
    keep(gate, 10, 1, 3);
    ASSERT_EQ(gate.admit(11), Verdict::Keep);
    keep(gate, 11, 1, 4);
    ASSERT_EQ(gate.admit(11), Verdict::Keep);
    keep(gate, 11, 2, 5);

    const std::vector<StreamRecord> records = gate.bind(11);

    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[0].nType, 1U);
    EXPECT_EQ(records[0].bytes, std::vector<unsigned char>(4, 11));
    EXPECT_EQ(records[1].nType, 2U);
    EXPECT_EQ(records[1].bytes, std::vector<unsigned char>(5, 11));
    EXPECT_EQ(gate.admit(11), Verdict::Pass);
    EXPECT_EQ(gate.admit(10), Verdict::Drop);
}

TEST(StreamGateTest, KeepsWhatCameSinceTheLastHeader)
{
    StreamGate gate;
    gate.open(true);
    keep(gate, 1, 1, StreamGate::kMostKept / 2);
    keep(gate, 1, 2, StreamGate::kMostKept / 2);
    keep(gate, 1, 1, 3);
    keep(gate, 1, 2, StreamGate::kMostKept / 2);

    const std::vector<StreamRecord> records = gate.bind(1);

    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[0].bytes.size(), 3U);
    EXPECT_EQ(records[1].bytes.size(), StreamGate::kMostKept / 2);
}

TEST(StreamGateTest, KeepsNothingForTheNextStart)
{
    StreamGate gate;
    gate.open(true);
    keep(gate, 1, 1, 3);
    gate.close();
    gate.open(true);
    EXPECT_TRUE(gate.bind(1).empty());
}

TEST(StreamGateTest, KeepsNoMoreOfAHandleThanThePlayerWouldTake)
{
    StreamGate gate;
    gate.open(true);
    keep(gate, 1, 1, StreamGate::kMostKept - 1);
    keep(gate, 1, 2, 2);
    keep(gate, 1, 2, 1);
    const std::vector<StreamRecord> records = gate.bind(1);
    ASSERT_EQ(records.size(), 2U);
    EXPECT_EQ(records[1].bytes.size(), 1U);
}

TEST(StreamGateTest, KeepsRecordsOfAFewHandlesOnly)
{
    StreamGate gate;
    gate.open(true);
    const auto nMost = static_cast<long>(StreamGate::kMostHandles);
    for (long lHandle = 0; lHandle <= nMost; ++lHandle) {
        keep(gate, lHandle, 1, 1);
    }
    EXPECT_TRUE(gate.bind(nMost).empty());
}

TEST(StreamGateTest, KeepsNoRecordWithoutBytes)
{
    StreamGate gate;
    gate.open(true);
    gate.keep(1, 1, nullptr, 100);
    EXPECT_TRUE(gate.bind(1).empty());
}

TEST(RetiredPreviewsTest, ForgetsTheOldestWhenThereAreTooMany)
{
    RetiredPreviews retired;
    const auto nMost = static_cast<long>(RetiredPreviews::kMost);
    for (long lHandle = 0; lHandle <= nMost; ++lHandle) {
        retired.retire(lHandle);
    }
    EXPECT_FALSE(retired.contains(0));
    EXPECT_TRUE(retired.contains(1));
    EXPECT_TRUE(retired.contains(nMost));
}

TEST(RetiredPreviewsTest, ForgetsAHandleWhoseStopWasCarriedOut)
{
    RetiredPreviews retired;
    retired.retire(1);
    retired.retire(2);
    retired.forget(1);
    EXPECT_FALSE(retired.contains(1));
    EXPECT_TRUE(retired.contains(2));
}

} // namespace
