#include "hosts/demo/host_window.h"

#include "hosts/demo/controls.h"
#include "hosts/demo/wall.h"

#include <stdio.h>

enum { STATUS_HEIGHT = 28, BELOW_VIDEO = CONTROLS_HEIGHT + STATUS_HEIGHT };
enum { TIMER_STATUS = 1, TIMER_END = 2, TIMER_CONTROLS = 3, STATUS_INTERVAL_MS = 200 };

/** One window in the process, so that one state is enough; only its thread touches it. */
static struct {
    Wall wall;
    Controls controls;
    wchar_t message[128]; /**< what the last command did */
    wchar_t status[400];  /**< what the status bar shows now */
    int exitCode;
} state;

static RECT status_rect(HWND window)
{
    RECT rect;
    GetClientRect(window, &rect);
    rect.top = rect.bottom - STATUS_HEIGHT;
    return rect;
}

/** Asks the library about the selected pane, and repaints only what has changed. */
static void update_status(HWND window)
{
    wchar_t description[260];
    wchar_t status[400];
    cameras_tell_errors(&state.wall.cameras);
    controls_update(&state.controls);
    playback_describe(&state.wall, &state.controls.view.playback, description, 260);
    swprintf(status, 400, L"%ls    %ls", description, state.message);
    if (wcscmp(status, state.status) != 0) {
        wcscpy(state.status, status);
        const RECT rect = status_rect(window);
        InvalidateRect(window, &rect, FALSE);
    }
}

static void paint(HWND window)
{
    PAINTSTRUCT paint;
    const HDC dc = BeginPaint(window, &paint);
    RECT rect = status_rect(window);
    FillRect(dc, &rect, GetStockObject(DKGRAY_BRUSH));
    SetBkMode(dc, TRANSPARENT);
    SetTextColor(dc, RGB(230, 230, 230));
    const HGDIOBJ font = SelectObject(dc, GetStockObject(DEFAULT_GUI_FONT));
    rect.left += 10;
    DrawTextW(dc, state.status, -1, &rect, DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX);
    SelectObject(dc, font);
    controls_paint(&state.controls, dc);
    EndPaint(window, &paint);
}

/** The video above, the controls and the status bar below it. */
static void place_all(HWND window, int width, int height)
{
    wall_place(&state.wall, 0, 0, width, height - BELOW_VIDEO);
    const RECT strip = {0, height - BELOW_VIDEO, width, height - STATUS_HEIGHT};
    controls_place(&state.controls, strip);
    InvalidateRect(window, NULL, FALSE);
}

/** The time that was given is over. */
static void end_by_itself(HWND window)
{
    if (!wall_shows_something(&state.wall)) {
        fputs("Nothing has been shown.\n", stderr);
        state.exitCode = 1;
    }
    DestroyWindow(window);
}

static LRESULT CALLBACK on_message(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_CREATE: /* before the first WM_SIZE */
        controls_open(&state.controls, window, TIMER_CONTROLS, &state.wall);
        return 0;
    case WM_SIZE:
        place_all(window, LOWORD(lParam), HIWORD(lParam));
        return 0;
    case WM_TIMER:
        if (wParam == TIMER_END)
            end_by_itself(window);
        else if (wParam == TIMER_CONTROLS)
            controls_on_timer(&state.controls);
        else
            update_status(window);
        return 0;
    case WM_LBUTTONDOWN:
    case WM_MOUSEMOVE:
    case WM_LBUTTONUP:
        if (controls_on_mouse(&state.controls, message, lParam, state.message, 128))
            update_status(window);
        return 0;
    case WM_CAPTURECHANGED:
        controls_let_go(&state.controls);
        return 0;
    case WM_ERASEBKGND:
        return 1; /* video, controls and status bar cover everything */
    case WM_PAINT:
        paint(window);
        return 0;
    case WM_DESTROY:
        wall_close(&state.wall);
        PostQuitMessage(state.exitCode);
        return 0;
    default:
        return DefWindowProcW(window, message, wParam, lParam);
    }
}

static HWND create_window(const Options *options)
{
    const WNDCLASSEXW type = {.cbSize = sizeof type,
                              .lpfnWndProc = on_message,
                              .hInstance = GetModuleHandleW(NULL),
                              .hCursor = LoadCursorW(NULL, (const wchar_t *)IDC_ARROW),
                              .lpszClassName = L"PelloraDemoHost"};
    if (RegisterClassExW(&type) == 0)
        return NULL;
    /* WS_CLIPCHILDREN: what the host paints must not run over the video. */
    const DWORD style = WS_OVERLAPPEDWINDOW | WS_CLIPCHILDREN;
    RECT rect = {0, 0, options->width, options->height};
    AdjustWindowRect(&rect, style, FALSE);
    return CreateWindowExW(0, type.lpszClassName, L"Pellora demo host", style, 0, 0, rect.right - rect.left,
                           rect.bottom - rect.top, NULL, NULL, type.hInstance, NULL);
}

/**
 * Keys are taken before they are dispatched: after a click the focus is in the video, whose windows are the library's.
 */
static bool on_key(HWND window, const MSG *message)
{
    if (message->message != WM_KEYDOWN)
        return false;
    controls_let_go(&state.controls); /* a key may select another pane */
    if (message->wParam == 'Q') {
        DestroyWindow(window);
        return true;
    }
    if (!wall_on_key(&state.wall, message->wParam, state.message, 128))
        return false;
    update_status(window);
    return true;
}

/** Clicks are seen on their way to the video, whose windows are the library's. */
static void note_click(HWND window, const MSG *message)
{
    const bool down = message->message == WM_LBUTTONDOWN || message->message == WM_LBUTTONDBLCLK;
    if (down && message->hwnd != window)
        wall_on_click(&state.wall);
}

int host_window_run(const Library *library, const Options *options)
{
    state.wall.window = PELLORA_NO_WINDOW;
    const HWND window = create_window(options);
    if (window == NULL) {
        fprintf(stderr, "The host's window cannot be made: Windows error %lu.\n", GetLastError());
        return 1;
    }
    library->video.PELLORA_Init();
    if (!wall_open(&state.wall, window, library, options)) {
        fputs("The video window cannot be made; the log beside the library says why.\n", stderr);
        library->video.PELLORA_Fini();
        return 1;
    }
    ShowWindow(window, SW_SHOW);
    RECT client;
    GetClientRect(window, &client);
    place_all(window, client.right, client.bottom);
    wall_play(&state.wall);
    SetTimer(window, TIMER_STATUS, STATUS_INTERVAL_MS, NULL);
    if (options->seconds > 0)
        SetTimer(window, TIMER_END, (UINT)options->seconds * 1000, NULL);

    MSG message;
    while (GetMessageW(&message, NULL, 0, 0) > 0) {
        if (on_key(window, &message))
            continue;
        note_click(window, &message);
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    library->video.PELLORA_Fini();
    wall_log_out(&state.wall);
    return (int)message.wParam;
}
