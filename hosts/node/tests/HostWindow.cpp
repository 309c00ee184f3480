/**
 * A host's windows for tests in JavaScript: on a thread of their own, as the pages of some shells see them, or on the
 * script's, as in the main process of others.
 */
#include "hosts/node/src/NodeApi.h"

#include "Pellora.h"
#include "tests/support/NoRealMouse.h"

#include <array>
#include <condition_variable>
#include <cstring>
#include <mutex>
#include <string>
#include <thread>
#include <windows.h>

namespace
{

using pellora::node::g_napi;

constexpr UINT kHang = WM_APP + 1;
constexpr UINT kEndThread = WM_APP + 2;
constexpr UINT kDestroy = WM_APP + 3;
constexpr UINT kCreate = WM_APP + 4;
constexpr UINT kHold = WM_APP + 5;
constexpr UINT kRest = WM_APP + 6;
constexpr DWORD kLongestWay = 2000; // ms

HWND makeWindow(int nWidth, int nHeight);

/** What a held thread waits for. */
HANDLE released()
{
    static const HANDLE hReleased = CreateEventW(nullptr, FALSE, FALSE, nullptr);
    return hReleased;
}

/** Set when the hosts' thread has come to rest. */
HANDLE atRest()
{
    static const HANDLE hAtRest = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    return hAtRest;
}

LRESULT CALLBACK procedure(HWND hWnd, UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case kHang:
        // A stuck host: here, the time itself is what is tested.
        Sleep(static_cast<DWORD>(wParam));
        return 0;
    case kHold:
        WaitForSingleObject(released(), INFINITE);
        return 0;
    case kRest:
        SetEvent(atRest());
        Sleep(INFINITE);
        return 0;
    case kDestroy:
        DestroyWindow(hWnd);
        return 0;
    case kCreate:
        return reinterpret_cast<LRESULT>(makeWindow(static_cast<int>(wParam), static_cast<int>(lParam)));
    case kEndThread:
        DestroyWindow(hWnd);
        PostQuitMessage(0);
        return 0;
    default:
        return DefWindowProcW(hWnd, message, wParam, lParam);
    }
}

HWND makeWindow(int nWidth, int nHeight)
{
    WNDCLASSW description{};
    description.lpfnWndProc = &procedure;
    description.hInstance = GetModuleHandleW(nullptr);
    // As the shells' windows are called.
    description.lpszClassName = L"Chrome_WidgetWin_1";
    RegisterClassW(&description);
    const HWND hWnd = CreateWindowExW(0, description.lpszClassName, L"", WS_POPUP | WS_VISIBLE | WS_CLIPCHILDREN, 100,
                                      100, nWidth, nHeight, nullptr, nullptr, description.hInstance, nullptr);
    // All that a mouse does here is made up by the scripts.
    thread_local const support::NoRealMouse s_silence;
    SetWindowTextW(hWnd, (L"Host " + std::to_wstring(reinterpret_cast<UINT_PTR>(hWnd))).c_str());
    return hWnd;
}

void loop()
{
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
}

HWND makeWindowOnAThread(int nWidth, int nHeight)
{
    std::mutex mutex;
    std::condition_variable changed;
    HWND hWnd = nullptr;
    bool bMade = false;
    std::thread([&, nWidth, nHeight] {
        const HWND hMade = makeWindow(nWidth, nHeight);
        {
            const std::lock_guard<std::mutex> lock(mutex);
            hWnd = hMade;
            bMade = true;
            changed.notify_one();
        }
        loop();
    }).detach();
    std::unique_lock<std::mutex> lock(mutex);
    changed.wait(lock, [&] { return bMade; });
    return hWnd;
}

struct Numbers {
    std::array<double, 5> values{};

    Numbers(napi_env env, napi_callback_info info)
    {
        std::array<napi_value, 5> arguments{};
        std::size_t nCount = arguments.size();
        g_napi.napi_get_cb_info(env, info, &nCount, arguments.data(), nullptr, nullptr);
        for (std::size_t i = 0; i < nCount && i < values.size(); ++i) {
            g_napi.napi_get_value_double(env, arguments[i], &values[i]);
        }
    }

    [[nodiscard]] HWND window() const
    {
        return reinterpret_cast<HWND>(static_cast<UINT_PTR>(values[0]));
    }

    [[nodiscard]] int at(std::size_t i) const
    {
        return static_cast<int>(values[i]);
    }
};

napi_value toNumber(napi_env env, double value)
{
    napi_value result = nullptr;
    g_napi.napi_create_double(env, value, &result);
    return result;
}

/** As a shell has it: one thread for all of its windows, made with the first. */
HWND firstHost()
{
    static const HWND hFirst = makeWindowOnAThread(1, 1);
    return hFirst;
}

HWND makeWindowOnTheHostsThread(int nWidth, int nHeight)
{
    return reinterpret_cast<HWND>(
        SendMessageW(firstHost(), kCreate, static_cast<WPARAM>(nWidth), static_cast<LPARAM>(nHeight)));
}

/** create(0 on the script's thread | 1 on the hosts' | 2 on one of its own, width, height) */
napi_value create(napi_env env, napi_callback_info info)
{
    const Numbers numbers(env, info);
    HWND (*const makers[])(int, int) = {&makeWindow, &makeWindowOnTheHostsThread, &makeWindowOnAThread};
    const HWND hWnd = makers[numbers.at(0)](numbers.at(1), numbers.at(2));
    return toNumber(env, static_cast<double>(reinterpret_cast<UINT_PTR>(hWnd)));
}

/**
 * Brings the hosts' thread to rest, for the end of the process. Wine 8 keeps the lock of its windows in the process:
 * where that ends while a thread has it, the end waits for the lock for ever when Qt's libraries unregister their
 * classes. In Windows it is the system's. A thread that hangs is left alone.
 */
napi_value rest(napi_env, napi_callback_info)
{
    if (PostMessageW(firstHost(), kRest, 0, 0) != 0) {
        WaitForSingleObject(atRest(), kLongestWay);
    }
    return nullptr;
}

/** Takes what messages there are, for windows on the script's thread. */
napi_value pump(napi_env, napi_callback_info)
{
    MSG message;
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != 0) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return nullptr;
}

/** Lets a thread go on that is held. */
napi_value release(napi_env, napi_callback_info)
{
    SetEvent(released());
    return nullptr;
}

/** tell(window, 1 hang | 2 end thread | 3 destroy | 5 hold until release(), milliseconds) */
napi_value tell(napi_env env, napi_callback_info info)
{
    const Numbers numbers(env, info);
    PostMessageW(numbers.window(), WM_APP + static_cast<UINT>(numbers.at(1)), static_cast<WPARAM>(numbers.at(2)), 0);
    return nullptr;
}

/** The deepest child at a point, which becomes one of that child's. */
HWND childAt(HWND hWnd, POINT &point)
{
    for (;;) {
        const HWND hChild = ChildWindowFromPointEx(hWnd, point, CWP_SKIPINVISIBLE | CWP_SKIPTRANSPARENT);
        if (hChild == nullptr || hChild == hWnd) {
            return hWnd;
        }
        MapWindowPoints(hWnd, hChild, &point, 1);
        hWnd = hChild;
    }
}

/** click(window, x, y): with the left button, posted as Windows does. */
napi_value click(napi_env env, napi_callback_info info)
{
    const Numbers numbers(env, info);
    POINT point{numbers.at(1), numbers.at(2)};
    const HWND hWnd = childAt(numbers.window(), point);
    PostMessageW(hWnd, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(point.x, point.y));
    PostMessageW(hWnd, WM_LBUTTONUP, 0, MAKELPARAM(point.x, point.y));
    return nullptr;
}

/** jolt(window, x, y): the display's own mouse goes there, which tells the hosts' windows nothing. */
napi_value jolt(napi_env env, napi_callback_info info)
{
    const Numbers numbers(env, info);
    POINT point{numbers.at(1), numbers.at(2)};
    ClientToScreen(numbers.window(), &point);
    SetCursorPos(point.x, point.y);
    return nullptr;
}

/**
 * mouse(window, message, keys, x, y): to the deepest child there, in its coordinates. When it returns, the window has
 * seen it: of messages that wait in its queue it would take the last one alone.
 */
napi_value mouse(napi_env env, napi_callback_info info)
{
    const Numbers numbers(env, info);
    POINT point{numbers.at(3), numbers.at(4)};
    const HWND hWnd = childAt(numbers.window(), point);
    SendMessageW(hWnd, static_cast<UINT>(numbers.at(1)), static_cast<WPARAM>(numbers.at(2)),
                 MAKELPARAM(point.x, point.y));
    return nullptr;
}

/** The colour on the screen at (x, y) of a window, as 0xBBGGRR. */
napi_value pixel(napi_env env, napi_callback_info info)
{
    const Numbers numbers(env, info);
    POINT point{numbers.at(1), numbers.at(2)};
    ClientToScreen(numbers.window(), &point);
    const HDC hScreen = GetDC(nullptr);
    const COLORREF colour = GetPixel(hScreen, point.x, point.y);
    ReleaseDC(nullptr, hScreen);
    return toNumber(env, colour);
}

/** direct(handle, times): what the video's position costs without the add-on. On the script's thread alone. */
napi_value direct(napi_env env, napi_callback_info info)
{
    const Numbers numbers(env, info);
    const FARPROC pfnFound = GetProcAddress(GetModuleHandleW(L"Pellora.dll"), "PELLORA_GetPlayPos");
    decltype(&PELLORA_GetPlayPos) pfnPosition = nullptr;
    std::memcpy(&pfnPosition, &pfnFound, sizeof(pfnFound));
    for (int i = 0; i < numbers.at(1) && pfnPosition != nullptr; ++i) {
        pfnPosition(numbers.at(0));
    }
    return toNumber(env, numbers.at(1));
}

BOOL CALLBACK count(HWND, LPARAM pCount)
{
    ++*reinterpret_cast<int *>(pCount);
    return TRUE;
}

napi_value children(napi_env env, napi_callback_info info)
{
    int nChildren = 0;
    EnumChildWindows(Numbers(env, info).window(), &count, reinterpret_cast<LPARAM>(&nChildren));
    return toNumber(env, nChildren);
}

} // namespace

extern "C" __declspec(dllexport) napi_value napi_register_module_v1(napi_env env, napi_value exports)
{
    if (!pellora::node::findNodeApi()) {
        return nullptr;
    }
    for (const auto &[pName, pfnFunction] :
         std::initializer_list<std::pair<const char *, napi_callback>>{{"create", &create},
                                                                       {"direct", &direct},
                                                                       {"pump", &pump},
                                                                       {"release", &release},
                                                                       {"rest", &rest},
                                                                       {"tell", &tell},
                                                                       {"click", &click},
                                                                       {"mouse", &mouse},
                                                                       {"jolt", &jolt},
                                                                       {"pixel", &pixel},
                                                                       {"children", &children}}) {
        napi_value function = nullptr;
        g_napi.napi_create_function(env, pName, NAPI_AUTO_LENGTH, pfnFunction, nullptr, &function);
        g_napi.napi_set_named_property(env, exports, pName, function);
    }
    return exports;
}
