#include "widgets/CWidgetLayoutMgr.h"

#include "base/CLog.h"
#include "base/StringUtil.h"
#include "base/src/base/LogException.h"
#include "base/src/widgets/LayoutFile.h"

#include <QCoreApplication>
#include <QPointer>
#include <QResizeEvent>
#include <QWidget>

#include <log4cxx/spi/location/locationinfo.h>

#include <algorithm>

namespace ZentixGUIToolkit
{
namespace
{

std::vector<GridSpec> loadGrids(const QString &path)
{
    LayoutFile file = readLayoutFile(path.toStdWString());
    if (!file.grids.empty()) {
        return std::move(file.grids);
    }
    const log4cxx::spi::LocationInfo location("CWidgetLayoutMgr", "CWidgetLayoutMgr", "CWidgetLayoutMgr::Init",
                                              __LINE__);
    Base::CLog::getInstance()->Warn(Base::StringUtil::FormatString("layout file %s: %s; the built-in grids are used",
                                                                   path.toUtf8().constData(), file.error.c_str()),
                                    std::string(), location);
    return builtInGrids();
}

// Position and size in one call: frames around a widget follow its resize event and read its position then.
void place(QWidget *pWidget, const CellRect &rect)
{
    const QRect target(rect.x, rect.y, rect.width, rect.height);
    const QRect before = pWidget->geometry();
    pWidget->setGeometry(target);
    if (before.topLeft() != target.topLeft() && before.size() == target.size() && !pWidget->isHidden()) {
        // They do not hear of a mere move.
        QResizeEvent event(target.size(), target.size());
        QCoreApplication::sendEvent(pWidget, &event);
    }
}

} // namespace

struct CWidgetLayoutMgr::State {
    QPointer<QWidget> m_pContainer;
    // Not a QList, which does not bear that memory for an element runs out.
    std::vector<QPointer<QWidget>> m_listWidget;
    QPointer<QWidget> m_pMaximized;
    std::vector<GridSpec> m_vecGrid;
    int m_nType = struSplitTypeData::SPLIT_1;

    [[nodiscard]] const GridSpec *grid(int type) const
    {
        const auto it = std::find_if(m_vecGrid.begin(), m_vecGrid.end(),
                                     [type](const GridSpec &candidate) { return candidate.type == type; });
        return it != m_vecGrid.end() ? &*it : nullptr;
    }
    void layOut() const;
    void layOutGrid(const GridSpec &shown) const;
    void layOutMaximized(const GridSpec &shown) const;
};

void CWidgetLayoutMgr::State::layOut() const
{
    const GridSpec *pGrid = grid(m_nType);
    if (pGrid == nullptr || m_pContainer.isNull()) {
        return;
    }
    if (m_pMaximized.isNull()) {
        layOutGrid(*pGrid);
    } else {
        layOutMaximized(*pGrid);
    }
}

void CWidgetLayoutMgr::State::layOutGrid(const GridSpec &shown) const
{
    // Empty when the container is too small: sizes stay, since overlays scale with them.
    const std::vector<CellRect> places = placeCells(shown, m_pContainer->width(), m_pContainer->height());
    for (std::size_t i = 0; i < m_listWidget.size(); ++i) {
        QWidget *pWidget = m_listWidget[i];
        if (pWidget == nullptr) {
            continue;
        }
        if (i < places.size()) {
            place(pWidget, places[i]);
        }
        pWidget->setVisible(i < shown.cells.size());
    }
}

void CWidgetLayoutMgr::State::layOutMaximized(const GridSpec &shown) const
{
    GridSpec whole;
    whole.margin = shown.margin;
    whole.cells.emplace_back();
    const std::vector<CellRect> places = placeCells(whole, m_pContainer->width(), m_pContainer->height());
    if (!places.empty()) {
        place(m_pMaximized, places.front());
    }
    m_pMaximized->show();
    for (const QPointer<QWidget> &pWidget : m_listWidget) {
        if (!pWidget.isNull() && pWidget != m_pMaximized) {
            pWidget->hide();
        }
    }
}

CWidgetLayoutMgr::CWidgetLayoutMgr() : m_pState(new State) {}

CWidgetLayoutMgr::~CWidgetLayoutMgr()
{
    delete m_pState;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): the signature is callers' contract, and QList is shared.
bool CWidgetLayoutMgr::Init(const QString &xmlPath, QWidget *pContainer, QList<QWidget *> widgets,
                            struSplitTypeData::SplitType initial)
{
    if (pContainer == nullptr) {
        return false;
    }
    if (!m_pState->m_pContainer.isNull()) {
        m_pState->m_pContainer->removeEventFilter(this);
    }
    m_pState->m_pContainer = pContainer;
    m_pState->m_listWidget.clear();
    m_pState->m_listWidget.reserve(static_cast<std::size_t>(widgets.size()));
    for (QWidget *pWidget : widgets) {
        m_pState->m_listWidget.emplace_back(pWidget);
    }
    m_pState->m_vecGrid = loadGrids(xmlPath);
    pContainer->installEventFilter(this);
    return ReDisplay(initial);
}

bool CWidgetLayoutMgr::ReDisplay(struSplitTypeData::SplitType type)
{
    if (m_pState->grid(type) == nullptr) {
        return false;
    }
    m_pState->m_nType = type;
    m_pState->m_pMaximized.clear();
    m_pState->layOut();
    return true;
}

void CWidgetLayoutMgr::ShowMaximized(QWidget *pWidget)
{
    const std::vector<QPointer<QWidget>> &widgets = m_pState->m_listWidget;
    if (pWidget != nullptr && std::find(widgets.begin(), widgets.end(), pWidget) != widgets.end()) {
        m_pState->m_pMaximized = pWidget;
        m_pState->layOut();
    }
}

void CWidgetLayoutMgr::ShowNormal()
{
    m_pState->m_pMaximized.clear();
    m_pState->layOut();
}

bool CWidgetLayoutMgr::eventFilter(QObject *pWatched, QEvent *pEvent)
{
    if (pWatched == m_pState->m_pContainer && pEvent->type() == QEvent::Resize) {
        try {
            m_pState->layOut();
        } catch (...) {
            Base::logException("CWidgetLayoutMgr", "CWidgetLayoutMgr::eventFilter");
        }
    }
    return QObject::eventFilter(pWatched, pEvent);
}

} // namespace ZentixGUIToolkit
