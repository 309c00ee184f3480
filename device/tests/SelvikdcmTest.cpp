#include "Selvikdcm.h"

#include <gtest/gtest.h>

#include <chrono>
#include <climits>
#include <condition_variable>
#include <mutex>
#include <set>
#include <string>
#include <thread>
#include <vector>

namespace
{

void ignoreStream(long /*previewHandle*/, const SELVIK_DCM_STREAM_DATA * /*pData*/, void * /*pUser*/) {}

SELVIK_DCM_PREVIEW_INFO request(const char *pUrl)
{
    SELVIK_DCM_PREVIEW_INFO info = {};
    info.channel = 1;
    info.word16 = 1;
    info.callback = ignoreStream;
    info.url = pUrl;
    return info;
}

struct AddressCase {
    const char *pAddress;
    bool bUnderstood;
};

class LoginAddress : public testing::TestWithParam<AddressCase>
{
};

TEST_P(LoginAddress, IsCheckedByItsForm)
{
    const long userID = SELVIK_DCM_Login(GetParam().pAddress, "user", "password");
    EXPECT_EQ(userID >= 0, GetParam().bUnderstood);
    EXPECT_EQ(SELVIK_DCM_GetLastError(), GetParam().bUnderstood ? SELVIK_ERROR_NONE : SELVIK_ERROR_ADDRESS);
    EXPECT_EQ(SELVIK_DCM_Logout(userID), GetParam().bUnderstood ? 1 : 0);
}

INSTANTIATE_TEST_SUITE_P(Schemes, LoginAddress,
                         testing::Values(AddressCase{"rtsp://192.0.2.7:554/ch{channel}/{stream}", true},
                                         AddressCase{"rtsps://192.0.2.7/", true},
                                         AddressCase{"http://192.0.2.7/", true},
                                         AddressCase{"https://192.0.2.7/", true},
                                         AddressCase{"file:C:\\clip.mp4", true}, AddressCase{"ftp://192.0.2.7/", false},
                                         AddressCase{"rtsp://", false}, AddressCase{"", false},
                                         AddressCase{"192.0.2.7", false}));

TEST(Login, RefusesANullAddress)
{
    EXPECT_EQ(SELVIK_DCM_Login(nullptr, "user", "password"), -1);
    EXPECT_EQ(SELVIK_DCM_GetLastError(), SELVIK_ERROR_ARGUMENT);
}

TEST(Login, NeedsNeitherUserNorPassword)
{
    for (const char *pUser : {"user", static_cast<const char *>(nullptr)}) {
        for (const char *pPassword : {"password", static_cast<const char *>(nullptr)}) {
            const long userID = SELVIK_DCM_Login("rtsp://192.0.2.7/", pUser, pPassword);
            EXPECT_GE(userID, 0);
            EXPECT_EQ(SELVIK_DCM_Logout(userID), 1);
        }
    }
}

TEST(Login, NeverHandsAnIdentifierOutTwice)
{
    const long first = SELVIK_DCM_Login("rtsp://192.0.2.7/", "user", "password");
    ASSERT_EQ(SELVIK_DCM_Logout(first), 1);
    const long second = SELVIK_DCM_Login("rtsp://192.0.2.7/", "user", "password");
    EXPECT_NE(first, second);
    EXPECT_EQ(SELVIK_DCM_Logout(first), 0);
    EXPECT_EQ(SELVIK_DCM_GetLastError(), SELVIK_ERROR_HANDLE);
    EXPECT_EQ(SELVIK_DCM_Logout(second), 1);
}

TEST(Preview, SaysWhyItCannotStart)
{
    const SELVIK_DCM_PREVIEW_INFO unknown = request(nullptr);
    const SELVIK_DCM_PREVIEW_INFO malformed = request("nowhere");
    const SELVIK_DCM_PREVIEW_INFO good = request("rtsp://127.0.0.1/");
    SELVIK_DCM_PREVIEW_INFO noCallback = good;
    noCallback.callback = nullptr;

    EXPECT_EQ(SELVIK_DCM_StartPreview(0, nullptr), -1);
    EXPECT_EQ(SELVIK_DCM_GetLastError(), SELVIK_ERROR_ARGUMENT);
    EXPECT_EQ(SELVIK_DCM_StartPreview(0, &noCallback), -1);
    EXPECT_EQ(SELVIK_DCM_GetLastError(), SELVIK_ERROR_ARGUMENT);
    EXPECT_EQ(SELVIK_DCM_StartPreview(INT_MAX, &unknown), -1);
    EXPECT_EQ(SELVIK_DCM_GetLastError(), SELVIK_ERROR_HANDLE);
    EXPECT_EQ(SELVIK_DCM_StartPreview(-1, &malformed), -1);
    EXPECT_EQ(SELVIK_DCM_GetLastError(), SELVIK_ERROR_ADDRESS);
    EXPECT_EQ(SELVIK_DCM_StartPreview(-1, &good), -1);
    EXPECT_EQ(SELVIK_DCM_GetLastError(), SELVIK_ERROR_HOST);
}

TEST(Preview, StopOfAHandleThatNeverWasFails)
{
    for (const long handle : {-1L, 0L, static_cast<long>(INT_MAX)}) {
        EXPECT_EQ(SELVIK_DCM_StopPreview(handle), 0);
        EXPECT_EQ(SELVIK_DCM_GetLastError(), SELVIK_ERROR_HANDLE);
    }
}

TEST(ErrorText, SaysSomethingOfItsOwnForEachCode)
{
    std::set<std::string> texts;
    for (unsigned long error = SELVIK_ERROR_NONE; error <= SELVIK_ERROR_MEDIA + 1; ++error) {
        ASSERT_NE(SELVIK_DCM_GetErrorText(error), nullptr);
        texts.insert(SELVIK_DCM_GetErrorText(error));
    }
    EXPECT_EQ(texts.size(), SELVIK_ERROR_MEDIA + 2U);
    EXPECT_STREQ(SELVIK_DCM_GetErrorText(ULONG_MAX), SELVIK_DCM_GetErrorText(SELVIK_ERROR_MEDIA + 1));
}

/** What a state callback was told. */
struct ToldStates {
    std::mutex mutex;
    std::condition_variable changed;
    std::vector<SELVIK_DCM_STATE> all;

    static void note(const SELVIK_DCM_STATE *pState, void *pUser)
    {
        auto &self = *static_cast<ToldStates *>(pUser);
        const std::lock_guard<std::mutex> lock(self.mutex);
        self.all.push_back(*pState);
        self.changed.notify_all();
    }
};

TEST(StateCallback, IsToldWhyAStartFailed)
{
    ToldStates told;
    EXPECT_EQ(SELVIK_DCM_SetStateCallback(&ToldStates::note, &told), 1);
    EXPECT_EQ(SELVIK_DCM_GetLastError(), SELVIK_ERROR_NONE);
    const SELVIK_DCM_PREVIEW_INFO nobody = request("rtsp://127.0.0.1:1/");
    EXPECT_EQ(SELVIK_DCM_StartPreview(-1, &nobody), -1);
    {
        std::unique_lock<std::mutex> lock(told.mutex);
        EXPECT_TRUE(told.changed.wait_for(lock, std::chrono::seconds(60), [&] { return told.all.size() == 2; }));
    }
    EXPECT_EQ(SELVIK_DCM_SetStateCallback(nullptr, nullptr), 1);
    ASSERT_EQ(told.all.size(), 2U);
    EXPECT_EQ(told.all[0].state, static_cast<unsigned int>(SELVIK_STATE_STARTING));
    EXPECT_EQ(told.all[1].state, static_cast<unsigned int>(SELVIK_STATE_FAILED));
    EXPECT_EQ(told.all[1].error, static_cast<unsigned int>(SELVIK_ERROR_HOST));
    EXPECT_EQ(told.all[1].userID, -1);
    EXPECT_EQ(told.all[1].channel, 1U);
}

TEST(LastError, BelongsToTheCallingThread)
{
    EXPECT_EQ(SELVIK_DCM_StopPreview(7), 0);
    unsigned long other = 99;
    std::thread([&other] { other = SELVIK_DCM_GetLastError(); }).join();
    EXPECT_EQ(other, SELVIK_ERROR_NONE);
    EXPECT_EQ(SELVIK_DCM_GetLastError(), SELVIK_ERROR_HANDLE);
}

} // namespace
