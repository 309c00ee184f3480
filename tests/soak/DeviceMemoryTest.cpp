// The device library without memory: a start that fails, or a preview that ends. Afterwards the same address plays.

#include "Selvikdcm.h"
#include "device/src/ContainerInput.h"
#include "device/src/Failure.h"
#include "player/tests/support/Clips.h"
#include "tests/soak/MemoryRuns.h"

#include <atomic>
#include <chrono>
#include <string>
#include <thread>

namespace
{

using namespace std::chrono_literals;

void onStream(long /*previewHandle*/, const SELVIK_DCM_STREAM_DATA *data, void *user)
{
    *static_cast<std::atomic<std::size_t> *>(user) += data->length;
}

/** Starts, waits for so many bytes, stops; whether they came. */
bool preview(const std::string &address, std::size_t nBytes, std::chrono::milliseconds patience)
{
    std::atomic<std::size_t> nReceived{0};
    SELVIK_DCM_PREVIEW_INFO request{};
    request.channel = 1;
    request.word16 = 1;
    request.callback = &onStream;
    request.user = &nReceived;
    const long userID = SELVIK_DCM_Login(address.c_str(), "user", "password");
    const long handle = SELVIK_DCM_StartPreview(userID, &request);
    const auto end = std::chrono::steady_clock::now() + patience;
    while (handle >= 0 && nReceived < nBytes && std::chrono::steady_clock::now() < end) {
        std::this_thread::sleep_for(1ms);
    }
    const bool bCame = nReceived >= nBytes;
    SELVIK_DCM_StopPreview(handle);
    SELVIK_DCM_Logout(userID);
    return bCame;
}

TEST(DeviceMemory, PreviewsFailAndPlayAgain)
{
    const std::string address = "file://" + player::test::mediaPath("long.mp4");
    SELVIK_DCM_SetStateCallback([](const SELVIK_DCM_STATE * /*state*/, void * /*user*/) {}, nullptr);
    soak::runOutOfMemory([&] { preview(address, 4096, 60ms); }, [&] { EXPECT_TRUE(preview(address, 4096, 60s)); });
    SELVIK_DCM_SetStateCallback(nullptr, nullptr);
}

/** Whether the file could be opened with the memory there is. */
bool isOpened(const selvik::Address &address)
{
    selvik::TimeSource &time = selvik::realTime();
    const std::atomic<bool> bStop{false};
    try {
        selvik::ContainerInput input(address, time);
        input.open(selvik::Patience(time, bStop, selvik::TimeSource::kNoDeadline));
        return true;
    } catch (const selvik::Failure &) {
        return false;
    } catch (const std::bad_alloc &) {
        return false;
    }
}

// On one thread, so that the allocations are the same each time and none is left out.
TEST(DeviceMemory, AFileIsOpenedOrRefusedWhicheverAllocationFails)
{
    const auto address = selvik::Address::parse("file://" + player::test::mediaPath("h264.mp4"), {});
    ASSERT_TRUE(address);
    soak::failAllocation(0, soak::Lack::Once);
    ASSERT_TRUE(isOpened(*address));
    const std::size_t nAll = soak::endFailing();
    std::size_t nRefused = 0;
    for (std::size_t nNumber = 1; nNumber <= nAll; ++nNumber) {
        soak::failAllocation(nNumber, soak::Lack::Once);
        nRefused += isOpened(*address) ? 0 : 1;
        soak::endFailing();
    }
    EXPECT_GT(nRefused, 50U) << "of " << nAll;
    EXPECT_TRUE(isOpened(*address));
}

} // namespace
