// A host for Pellora in C++17: files and cameras in one window. All that concerns the library is in Wall.cpp.
#include "hosts/cpp/Wall.h"

#include <shellapi.h>

#include <cstdio>
#include <memory>

namespace
{

constexpr int kStatusHeight = 28;
constexpr UINT_PTR kDescribe = 1;
constexpr UINT_PTR kEnd = 2;

struct Options {
    std::vector<std::string> sources;
    int width = 960;
    int height = 568;
    unsigned seconds = 0;
};

/** One window in the process. */
struct Host {
    HWND status = nullptr;
    std::string message;
    std::unique_ptr<Wall> wall;
};
Host g_host;

void describe()
{
    const std::string text = "  " + g_host.wall->description() + "    " + g_host.message;
    SetWindowTextA(g_host.status, text.c_str());
}

/** For the status bar and, since the next one takes its place there, for standard output. */
void say(const std::string &message)
{
    g_host.message = message;
    std::printf("%s\n", message.c_str());
    std::fflush(stdout);
}

void place(int width, int height)
{
    if (g_host.wall != nullptr && width > 0 && height > kStatusHeight) {
        g_host.wall->place(width, height - kStatusHeight);
        SetWindowPos(g_host.status, nullptr, 0, height - kStatusHeight, width, kStatusHeight, SWP_NOZORDER);
    }
}

LRESULT CALLBACK onMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_SIZE:
        place(LOWORD(lParam), HIWORD(lParam));
        return 0;
    case WM_TIMER:
        if (wParam == kEnd) {
            DestroyWindow(window);
        } else if (g_host.wall != nullptr) {
            describe();
        }
        return 0;
    case WM_DESTROY:
        g_host.wall.reset();
        PostQuitMessage(0);
        return 0;
    default:
        return DefWindowProcW(window, message, wParam, lParam);
    }
}

/** UTF-8 of the command line: --size WxH, --seconds N, files and addresses. */
Options readOptions()
{
    Options options;
    int count = 0;
    wchar_t **words = CommandLineToArgvW(GetCommandLineW(), &count);
    for (int i = 1; i < count; ++i) {
        const std::string word = pellora::utf8(words[i]);
        const std::string value = i + 1 < count ? pellora::utf8(words[i + 1]) : "";
        if (word == "--seconds") {
            options.seconds = static_cast<unsigned>(std::strtoul(value.c_str(), nullptr, 10));
            ++i;
        } else if (word == "--size") {
            std::sscanf(value.c_str(), "%dx%d", &options.width, &options.height);
            ++i;
        } else if (options.sources.size() < PELLORA_PANES_PER_WINDOW) {
            options.sources.push_back(word);
        }
    }
    LocalFree(words);
    return options;
}

HWND makeWindow(const Options &options)
{
    WNDCLASSW type{};
    type.lpfnWndProc = onMessage;
    type.hInstance = GetModuleHandleW(nullptr);
    type.hCursor = LoadCursorW(nullptr, reinterpret_cast<const wchar_t *>(IDC_ARROW));
    type.lpszClassName = L"PelloraCppHost";
    RegisterClassW(&type);
    // WS_CLIPCHILDREN: what the host paints must not run over the video.
    constexpr DWORD kStyle = WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN;
    RECT rect{0, 0, options.width, options.height};
    AdjustWindowRect(&rect, kStyle, FALSE);
    HWND window = CreateWindowW(type.lpszClassName, L"Pellora CPP host", kStyle, 0, 0, rect.right - rect.left,
                                rect.bottom - rect.top, nullptr, nullptr, type.hInstance, nullptr);
    g_host.status = CreateWindowW(L"Static", L"", WS_CHILD | WS_VISIBLE | SS_CENTERIMAGE, 0, 0, 0, 0, window, nullptr,
                                  type.hInstance, nullptr);
    return window;
}

/** What is meant for the video is seen on its way there, to windows of the library's: clicks, and keys after a click.
 */
bool takes(HWND window, const MSG &message)
{
    if (g_host.wall == nullptr) {
        return false;
    }
    if (message.message == WM_LBUTTONDOWN && message.hwnd != window && message.hwnd != g_host.status) {
        g_host.wall->onClick();
    }
    if (message.message != WM_KEYDOWN) {
        return false;
    }
    if (message.wParam == 'Q') {
        DestroyWindow(window);
        return true;
    }
    return g_host.wall->onKey(message.wParam);
}

} // namespace

int main()
{
    Options options = readOptions();
    if (options.sources.empty()) {
        std::puts("PelloraCppHost [--size WxH] [--seconds N] SOURCE...    files and addresses of cameras, up to nine");
        return 1;
    }
    HWND window = makeWindow(options);
    g_host.wall = std::make_unique<Wall>(window, std::move(options.sources), say);
    if (!g_host.wall->isOpen()) {
        std::fputs("The video window cannot be made; the log beside the library says why.\n", stderr);
        return 1;
    }
    ShowWindow(window, SW_SHOW);
    RECT client;
    GetClientRect(window, &client);
    place(client.right, client.bottom);
    g_host.wall->start();
    SetTimer(window, kDescribe, 200, nullptr);
    if (options.seconds > 0) {
        SetTimer(window, kEnd, options.seconds * 1000, nullptr);
    }
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        if (!takes(window, message)) {
            TranslateMessage(&message);
            DispatchMessageW(&message);
        }
    }
    return 0;
}
