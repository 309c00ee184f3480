#ifndef DEVICE_DEVICES_H
#define DEVICE_DEVICES_H

#include "Selvikdcm.h"
#include "device/src/CameraInputs.h"
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
    explicit Devices(TimeSource &time, InputMaker makeInput = &makeCameraInput)
        : m_states(time, m_waits), m_previews({&time, &m_waits, &m_states, std::move(makeInput)})
    {
    }

    /** See SELVIK_DCM_StartPreview(). */
    [[nodiscard]] long startPreview(long userID, const SELVIK_DCM_PREVIEW_INFO *pInfo);
    void stopPreview(long handle);
    /** See SELVIK_DCM_Login(). */
    [[nodiscard]] long login(const char *pAddress, const char *pUser, const char *pPassword);
    void logout(long userID);
    /** See SELVIK_DCM_SetStateCallback(). */
    void setStateCallback(SELVIK_DCM_STATE_CB pFunction, void *pUser);

private:
    /** What a request asks for; nothing is told of it yet. */
    [[nodiscard]] Preview::Request read(long userID, const SELVIK_DCM_PREVIEW_INFO &info) const;
    [[nodiscard]] long start(Preview::Request request);

    CallbackWaits m_waits;
    StateTeller m_states;
    LoginTable m_logins;
    PreviewTable m_previews;
};

} // namespace selvik

#endif
