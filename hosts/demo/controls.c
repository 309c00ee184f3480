#include "hosts/demo/controls.h"

#include "hosts/demo/controls_painting.h"

#include <windowsx.h>

/* Each seek decodes from a key picture; a hand is served by some ten of them a second. */
enum { SEEK_INTERVAL_MS = 100, FULL_VOLUME = 100 };

void controls_open(Controls *controls, HWND window, UINT_PTR timer, Wall *wall)
{
    *controls = (Controls){.window = window, .timer = timer, .wall = wall, .held = CONTROL_NONE};
}

void controls_place(Controls *controls, RECT strip)
{
    controls->strip = strip;
    controls_layout(strip, controls->places);
    InvalidateRect(controls->window, &strip, FALSE);
}

static bool is_same(const PlaybackView *one, const PlaybackView *other)
{
    return one->playable == other->playable && one->live == other->live && one->seekable == other->seekable &&
           one->paused == other->paused && one->sounding == other->sounding && one->position == other->position &&
           one->length == other->length && one->volume == other->volume;
}

void controls_update(Controls *controls)
{
    const PlaybackView playback = playback_view(controls->wall);
    const bool dragging = controls->held == CONTROL_BAR;
    if (is_same(&playback, &controls->view.playback) && dragging == controls->view.dragging)
        return;
    controls->view.playback = playback;
    controls->view.dragging = dragging;
    InvalidateRect(controls->window, &controls->strip, FALSE);
}

void controls_paint(const Controls *controls, HDC dc)
{
    controls_painting_paint(dc, controls->strip, controls->places, &controls->view);
}

/** Goes where the thumb is, but not sooner than some time after the seek before, unless it is the last one. */
static void seek_to_target(Controls *controls, bool last)
{
    const unsigned long target = controls->view.target;
    KillTimer(controls->window, controls->timer);
    if (controls->sought && controls->soughtTo == target)
        return;
    const ULONGLONG now = GetTickCount64();
    const ULONGLONG due = controls->soughtAt + SEEK_INTERVAL_MS;
    if (!last && controls->sought && now < due) {
        SetTimer(controls->window, controls->timer, (UINT)(due - now), NULL);
        return;
    }
    controls->sought = true;
    controls->soughtTo = target;
    controls->soughtAt = now;
    playback_seek(controls->wall, target);
}

static void drag_to(Controls *controls, int x)
{
    const unsigned long length = controls->view.playback.length;
    controls->view.target = controls_value_at(&controls->places[CONTROL_BAR], x, length);
    InvalidateRect(controls->window, &controls->strip, FALSE);
    seek_to_target(controls, false);
}

static void begin_drag(Controls *controls, int x)
{
    controls->held = CONTROL_BAR;
    controls->view.dragging = true;
    controls->pane = controls->wall->selected;
    controls->sought = false;
    /* The picture under the thumb stays for as long as the thumb does. */
    controls->resume = !controls->view.playback.paused;
    if (controls->resume)
        playback_hold(controls->wall, true);
    SetCapture(controls->window);
    drag_to(controls, x);
}

static void set_volume(Controls *controls, int x, wchar_t *message, size_t size)
{
    const int percent = (int)controls_value_at(&controls->places[CONTROL_VOLUME], x, FULL_VOLUME);
    if (percent == controls->view.playback.volume || !controls->view.playback.playable)
        return;
    playback_set_volume(controls->wall, percent, message, size);
    controls->view.playback.volume = percent;
    InvalidateRect(controls->window, &controls->strip, FALSE);
}

static void press(Controls *controls, Control control, int x, wchar_t *message, size_t size)
{
    switch (control) {
    case CONTROL_PLAY:
        playback_toggle_pause(controls->wall, message, size);
        break;
    case CONTROL_BACK:
    case CONTROL_ON:
        playback_step(controls->wall, control == CONTROL_ON, message, size);
        break;
    case CONTROL_BAR:
        /* A camera has no other time than now. */
        if (controls->view.playback.seekable)
            begin_drag(controls, x);
        break;
    case CONTROL_MUTE:
        playback_toggle_sound(controls->wall, message, size);
        break;
    case CONTROL_VOLUME:
        controls->held = CONTROL_VOLUME;
        SetCapture(controls->window);
        set_volume(controls, x, message, size);
        break;
    case CONTROL_TIME:
    case CONTROL_NONE:
        break;
    }
}

bool controls_on_mouse(Controls *controls, UINT kind, LPARAM place, wchar_t *message, size_t size)
{
    const POINT point = {GET_X_LPARAM(place), GET_Y_LPARAM(place)};
    switch (kind) {
    case WM_LBUTTONDOWN:
        if (!PtInRect(&controls->strip, point))
            return false;
        controls_update(controls);
        press(controls, controls_at(controls->places, point), point.x, message, size);
        return true;
    case WM_MOUSEMOVE:
        /* There are many of them, and each question to the library is a line of its log. */
        if (controls->held == CONTROL_BAR)
            drag_to(controls, point.x);
        else if (controls->held == CONTROL_VOLUME)
            set_volume(controls, point.x, message, size);
        return false;
    case WM_LBUTTONUP:
        controls_let_go(controls);
        return true;
    default:
        return false;
    }
}

void controls_on_timer(Controls *controls)
{
    KillTimer(controls->window, controls->timer);
    if (controls->held == CONTROL_BAR)
        seek_to_target(controls, false);
}

void controls_let_go(Controls *controls)
{
    const Control held = controls->held;
    if (held == CONTROL_NONE)
        return;
    controls->held = CONTROL_NONE; /* before the capture goes, which is reported */
    ReleaseCapture();
    /* What is selected by now may be another pane: a command goes to the selected one. */
    if (held != CONTROL_BAR || controls->pane != controls->wall->selected)
        return;
    seek_to_target(controls, true);
    if (controls->resume)
        playback_hold(controls->wall, false);
}
