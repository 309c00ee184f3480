// A host that loads the library by name and lets it go again. Each test runs in a process of its own, since nothing
// that has stayed there ever goes.

#include <gtest/gtest.h>

#include <windows.h>

#include <cstdlib>

namespace
{

using NoArguments = int (*)(void);
using WithHandle = int (*)(long);
using WithWindow = long (*)(HWND);

template <typename Function>
Function function(HMODULE hModule, const char *name)
{
    return reinterpret_cast<Function>(reinterpret_cast<void *>(GetProcAddress(hModule, name)));
}

HMODULE load()
{
    const HMODULE hModule = LoadLibraryW(L"Pellora.dll");
    if (hModule == nullptr) {
        std::exit(2);
    }
    return hModule;
}

/** Ends the process: 0 when the library is still in it, or gone, as expected. */
[[noreturn]] void endWith(bool bExpected)
{
    std::exit(bExpected ? 0 : 1);
}

void letGo(HMODULE hModule)
{
    for (int i = 0; i < 3; ++i) {
        FreeLibrary(hModule);
    }
}

HWND makeHost()
{
    return CreateWindowExW(0, L"Static", L"host", WS_POPUP, 0, 0, 100, 100, nullptr, nullptr, nullptr, nullptr);
}

void unloadBeforeTheStart()
{
    FreeLibrary(load());
    endWith(GetModuleHandleW(L"Pellora.dll") == nullptr);
}

void unloadAfterTheStart()
{
    const HMODULE hModule = load();
    bool bExpected = function<NoArguments>(hModule, "PELLORA_Init")() == 1;
    bExpected = function<NoArguments>(hModule, "PELLORA_Fini")() == 1 && bExpected;
    letGo(hModule);
    const auto destroyWindow = function<WithHandle>(hModule, "PELLORA_DestroyWindow");
    endWith(bExpected && GetModuleHandleW(L"Pellora.dll") == hModule && destroyWindow(3) == 1 && destroyWindow(9) == 0);
}

/** Without a start: the host's messages go through the library all the same. */
void unloadAfterSubclassing()
{
    const HMODULE hModule = load();
    const HWND hHost = makeHost();
    const bool bMade = function<WithWindow>(hModule, "PELLORA_CreateWindow2")(hHost) == 1;
    letGo(hModule);
    if (!bMade || GetModuleHandleW(L"Pellora.dll") != hModule) {
        endWith(false);
    }
    SendMessageW(hHost, WM_SETTEXT, 0, reinterpret_cast<LPARAM>(L"passed on"));
    endWith(GetWindowTextLengthW(hHost) == 9);
}

/** The base library by itself, as other programs use it: its functions are C++'s, and are called by their names. */
void unloadTheBaseLibraryAfterWatching()
{
    const HMODULE hModule = LoadLibraryW(L"Corvane.dll");
    if (hModule == nullptr) {
        std::exit(2);
    }
    const auto manager = function<void *(*)()>(hModule, "_ZN7corvane10CorvaneMgr11getInstanceEv");
    const auto init = function<bool (*)(void *)>(hModule, "_ZN7corvane10CorvaneMgr4initEv");
    const auto makeWidget = function<void (*)(void *, HWND, void *, int)>(
        hModule, "_ZN10QWinWidgetC1EP6HWND__P7QObject6QFlagsIN2Qt10WindowTypeEE");
    if (!init(manager())) {
        std::exit(3);
    }
    const HWND hHost = makeHost();
    alignas(16) static unsigned char s_widget[1024];
    makeWidget(s_widget, hHost, nullptr, 0);
    letGo(hModule);
    if (GetModuleHandleW(L"Corvane.dll") != hModule) {
        endWith(false);
    }
    // The hook sees it.
    DestroyWindow(hHost);
    endWith(IsWindow(hHost) == FALSE);
}

TEST(UnloadTest, GoesAtTheHostsWishBeforeItWasStarted)
{
    EXPECT_EXIT(unloadBeforeTheStart(), testing::ExitedWithCode(0), "");
}

TEST(UnloadTest, StaysInTheProcessOnceItWasStarted)
{
    EXPECT_EXIT(unloadAfterTheStart(), testing::ExitedWithCode(0), "");
}

TEST(UnloadTest, StaysInTheProcessOnceAHostsMessagesGoThroughIt)
{
    EXPECT_EXIT(unloadAfterSubclassing(), testing::ExitedWithCode(0), "");
}

TEST(UnloadTest, KeepsTheBaseLibraryInTheProcessOnceItWatchesAHost)
{
    EXPECT_EXIT(unloadTheBaseLibraryAfterWatching(), testing::ExitedWithCode(0), "");
}

} // namespace
