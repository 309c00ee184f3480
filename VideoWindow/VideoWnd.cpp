#include "VideoWindow/VideoWnd.h"

#include "VideoWindow/DisplayRegion.h"
#include "VideoWindow/RuleMouse.h"
#include "VideoWindow/TakeStreamMgr.h"
#include "VideoWindow/TakeStreamTask.h"
#include "logging/LogException.h"

#include <QLabel>
#include <QMouseEvent>

namespace pellora
{

namespace
{

const char *const kFile = "VideoWindow\\VideoWnd";

bool refuseRegion(const RECT &region)
{
    logError(logAt(kFile, "bool __cdecl pellora::VideoWnd::setDisplayRegion(const struct tagRECT *)"),
             "display region of no width or height in pixels: %d, %d, %d, %d", region.left, region.top, region.right,
             region.bottom);
    return false;
}

} // namespace

VideoWnd::VideoWnd(long lSubHandel, QWidget *pParent)
    : QWidget(pParent),
      m_pLiveViewWnd(new QLabel(this)),
      // Makes the label a native window, which no later change of its parents makes anew.
      m_hPlayWnd(reinterpret_cast<HWND>(m_pLiveViewWnd->winId())),
      m_lSubHandel(lSubHandel),
      m_port(m_hPlayWnd),
      m_preview(*this, m_port, *TakeStreamMgr::getInstance(), this)
{
    setMouseTracking(true);
    // A class derived from QWidget draws its style sheet's background only when told to.
    setAttribute(Qt::WA_StyledBackground);
    m_pLiveViewWnd->setObjectName(QStringLiteral("m_pLiveViewWnd"));
    m_pLiveViewWnd->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
    m_pLiveViewWnd->setGeometry(0, 0, 1, 1);
    qRegisterMetaType<LONG>("LONG");
    connect(this, &VideoWnd::signalPreviewStatus, this, &VideoWnd::onPreviewStatus);
    connect(this, &VideoWnd::signalPreviewSucceed, this, &VideoWnd::onPreviewSucceed);
    connect(this, &VideoWnd::signalOpenDraw, this, &VideoWnd::onOpenDraw);
    // Queued, since the player emits it on a thread of its own.
    connect(this, &VideoWnd::signalFileEnd, this, &VideoWnd::onFileEnd);
}

VideoWnd::~VideoWnd()
{
    shutDown();
}

void VideoWnd::shutDown()
{
    if (m_bShutDown) {
        return;
    }
    m_bShutDown = true;
    contained(logAt(kFile, "void __cdecl pellora::VideoWnd::shutDown(void)"), [this] {
        setExit();
        closeDraw();
        m_preview.abandonStart();
        stopPreviewStreamAsync();
        stopPreviewFile();
    });
}

bool VideoWnd::previewStream(const PreviewParam &param)
{
    return m_preview.start(param);
}

bool VideoWnd::stopPreviewStream()
{
    m_preview.stop();
    return true;
}

bool VideoWnd::previewStreamAsync(const PreviewParam &param)
{
    return m_preview.startHere(param);
}

bool VideoWnd::stopPreviewStreamAsync()
{
    return m_preview.stopHere();
}

bool VideoWnd::setPreviewStatusCallback(const PreviewStatusCallback &pfnCallback, long lHandle)
{
    m_pfnPreviewStatusCB = pfnCallback;
    m_lHandle = lHandle;
    return true;
}

void VideoWnd::takeStartResult()
{
    if (m_preview.startCameBack() && m_port.source() == PanePort::Source::None) {
        endPicture();
    }
}

PreviewStart::Owned VideoWnd::makeStart(long lUserID, const SELVIK_DCM_PREVIEW_INFO &request)
{
    auto *const pTask = new TakeStreamTask(lUserID, &request, nullptr);
    PreviewStart::Owned pStart(pTask);
    // Queued also when the result comes on this thread: the slot deletes the task that emits it.
    connect(pTask, &TakeStreamTask::signalTakeStreamResult, this, &VideoWnd::onTakeStreamResult, Qt::QueuedConnection);
    return pStart;
}

void VideoWnd::endPicture()
{
    endSource(PanePort::Source::Live);
}

void VideoWnd::endSource(PanePort::Source otherwise)
{
    m_bLoopFile = false;
    m_ruleMgr.clearRules();
    // The next source is shown whole, as the port forgets its region.
    m_ruleMgr.showWhole({m_pLiveViewWnd->width(), m_pLiveViewWnd->height()});
    closeDraw();
    m_port.end(otherwise);
    m_pLiveViewWnd->setUpdatesEnabled(true);
}

bool VideoWnd::previewFile(char *pFileName, unsigned char bLoop, unsigned char bOpenDraw)
{
    if (m_preview.isWanted()) {
        // The camera would run on unseen, and its next header would take the pane back.
        m_preview.stop();
    }
    stopPreviewFile();
    // Qt must not paint over the player's picture.
    m_pLiveViewWnd->setUpdatesEnabled(false);
    const bool bPlaying = m_port.playFile(pFileName);
    m_bLoopFile = bLoop != 0;
    if (bOpenDraw != 0) {
        openDraw();
    }
    if (m_bLoopFile || m_pfnFileEndCB != nullptr) {
        m_port.registerFileEndCallback(&VideoWnd::fileEndCallback, this);
    }
    return bPlaying;
}

bool VideoWnd::stopPreviewFile()
{
    if (m_port.source() == PanePort::Source::Live) {
        return stopPreviewStream();
    }
    m_preview.forgetOverlay();
    endSource(PanePort::Source::File);
    return true;
}

bool VideoWnd::setFileEndCallback(FileEndCallback pfnCallback, long lHandle)
{
    if (pfnCallback == nullptr) {
        return false;
    }
    m_pfnFileEndCB = pfnCallback;
    m_lHandle = lHandle;
    return m_port.registerFileEndCallback(&VideoWnd::fileEndCallback, this);
}

bool VideoWnd::clearFileEndCallback()
{
    m_pfnFileEndCB = nullptr;
    return m_port.unRegisterFileEndCallback();
}

bool VideoWnd::setDisplayRegion(const RECT *pRegion)
{
    return pRegion != nullptr ? showRegion(*pRegion) : showWholePicture();
}

bool VideoWnd::showRegion(const RECT &region)
{
    const PanePort::Region source = m_port.partOf(region);
    const bool bKnown = source.picture.width != 0 || source.picture.height != 0;
    if (bKnown && (source.part.left == source.part.right || source.part.top == source.part.bottom)) {
        return refuseRegion(region);
    }
    return m_ruleMgr.showRegion(region) ? m_port.showRegion(source) : refuseRegion(region);
}

bool VideoWnd::showWholePicture()
{
    m_ruleMgr.showWhole({width(), height()});
    return m_port.showWhole();
}

PanePort &VideoWnd::port()
{
    return m_port;
}

bool VideoWnd::openDraw()
{
    m_pLiveViewWnd->setMouseTracking(true);
    m_pLiveViewWnd->installEventFilter(this);
    return m_port.registerDraw(&VideoWnd::drawCallback, this);
}

bool VideoWnd::closeDraw()
{
    m_pLiveViewWnd->setMouseTracking(false);
    m_pLiveViewWnd->removeEventFilter(this);
    return m_port.unregisterDraw();
}

long VideoWnd::createRule(RuleType type, COLORREF color, const void *pExtend, unsigned char byLimitMask)
{
    const long lRuleID = m_ruleMgr.createRule(type, color, pExtend, byLimitMask);
    m_ruleEditor.setCreated(lRuleID, type);
    return lRuleID;
}

bool VideoWnd::destroyRule(long lRuleID)
{
    return m_ruleMgr.destroyRule(lRuleID);
}

bool VideoWnd::clearRule()
{
    return m_ruleMgr.clearRules();
}

bool VideoWnd::getRuleCoord(long lRuleID, void *pCoord)
{
    return m_ruleMgr.getRuleCoord(lRuleID, pCoord);
}

bool VideoWnd::setRuleCoord(long lRuleID, const void *pCoord)
{
    return m_ruleMgr.setRuleCoode(lRuleID, pCoord);
}

bool VideoWnd::setRuleArrowType(long lRuleID, unsigned short wArrowType)
{
    return m_ruleMgr.setRuleArrowType(lRuleID, wArrowType);
}

bool VideoWnd::setOriginPos(unsigned short wOriginPos)
{
    m_ruleMgr.setOriginPos(wOriginPos);
    return true;
}

bool VideoWnd::setRuleCoordCallback(RuleCoordCallback pfnCallback, long lHandle)
{
    m_lHandle = lHandle;
    return m_ruleMgr.setRuleCoordCallback(pfnCallback, m_lHandle, m_lSubHandel);
}

long VideoWnd::subHandel() const
{
    return m_lSubHandel;
}

bool VideoWnd::isPlaying() const
{
    return m_port.isOpened();
}

bool VideoWnd::setExit()
{
    m_bExit = true;
    m_preview.close();
    return true;
}

bool VideoWnd::isExit() const
{
    return m_bExit;
}

void VideoWnd::forgetSurface()
{
    m_hPlayWnd = nullptr;
    m_port.forgetWindow();
}

void VideoWnd::forgetMaximized()
{
    m_bMaximized = false;
}

HostCalls &VideoWnd::hostCalls()
{
    return m_hostCalls;
}

bool VideoWnd::eventFilter(QObject *pWatched, QEvent *pEvent)
{
    if (pWatched == m_pLiveViewWnd && pEvent != nullptr && !m_bExit) {
        // The editor reports to the host.
        contained(logAt(kFile, "bool __cdecl pellora::VideoWnd::eventFilter(class QObject *,class QEvent *)"), [&] {
            const std::optional<RuleMouseEvent> event = ruleMouseEvent(*pEvent);
            if (event) {
                const HostCalls::Scope scope(m_hostCalls);
                m_ruleEditor.handle(*event);
            }
        });
    }
    return QWidget::eventFilter(pWatched, pEvent);
}

void VideoWnd::mousePressEvent(QMouseEvent *pEvent)
{
    if ((pEvent->buttons() & Qt::LeftButton) != 0) {
        emit signalSelected();
        emit signalPreviewStatus();
    }
    QWidget::mousePressEvent(pEvent);
}

void VideoWnd::mouseDoubleClickEvent(QMouseEvent *pEvent)
{
    if (m_bMaximized) {
        emit signalNormal();
    } else {
        emit signalMaxmized(this);
    }
    m_bMaximized = !m_bMaximized;
    QWidget::mouseDoubleClickEvent(pEvent);
}

void VideoWnd::resizeEvent(QResizeEvent *pEvent)
{
    QWidget::resizeEvent(pEvent);
    contained(logAt(kFile, "void __cdecl pellora::VideoWnd::resizeEvent(class QResizeEvent *)"), [this] {
        m_ruleMgr.paneResized({m_pLiveViewWnd->width(), m_pLiveViewWnd->height()}, {width(), height()});
    });
    m_pLiveViewWnd->setGeometry(0, 0, width(), height());
}

void VideoWnd::fileEndCallback(long nPort, void *pUser)
{
    if (pUser != nullptr) {
        contained(logAt(kFile, "void __cdecl pellora::VideoWnd::fileEndCallback(long,void *)"),
                  [&] { emit static_cast<VideoWnd *>(pUser)->signalFileEnd(nPort, pUser); });
    }
}

void VideoWnd::drawCallback(long /*nPort*/, HDC hDc, void *pUser)
{
    if (pUser != nullptr) {
        contained(logAt(kFile, "void __cdecl pellora::VideoWnd::drawCallback(long,struct HDC__ *,void *)"),
                  [&] { static_cast<VideoWnd *>(pUser)->m_ruleMgr.drawAll(hDc); });
    }
}

void VideoWnd::onTakeStreamResult(LONG /*lPreviewHandel*/)
{
    // The result may have been taken before its notice; the start that is under way knows.
    contained(logAt(kFile, "void __cdecl pellora::VideoWnd::onTakeStreamResult(long)"), [this] { takeStartResult(); });
}

void VideoWnd::notify(const PreviewNotice &notice)
{
    QMetaObject::invokeMethod(
        this, [this, notice] { onNotice(notice); }, Qt::QueuedConnection);
}

void VideoWnd::onNotice(const PreviewNotice &notice)
{
    contained(logAt(kFile, "void __cdecl pellora::VideoWnd::onNotice(const struct pellora::PreviewNotice &)"), [&] {
        if (m_bExit || !m_preview.accept(notice)) {
            return;
        }
        switch (notice.kind) {
        case PreviewNotice::Kind::Header:
            emit signalPreviewSucceed();
            break;
        case PreviewNotice::Kind::Overlay:
            emit signalOpenDraw();
            break;
        case PreviewNotice::Kind::Opened:
        case PreviewNotice::Kind::NotOpened:
        case PreviewNotice::Kind::StartFailed:
            tellStatus(m_preview.outcome(notice, m_lSubHandel));
            break;
        }
    });
}

void VideoWnd::onPreviewSucceed()
{
    // Qt must not paint over the player's picture.
    m_pLiveViewWnd->setUpdatesEnabled(false);
}

void VideoWnd::onOpenDraw()
{
    openDraw();
}

void VideoWnd::onPreviewStatus()
{
    contained(logAt(kFile, "void __cdecl pellora::VideoWnd::onPreviewStatus(void)"),
              [this] { tellStatus(m_preview.status(isPlaying(), m_lSubHandel)); });
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

void VideoWnd::onFileEnd(long nPort, void * /*pUser*/)
{
    contained(logAt(kFile, "void __cdecl pellora::VideoWnd::onFileEnd(long,void *)"), [&] {
        if (m_bExit || !m_port.isFile(nPort)) {
            return;
        }
        if (m_pfnFileEndCB != nullptr) {
            const HostCalls::Scope scope(m_hostCalls);
            m_pfnFileEndCB(m_lHandle);
        }
        // The host may have stopped the file, or started another one, in its callback.
        if (m_bLoopFile && !m_bExit && m_port.isFile(nPort)) {
            m_port.setPlayedTime(0);
        }
    });
}

} // namespace pellora
