#include "interface/Pellora.h"
#include "tests/soak/Failure.h"
#include "tests/soak/Generators.h"
#include "tests/soak/OperationLists.h"
#include "tests/soak/World.h"
#include "tests/support/HostWindow.h"

#include <array>
#include <string>
#include <thread>

namespace soak
{

namespace
{

void makeHost(World &world, const Arguments &arguments)
{
    world.makeHost(arguments[0]);
}

void destroyHost(World &world, const Arguments &arguments)
{
    world.destroyHost(arguments[0]);
}

void resizeHost(World &world, const Arguments &arguments)
{
    SetWindowPos(world.host(arguments[0]).hWnd, nullptr, 0, 0, static_cast<int>(arguments[1]),
                 static_cast<int>(arguments[2]), SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
}

void paintHost(World &world, const Arguments &arguments)
{
    const HWND hWnd = world.host(arguments[0]).hWnd;
    if (hWnd != nullptr) {
        RedrawWindow(hWnd, nullptr, nullptr, RDW_INVALIDATE | RDW_UPDATENOW);
    }
}

/** The page's windows come and go: 0 and 1 bring one, 2 takes all. */
void pageOfHost(World &world, const Arguments &arguments)
{
    static const std::array<const wchar_t *, 2> kClasses = {L"Chrome_RenderWidgetHostHWND", L"Intermediate D3D Window"};
    const HWND hHost = world.host(arguments[0]).hWnd;
    if (hHost == nullptr) {
        return;
    }
    const auto nKind = static_cast<std::size_t>(arguments[1]);
    if (nKind < kClasses.size()) {
        WNDCLASSEXW description = {};
        description.cbSize = sizeof(description);
        description.lpfnWndProc = &DefWindowProcW;
        description.hInstance = GetModuleHandleW(nullptr);
        description.lpszClassName = kClasses.at(nKind);
        RegisterClassExW(&description);
        if (FindWindowExW(hHost, nullptr, kClasses.at(nKind), nullptr) == nullptr) {
            CreateWindowExW(0, kClasses.at(nKind), L"", WS_CHILD | WS_VISIBLE, 0, 0, 100, 100, hHost, nullptr,
                            GetModuleHandleW(nullptr), nullptr);
        }
        return;
    }
    for (const wchar_t *pClass : kClasses) {
        DestroyWindow(FindWindowExW(hHost, nullptr, pClass, nullptr));
    }
}

void pump(World & /*world*/, const Arguments &arguments)
{
    static_cast<void>(support::pumpUntil([] { return false; }, static_cast<unsigned>(arguments[0])));
}

void inCallback(World &world, const Arguments &arguments)
{
    world.arm(static_cast<Inside>(arguments[0]), static_cast<std::uint64_t>(arguments[1]));
}

/** The next time that the host's own procedure gets the message it calls into the library. */
void inMessage(World &world, const Arguments &arguments)
{
    static const std::array<UINT, 6> kMessages = {WM_PAINT,        WM_SIZE,          WM_DESTROY,
                                                  WM_PARENTNOTIFY, WM_GETMINMAXINFO, WM_SETFOCUS};
    World::Host &host = world.host(arguments[0]);
    if (host.hWnd != nullptr) {
        host.later[kMessages.at(static_cast<std::size_t>(arguments[1]))] = static_cast<std::uint64_t>(arguments[2]);
    }
}

void initAgain(World &world, const Arguments &arguments)
{
    const Call call(world);
    world.stopLog();
    if (arguments[0] != 0) {
        call.expect(PELLORA_Fini(), 1);
    }
    call.expect(PELLORA_Init(), 1);
    world.startLog();
}

/** Calls from a thread that is not the windows': refused, whatever they are. */
void onOtherThread(World &world, const Arguments &arguments)
{
    const Call call(world);
    const long lHandle = static_cast<long>(arguments[0]);
    const HWND hHost = world.host(0).hWnd;
    long long nAnswer = 0;
    std::thread([&] {
        switch (arguments[1]) {
        case 0:
            nAnswer = PELLORA_CreateWindow(hHost, 2) + 1LL;
            break;
        case 1:
            nAnswer = lHandle != 0 ? PELLORA_DestroyWindow(lHandle) : PELLORA_Fini();
            break;
        case 2:
            nAnswer = PELLORA_Play(lHandle);
            break;
        case 3:
            nAnswer = PELLORA_CreateRule(lHandle, 3, 0, 0, 0, nullptr, 0, 0);
            break;
        default:
            nAnswer = PELLORA_StopAllPreviewStream_Async(lHandle);
        }
    }).join();
    call.expect(nAnswer, 0);
}

} // namespace

std::vector<Operation> hostOperations()
{
    const auto extent = [](Random &random) { return random.oneOf({480, 480, 640, 960, 333, 100, 1, 0}); };
    const auto span = [](Random &random) { return random.oneOf({0, 0, 1, 5, 20, 40, 80}); };
    return {
        {"MakeHost", 30, &makeHost, {&draw::host}},
        {"DestroyHost", 6, &destroyHost, {&draw::host}},
        {"ResizeHost", 8, &resizeHost, {&draw::host, extent, extent}},
        {"PaintHost", 12, &paintHost, {&draw::host}},
        {"PageOfHost", 6, &pageOfHost, {&draw::host, &draw::below<3>}},
        {"Pump", 90, &pump, {span}},
        {"InCallback", 40, &inCallback, {&draw::below<3>, &draw::seed}, true},
        {"InMessage", 15, &inMessage, {&draw::host, &draw::below<6>, &draw::seed}, true},
        {"InitAgain", 2, &initAgain, {&draw::flag}},
        {"OnOtherThread", 4, &onOtherThread, {&draw::handle, &draw::below<5>}},
    };
}

} // namespace soak
