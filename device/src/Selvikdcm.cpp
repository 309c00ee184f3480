// The device library's C interface: it keeps each thread's last error and lets no exception out.

#include "Selvikdcm.h"

#include "device/src/Devices.h"
#include "device/src/Failure.h"

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
