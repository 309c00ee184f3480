// Which results of FFmpeg's TLS are refused certificates, and what is said of them.

#include "device/src/CertificateRefusal.h"
#include "device/src/Ffmpeg.h"

#include <gtest/gtest.h>

#include <climits>
#include <cstdint>
#include <set>
#include <string>

namespace selvik
{
namespace
{

TEST(CertificateRefusal, IsNoErrorOfFfmpegs)
{
    for (int number = 0; number < 20000; ++number) {
        // The system's own, on Windows up to those of its sockets.
        ASSERT_EQ(certificateRefusal(AVERROR(number)), nullptr) << number;
    }
    for (const int error : {AVERROR_EOF, AVERROR_EXIT, AVERROR_UNKNOWN, AVERROR_INVALIDDATA, AVERROR_EXTERNAL,
                            AVERROR_BUG, AVERROR_PROTOCOL_NOT_FOUND, AVERROR_OPTION_NOT_FOUND, INT_MIN, INT_MAX}) {
        EXPECT_EQ(certificateRefusal(error), nullptr) << error;
    }
}

TEST(CertificateRefusal, SaysWhichItIs)
{
    std::set<std::string> reasons;
    for (const std::uint32_t result : {0x800B0101U, 0x800B0109U, 0x800B010AU, 0x800B010CU, 0x800B010FU, 0x800B0110U}) {
        ASSERT_NE(certificateRefusal(static_cast<int>(result)), nullptr);
        reasons.insert(certificateRefusal(static_cast<int>(result)));
    }
    EXPECT_EQ(reasons.size(), 6U);
    // TRUST_E_EXPLICIT_DISTRUST, of which we know no words.
    ASSERT_NE(certificateRefusal(static_cast<int>(0x800B0111U)), nullptr);
    EXPECT_EQ(reasons.count(certificateRefusal(static_cast<int>(0x800B0111U))), 0U);
}

} // namespace
} // namespace selvik
