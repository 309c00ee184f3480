#include "preview/Device.h"

#include "preview/RetiredPreviews.h"

namespace pellora
{

long startDevice(const LogLocation &where, long lUserID, const SELVIK_DCM_PREVIEW_INFO &request)
{
    const long lPreviewHandel = SELVIK_DCM_StartPreview(lUserID, &request);
    if (lPreviewHandel < 0) {
        logError(where, "SELVIK_DCM_StartPreview error: %d, userID: %d, previewHandel: %d.", SELVIK_DCM_GetLastError(),
                 lUserID, lPreviewHandel);
    } else {
        logInfo(where, "SELVIK_DCM_StartPreview success, userID: %d, previewHandel: %d.", lUserID, lPreviewHandel);
    }
    return lPreviewHandel;
}

bool stopDevice(const LogLocation &where, long lPreviewHandel)
{
    RetiredPreviews::instance().retire(lPreviewHandel);
    if (SELVIK_DCM_StopPreview(lPreviewHandel) == 0) {
        logError(where, "SELVIK_DCM_StopPreview error: %d, previewHandel: %d.", SELVIK_DCM_GetLastError(),
                 lPreviewHandel);
        return false;
    }
    RetiredPreviews::instance().forget(lPreviewHandel);
    logInfo(where, "SELVIK_DCM_StopPreview success, previewHandel: %d.", lPreviewHandel);
    return true;
}

} // namespace pellora
