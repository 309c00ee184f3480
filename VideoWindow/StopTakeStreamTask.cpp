#include "VideoWindow/StopTakeStreamTask.h"

#include "Selvikdcm.h"
#include "VideoWindow/TakeStreamMgr.h"
#include "logging/Log.h"
#include "preview/RetiredPreviews.h"

namespace pellora
{

StopTakeStreamTask::StopTakeStreamTask(long lPreviewHandel) : m_lPreviewHandel(lPreviewHandel) {}

void StopTakeStreamTask::run()
{
    const char *const pFile = "VideoWindow\\TakeStreamMgr";
    const char *const pFunction = "void __cdecl pellora::StopTakeStreamTask::run(void)";
    TakeStreamMgr::getInstance()->taken(this);
    if (SELVIK_DCM_StopPreview(m_lPreviewHandel) == 0) {
        // It may go on sending: its handle stays retired.
        logError(logAt(pFile, pFunction), "SELVIK_DCM_StopPreview error: %d, previewHandel: %d.",
                 SELVIK_DCM_GetLastError(), m_lPreviewHandel);
        return;
    }
    RetiredPreviews::instance().forget(m_lPreviewHandel);
    logInfo(logAt(pFile, pFunction), "SELVIK_DCM_StopPreview success, previewHandel: %d.", m_lPreviewHandel);
}

} // namespace pellora
