// The device library's C interface: it keeps each thread's last error and lets no exception out.

#include "Selvikdcm.h"

#include "device/src/Devices.h"
#include "device/src/Failure.h"

#include <array>

namespace
{

thread_local unsigned long t_lastError = SELVIK_ERROR_NONE;

selvik::Devices &devices()
{
    // Never destroyed: threads may still call while the process ends.
    static auto *const pDevices = new selvik::Devices(selvik::realTime());
    return *pDevices;
}

/** Runs `body` and sets the last error: none where it returns, its reason where it throws. Then `failure` is returned.
 */
template <typename Result, typename Body>
Result guarded(Result failure, Body body) noexcept
{
    try {
        const Result result = body();
        t_lastError = SELVIK_ERROR_NONE;
        return result;
    } catch (const selvik::Failure &error) {
        t_lastError = error.error();
    } catch (...) {
        t_lastError = SELVIK_ERROR_RESOURCES;
    }
    return failure;
}

} // namespace

long SELVIK_DCM_StartPreview(long userID, const SELVIK_DCM_PREVIEW_INFO *info)
{
    return guarded(-1L, [&] { return devices().startPreview(userID, info); });
}

int SELVIK_DCM_StopPreview(long previewHandle)
{
    return guarded(0, [&] {
        devices().stopPreview(previewHandle);
        return 1;
    });
}

unsigned long SELVIK_DCM_GetLastError(void)
{
    return t_lastError;
}

long SELVIK_DCM_Login(const char *address, const char *user, const char *password)
{
    return guarded(-1L, [&] { return devices().login(address, user, password); });
}

int SELVIK_DCM_Logout(long userID)
{
    return guarded(0, [&] {
        devices().logout(userID);
        return 1;
    });
}

int SELVIK_DCM_SetStateCallback(SELVIK_DCM_STATE_CB callback, void *user)
{
    return guarded(0, [&] {
        devices().setStateCallback(callback, user);
        return 1;
    });
}

const char *SELVIK_DCM_GetErrorText(unsigned long error)
{
    static constexpr std::array<const char *, SELVIK_ERROR_MEDIA + 1> kTexts = {
        "no error",
        "bad argument",
        "unknown log-in or preview",
        "out of resources, or the device serves no more viewers",
        "address not understood",
        "device not reached",
        "refused: wrong user or password, no permission, or a certificate that is not accepted",
        "no such channel or stream",
        "timed out",
        "no usable media"};
    return error < kTexts.size() ? kTexts[error] : "unknown error";
}
