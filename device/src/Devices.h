#ifndef DEVICE_DEVICES_H
#define DEVICE_DEVICES_H

#include "Selvikdcm.h"
#include "device/src/LoginTable.h"
#include "device/src/PreviewTable.h"

#include <string>

namespace selvik
{

/**
 * The log-ins and previews of a process: what the C interface does, with exceptions instead of last errors.
 *
 * Threads: any. Owns: its previews, which end before it does.
 * Errors:  Failure with the code that the C interface answers.
 */
class Devices
{
public:
    explicit Devices(TimeSource &time) : m_previews(time) {}

    /** See SELVIK_DCM_StartPreview(). */
    [[nodiscard]] long startPreview(long userID, const SELVIK_DCM_PREVIEW_INFO *pInfo);
    void stopPreview(long handle);
    /** See SELVIK_DCM_Login(). */
    [[nodiscard]] long login(const char *pAddress, const char *pUser, const char *pPassword);
    void logout(long userID);

private:
    /** What a request means. */
    [[nodiscard]] CameraSource sourceOf(long userID, const SELVIK_DCM_PREVIEW_INFO &info) const;

    LoginTable m_logins;
    PreviewTable m_previews;
};

} // namespace selvik

#endif
