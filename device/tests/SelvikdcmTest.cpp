#include "Selvikdcm.h"

#include <gtest/gtest.h>

#include <climits>
#include <string>
#include <thread>

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

TEST(Login, RefusesNullTexts)
{
    EXPECT_EQ(SELVIK_DCM_Login(nullptr, "user", "password"), -1);
    EXPECT_EQ(SELVIK_DCM_GetLastError(), SELVIK_ERROR_ARGUMENT);
    EXPECT_EQ(SELVIK_DCM_Login("rtsp://192.0.2.7/", nullptr, "password"), -1);
    EXPECT_EQ(SELVIK_DCM_Login("rtsp://192.0.2.7/", "user", nullptr), -1);
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

TEST(LastError, BelongsToTheCallingThread)
{
    EXPECT_EQ(SELVIK_DCM_StopPreview(7), 0);
    unsigned long other = 99;
    std::thread([&other] { other = SELVIK_DCM_GetLastError(); }).join();
    EXPECT_EQ(other, SELVIK_ERROR_NONE);
    EXPECT_EQ(SELVIK_DCM_GetLastError(), SELVIK_ERROR_HANDLE);
}

} // namespace
