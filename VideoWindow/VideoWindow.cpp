#include "VideoWindow/VideoWindow.h"

#include "VideoWindow/SelectBoderWnd.h"
#include "VideoWindow/VideoWnd.h"
#include "logging/LogException.h"
#include "preview/PreviewParam.h"
#include "widgets/CFullScreenWidget.h"
#include "widgets/CWidgetLayoutMgr.h"

#include <QGridLayout>

#include <algorithm>
#include <utility>

namespace pellora
{

namespace
{

const char *const kFile = "VideoWindow\\VideoWindow";
constexpr int kPaneCount = 9;

} // namespace

VideoWindow::VideoWindow(HWND hParentWnd, QObject *pParent, Qt::WindowFlags flags)
    : QWinWidget(hParentWnd, pParent, flags)
{
    // A class derived from QWidget draws its style sheet's background only when told to.
    setAttribute(Qt::WA_StyledBackground);
    m_pFullScreenWidget = new ZentixGUIToolkit::CFullScreenWidget(this);
    m_pFullScreenWidget->setObjectName(QStringLiteral("m_pPlayArea"));
    auto *pLayout = new QGridLayout(this);
    pLayout->setContentsMargins(0, 0, 0, 0);
    pLayout->setSpacing(0);
    pLayout->addWidget(m_pFullScreenWidget, 0, 0, 1, 1);

    QList<QWidget *> widgets;
    for (int i = 0; i < kPaneCount; ++i) {
        auto *pPane = new VideoWnd(i, m_pFullScreenWidget);
        connect(pPane, &VideoWnd::signalSelected, this, &VideoWindow::onWndSelected);
        connect(pPane, &VideoWnd::signalMaxmized, this, &VideoWindow::onMaximized);
        connect(pPane, &VideoWnd::signalNormal, this, &VideoWindow::onNormal);
        if (i == 0) {
            m_pCurWnd = pPane;
        }
        pPane->hide();
        m_listWnd.append(pPane);
        widgets.append(pPane);
    }

    m_pLayoutMgr = std::make_unique<ZentixGUIToolkit::CWidgetLayoutMgr>();
    // A missing or broken file is logged and replaced by the layout manager itself.
    m_pLayoutMgr->Init(ZentixGUIToolkit::GetTargetPathFile(QStringLiteral("WidgetLayout/WidgetLayout.xml")),
                       m_pFullScreenWidget, widgets, struSplitTypeData::SPLIT_1);

    m_pSelBodWnd = new SelectBoderWnd(m_pFullScreenWidget);
    m_pSelBodWnd->setObjectName(QStringLiteral("m_pSelBodWnd"));
    m_pSelBodWnd->lower();
    m_pSelBodWnd->attach(m_pCurWnd);
    m_nativeFrames.watch(nativeWindow());
}

VideoWindow::~VideoWindow()
{
    for (VideoWnd *pPane : qAsConst(m_listWnd)) {
        pPane->setExit();
    }
    m_pLayoutMgr.reset();
}

VideoWnd *VideoWindow::getWnd(long lSubHandel) const
{
    return lSubHandel >= 0 && lSubHandel < m_listWnd.size() ? m_listWnd.at(lSubHandel) : nullptr;
}

VideoWnd *VideoWindow::getCurWnd() const
{
    return m_pCurWnd;
}

void VideoWindow::splitScreen(unsigned short wSplitNum)
{
    switch (wSplitNum) {
    case 1:
        m_pLayoutMgr->ReDisplay(struSplitTypeData::SPLIT_1);
        break;
    case 4:
        m_pLayoutMgr->ReDisplay(struSplitTypeData::SPLIT_4);
        break;
    case 9:
        m_pLayoutMgr->ReDisplay(struSplitTypeData::SPLIT_9);
        break;
    default:
        return;
    }
    // The grid has replaced a maximised pane, so that the next double click maximises again.
    for (VideoWnd *pPane : qAsConst(m_listWnd)) {
        pPane->forgetMaximized();
    }
}

bool VideoWindow::fullScreen()
{
    // Without the host's window there is no native window to cover the screen, or to come back to.
    if (hasLeftHost()) {
        return false;
    }
    m_pFullScreenWidget->EnterFullScreen();
    return true;
}

bool VideoWindow::normalScreen()
{
    if (hasLeftHost()) {
        return false;
    }
    m_pFullScreenWidget->ExitFullScreen();
    return true;
}

bool VideoWindow::batchPreview(long lHandle, const std::vector<PreviewParam> &requests,
                               std::vector<PreviewParam> &handed)
{
    const auto start = [lHandle](VideoWnd &pane, const PreviewParam &request) {
        if (!pane.previewStream(request)) {
            logWarn(logAt(kFile, "bool __cdecl pellora::VideoWindow::batchPreview(long,const class std::vector<struct "
                                 "pellora::PreviewParam> &,class std::vector<struct pellora::PreviewParam> &)"),
                    "batch request %d is refused: a start is under way in pane %d of window %d", pane.subHandel(),
                    pane.subHandel(), lHandle);
        }
    };
    return startEach(start, lHandle, requests, handed);
}

bool VideoWindow::batchPreviewAsync(long lHandle, const std::vector<PreviewParam> &requests,
                                    std::vector<PreviewParam> &handed)
{
    // A device that cannot be started has its line by then.
    const auto start = [](VideoWnd &pane, const PreviewParam &request) { pane.previewStreamAsync(request); };
    return startEach(start, lHandle, requests, handed);
}

bool VideoWindow::startEach(const std::function<void(VideoWnd &, const PreviewParam &)> &start, long lHandle,
                            const std::vector<PreviewParam> &requests, std::vector<PreviewParam> &handed)
{
    for (std::size_t i = 0; i < requests.size(); ++i) {
        VideoWnd *pPane = getWnd(static_cast<long>(i));
        if (pPane == nullptr) {
            continue;
        }
        // The answer tells what was handed over, not what became of it.
        start(*pPane, requests[i]);
        handed.push_back(requests[i]);
        handed.back().lHandle = lHandle;
        handed.back().lSubHandel = static_cast<long>(i);
    }
    return true;
}

bool VideoWindow::stopAllPreview()
{
    for (VideoWnd *pPane : qAsConst(m_listWnd)) {
        pPane->stopPreviewStream();
    }
    return true;
}

bool VideoWindow::stopAllPreviewAsync()
{
    for (VideoWnd *pPane : qAsConst(m_listWnd)) {
        pPane->stopPreviewStreamAsync();
    }
    return true;
}

bool VideoWindow::setPreviewStatusCallback(const std::function<void(const PreviewStatus &)> &callback, long lHandle)
{
    for (VideoWnd *pPane : qAsConst(m_listWnd)) {
        pPane->setPreviewStatusCallback(callback, lHandle);
    }
    return true;
}

bool VideoWindow::setIntelData(bool bOpen)
{
    for (VideoWnd *pPane : qAsConst(m_listWnd)) {
        if (pPane->isPlaying()) {
            pPane->port().setIntelData(bOpen);
        }
    }
    return true;
}

void VideoWindow::takeStartResults()
{
    for (VideoWnd *pPane : qAsConst(m_listWnd)) {
        pPane->takeStartResult();
    }
}

HWND VideoWindow::nativeWindow() const
{
    return reinterpret_cast<HWND>(internalWinId());
}

void VideoWindow::setWhenHostDestroyed(std::function<void()> whenHostDestroyed)
{
    m_whenHostDestroyed = std::move(whenHostDestroyed);
}

void VideoWindow::onHostDestroyed()
{
    for (VideoWnd *pPane : qAsConst(m_listWnd)) {
        pPane->forgetSurface();
    }
    if (m_whenHostDestroyed) {
        m_whenHostDestroyed();
    }
}

HostCalls &VideoWindow::hostCalls()
{
    return m_hostCalls;
}

bool VideoWindow::isInUse() const
{
    return m_hostCalls.isRunning() || std::any_of(m_listWnd.begin(), m_listWnd.end(),
                                                  [](VideoWnd *pPane) { return pPane->hostCalls().isRunning(); });
}

void VideoWindow::retire(const std::function<void()> &whenIdle)
{
    const HostCalls::Scope scope(m_hostCalls);
    m_hostCalls.setWhenDone(whenIdle);
    for (VideoWnd *pPane : qAsConst(m_listWnd)) {
        pPane->setExit();
        pPane->hostCalls().setWhenDone(whenIdle);
    }
    leaveHost();
    for (VideoWnd *pPane : qAsConst(m_listWnd)) {
        pPane->shutDown();
    }
}

void VideoWindow::onWndSelected()
{
    contained(logAt(kFile, "void __cdecl pellora::VideoWindow::onWndSelected(void)"), [this] {
        auto *pPane = qobject_cast<VideoWnd *>(sender());
        if (pPane != nullptr) {
            m_pCurWnd = pPane;
            m_pSelBodWnd->attach(pPane);
        }
    });
}

void VideoWindow::onMaximized()
{
    contained(logAt(kFile, "void __cdecl pellora::VideoWindow::onMaximized(void)"),
              [this] { m_pLayoutMgr->ShowMaximized(m_pCurWnd); });
}

void VideoWindow::onNormal()
{
    contained(logAt(kFile, "void __cdecl pellora::VideoWindow::onNormal(void)"),
              [this] { m_pLayoutMgr->ShowNormal(); });
}

} // namespace pellora
