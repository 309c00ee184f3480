#include "VideoWindow/TakeStreamTask.h"

#include "VideoWindow/TakeStreamMgr.h"
#include "logging/Log.h"
#include "preview/LivePanes.h"

#include <algorithm>
#include <cstring>

namespace pellora
{

namespace
{

const char *const kFile = "VideoWindow\\TakeStreamMgr";
const char *const kRun = "void __cdecl pellora::TakeStreamTask::run(void)";
constexpr long kFailed = -1;

} // namespace

TakeStreamTask::TakeStreamTask(int userID, const SELVIK_DCM_PREVIEW_INFO *pRequest, QObject *pParent)
    : QObject(pParent),
      m_lUserID(userID),
      m_struPreviewInfo(*pRequest),
      m_szUrl{},
      m_pTicket(std::make_shared<StartTicket>())
{
    if (m_struPreviewInfo.url == nullptr) {
        return;
    }
    const std::size_t nLength = std::strlen(m_struPreviewInfo.url);
    m_bUrlCut = nLength >= sizeof(m_szUrl);
    std::memcpy(m_szUrl, m_struPreviewInfo.url, std::min(nLength, sizeof(m_szUrl) - 1));
    m_struPreviewInfo.url = m_szUrl;
}

TakeStreamTask::~TakeStreamTask()
{
    m_pTicket->awaitDelivery();
}

void TakeStreamTask::run()
{
    // The owner may delete the task as soon as it has the result.
    const std::shared_ptr<StartTicket> pTicket = m_pTicket;
    TakeStreamMgr::getInstance()->taken(this);
    if (!pTicket->begin()) {
        endUnclaimed();
        return;
    }
    const long lPreviewHandel = start();
    if (!pTicket->finish(lPreviewHandel, [this](long lResult) { emit signalTakeStreamResult(lResult); })) {
        stopUnclaimed(lPreviewHandel);
        endUnclaimed();
    }
}

long TakeStreamTask::start()
{
    if (m_bUrlCut) {
        logError(logAt(kFile, kRun), "stream address of 256 characters or more is not tried, userID: %d.", m_lUserID);
        return kFailed;
    }
    const long lPreviewHandel = SELVIK_DCM_StartPreview(m_lUserID, &m_struPreviewInfo);
    if (lPreviewHandel < 0) {
        logError(logAt(kFile, kRun), "SELVIK_DCM_StartPreview error: %d, userID: %d, previewHandel: %d.",
                 SELVIK_DCM_GetLastError(), m_lUserID, lPreviewHandel);
    } else {
        logInfo(logAt(kFile, kRun), "SELVIK_DCM_StartPreview success, userID: %d, previewHandel: %d.", m_lUserID,
                lPreviewHandel);
    }
    return lPreviewHandel;
}

void TakeStreamTask::stopUnclaimed(long lPreviewHandel)
{
    if (lPreviewHandel < 0) {
        return;
    }
    if (SELVIK_DCM_StopPreview(lPreviewHandel) == 0) {
        logError(logAt(kFile, kRun), "SELVIK_DCM_StopPreview error: %d, previewHandel: %d.", SELVIK_DCM_GetLastError(),
                 lPreviewHandel);
    } else {
        logInfo(logAt(kFile, kRun), "SELVIK_DCM_StopPreview success, previewHandel: %d.", lPreviewHandel);
    }
}

void TakeStreamTask::endUnclaimed()
{
    LivePanes::instance().removeUnclaimedStart(m_struPreviewInfo.user);
    delete this;
}

void TakeStreamTask::settle()
{
    const std::shared_ptr<StartTicket> pTicket = m_pTicket;
    if (!pTicket->finish(kFailed, [this](long lResult) { emit signalTakeStreamResult(lResult); })) {
        endUnclaimed();
    }
}

std::optional<long> TakeStreamTask::result() const
{
    return m_pTicket->result();
}

std::optional<long> TakeStreamTask::abandon()
{
    // Counted before the task can end itself.
    LivePanes::instance().addUnclaimedStart(m_struPreviewInfo.user);
    const std::shared_ptr<StartTicket> pTicket = m_pTicket;
    const void *const pUser = m_struPreviewInfo.user;
    const std::optional<long> result = pTicket->abandon();
    if (result) {
        LivePanes::instance().removeUnclaimedStart(pUser);
    }
    return result;
}

} // namespace pellora
