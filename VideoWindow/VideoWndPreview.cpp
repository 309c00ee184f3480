// The pane's live previews; the rest of the pane is in VideoWnd.cpp.
#include "VideoWindow/VideoWnd.h"

#include "VideoWindow/PreviewParam.h"
#include "VideoWindow/PreviewStatus.h"
#include "VideoWindow/StopTakeStreamTask.h"
#include "VideoWindow/TakeStreamMgr.h"
#include "VideoWindow/TakeStreamTask.h"
#include "logging/Log.h"
#include "preview/LivePanes.h"
#include "preview/RetiredPreviews.h"

#include <QLabel>

namespace pellora
{

namespace
{

const char *const kFile = "VideoWindow\\VideoWnd";
constexpr long kNoPreview = -1;

} // namespace

bool VideoWnd::previewStream(const PreviewParam &param)
{
    if (m_pTakeStreamTask != nullptr) {
        return false;
    }
    stopPreviewStream();
    const SELVIK_DCM_PREVIEW_INFO request = previewRequest(param);
    m_pTakeStreamTask = new TakeStreamTask(param.userID, &request, nullptr);
    m_pTakeStreamTask->donotDelete();
    // Queued also when the result comes on this thread: the slot deletes the task that emits it.
    connect(m_pTakeStreamTask, &TakeStreamTask::signalTakeStreamResult, this, &VideoWnd::onTakeStreamResult,
            Qt::QueuedConnection);
    m_lUserID = param.userID;
    m_lChannel = param.lChannel;
    // Before the task is handed over: a fast header comes before this function has returned.
    m_pStream->open(param.openDraw != 0, LivePanes::instance().hasUnclaimedStart(this));
    // Without a pool the start stays pending, as hosts know it, until the next stop.
    m_bStartQueued = TakeStreamMgr::getInstance()->addTask(m_pTakeStreamTask);
    return true;
}

bool VideoWnd::stopPreviewStream()
{
    stopPicture();
    if (m_lPreviewHandel != kNoPreview) {
        stopOnPool(m_lPreviewHandel);
        forgetPreview();
    } else {
        cancelStart();
    }
    return true;
}

void VideoWnd::onTakeStreamResult(LONG lPreviewHandel)
{
    if (m_nResultsTaken > 0) {
        --m_nResultsTaken;
        return;
    }
    settleStart(lPreviewHandel);
}

void VideoWnd::takeStartResult()
{
    const std::optional<long> result = m_pTakeStreamTask != nullptr ? m_pTakeStreamTask->result() : std::nullopt;
    if (result) {
        ++m_nResultsTaken;
        settleStart(*result);
    }
}

void VideoWnd::settleStart(long lPreviewHandel)
{
    delete m_pTakeStreamTask;
    m_pTakeStreamTask = nullptr;
    if (m_bStopPending) {
        m_bStopPending = false;
        if (m_lPreviewHandel == kNoPreview && !m_pStream->isForFile()) {
            m_lPreviewHandel = lPreviewHandel;
            stopPreviewStream();
        } else if (lPreviewHandel != kNoPreview) {
            // Something else has been started in the pane since: only the device hears of the stop.
            stopOnPool(lPreviewHandel);
        }
        return;
    }
    m_lPreviewHandel = lPreviewHandel;
    if (lPreviewHandel < 0) {
        m_pStream->giveUp();
        reportFailedStart();
    } else {
        m_pStream->bind(lPreviewHandel);
    }
}

bool VideoWnd::previewStreamAsync(const PreviewParam &param)
{
    const char *const pFunction =
        "bool __cdecl pellora::VideoWnd::previewStreamAsync(const struct pellora::PreviewParam &)";
    if (!stopPreviewStreamAsync()) {
        // The device library goes on sending what it would not stop.
        RetiredPreviews::instance().retire(m_lPreviewHandel);
    }
    m_lUserID = param.userID;
    m_lChannel = param.lChannel;
    const SELVIK_DCM_PREVIEW_INFO request = previewRequest(param);
    m_pStream->open(param.openDraw != 0, m_pTakeStreamTask != nullptr || LivePanes::instance().hasUnclaimedStart(this));
    m_lPreviewHandel = SELVIK_DCM_StartPreview(m_lUserID, &request);
    if (m_lPreviewHandel < 0) {
        logError(logAt(kFile, pFunction), "SELVIK_DCM_StartPreview error: %d, userID: %d, previewHandel: %d.",
                 SELVIK_DCM_GetLastError(), m_lUserID, m_lPreviewHandel);
        m_pStream->giveUp();
        reportFailedStart();
        return false;
    }
    m_pStream->bind(m_lPreviewHandel);
    logInfo(logAt(kFile, pFunction), "SELVIK_DCM_StartPreview success, userID: %d, previewHandel: %d.", m_lUserID,
            m_lPreviewHandel);
    return true;
}

bool VideoWnd::stopPreviewStreamAsync()
{
    stopPicture();
    cancelStart();
    // Any number but -1 is an open preview, a failed start's included.
    if (m_lPreviewHandel != kNoPreview && !stopDevice(m_lPreviewHandel)) {
        return false;
    }
    forgetPreview();
    return true;
}

bool VideoWnd::setPreviewStatusCallback(const PreviewStatusCallback &pfnCallback, long lHandle)
{
    m_pfnPreviewStatusCB = pfnCallback;
    m_lHandle = lHandle;
    return true;
}

SELVIK_DCM_PREVIEW_INFO VideoWnd::previewRequest(const PreviewParam &param)
{
    SELVIK_DCM_PREVIEW_INFO request{};
    request.channel = param.lChannel;
    request.streamType = static_cast<unsigned int>(param.streamType);
    request.word16 = 1;
    request.callback = &VideoWnd::streamDataCallback;
    request.user = this;
    request.url = param.url;
    return request;
}

/** Ends what is on the picture; nothing that the device still sends gets in from here on. */
void VideoWnd::stopPicture()
{
    m_pStream->close();
    m_ruleMgr.clearRules();
    closeDraw();
    m_drovel.stopPlayStream();
    m_pLiveViewWnd->setUpdatesEnabled(true);
    m_fileEnds.beginGeneration();
    m_headers.beginGeneration();
    m_overlays.beginGeneration();
    m_opened.beginGeneration();
}

/** A start that is under way is stopped when it comes back. One that no pool has ever got is dropped. */
void VideoWnd::cancelStart()
{
    if (m_pTakeStreamTask == nullptr) {
        return;
    }
    if (m_bStartQueued) {
        m_bStopPending = true;
        return;
    }
    delete m_pTakeStreamTask;
    m_pTakeStreamTask = nullptr;
}

/** The pane goes away with a start under way: whoever receives the device stops it. */
void VideoWnd::abandonStart()
{
    if (m_pTakeStreamTask == nullptr) {
        return;
    }
    TakeStreamTask *const pTask = m_pTakeStreamTask;
    m_pTakeStreamTask = nullptr;
    if (!m_bStartQueued) {
        delete pTask;
        return;
    }
    const std::optional<long> result = pTask->abandon();
    if (!result) {
        return;
    }
    delete pTask;
    if (*result >= 0) {
        stopDevice(*result);
    }
}

/** On this thread: the device library waits for its callback and for nothing else. */
bool VideoWnd::stopDevice(long lPreviewHandel)
{
    const char *const pFunction = "bool __cdecl pellora::VideoWnd::stopPreviewStreamAsync(void)";
    if (SELVIK_DCM_StopPreview(lPreviewHandel) == 0) {
        logError(logAt(kFile, pFunction), "SELVIK_DCM_StopPreview error: %d, previewHandel: %d.",
                 SELVIK_DCM_GetLastError(), lPreviewHandel);
        return false;
    }
    logInfo(logAt(kFile, pFunction), "SELVIK_DCM_StopPreview success, previewHandel: %d.", lPreviewHandel);
    return true;
}

void VideoWnd::stopOnPool(long lPreviewHandel)
{
    RetiredPreviews::instance().retire(lPreviewHandel);
    auto pTask = std::make_unique<StopTakeStreamTask>(lPreviewHandel);
    if (TakeStreamMgr::getInstance()->addTask(pTask.get())) {
        // The pool's now, and perhaps gone already.
        static_cast<void>(pTask.release());
    } else {
        // Without a pool nobody else would ever stop it.
        pTask->run();
    }
}

void VideoWnd::forgetPreview()
{
    m_lPreviewHandel = kNoPreview;
    m_lUserID = -1;
    m_lChannel = 0;
}

PreviewStatus VideoWnd::previewStatus(bool bPlaying) const
{
    PreviewStatus status{};
    status.userID = m_lUserID;
    status.lChannel = m_lChannel;
    status.byPlaying = bPlaying ? 1 : 0;
    // Not the window's handle: hosts match on the index in both places.
    status.lHandle = m_lSubHandel;
    status.lSubHandel = m_lSubHandel;
    return status;
}

void VideoWnd::tellStatus(const PreviewStatus &status)
{
    if (!m_pfnPreviewStatusCB || m_bExit) {
        return;
    }
    const HostCalls::Scope scope(m_hostCalls);
    // A copy, since the host may set another one from inside.
    const PreviewStatusCallback callback = m_pfnPreviewStatusCB;
    callback(status);
}

/** Queued, since the host is in the middle of a call of its own. */
void VideoWnd::reportFailedStart()
{
    QMetaObject::invokeMethod(
        this, [this, status = previewStatus(false)] { tellStatus(status); }, Qt::QueuedConnection);
}

void VideoWnd::onPreviewStatus()
{
    tellStatus(previewStatus(isPlaying()));
}

void VideoWnd::onPreviewSucceed()
{
    if (m_headers.received()) {
        // Qt must not paint over the player's picture.
        m_pLiveViewWnd->setUpdatesEnabled(false);
    }
}

void VideoWnd::onOpenDraw()
{
    if (m_overlays.received() && !m_bExit) {
        openDraw();
    }
}

void VideoWnd::onStreamOpened(bool bOpened)
{
    if (m_opened.received()) {
        tellStatus(previewStatus(bOpened));
    }
}

void VideoWnd::headerArrived()
{
    m_headers.sent();
    emit signalPreviewSucceed();
}

void VideoWnd::overlayWanted()
{
    m_overlays.sent();
    emit signalOpenDraw();
}

void VideoWnd::streamOpened(bool bOpened)
{
    m_opened.sent();
    emit signalStreamOpened(bOpened);
}

void VideoWnd::streamDataCallback(long lPreviewHandel, const SELVIK_DCM_STREAM_DATA *pData, void *pUser)
{
    if (pData == nullptr) {
        return;
    }
    // The address may be that of a pane that is gone.
    const std::shared_ptr<StreamSink> pSink = LivePanes::instance().find(pUser);
    if (pSink != nullptr) {
        pSink->input(lPreviewHandel, pData->type, pData->bytes, pData->length);
    }
}

} // namespace pellora
