#include "device/src/CertificateRefusal.h"

#include <cstdint>

namespace selvik
{

namespace
{

struct Refusal {
    std::uint32_t nResult; /**< as in winerror.h, which natively is not there */
    const char *pReason;
};

constexpr Refusal kRefusals[] = {
    {0x800B0101, "it is out of date, or not valid yet"}, // CERT_E_EXPIRED
    {0x800B0109, "its authority is not trusted"},        // CERT_E_UNTRUSTEDROOT
    {0x800B010A, "its authority is not known"},          // CERT_E_CHAINING
    {0x800B010C, "it was revoked"},                      // CERT_E_REVOKED
    {0x800B010F, "it is for another name or address"},   // CERT_E_CN_NO_MATCH
    {0x800B0110, "it is not for servers"},               // CERT_E_WRONG_USAGE
    {0x80092010, "it was revoked"},                      // CRYPT_E_REVOKED
    {0x80090327, "there is none"},                       // SEC_E_CERT_UNKNOWN
};

constexpr std::uint32_t kFacilityMask = 0xFFFF0000;
constexpr std::uint32_t kFacilityCert = 0x800B0000;
constexpr std::uint32_t kFacilitySspi = 0x80090000;

} // namespace

const char *certificateRefusal(int result)
{
    const auto nResult = static_cast<std::uint32_t>(result);
    for (const Refusal &refusal : kRefusals) {
        if (refusal.nResult == nResult) {
            return refusal.pReason;
        }
    }
    const std::uint32_t facility = nResult & kFacilityMask;
    return facility == kFacilityCert || facility == kFacilitySspi ? "the system does not accept it" : nullptr;
}

} // namespace selvik
