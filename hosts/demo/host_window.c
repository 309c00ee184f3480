#include "hosts/demo/host_window.h"

#include "hosts/demo/wall.h"

#include <stdio.h>

enum { STATUS_HEIGHT = 28, TIMER_STATUS = 1, TIMER_END = 2, STATUS_INTERVAL_MS = 200 };

/** One window in the process, so that one state is enough; only its thread touches it. */
static struct {
    Wall wall;
    wchar_t message[128]; /**< what the last key did */
    wchar_t status[300];  /**< what the status bar shows now */
} state;

static RECT status_rect(HWND window)
{
    RECT rect;
    GetClientRect(window, &rect);
    rect.top = rect.bottom - STATUS_HEIGHT;
    return rect;
}

/** Asks the library for the selected pane's times, and repaints the bar only when its text has changed. */
static void update_status(HWND window)
{
    wchar_t description[160];
    wchar_t status[300];
    wall_describe(&state.wall, description, 160);
    swprintf(status, 300, L"%ls    %ls", description, state.message);
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
    EndPaint(window, &paint);
}

static LRESULT CALLBACK on_message(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message) {
    case WM_SIZE:
        wall_place(&state.wall, 0, 0, LOWORD(lParam), HIWORD(lParam) - STATUS_HEIGHT);
        InvalidateRect(window, NULL, FALSE);
        return 0;
    case WM_TIMER:
        if (wParam == TIMER_END)
            DestroyWindow(window);
        else
            update_status(window);
        return 0;
    case WM_ERASEBKGND:
        return 1; /* video and bar cover everything */
    case WM_PAINT:
        paint(window);
        return 0;
    case WM_DESTROY:
        wall_close(&state.wall);
        PostQuitMessage(0);
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
    library->Init();
    if (!wall_open(&state.wall, window, library, options)) {
        fputs("The video window cannot be made; the log beside the library says why.\n", stderr);
        library->Fini();
        return 1;
    }
    ShowWindow(window, SW_SHOW);
    RECT client;
    GetClientRect(window, &client);
    wall_place(&state.wall, 0, 0, client.right, client.bottom - STATUS_HEIGHT);
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
    library->Fini();
    wall_log_out(&state.wall);
    return (int)message.wParam;
}
