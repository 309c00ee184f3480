#include "hosts/demo/controls_painting.h"

#include <stdio.h>

enum { FULL_VOLUME = 100, TRACK_HEIGHT = 4, THUMB_WIDTH = 5, THUMB_HEIGHT = 16, ICON = 6 };

/* None of these is the colour of the library's selection frame. */
static const COLORREF background = RGB(38, 40, 46);
static const COLORREF track = RGB(96, 102, 112);
static const COLORREF elapsed = RGB(238, 140, 40);
static const COLORREF bright = RGB(250, 250, 250);
static const COLORREF text = RGB(230, 230, 230);

static void fill(HDC dc, RECT rect, COLORREF colour)
{
    SetDCBrushColor(dc, colour);
    FillRect(dc, &rect, GetStockObject(DC_BRUSH));
}

static POINT middle_of(RECT place)
{
    return (POINT){(place.left + place.right) / 2, (place.top + place.bottom) / 2};
}

/** A rectangle about a point that is this far away from the middle of the icon. */
static void paint_block(HDC dc, RECT place, int left, int top, int width, int height)
{
    const POINT middle = middle_of(place);
    const RECT block = {middle.x + left, middle.y + top, middle.x + left + width, middle.y + top + height};
    fill(dc, block, text);
}

/** A triangle whose tip shows to the right, or with a negative width to the left. */
static void paint_tip(HDC dc, RECT place, int left, int width)
{
    const POINT middle = middle_of(place);
    const POINT corners[] = {
        {middle.x + left, middle.y - ICON}, {middle.x + left, middle.y + ICON}, {middle.x + left + width, middle.y}};
    SetDCBrushColor(dc, text);
    Polygon(dc, corners, 3);
}

static void paint_play(HDC dc, RECT place, bool paused)
{
    if (paused) {
        paint_tip(dc, place, -ICON / 2, 2 * ICON - 2);
        return;
    }
    paint_block(dc, place, -ICON + 1, -ICON, 4, 2 * ICON + 1);
    paint_block(dc, place, 2, -ICON, 4, 2 * ICON + 1);
}

static void paint_step(HDC dc, RECT place, bool on)
{
    paint_tip(dc, place, on ? -2 : 2, on ? ICON + 2 : -ICON - 2);
    paint_block(dc, place, on ? -ICON : ICON - 2, -ICON, 2, 2 * ICON + 1);
}

static void paint_line(HDC dc, POINT from, POINT to)
{
    MoveToEx(dc, from.x, from.y, NULL);
    LineTo(dc, to.x, to.y);
}

/** A loudspeaker, with sound coming out of it or crossed out. */
static void paint_speaker(HDC dc, RECT place, bool sounding)
{
    paint_block(dc, place, -9, -3, 4, 7);
    paint_tip(dc, place, 1, -ICON - 4);
    const POINT middle = middle_of(place);
    SetDCPenColor(dc, text);
    if (sounding) {
        paint_line(dc, (POINT){middle.x + 4, middle.y - 3}, (POINT){middle.x + 4, middle.y + 4});
        paint_line(dc, (POINT){middle.x + 7, middle.y - 5}, (POINT){middle.x + 7, middle.y + 6});
    } else {
        paint_line(dc, (POINT){middle.x + 4, middle.y - 3}, (POINT){middle.x + 11, middle.y + 4});
        paint_line(dc, (POINT){middle.x + 4, middle.y + 3}, (POINT){middle.x + 11, middle.y - 4});
    }
}

static void paint_slider(HDC dc, RECT place, unsigned long value, unsigned long most)
{
    const POINT middle = middle_of(place);
    const RECT whole = {place.left, middle.y - TRACK_HEIGHT / 2, place.right, middle.y + TRACK_HEIGHT / 2};
    fill(dc, whole, track);
    if (most == 0)
        return;
    const int column = controls_column_of(&place, value, most);
    const RECT before = {whole.left, whole.top, column, whole.bottom};
    fill(dc, before, elapsed);
    const RECT thumb = {column - THUMB_WIDTH / 2, middle.y - THUMB_HEIGHT / 2, column + THUMB_WIDTH / 2 + 1,
                        middle.y + THUMB_HEIGHT / 2};
    fill(dc, thumb, bright);
}

static void paint_words(HDC dc, RECT place, const wchar_t *words, UINT alignment)
{
    DrawTextW(dc, words, -1, &place, DT_SINGLELINE | DT_VCENTER | DT_NOPREFIX | alignment);
}

static void paint_time(HDC dc, RECT place, unsigned long position, unsigned long length)
{
    wchar_t at[16];
    wchar_t of[16];
    wchar_t words[40];
    playback_format_time(position, at, 16);
    playback_format_time(length, of, 16);
    swprintf(words, 40, length > 0 ? L"%ls / %ls" : L"%ls", at, of); /* of some files the index will tell */
    paint_words(dc, place, words, DT_CENTER);
}

static void paint_position(HDC dc, const RECT places[CONTROL_COUNT], const ControlsView *view)
{
    const PlaybackView *playback = &view->playback;
    if (playback->live) {
        paint_words(dc, places[CONTROL_BAR], L"live", DT_LEFT);
        return;
    }
    const unsigned long position = view->dragging ? view->target : playback->position;
    paint_slider(dc, places[CONTROL_BAR], position, playback->length);
    if (playback->playable && !IsRectEmpty(&places[CONTROL_TIME]))
        paint_time(dc, places[CONTROL_TIME], position, playback->length);
}

static void paint_controls(HDC dc, const RECT places[CONTROL_COUNT], const ControlsView *view)
{
    if (!IsRectEmpty(&places[CONTROL_PLAY]))
        paint_play(dc, places[CONTROL_PLAY], view->playback.paused);
    if (!IsRectEmpty(&places[CONTROL_BACK]))
        paint_step(dc, places[CONTROL_BACK], false);
    if (!IsRectEmpty(&places[CONTROL_ON]))
        paint_step(dc, places[CONTROL_ON], true);
    if (!IsRectEmpty(&places[CONTROL_BAR]))
        paint_position(dc, places, view);
    if (!IsRectEmpty(&places[CONTROL_MUTE]))
        paint_speaker(dc, places[CONTROL_MUTE], view->playback.sounding);
    if (!IsRectEmpty(&places[CONTROL_VOLUME]))
        paint_slider(dc, places[CONTROL_VOLUME], (unsigned long)view->playback.volume, FULL_VOLUME);
}

void controls_painting_paint(HDC dc, RECT strip, const RECT places[CONTROL_COUNT], const ControlsView *view)
{
    const int width = strip.right - strip.left;
    const int height = strip.bottom - strip.top;
    const HDC memory = CreateCompatibleDC(dc);
    const HBITMAP bitmap = CreateCompatibleBitmap(dc, width, height);
    if (memory != NULL && bitmap != NULL) {
        const int state = SaveDC(memory);
        SelectObject(memory, bitmap);
        SelectObject(memory, GetStockObject(DEFAULT_GUI_FONT));
        SelectObject(memory, GetStockObject(DC_BRUSH));
        SelectObject(memory, GetStockObject(DC_PEN));
        SetWindowOrgEx(memory, strip.left, strip.top, NULL); /* the places are the window's */
        SetBkMode(memory, TRANSPARENT);
        SetTextColor(memory, text);
        SetDCPenColor(memory, text);
        fill(memory, strip, background);
        paint_controls(memory, places, view);
        BitBlt(dc, strip.left, strip.top, width, height, memory, strip.left, strip.top, SRCCOPY);
        RestoreDC(memory, state);
    }
    DeleteObject(bitmap);
    DeleteDC(memory);
}
