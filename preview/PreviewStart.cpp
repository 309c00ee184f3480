#include "preview/PreviewStart.h"

#include "logging/LogException.h"
#include "preview/Device.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace pellora
{

namespace
{

// The place that log readers know.
const char *const kFile = "VideoWindow\\TakeStreamMgr";
const char *const kRun = "void __cdecl pellora::TakeStreamTask::run(void)";

} // namespace

PreviewStart::PreviewStart(long lUserID, const SELVIK_DCM_PREVIEW_INFO &request)
    : m_lUserID(lUserID),
      m_struPreviewInfo(request),
      m_szUrl{},
      m_unclaimed(LivePanes::unclaimedStart(request.user)),
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

PreviewStart::~PreviewStart()
{
    m_pTicket->awaitDelivery();
}

void PreviewStart::Release::operator()(PreviewStart *pStart) const noexcept
{
    if (!pStart->m_bQueued) {
        delete pStart;
        return;
    }
    const void *const pPane = pStart->m_struPreviewInfo.user;
    // Counted before the start can end itself.
    LivePanes::instance().addUnclaimedStart(std::move(pStart->m_unclaimed));
    const bool bTaken = pStart->m_bTaken;
    const std::shared_ptr<StartTicket> pTicket = pStart->m_pTicket;
    const std::optional<long> result = pTicket->abandon();
    if (!result) {
        // The thread that carries it out does the rest.
        return;
    }
    delete pStart;
    if (!bTaken && *result >= 0) {
        stopDevice(logAt(kFile, kRun), *result);
    }
    LivePanes::instance().removeUnclaimedStart(pPane);
}

void PreviewStart::setQueued(bool bQueued)
{
    m_bQueued = bQueued;
}

bool PreviewStart::isQueued() const
{
    return m_bQueued;
}

std::optional<long> PreviewStart::takeResult()
{
    const std::optional<long> result = m_pTicket->result();
    m_bTaken = m_bTaken || result.has_value();
    return result;
}

void PreviewStart::carryOut()
{
    // The owner may delete the start as soon as it has the result.
    const std::shared_ptr<StartTicket> pTicket = m_pTicket;
    if (!pTicket->begin()) {
        endUnclaimed();
        return;
    }
    long lPreviewHandel = kNoPreview;
    contained(logAt(kFile, kRun), [&] { lPreviewHandel = start(); });
    if (!finish(*pTicket, lPreviewHandel)) {
        if (lPreviewHandel >= 0) {
            stopDevice(logAt(kFile, kRun), lPreviewHandel);
        }
        endUnclaimed();
    }
}

long PreviewStart::start() const
{
    if (m_bUrlCut) {
        logError(logAt(kFile, kRun), "stream address of 256 characters or more is not tried, userID: %d.", m_lUserID);
        return kNoPreview;
    }
    return startDevice(logAt(kFile, kRun), m_lUserID, m_struPreviewInfo);
}

bool PreviewStart::finish(StartTicket &ticket, long lPreviewHandel)
{
    return ticket.finish(lPreviewHandel, [this](long lResult) {
        // The ticket keeps the result: an owner that is not told finds it when it looks.
        contained(logAt(kFile, kRun), [&] { deliver(lResult); });
    });
}

void PreviewStart::settle()
{
    const std::shared_ptr<StartTicket> pTicket = m_pTicket;
    if (!finish(*pTicket, kNoPreview)) {
        endUnclaimed();
    }
}

void PreviewStart::endUnclaimed()
{
    LivePanes::instance().removeUnclaimedStart(m_struPreviewInfo.user);
    delete this;
}

} // namespace pellora
