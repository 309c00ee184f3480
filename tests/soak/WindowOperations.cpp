#include "interface/Pellora.h"
#include "tests/soak/Generators.h"
#include "tests/soak/OperationLists.h"
#include "tests/soak/World.h"
#include "tests/support/HostWindow.h"

#include <QCoreApplication>
#include <QScopedValueRollback>
#include <QWidget>

#include <array>

namespace soak
{

namespace
{

void createWindow(World &world, const Arguments &arguments)
{
    const bool bNone = arguments[0] >= static_cast<long long>(kHosts);
    const HWND hHost = bNone ? nullptr : world.host(arguments[0]).hWnd;
    const bool bGoing = !bNone && world.host(arguments[0]).bGoing;
    std::optional<long long> expected =
        hHost != nullptr && !world.m_bMaking ? world.nextHandle() : std::optional<long long>(-1);
    if (bGoing) {
        expected.reset();
    }
    const Call call(world);
    const QScopedValueRollback<bool> making(world.m_bMaking, world.m_bMaking || hHost != nullptr);
    const long lHandle = PELLORA_CreateWindow(hHost, static_cast<unsigned char>(arguments[1]));
    call.expect(lHandle, expected);
    world.welcome(lHandle, static_cast<long>(arguments[0]));
    if (!call.wasAlone() && World::isHandle(lHandle)) {
        world.window(lHandle).forget();
    }
    if (World::isHandle(lHandle)) {
        // The host may have been destroyed from inside.
        world.window(lHandle).bDead = bGoing || world.host(arguments[0]).hWnd != hHost;
    }
}

void createWindow2(World &world, const Arguments &arguments)
{
    const Call call(world);
    const HWND hHost = arguments[0] < static_cast<long long>(kHosts) ? world.host(arguments[0]).hWnd : nullptr;
    call.expect(PELLORA_CreateWindow2(hHost), 1);
}

void destroyWindow(World &world, const Arguments &arguments)
{
    const auto lHandle = static_cast<long>(arguments[0]);
    // Before the call: the number is free at once, also for what is done inside it.
    if (World::isHandle(lHandle)) {
        world.window(lHandle) = {};
    }
    const Call call(world);
    const int nAnswer = PELLORA_DestroyWindow(lHandle);
    call.expect(nAnswer, World::isHandle(lHandle) ? 1 : 0);
}

void setVisible(World &world, const Arguments &arguments)
{
    const auto lHandle = static_cast<long>(arguments[0]);
    const auto expected = world.onWindow(lHandle, 1);
    const Call call(world);
    call.expect(PELLORA_SetVisible(lHandle, static_cast<unsigned short>(arguments[1])), expected);
}

void setGeometry(World &world, const Arguments &arguments)
{
    const auto lHandle = static_cast<long>(arguments[0]);
    const auto expected = world.onWindow(lHandle, 1);
    const Call call(world);
    call.expect(PELLORA_SetGeometry(lHandle, static_cast<int>(arguments[1]), static_cast<int>(arguments[2]),
                                    static_cast<int>(arguments[3]), static_cast<int>(arguments[4])),
                expected);
}

void setClipArea(World &world, const Arguments &arguments)
{
    const auto lHandle = static_cast<long>(arguments[0]);
    tagPELLORA_CLIP_AREA area{};
    area.wNum = static_cast<unsigned short>(arguments[1]);
    for (int i = 0; i < 4; ++i) {
        const auto offset = static_cast<long>(arguments[2] + 50LL * i);
        area.struRect[i] = {offset, offset, offset + 40, offset + 30};
        area.wRadius[i] = static_cast<unsigned short>(5 * i);
    }
    const bool bNull = arguments[1] == 5;
    const auto expected = world.onWindow(lHandle, bNull ? 0 : 1);
    const Call call(world);
    call.expect(PELLORA_SetClipArea(lHandle, bNull ? nullptr : &area), expected);
}

void splitScreen(World &world, const Arguments &arguments)
{
    const auto lHandle = static_cast<long>(arguments[0]);
    const bool bGrid = arguments[1] == 1 || arguments[1] == 4 || arguments[1] == 9;
    const auto expected = world.onWindow(lHandle, bGrid ? 1 : 0);
    const Call call(world);
    const int nAnswer = PELLORA_SplitScreen(lHandle, static_cast<unsigned short>(arguments[1]));
    if (call.expect(nAnswer, expected) && bGrid && expected == 1) {
        world.window(lHandle).split = static_cast<long>(arguments[1]);
    }
}

void fullScreen(World &world, const Arguments &arguments)
{
    const auto lHandle = static_cast<long>(arguments[0]);
    const auto expected = world.onWindow(lHandle, 1);
    const Call call(world);
    call.expect(arguments[1] != 0 ? PELLORA_FullScreen(lHandle) : PELLORA_NormalScreen(lHandle), expected);
}

void setCurWnd(World &world, const Arguments &arguments)
{
    const auto lHandle = static_cast<long>(arguments[0]);
    const auto nPane = static_cast<long>(arguments[1]);
    const bool bPane = nPane >= 0 && nPane < kPanes;
    const auto expected = world.onWindow(lHandle, bPane ? 1 : 0);
    const Call call(world);
    const int nAnswer = PELLORA_SetCurWnd(lHandle, nPane);
    if (call.expect(nAnswer, expected) && bPane && expected == 1) {
        world.window(lHandle).current = nPane;
    }
}

/** A person's hand on a pane that is seen: presses, drags, releases, double clicks. */
void mouse(World &world, const Arguments &arguments)
{
    const auto lHandle = static_cast<long>(arguments[0]);
    const QWidget *const pPane = world.paneWidget(lHandle, static_cast<std::size_t>(arguments[1]));
    const QWidget *const pPicture = pPane != nullptr ? pPane->findChild<QWidget *>("m_pLiveViewWnd") : nullptr;
    if (pPicture == nullptr || !pPicture->isVisible() || !world.window(lHandle).isAlive()) {
        return;
    }
    // Who is clicked is the current one, and a double click is a matter of the system's clock.
    world.window(lHandle).current.reset();
    world.window(lHandle).split.reset();
    const HWND hWnd = reinterpret_cast<HWND>(pPicture->internalWinId());
    const int nX = static_cast<int>(arguments[2]) % (pPicture->width() + 1);
    const int nY = static_cast<int>(arguments[3]) % (pPicture->height() + 1);
    const auto at = [](int x, int y) { return MAKELPARAM(x, y); };
    const bool bRight = arguments[4] == 3;
    PostMessageW(hWnd, WM_MOUSEMOVE, 0, at(nX, nY));
    PostMessageW(hWnd, bRight ? WM_RBUTTONDOWN : WM_LBUTTONDOWN, bRight ? MK_RBUTTON : MK_LBUTTON, at(nX, nY));
    if (arguments[4] == 1) {
        PostMessageW(hWnd, WM_MOUSEMOVE, MK_LBUTTON, at(nX + 20, nY + 10));
        PostMessageW(hWnd, WM_MOUSEMOVE, MK_LBUTTON, at(nX + 30, nY + 15));
    }
    PostMessageW(hWnd, bRight ? WM_RBUTTONUP : WM_LBUTTONUP, 0, at(nX, nY));
    if (arguments[4] == 2) {
        PostMessageW(hWnd, WM_LBUTTONDBLCLK, MK_LBUTTON, at(nX, nY));
        PostMessageW(hWnd, WM_LBUTTONUP, 0, at(nX, nY));
    }
    support::pumpPosted();
    // What Qt has queued of it must not come later, when the grid is known again.
    QCoreApplication::processEvents();
    // A callback of the first click may have split the window before the second one.
    world.window(lHandle).current.reset();
    world.window(lHandle).split.reset();
}

} // namespace

std::vector<Operation> windowOperations()
{
    const auto place = [](Random &random) { return random.oneOf({0, 0, 10, 100, -50}); };
    const auto extent = [](Random &random) { return random.oneOf({320, 320, 400, 640, 101, 1, 0, -5, 3000}); };
    const auto split = [](Random &random) { return random.oneOf({1, 4, 4, 9, 9, 9, 2, 0, 65535}); };
    const auto spot = [](Random &random) { return random.below(300); };
    return {
        {"CreateWindow", 30, &createWindow, {&draw::hostOrNone, &draw::below<4>}},
        {"CreateWindow2", 1, &createWindow2, {&draw::hostOrNone}},
        {"DestroyWindow", 14, &destroyWindow, {&draw::handle}},
        {"SetVisible", 8, &setVisible, {&draw::handle, &draw::below<3>}},
        {"SetGeometry", 15, &setGeometry, {&draw::handle, place, place, extent, extent}},
        {"SetClipArea", 6, &setClipArea, {&draw::handle, &draw::below<6>, spot}},
        {"SplitScreen", 20, &splitScreen, {&draw::handle, split}},
        {"FullScreen", 5, &fullScreen, {&draw::handle, &draw::flag}},
        {"SetCurWnd", 40, &setCurWnd, {&draw::handle, &draw::pane}},
        {"Mouse", 25, &mouse, {&draw::handle, &draw::below<9>, spot, spot, &draw::below<4>}},
    };
}

} // namespace soak
