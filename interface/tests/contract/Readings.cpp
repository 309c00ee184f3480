#include "interface/tests/contract/Readings.h"

#include "VideoWindow/tests/RuleReports.h"
#include "gdi/MemoryDib.h"
#include "interface/tests/PelloraFixture.h"

#include <QApplication>
#include <QMouseEvent>
#include <QScreen>

#include <algorithm>
#include <optional>

namespace contract
{

namespace
{

std::optional<tagPELLORA_PREVIEW_STATUS> g_status;
std::optional<long> g_ended;

void press(QWidget *pWidget, const QPointF &at)
{
    QMouseEvent event(QEvent::MouseButtonPress, at, Qt::LeftButton, Qt::LeftButton, Qt::NoModifier);
    QApplication::sendEvent(pWidget, &event);
}

QWidget *paneOf(const Scene &scene, long lPane)
{
    return scene.panes.at(static_cast<std::size_t>(lPane));
}

std::string pointsOf(const Scene &scene, long lPane, long lRuleID)
{
    tagPELLORA_RULE_LINE line = {};
    return PELLORA_GetRuleCoord(scene.lHandle, lRuleID, &line, lPane) == 1
               ? rulereports::spellRecord(PELLORA_RULE_LINE, &line)
               : "none";
}

/** Whether something is drawn around a pixel. */
bool inkedAt(const gdi::MemoryDib &surface, long x, long y)
{
    for (long nRow = y - 1; nRow <= y + 1; ++nRow) {
        const std::uint32_t *pRow = surface.row(static_cast<int>(nRow));
        if (std::any_of(pRow + x - 1, pRow + x + 2, [](std::uint32_t nPixel) { return nPixel != 0; })) {
            return true;
        }
    }
    return false;
}

} // namespace

std::string windows(const Scene &scene, long /*lPane*/)
{
    support::pumpPosted();
    const std::vector<QWidget *> all = videoWindows();
    const bool bSpare = std::any_of(all.begin(), all.end(), [&scene](const QWidget *pWindow) {
        return GetParent(nativeWindow(pWindow)) == scene.hSpareHost;
    });
    return std::to_string(all.size()) + (bSpare ? ", one in the spare host" : "");
}

std::string missingChild(const Scene &scene, long /*lPane*/)
{
    const support::LogCapture log;
    SendMessageW(scene.hSpareHost, WM_PAINT, 0, 0);
    const std::string message = log.first().message;
    return message.substr(0, message.find(','));
}

std::string testChild(const Scene &scene, long /*lPane*/)
{
    const HWND hChild = FindWindowExW(scene.hSpareHost, nullptr, L"ChildWindowClass", nullptr);
    if (hChild == nullptr) {
        return "none";
    }
    RECT place = {};
    GetWindowRect(hChild, &place);
    MapWindowPoints(nullptr, scene.hSpareHost, reinterpret_cast<POINT *>(&place), 2);
    return std::to_string(place.left) + "," + std::to_string(place.top) + " to " + std::to_string(place.right) + "," +
           std::to_string(place.bottom);
}

std::string visibility(const Scene &scene, long /*lPane*/)
{
    return scene.pWindow->isVisible() ? "shown" : "hidden";
}

std::string geometry(const Scene &scene, long /*lPane*/)
{
    const QRect place = scene.pWindow->geometry();
    return std::to_string(place.x()) + "," + std::to_string(place.y()) + " " + std::to_string(place.width()) + " x " +
           std::to_string(place.height());
}

std::string holes(const Scene &scene, long /*lPane*/)
{
    const HRGN hRegion = CreateRectRgn(0, 0, 0, 0);
    std::string text;
    if (GetWindowRgn(nativeWindow(scene.pWindow), hRegion) == ERROR) {
        text = "no region";
    } else {
        const POINT points[] = {{0, 0}, {639, 479}, {10, 10}, {40, 40}, {100, 100}, {150, 150}, {300, 300}};
        for (const POINT point : points) {
            if (PtInRegion(hRegion, point.x, point.y) == 0) {
                text += (text.empty() ? "" : " ") + std::to_string(point.x) + "," + std::to_string(point.y);
            }
        }
    }
    DeleteObject(hRegion);
    return text;
}

std::string split(const Scene &scene, long /*lPane*/)
{
    return std::to_string(
        std::count_if(scene.panes.begin(), scene.panes.end(), [](const QWidget *pPane) { return pPane->isVisible(); }));
}

std::string extent(const Scene &scene, long /*lPane*/)
{
    support::pumpPosted();
    const QWidget *pArea = childNamed(scene.pWindow, "m_pPlayArea");
    return QRect(pArea->mapToGlobal(QPoint(0, 0)), pArea->size()) == QApplication::primaryScreen()->geometry()
               ? "all of the screen"
               : "in the host";
}

std::string frame(const Scene &scene, long lPane)
{
    const QRect place = paneOf(scene, lPane)->geometry().adjusted(-1, -1, 1, 1);
    return childNamed(scene.pWindow, "m_pSelBodWnd")->geometry() == place ? "framed" : "plain";
}

std::string toldStatus(const Scene &scene, long lPane)
{
    g_status.reset();
    press(paneOf(scene, lPane), {3, 3});
    PELLORA_SetCurWnd(scene.lHandle, kCurrentPane);
    if (!g_status) {
        return "nothing";
    }
    return "user " + std::to_string(g_status->userID) + " channel " + std::to_string(g_status->lChannel) + " playing " +
           std::to_string(g_status->byPlaying) + " of " + std::to_string(g_status->lHandle) + " " +
           std::to_string(g_status->lSubHandel);
}

void noteStatus(tagPELLORA_PREVIEW_STATUS status)
{
    g_status = status;
}

std::string toldFileEnd(const Scene & /*scene*/, long lPane)
{
    g_ended.reset();
    // Without a callback the player calls nobody.
    if (!doubles::fireFileEnd(lPane) || !support::pumpUntil([] { return g_ended.has_value(); })) {
        return "nothing";
    }
    return "end in window " + std::to_string(*g_ended);
}

void noteFileEnd(long lHandle)
{
    g_ended = lHandle;
}

std::string toldRule(const Scene &scene, long lPane)
{
    rulereports::reset();
    PELLORA_OpenDraw(scene.lHandle, lPane);
    const long lRuleID = PELLORA_CreateRule(scene.lHandle, PELLORA_RULE_POINT, 0, 0, 0, nullptr, 0, lPane);
    press(childNamed(paneOf(scene, lPane), "m_pLiveViewWnd"), {5, 5});
    PELLORA_DestroyRule(scene.lHandle, lRuleID, lPane);
    PELLORA_CloseDraw(scene.lHandle, lPane);
    PELLORA_SetCurWnd(scene.lHandle, kCurrentPane);
    const std::vector<std::string> reports = rulereports::take();
    if (reports.empty()) {
        return "nothing";
    }
    const std::size_t nAt = reports.front().find("handle");
    return reports.front().substr(nAt, reports.front().find(" size") - nAt);
}

std::string ruleNumbers(const Scene &scene, long lPane)
{
    std::string text;
    tagPELLORA_RULE_TEXT record = {};
    for (long lRuleID = 0; lRuleID < 4; ++lRuleID) {
        if (PELLORA_GetRuleCoord(scene.lHandle, lRuleID, &record, lPane) == 1) {
            text += (text.empty() ? "" : " ") + std::to_string(lRuleID);
        }
    }
    return text.empty() ? "none" : text;
}

std::string firstRule(const Scene &scene, long lPane)
{
    return pointsOf(scene, lPane, 0);
}

std::string secondRule(const Scene &scene, long lPane)
{
    return pointsOf(scene, lPane, 1);
}

std::string arrows(const Scene &scene, long lPane)
{
    // Across the middle of the pane: then A's arrow lies below the line and B's above it.
    const QSize size = paneOf(scene, lPane)->size();
    tagPELLORA_RULE_LINE line = {{0, 500}, {1000, 500}};
    PELLORA_SetRuleCoord(scene.lHandle, 1, &line, lPane);
    PELLORA_OpenDraw(scene.lHandle, lPane);
    const gdi::MemoryDib surface(nullptr, size.width(), size.height());
    doubles::fireDraw(lPane, surface.get());
    GdiFlush();
    PELLORA_CloseDraw(scene.lHandle, lPane);
    const long lMiddleX = size.width() / 2;
    const long lMiddleY = size.height() / 2;
    const bool bA = inkedAt(surface, lMiddleX - 8, lMiddleY + 10);
    const bool bB = inkedAt(surface, lMiddleX + 8, lMiddleY - 10);
    return bA && bB ? "A and B" : bA ? "A" : bB ? "B" : "none";
}

} // namespace contract
