#include "player/src/win/FileBytes.h"

#include <gtest/gtest.h>

#include <chrono>
#include <future>

namespace
{

using namespace std::chrono_literals;
using player::FileBytes;

/** A pipe that nobody writes to stands in for a file on a server that has gone. */
class ASilentFile : public testing::Test
{
protected:
    void SetUp() override
    {
        constexpr wchar_t kName[] = L"\\\\.\\pipe\\player-silent-file";
        m_hWriter = CreateNamedPipeW(kName, PIPE_ACCESS_OUTBOUND, PIPE_TYPE_BYTE, 1, 4096, 4096, 0, nullptr);
        ASSERT_NE(m_hWriter, INVALID_HANDLE_VALUE);
        const HANDLE hReader =
            CreateFileW(kName, GENERIC_READ, 0, nullptr, OPEN_EXISTING, FILE_FLAG_OVERLAPPED, nullptr);
        ASSERT_NE(hReader, INVALID_HANDLE_VALUE);
        m_pBytes = std::make_unique<FileBytes>(hReader);
    }

    void TearDown() override
    {
        m_pBytes.reset();
        CloseHandle(m_hWriter);
    }

    std::future<int> beginReading()
    {
        return std::async(std::launch::async, [this] {
            std::uint8_t bytes[16];
            return m_pBytes->read(bytes, sizeof bytes);
        });
    }

    HANDLE m_hWriter = INVALID_HANDLE_VALUE;
    std::unique_ptr<FileBytes> m_pBytes;
};

TEST_F(ASilentFile, LetsAReadGoWhenItIsInterrupted)
{
    auto reading = beginReading();
    EXPECT_EQ(reading.wait_for(100ms), std::future_status::timeout);
    m_pBytes->interrupt();
    ASSERT_EQ(reading.wait_for(10s), std::future_status::ready);
    EXPECT_LT(reading.get(), 0);
}

TEST_F(ASilentFile, NeverWaitsAgainAfterAnInterruption)
{
    m_pBytes->interrupt();
    auto reading = beginReading();
    ASSERT_EQ(reading.wait_for(10s), std::future_status::ready);
    EXPECT_LT(reading.get(), 0);
}

TEST_F(ASilentFile, GivesWhatComesAfterAll)
{
    auto reading = beginReading();
    DWORD written = 0;
    ASSERT_TRUE(WriteFile(m_hWriter, "late", 4, &written, nullptr));
    EXPECT_EQ(reading.get(), 4);
}

} // namespace
