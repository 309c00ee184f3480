#include "VideoWindow/VideoWnd.h"

#include "VideoWindow/DisplayRegion.h"
#include "logging/Log.h"
#include "preview/LivePanes.h"

#include <QLabel>
#include <QMouseEvent>

#include <optional>

namespace pellora
{

namespace
{

/** None for what neither presses, releases nor moves; the press of a double click is no press here. */
std::optional<RuleMouseEvent> ruleMouseEvent(const QEvent &event)
{
    RuleMouseEvent result;
    switch (event.type()) {
    case QEvent::MouseButtonPress:
        result.kind = RuleMouseEvent::Kind::Press;
        break;
    case QEvent::MouseButtonRelease:
        result.kind = RuleMouseEvent::Kind::Release;
        break;
    case QEvent::MouseMove:
        result.kind = RuleMouseEvent::Kind::Move;
        break;
    default:
        return std::nullopt;
    }
    const auto &mouseEvent = static_cast<const QMouseEvent &>(event);
    if (mouseEvent.button() == Qt::LeftButton) {
        result.button = RuleMouseEvent::Button::Left;
    } else if (mouseEvent.button() == Qt::RightButton) {
        result.button = RuleMouseEvent::Button::Right;
    }
    result.point = {mouseEvent.x(), mouseEvent.y()};
    return result;
}

bool refuseRegion(const RECT &region)
{
    logError(logAt("VideoWindow\\VideoWnd", "bool __cdecl pellora::VideoWnd::setDisplayRegion(const struct tagRECT *)"),
             "display region of no width or height in pixels: %d, %d, %d, %d", region.left, region.top, region.right,
             region.bottom);
    return false;
}

} // namespace

VideoWnd::VideoWnd(long lSubHandel, QWidget *pParent)
    : QWidget(pParent), m_pLiveViewWnd(new QLabel(this)), m_hPlayWnd(nullptr), m_lSubHandel(lSubHandel)
{
    setMouseTracking(true);
    // A class derived from QWidget draws its style sheet's background only when told to.
    setAttribute(Qt::WA_StyledBackground);
    m_pLiveViewWnd->setObjectName(QStringLiteral("m_pLiveViewWnd"));
    m_pLiveViewWnd->setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Ignored);
    m_pLiveViewWnd->setGeometry(0, 0, 1, 1);
    // Makes the label a native window, which no later change of its parents makes anew.
    m_hPlayWnd = reinterpret_cast<HWND>(m_pLiveViewWnd->winId());
    PaneStream::Listener &listener = *this;
    m_pStream = std::make_shared<PaneStream>(m_drovel, listener, m_hPlayWnd);
    qRegisterMetaType<LONG>("LONG");
    connect(this, &VideoWnd::signalPreviewStatus, this, &VideoWnd::onPreviewStatus);
    // These come from other threads. Queued even where a device library calls back on the thread that starts: they are
    // sent with the stream's lock held.
    connect(this, &VideoWnd::signalPreviewSucceed, this, &VideoWnd::onPreviewSucceed, Qt::QueuedConnection);
    connect(this, &VideoWnd::signalOpenDraw, this, &VideoWnd::onOpenDraw, Qt::QueuedConnection);
    connect(this, &VideoWnd::signalFileEnd, this, &VideoWnd::onFileEnd);
    connect(this, &VideoWnd::signalStreamOpened, this, &VideoWnd::onStreamOpened, Qt::QueuedConnection);
    LivePanes::instance().add(this, m_pStream);
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
    setExit();
    closeDraw();
    abandonStart();
    stopPreviewStreamAsync();
    stopPreviewFile();
    m_pStream->leave();
    LivePanes::instance().remove(this);
}

bool VideoWnd::previewFile(char *pFileName, unsigned char bLoop, unsigned char bOpenDraw)
{
    stopPreviewFile();
    m_pStream->beginFile();
    m_drovel.setStreamOpenMode(KAVUN_MODE_FILE);
    // Qt must not paint over the player's picture.
    m_pLiveViewWnd->setUpdatesEnabled(false);
    const bool bPlaying = m_drovel.startPlayFile(pFileName, m_hPlayWnd);
    m_bLoopFile = bLoop != 0;
    if (bOpenDraw != 0) {
        openDraw();
    }
    if (m_bLoopFile || m_pfnFileEndCB != nullptr) {
        m_drovel.registerFileEndCallback(&VideoWnd::fileEndCallback, this);
    }
    return bPlaying;
}

bool VideoWnd::stopPreviewFile()
{
    m_bLoopFile = false;
    m_ruleMgr.clearRules();
    closeDraw();
    m_drovel.unRegisterFileEndCallback();
    m_pStream->stopFile();
    m_pLiveViewWnd->setUpdatesEnabled(true);
    m_fileEnds.beginGeneration();
    return true;
}

bool VideoWnd::setFileEndCallback(FileEndCallback pfnCallback, long lHandle)
{
    if (pfnCallback == nullptr) {
        return false;
    }
    m_pfnFileEndCB = pfnCallback;
    m_lHandle = lHandle;
    return m_drovel.registerFileEndCallback(&VideoWnd::fileEndCallback, this);
}

bool VideoWnd::clearFileEndCallback()
{
    m_pfnFileEndCB = nullptr;
    return m_drovel.unRegisterFileEndCallback();
}

bool VideoWnd::play()
{
    return m_drovel.play();
}

bool VideoWnd::pause()
{
    return m_drovel.pause();
}

bool VideoWnd::restore()
{
    return m_drovel.restore();
}

bool VideoWnd::fast()
{
    return m_drovel.fast();
}

bool VideoWnd::slow()
{
    return m_drovel.slow();
}

bool VideoWnd::oneByOne()
{
    return m_drovel.oneByOne();
}

bool VideoWnd::oneByOneBack()
{
    return m_drovel.oneByOneBack();
}

bool VideoWnd::setPlayedTime(unsigned long nSeconds)
{
    return m_drovel.setPlayedTime(nSeconds);
}

unsigned long VideoWnd::getPlayedTime()
{
    return m_drovel.getPlayedTime();
}

unsigned long VideoWnd::getFileTime()
{
    return m_drovel.getFileTime();
}

bool VideoWnd::getSystemFileTime(KAVUN_SYSTEM_TIME *pStart, KAVUN_SYSTEM_TIME *pEnd)
{
    if (pStart == nullptr || pEnd == nullptr) {
        return false;
    }
    KAVUN_SYSTEM_TIME start{};
    KAVUN_SYSTEM_TIME end{};
    if (m_drovel.getSystemFileTime(&start, &end)) {
        *pStart = start;
        *pEnd = end;
    }
    return false;
}

bool VideoWnd::getSystemTime(KAVUN_SYSTEM_TIME *pTime)
{
    if (pTime == nullptr) {
        return false;
    }
    KAVUN_SYSTEM_TIME time{};
    if (m_drovel.getSystemTime(&time)) {
        *pTime = time;
    }
    return false;
}

bool VideoWnd::getPictureSize(long &nWidth, long &nHeight)
{
    return m_drovel.getPictureSize(nWidth, nHeight);
}

bool VideoWnd::capture(unsigned char *pBuffer, unsigned long nBufferSize, unsigned long *pPictureSize)
{
    return m_drovel.capture(pBuffer, nBufferSize, pPictureSize);
}

bool VideoWnd::screenshot(CROP_PIC_INFO *pInfo)
{
    return m_drovel.screenshot(pInfo);
}

bool VideoWnd::setDisplayRegion(const RECT *pRegion)
{
    return pRegion != nullptr ? showRegion(*pRegion) : showWholePicture();
}

bool VideoWnd::showRegion(const RECT &region)
{
    RECT source{};
    long nWidth = 0;
    long nHeight = 0;
    if (m_drovel.getPictureSize(nWidth, nHeight)) {
        const PixelRect pixels = regionInPixels(region, {nWidth, nHeight});
        if (isEmptyRegion(pixels)) {
            return refuseRegion(region);
        }
        source = {pixels.left, pixels.top, pixels.right, pixels.bottom};
    }
    return m_ruleMgr.showRegion(region) ? m_pStream->setDisplayRegion(&source) : refuseRegion(region);
}

bool VideoWnd::showWholePicture()
{
    m_ruleMgr.showWhole({width(), height()});
    return m_pStream->setDisplayRegion(nullptr);
}

bool VideoWnd::openSound()
{
    return m_pStream->openSound();
}

bool VideoWnd::closeSound()
{
    return m_pStream->closeSound();
}

bool VideoWnd::setVolume(unsigned short nVolume)
{
    return m_pStream->setVolume(nVolume);
}

unsigned short VideoWnd::getVolume()
{
    return m_drovel.getVolume();
}

bool VideoWnd::setIntelData(bool bOpen)
{
    return m_pStream->setIntelData(bOpen);
}

bool VideoWnd::openDraw()
{
    m_pLiveViewWnd->setMouseTracking(true);
    m_pLiveViewWnd->installEventFilter(this);
    return m_pStream->registerDraw(&VideoWnd::drawCallback, this);
}

bool VideoWnd::closeDraw()
{
    m_pLiveViewWnd->setMouseTracking(false);
    m_pLiveViewWnd->removeEventFilter(this);
    return m_pStream->unregisterDraw();
}

long VideoWnd::createRule(RuleType type, COLORREF color, void *pExtend, unsigned char byLimitMask)
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

bool VideoWnd::setRuleCoord(long lRuleID, void *pCoord)
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

bool VideoWnd::isPlaying() const
{
    return m_drovel.isOpened();
}

bool VideoWnd::setExit()
{
    m_bExit = true;
    m_pStream->close();
    return true;
}

bool VideoWnd::isExit() const
{
    return m_bExit;
}

void VideoWnd::forgetSurface()
{
    m_hPlayWnd = nullptr;
    m_pStream->forgetWindow();
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
        const std::optional<RuleMouseEvent> event = ruleMouseEvent(*pEvent);
        if (event) {
            const HostCalls::Scope scope(m_hostCalls);
            m_ruleEditor.handle(*event);
        }
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
    m_ruleMgr.paneResized({m_pLiveViewWnd->width(), m_pLiveViewWnd->height()}, {width(), height()});
    m_pLiveViewWnd->setGeometry(0, 0, width(), height());
}

void VideoWnd::fileEndCallback(long nPort, void *pUser)
{
    if (pUser == nullptr) {
        return;
    }
    auto *pPane = static_cast<VideoWnd *>(pUser);
    pPane->m_fileEnds.sent();
    emit pPane->signalFileEnd(nPort, pUser);
}

void VideoWnd::drawCallback(long /*nPort*/, HDC hDc, void *pUser)
{
    if (pUser != nullptr) {
        static_cast<VideoWnd *>(pUser)->m_ruleMgr.drawAll(hDc);
    }
}

void VideoWnd::onFileEnd(long /*nPort*/, void * /*pUser*/)
{
    if (!m_fileEnds.received() || m_bExit) {
        return;
    }
    const unsigned int nGeneration = m_fileEnds.generation();
    if (m_pfnFileEndCB != nullptr) {
        const HostCalls::Scope scope(m_hostCalls);
        m_pfnFileEndCB(m_lHandle);
    }
    // The host may have stopped the file, or started another one, in its callback.
    if (m_bLoopFile && !m_bExit && m_fileEnds.generation() == nGeneration) {
        m_drovel.setPlayedTime(0);
    }
}

} // namespace pellora
