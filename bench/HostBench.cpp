// What the library's window procedure costs a host: a paint of the host, with the calls that its mode stands for,
// against the same calls made by hand on the same windows and the host's own procedure alone.

#include "bench/Measures.h"
#include "interface/Pellora.h"
#include "tests/support/HostWindow.h"
#include "tests/support/LogCapture.h"

#include <QApplication>
#include <QWidget>

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <functional>
#include <memory>
#include <vector>

namespace
{

using Clock = std::chrono::steady_clock;

constexpr const wchar_t *kRenderWidget = L"Chrome_RenderWidgetHostHWND";
constexpr const wchar_t *kD3dWindow = L"Intermediate D3D Window";

/** The native video windows in the order in which the library goes through them. */
std::vector<HWND> videoWindows()
{
    std::vector<QWidget *> widgets;
    for (QWidget *pWidget : QApplication::topLevelWidgets()) {
        if (std::string(pWidget->metaObject()->className()) == "pellora::VideoWindow") {
            widgets.push_back(pWidget);
        }
    }
    std::sort(widgets.begin(), widgets.end(), std::less<>());
    std::vector<HWND> windows;
    windows.reserve(widgets.size());
    for (const QWidget *pWidget : widgets) {
        windows.push_back(reinterpret_cast<HWND>(pWidget->winId()));
    }
    return windows;
}

/** What each mode stands for, made by hand. */
void stackByHand(HWND hHostWnd, int nMode, const std::vector<HWND> &videos)
{
    HWND hPage = nullptr;
    if (nMode == PELLORA_EMBED_RENDER_WIDGET) {
        hPage = FindWindowExW(hHostWnd, nullptr, kRenderWidget, nullptr);
        SetWindowLongW(hPage, GWL_EXSTYLE, WS_EX_LAYERED | WS_EX_TRANSPARENT);
        SetLayeredWindowAttributes(hPage, 0, 1, LWA_ALPHA);
    } else if (nMode == PELLORA_EMBED_D3D_WINDOW) {
        hPage = FindWindowExW(hHostWnd, nullptr, kD3dWindow, nullptr);
    } else {
        return;
    }
    for (const HWND hVideo : videos) {
        RECT rect = {};
        GetWindowRect(hVideo, &rect);
        if (nMode == PELLORA_EMBED_RENDER_WIDGET) {
            SetWindowPos(hPage, hVideo, 0, 0, rect.right - rect.left, rect.bottom - rect.top, SWP_SHOWWINDOW);
        } else {
            SetWindowPos(hVideo, hPage, 0, 0, rect.right - rect.left, rect.bottom - rect.top,
                         SWP_NOSIZE | SWP_NOMOVE | SWP_SHOWWINDOW);
        }
    }
}

/** A host with a page of each kind, whose own procedure paints at once. */
class Host
{
public:
    Host()
    {
        s_pOwn = reinterpret_cast<WNDPROC>(
            SetWindowLongPtrW(m_window.handle(), GWLP_WNDPROC, reinterpret_cast<LONG_PTR>(&Host::own)));
        m_window.addChild(kRenderWidget, 0, 0, 200, 200);
        m_window.addChild(kD3dWindow, 0, 0, 200, 200);
    }
    void fill(int nMode, int nWindows)
    {
        for (int i = 0; i < nWindows; ++i) {
            const long lHandle = PELLORA_CreateWindow(m_window.handle(), static_cast<unsigned char>(nMode));
            PELLORA_SetGeometry(lHandle, 0, 0, 300, 200);
        }
        support::pumpPosted();
        m_nMode = nMode;
        m_videos = videoWindows();
    }
    void empty()
    {
        for (long lHandle = 0; lHandle < 9; ++lHandle) {
            PELLORA_DestroyWindow(lHandle);
        }
        support::pumpPosted();
    }
    [[nodiscard]] HWND handle() const
    {
        return m_window.handle();
    }
    /** In microseconds. */
    double paintByLibrary() const
    {
        const auto begin = Clock::now();
        SendMessageW(m_window.handle(), WM_PAINT, 0, 0);
        return 1e6 * bench::secondsSince(begin);
    }
    double paintByHand() const
    {
        const auto begin = Clock::now();
        stackByHand(m_window.handle(), m_nMode, m_videos);
        CallWindowProcW(&Host::own, m_window.handle(), WM_PAINT, 0, 0);
        return 1e6 * bench::secondsSince(begin);
    }

private:
    static LRESULT CALLBACK own(HWND hWnd, UINT nMessage, WPARAM wParam, LPARAM lParam)
    {
        if (nMessage == WM_PAINT) {
            PAINTSTRUCT paint = {};
            BeginPaint(hWnd, &paint);
            EndPaint(hWnd, &paint);
            return 0;
        }
        return nMessage == WM_USER ? 1 : CallWindowProcW(s_pOwn, hWnd, nMessage, wParam, lParam);
    }

    inline static WNDPROC s_pOwn = nullptr;
    support::HostWindow m_window;
    int m_nMode = PELLORA_EMBED_PLAIN;
    std::vector<HWND> m_videos;
};

void paint(benchmark::State &state)
{
    Host host;
    host.fill(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    std::vector<double> byLibrary;
    std::vector<double> byHand;
    while (state.KeepRunning()) {
        byLibrary.push_back(host.paintByLibrary());
        byHand.push_back(host.paintByHand());
    }
    host.empty();
    state.counters["library_us"] = bench::median(byLibrary);
    state.counters["by_hand_us"] = bench::median(byHand);
    state.counters["ratio"] = bench::median(byLibrary) / bench::median(byHand);
}

/** A message that is only handed on, against the same host without video windows, and so without any hook. */
void message(benchmark::State &state)
{
    Host host;
    std::vector<double> times[2];
    for (int i = 0; i < 7; ++i) {
        for (const bool bWithVideo : {false, true}) {
            if (bWithVideo) {
                host.fill(PELLORA_EMBED_PLAIN, static_cast<int>(state.range(0)));
            }
            constexpr int kMessages = 2000;
            const auto begin = Clock::now();
            for (int k = 0; k < kMessages; ++k) {
                benchmark::DoNotOptimize(SendMessageW(host.handle(), WM_USER, 1, 2));
            }
            times[bWithVideo].push_back(1e9 * bench::secondsSince(begin) / kMessages);
            host.empty();
        }
    }
    while (state.KeepRunning()) {
        SendMessageW(host.handle(), WM_USER, 1, 2);
    }
    state.counters["library_ns"] = bench::median(times[1]);
    state.counters["alone_ns"] = bench::median(times[0]);
    state.counters["ratio"] = bench::median(times[1]) / bench::median(times[0]);
}

BENCHMARK(paint)->ArgNames({"mode", "windows"})->ArgsProduct({{0, 1, 2}, {1, 9}})->Iterations(300);
BENCHMARK(message)->ArgName("windows")->Arg(1)->Arg(9)->Iterations(1);

} // namespace

int main(int argc, char **argv)
{
    PELLORA_Init();
    support::stopLogger();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    PELLORA_Fini();
    return 0;
}
