#include "preview/PanePreview.h"

#include "logging/LogException.h"
#include "preview/LivePanes.h"
#include "preview/RetiredPreviews.h"

#include <new>

namespace pellora
{

namespace
{

// The places that log readers know.
const char *const kFile = "VideoWindow\\VideoWnd";
const char *const kStartHere =
    "bool __cdecl pellora::VideoWnd::previewStreamAsync(const struct pellora::PreviewParam &)";
const char *const kStopHere = "bool __cdecl pellora::VideoWnd::stopPreviewStreamAsync(void)";
const char *const kDataArrived = "void __cdecl pellora::VideoWnd::streamDataCallback("
                                 "long,const struct SELVIK_DCM_STREAM_DATA *,void *)";

} // namespace

PanePreview::PanePreview(Pane &pane, LivePort &port, PreviewWorkers &workers, void *pUser)
    : m_pane(pane), m_workers(workers), m_pUser(pUser), m_pStream(std::make_shared<PaneStream>(port, pane))
{
    LivePanes::instance().add(m_pUser, m_pStream);
}

PanePreview::~PanePreview()
{
    m_pStream->close();
    LivePanes::instance().remove(m_pUser);
}

bool PanePreview::start(const PreviewParam &param)
{
    // A result whose notice was lost must not block the pane for ever.
    startCameBack();
    if (m_pStart) {
        return false;
    }
    endPreview();
    m_pStart = m_pane.makeStart(param.userID, requestOf(param));
    // Before the start is handed over: a fast header comes before this function has returned.
    open(param);
    try {
        m_workers.queueStart(*m_pStart);
    } catch (...) {
        // It will never come back, and must not stand in the way of the next one.
        m_pStart.reset();
        m_pStream->close();
        throw;
    }
    return true;
}

bool PanePreview::startHere(const PreviewParam &param)
{
    // A device that will not stop goes on sending; its handle stays retired.
    static_cast<void>(endDevice());
    open(param);
    const SELVIK_DCM_PREVIEW_INFO request = requestOf(param);
    keep(startDevice(logAt(kFile, kStartHere), m_lUserID, request));
    return m_lPreviewHandel >= 0;
}

void PanePreview::stop()
{
    m_nStopped = m_nGeneration;
    endPreview();
}

bool PanePreview::stopHere()
{
    m_nStopped = m_nGeneration;
    return endDevice();
}

void PanePreview::endPreview()
{
    endPicture();
    if (m_lPreviewHandel != kNoPreview) {
        const long lPreviewHandel = m_lPreviewHandel;
        forget();
        queueStop(lPreviewHandel);
    } else {
        cancelStart();
    }
}

void PanePreview::queueStop(long lPreviewHandel)
{
    // It goes on sending until the pool has come to it.
    RetiredPreviews::instance().retire(lPreviewHandel);
    try {
        m_workers.queueStop(lPreviewHandel);
    } catch (const std::bad_alloc &) {
        // Nobody else knows the handle any more: the camera would send for ever.
        stopDevice(logAt(kFile, "void __cdecl pellora::PanePreview::queueStop(long)"), lPreviewHandel);
    }
}

bool PanePreview::endDevice()
{
    endPicture();
    cancelStart();
    // Any number but -1 is an open preview, a failed start's included; docs/compatibility.md: any-handle-but-minus-1.
    if (m_lPreviewHandel != kNoPreview && !stopDevice(logAt(kFile, kStopHere), m_lPreviewHandel)) {
        return false;
    }
    forget();
    return true;
}

void PanePreview::close()
{
    m_pStream->close();
}

void PanePreview::abandonStart()
{
    m_pStart.reset();
    m_bStopPending = false;
}

bool PanePreview::startCameBack()
{
    const std::optional<long> result = m_pStart ? m_pStart->takeResult() : std::nullopt;
    if (!result) {
        return false;
    }
    m_pStart.reset();
    if (!m_bStopPending) {
        keep(*result);
        return false;
    }
    m_bStopPending = false;
    if (*result != kNoPreview) {
        queueStop(*result);
    }
    return m_lPreviewHandel == kNoPreview;
}

void PanePreview::forgetOverlay()
{
    m_pStream->forgetOverlay();
}

bool PanePreview::isWanted() const
{
    return m_lPreviewHandel != kNoPreview || (m_pStart && !m_bStopPending);
}

bool PanePreview::accept(const PreviewNotice &notice)
{
    const bool bOutcome = notice.kind != PreviewNotice::Kind::Header && notice.kind != PreviewNotice::Kind::Overlay;
    if (notice.nGeneration != m_nGeneration) {
        return notice.kind == PreviewNotice::Kind::StartFailed && notice.nGeneration > m_nStopped;
    }
    if (!bOutcome) {
        return true;
    }
    const bool bFirst = !m_bOutcomeTold;
    m_bOutcomeTold = true;
    return bFirst;
}

PreviewStatus PanePreview::status(bool bPlaying, long lSubHandel) const
{
    PreviewStatus status{};
    status.userID = static_cast<std::int32_t>(m_lUserID);
    status.lChannel = static_cast<std::uint32_t>(m_lChannel);
    status.byPlaying = bPlaying ? 1 : 0;
    // Not the window's handle; docs/compatibility.md: pane-index-twice.
    status.lHandle = static_cast<std::int32_t>(lSubHandel);
    status.lSubHandel = status.lHandle;
    return status;
}

PreviewStatus PanePreview::outcome(const PreviewNotice &notice, long lSubHandel) const
{
    PreviewStatus status = this->status(notice.kind == PreviewNotice::Kind::Opened, lSubHandel);
    if (notice.kind == PreviewNotice::Kind::StartFailed) {
        status.userID = static_cast<std::int32_t>(notice.lUserID);
        status.lChannel = static_cast<std::uint32_t>(notice.lChannel);
    }
    return status;
}

void PanePreview::dataArrived(long lPreviewHandel, const SELVIK_DCM_STREAM_DATA *pData, void *pUser)
{
    if (pData == nullptr) {
        return;
    }
    contained(logAt(kFile, kDataArrived), [&] {
        // The address may be that of a pane that is gone.
        const std::shared_ptr<StreamSink> pSink = LivePanes::instance().find(pUser);
        if (pSink != nullptr) {
            pSink->input(lPreviewHandel, pData->type, pData->bytes, pData->length);
        }
    });
}

SELVIK_DCM_PREVIEW_INFO PanePreview::requestOf(const PreviewParam &param) const
{
    SELVIK_DCM_PREVIEW_INFO request{};
    request.channel = static_cast<unsigned int>(param.lChannel);
    request.streamType = static_cast<unsigned int>(param.streamType);
    request.word16 = 1;
    request.callback = &PanePreview::dataArrived;
    request.user = m_pUser;
    request.url = param.url;
    return request;
}

/** From here on nothing that the device still sends gets in, and no notice that is queued has an effect. */
void PanePreview::endPicture()
{
    m_pStream->close();
    ++m_nGeneration;
    m_pane.endPicture();
}

/** A start that is under way is stopped when it comes back. One that no pool has ever got is dropped. */
void PanePreview::cancelStart()
{
    if (!m_pStart) {
        return;
    }
    if (m_pStart->isQueued()) {
        m_bStopPending = true;
    } else {
        m_pStart.reset();
    }
}

/** A start is made for these; the gate opens. */
void PanePreview::open(const PreviewParam &param)
{
    m_lUserID = param.userID;
    m_lChannel = param.lChannel;
    ++m_nGeneration;
    m_bOutcomeTold = false;
    const bool bOthersUnderWay = m_bStopPending || LivePanes::instance().hasUnclaimedStart(m_pUser);
    m_pStream->open(m_nGeneration, param.openDraw != 0, bOthersUnderWay);
}

/** The start that is wanted has come back. */
void PanePreview::keep(long lPreviewHandel)
{
    m_lPreviewHandel = lPreviewHandel;
    if (lPreviewHandel >= 0) {
        m_pStream->bind(lPreviewHandel);
        return;
    }
    m_pStream->close();
    PreviewNotice notice{};
    notice.kind = PreviewNotice::Kind::StartFailed;
    notice.nGeneration = m_nGeneration;
    notice.lUserID = m_lUserID;
    notice.lChannel = m_lChannel;
    m_pane.notify(notice);
}

void PanePreview::forget()
{
    m_lPreviewHandel = kNoPreview;
    m_lUserID = -1;
    m_lChannel = 0;
}

} // namespace pellora
