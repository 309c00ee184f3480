#include "tests/soak/World.h"

#include "Selvikdcm.h"
#include "interface/Pellora.h"
#include "tests/soak/Failure.h"
#include "tests/soak/Operations.h"
#include "tests/support/HostWindow.h"

#include <QApplication>

#include <algorithm>

namespace soak
{

namespace
{

constexpr const wchar_t *kHostClass = L"PelloraSoakHost";
constexpr int kDeepest = 3;

World *g_pWorld = nullptr;

bool isClass(const QWidget *pWidget, const char *name)
{
    return std::string(pWidget->metaObject()->className()) == name;
}

} // namespace

World &world()
{
    return *g_pWorld;
}

World::World()
{
    g_pWorld = this;
    m_logins.fill(-1);
    WNDCLASSEXW description = {};
    description.cbSize = sizeof(description);
    description.lpfnWndProc = &World::hostProcedure;
    description.hInstance = GetModuleHandleW(nullptr);
    description.hbrBackground = static_cast<HBRUSH>(GetStockObject(WHITE_BRUSH));
    description.lpszClassName = kHostClass;
    RegisterClassExW(&description);
    PELLORA_Init();
    startLog();
}

World::~World()
{
    stopLog();
    PELLORA_Fini();
    g_pWorld = nullptr;
}

void World::startLog()
{
    // Read here, instead of written into the installation's file.
    support::stopLogger();
    support::startLogger();
    m_pLog = std::make_unique<support::LogCapture>();
}

void World::stopLog()
{
    m_pLog.reset();
}

void World::apply(const Step &step)
{
    if (m_nDepth >= kDeepest) {
        return;
    }
    ++m_nDepth;
    ++m_nApplied;
    const std::string before = m_doing;
    m_doing = m_nDepth > 1 ? before + ", inside it " + textOf(step)
                           : "step " + std::to_string(step.nNumber) + ", " + textOf(step);
    setDoing(m_doing);
    operations()[step.nOperation].apply(*this, step.arguments);
    if (m_nDepth == 1) {
        lookAround();
    }
    lookAtLog();
    if (m_nDepth > 1) {
        m_doing = before;
        setDoing(m_doing);
    }
    --m_nDepth;
}

/** What a person would see: as many panes as the grid has. */
void World::lookAround()
{
    for (std::size_t i = 0; i < m_windows.size(); ++i) {
        WindowModel &model = m_windows.at(i);
        if (!model.isAlive() || !model.split || m_panes.at(i).size() != kPanes) {
            // Also where windows were made inside the making of another one: whose panes are whose is not known.
            continue;
        }
        const long nShown =
            static_cast<long>(std::count_if(m_panes.at(i).begin(), m_panes.at(i).end(),
                                            [](QWidget *pPane) { return pPane != nullptr && !pPane->isHidden(); }));
        if (nShown != *model.split) {
            fail(Outcome::WrongAnswer, "window " + std::to_string(i) + " shows " + std::to_string(nShown) +
                                           " panes, not " + std::to_string(*model.split));
        }
    }
}

/** No call of a host's may make the library throw, caught or not. */
void World::lookAtLog()
{
    if (!m_pLog) {
        return;
    }
    for (const support::LogLine &line : m_pLog->lines()) {
        if (line.level == "ERROR" && line.message.rfind("exception: ", 0) == 0) {
            fail(Outcome::Exception, line.message + " in " + line.function);
        }
    }
    m_pLog->clear();
}

World::Host &World::host(long long nHost)
{
    return m_hosts.at(static_cast<std::size_t>(nHost) % kHosts);
}

void World::makeHost(long long nHost)
{
    Host &made = host(nHost);
    if (made.hWnd != nullptr) {
        return;
    }
    made = {};
    // Neither framed nor active: without a window manager Wine 8 waits two seconds for each managed window that goes.
    made.hWnd = CreateWindowExW(0, kHostClass, L"host", WS_POPUP, 20 + 40 * static_cast<int>(nHost), 20, 480, 360,
                                nullptr, nullptr, GetModuleHandleW(nullptr), nullptr);
    ShowWindow(made.hWnd, SW_SHOWNOACTIVATE);
}

void World::destroyHost(long long nHost)
{
    Host &gone = host(nHost);
    if (gone.hWnd == nullptr || gone.bGoing) {
        return;
    }
    gone.bGoing = true;
    for (WindowModel &model : m_windows) {
        if (model.isAlive() && model.nHost == nHost % static_cast<long long>(kHosts)) {
            model.bDead = true;
        }
    }
    DestroyWindow(gone.hWnd);
    gone = {};
}

LRESULT CALLBACK World::hostProcedure(HWND hWnd, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (g_pWorld != nullptr) {
        for (Host &host : g_pWorld->m_hosts) {
            if (host.hWnd == hWnd) {
                g_pWorld->onHostMessage(host, message);
                break;
            }
        }
    }
    return DefWindowProcW(hWnd, message, wParam, lParam);
}

void World::onHostMessage(Host &host, UINT message)
{
    const auto found = host.later.find(message);
    if (found != host.later.end()) {
        const std::uint64_t seed = found->second;
        host.later.erase(found);
        apply(stepOf(seed));
    }
}

WindowModel &World::window(long lHandle)
{
    return m_windows.at(static_cast<std::size_t>(lHandle));
}

std::optional<long long> World::onWindow(long lHandle, std::optional<long long> answer) const
{
    if (!isHandle(lHandle) || !m_windows.at(static_cast<std::size_t>(lHandle)).bExists) {
        return 0;
    }
    const WindowModel &model = m_windows.at(static_cast<std::size_t>(lHandle));
    if (!model.bDead) {
        return answer;
    }
    return isGoing(model) ? std::nullopt : std::optional<long long>(0);
}

std::optional<long long> World::onPane(long lHandle, long nPane, std::optional<long long> answer) const
{
    return onWindow(lHandle, nPane < -1 || nPane >= kPanes ? 0 : answer);
}

PaneModel *World::pane(long lHandle, long nPane)
{
    return isHandle(lHandle) && window(lHandle).isAlive() ? window(lHandle).pane(nPane) : nullptr;
}

void World::forgetPane(long lHandle, long nPane, bool bLive)
{
    if (!isHandle(lHandle)) {
        return;
    }
    const PaneModel *const pOne = window(lHandle).pane(nPane);
    for (PaneModel &each : window(lHandle).panes) {
        // The current one may be any.
        if (&each == pOne || (pOne == nullptr && nPane == -1)) {
            each.forget();
            each.bLive = each.bLive || bLive;
        }
    }
}

void World::welcome(long lHandle, long nHost)
{
    std::vector<QPointer<QWidget>> panes;
    for (QWidget *pWidget : QApplication::topLevelWidgets()) {
        const bool bKnown = std::find(m_known.begin(), m_known.end(), pWidget) != m_known.end();
        if (bKnown || !isClass(pWidget, "pellora::VideoWindow")) {
            continue;
        }
        m_known.emplace_back(pWidget);
        for (QWidget *pChild : pWidget->findChildren<QWidget *>()) {
            if (isClass(pChild, "pellora::VideoWnd")) {
                panes.emplace_back(pChild);
            }
        }
    }
    m_known.erase(std::remove_if(m_known.begin(), m_known.end(),
                                 [](const QPointer<QWidget> &pWidget) { return pWidget.isNull(); }),
                  m_known.end());
    if (isHandle(lHandle)) {
        window(lHandle) = {};
        window(lHandle).bExists = true;
        window(lHandle).nHost = nHost;
        m_panes.at(static_cast<std::size_t>(lHandle)) = panes;
    }
}

std::optional<long long> World::nextHandle() const
{
    const auto at = [this](auto found) { return found != m_windows.end() ? found - m_windows.begin() : -1LL; };
    const auto free =
        std::find_if(m_windows.begin(), m_windows.end(), [](const WindowModel &model) { return !model.bExists; });
    if (free != m_windows.end()) {
        return at(free);
    }
    if (std::any_of(m_windows.begin(), m_windows.end(), [this](const WindowModel &model) { return isGoing(model); })) {
        return std::nullopt;
    }
    return at(std::find_if(m_windows.begin(), m_windows.end(), [](const WindowModel &model) { return model.bDead; }));
}

bool World::isGoing(const WindowModel &model) const
{
    return model.bDead && m_hosts.at(static_cast<std::size_t>(model.nHost) % kHosts).bGoing;
}

QWidget *World::paneWidget(long lHandle, std::size_t nPane) const
{
    if (!isHandle(lHandle) || m_panes.at(static_cast<std::size_t>(lHandle)).size() <= nPane) {
        return nullptr;
    }
    return m_panes.at(static_cast<std::size_t>(lHandle))[nPane];
}

void World::arm(Inside inside, std::uint64_t seed)
{
    constexpr std::size_t kMost = 4;
    auto &armed = m_armed.at(static_cast<std::size_t>(inside));
    if (armed.size() < kMost) {
        armed.push_back(seed);
    }
}

void World::called(Inside inside)
{
    auto &armed = m_armed.at(static_cast<std::size_t>(inside));
    if (!armed.empty()) {
        const std::uint64_t seed = armed.front();
        armed.pop_front();
        apply(stepOf(seed));
    }
}

void World::clean()
{
    for (auto &armed : m_armed) {
        armed.clear();
    }
    for (Host &each : m_hosts) {
        each.later.clear();
    }
    for (long lHandle = 0; lHandle < kWindows; ++lHandle) {
        PELLORA_DestroyWindow(lHandle);
        window(lHandle) = {};
    }
    for (std::size_t i = 0; i < kHosts; ++i) {
        destroyHost(static_cast<long long>(i));
    }
    for (long &lUserID : m_logins) {
        SELVIK_DCM_Logout(lUserID);
        lUserID = -1;
    }
    support::pumpPosted();
    lookAtLog();
}

bool Call::expect(long long nAnswer, std::optional<long long> expected, const char *what) const
{
    if (!wasAlone()) {
        for (WindowModel &model : m_world.m_windows) {
            model.forget();
        }
        return false;
    }
    if (expected && nAnswer != *expected) {
        fail(Outcome::WrongAnswer,
             std::string(what) + " is " + std::to_string(nAnswer) + ", not " + std::to_string(*expected));
    }
    return true;
}

} // namespace soak
