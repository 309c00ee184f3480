#include "hosts/demo/playback.h"

#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>

enum { SEEK_SECONDS = 10, VOLUME_STEP = 10, FULL_VOLUME = 100 };

/** Whether there is something that can be asked for its times or volume; in vain that would only fill the log. */
static bool has_source(const Wall *wall)
{
    if (wall->window == PELLORA_NO_WINDOW || wall->selected >= wall->filled)
        return false;
    if (cameras_has(&wall->cameras, wall->selected))
        return cameras_plays(&wall->cameras, wall->selected);
    return wall->failures[wall->selected][0] == L'\0';
}

/** Each source has a volume of its own. It is asked for once, since each call is a line of the log. */
static int volume_of(Wall *wall)
{
    if (wall->volume < 0)
        wall->volume = (wall->library->video.PELLORA_GetVolume(wall->window) * FULL_VOLUME + PELLORA_MAX_VOLUME / 2) /
                       PELLORA_MAX_VOLUME;
    return wall->volume;
}

PlaybackView playback_view(Wall *wall)
{
    PlaybackView view = {.live = cameras_has(&wall->cameras, wall->selected),
                         .paused = wall->paused[wall->selected],
                         .sounding = wall->sounding == wall->selected};
    if (!has_source(wall))
        return view;
    view.playable = true;
    view.volume = volume_of(wall);
    if (view.live)
        return view;
    view.position = wall->library->video.PELLORA_GetPlayPos(wall->window);
    view.length = wall->library->video.PELLORA_GetFileTime(wall->window);
    view.seekable = view.length > 0;
    return view;
}

void playback_format_time(unsigned long seconds, wchar_t *text, size_t size)
{
    const unsigned long minutes = seconds / 60;
    if (minutes < 60)
        swprintf(text, size, L"%02lu:%02lu", minutes, seconds % 60);
    else
        swprintf(text, size, L"%lu:%02lu:%02lu", minutes / 60, minutes % 60, seconds % 60);
}

/** Appends to a text that has begun; what does not fit is left out. */
static void append(wchar_t *text, size_t size, const wchar_t *format, ...)
{
    const size_t used = wcslen(text);
    va_list arguments;
    va_start(arguments, format);
    if (vswprintf(text + used, size - used, format, arguments) < 0)
        text[used] = L'\0';
    va_end(arguments);
}

static bool has_failed(const Wall *wall, int pane)
{
    return wall->failures[pane][0] != L'\0' || cameras_failed(&wall->cameras, pane);
}

static int count_failed(const Wall *wall)
{
    int failed = 0;
    for (int pane = 0; pane < wall->filled; ++pane)
        failed += has_failed(wall, pane);
    return failed;
}

static void append_picture(const Wall *wall, wchar_t *text, size_t size)
{
    tagPELLORA_POINT picture = {0, 0};
    wall->library->video.PELLORA_GetPictureSize(wall->window, &picture);
    append(text, size, L"    %ld \u00d7 %ld", picture.x, picture.y);

    /* This function returns 0 also when it filled the record; the year tells. */
    tagPELLORA_SYSTEM_TIME time = {0};
    wall->library->video.PELLORA_GetSystemTime(wall->window, &time);
    if (time.dwYear != 0)
        append(text, size, L"    %04lu-%02lu-%02lu %02lu:%02lu:%02lu UTC", time.dwYear, time.dwMonth, time.dwDay,
               time.dwHour, time.dwMinute, time.dwSecond);
}

void playback_describe(const Wall *wall, const PlaybackView *view, wchar_t *text, size_t size)
{
    text[0] = L'\0';
    const wchar_t *failure = wall->failures[wall->selected];
    if (view->live) {
        cameras_describe(&wall->cameras, wall->selected, text, size);
    } else if (failure[0] != L'\0') {
        append(text, size, L"Pane %d cannot be played: %ls", wall->selected + 1, failure);
    } else if (wall->selected < wall->filled) {
        wchar_t position[16];
        wchar_t length[16];
        playback_format_time(view->position, position, 16);
        playback_format_time(view->length, length, 16);
        append(text, size, L"%ls / %ls", position, length);
    }
    if (view->playable)
        append_picture(wall, text, size);
    const int failed = count_failed(wall);
    if (failed > 0 && !has_failed(wall, wall->selected))
        append(text, size, L"    %d of %d panes cannot be played", failed, wall->filled);
}

void playback_seek(const Wall *wall, unsigned long seconds)
{
    wall->library->video.PELLORA_SetPlayPos(wall->window, seconds);
}

void playback_hold(const Wall *wall, bool held)
{
    if (held)
        wall->library->video.PELLORA_Pause(wall->window);
    else
        wall->library->video.PELLORA_Restore(wall->window);
}

static void seek_by(const Wall *wall, int seconds)
{
    const unsigned long position = wall->library->video.PELLORA_GetPlayPos(wall->window);
    const unsigned long distance = (unsigned long)abs(seconds);
    playback_seek(wall, seconds >= 0 ? position + distance : position > distance ? position - distance : 0);
}

void playback_toggle_pause(Wall *wall, wchar_t *message, size_t size)
{
    /* The library does not tell whether a pane is paused, so the host remembers. */
    bool *paused = &wall->paused[wall->selected];
    *paused = !*paused;
    playback_hold(wall, *paused);
    swprintf(message, size, L"%ls", *paused ? L"Paused" : L"Playing");
}

void playback_step(Wall *wall, bool on, wchar_t *message, size_t size)
{
    const bool stepped = on ? wall->library->video.PELLORA_OneByOne(wall->window)
                            : wall->library->video.PELLORA_OneByOneBack(wall->window);
    if (stepped)
        wall->paused[wall->selected] = true; /* a step leaves the pane paused */
    else
        swprintf(message, size, L"Cannot step %ls", on ? L"on" : L"back");
}

void playback_toggle_sound(Wall *wall, wchar_t *message, size_t size)
{
    /* One pane sounds at a time: to switch it on in one takes it from another. */
    const bool on = wall->sounding != wall->selected;
    const bool done = on ? wall->library->video.PELLORA_OpenSound(wall->window)
                         : wall->library->video.PELLORA_CloseSound(wall->window);
    if (done)
        wall->sounding = on ? wall->selected : -1;
    if (done)
        swprintf(message, size, L"Sound %ls", on ? L"on" : L"off");
    else
        swprintf(message, size, L"No sound here, or no sound device");
}

void playback_set_volume(Wall *wall, int percent, wchar_t *message, size_t size)
{
    const int within = percent < 0 ? 0 : percent > FULL_VOLUME ? FULL_VOLUME : percent;
    if (!wall->library->video.PELLORA_SetVolume(wall->window,
                                                (unsigned short)(within * PELLORA_MAX_VOLUME / FULL_VOLUME)))
        return;
    wall->volume = within;
    swprintf(message, size, L"Volume %d %%", within);
}

/** Louder or softer, to the next tenth of full volume. */
static void change_volume(Wall *wall, int steps, wchar_t *message, size_t size)
{
    const int now = (volume_of(wall) + VOLUME_STEP / 2) / VOLUME_STEP;
    playback_set_volume(wall, (now + steps) * VOLUME_STEP, message, size);
}

static bool on_sound_key(Wall *wall, WPARAM key, wchar_t *message, size_t size)
{
    switch (key) {
    case 'M':
        playback_toggle_sound(wall, message, size);
        return true;
    case VK_PRIOR:
    case VK_NEXT:
        change_volume(wall, key == VK_PRIOR ? 1 : -1, message, size);
        return true;
    default:
        return false;
    }
}

bool playback_on_key(Wall *wall, WPARAM key, wchar_t *message, size_t size)
{
    const Library *library = wall->library;
    const long window = wall->window;
    switch (key) {
    case VK_SPACE:
        playback_toggle_pause(wall, message, size);
        return true;
    case VK_LEFT:
    case VK_RIGHT:
        seek_by(wall, key == VK_LEFT ? -SEEK_SECONDS : SEEK_SECONDS);
        return true;
    case VK_HOME:
        playback_seek(wall, 0);
        return true;
    case VK_DOWN:
    case VK_UP:
        playback_step(wall, key == VK_DOWN, message, size);
        return true;
    case VK_ADD:
    case VK_OEM_PLUS:
        swprintf(message, size, L"%ls", library->video.PELLORA_Fast(window) ? L"Faster" : L"Fastest");
        return true;
    case VK_SUBTRACT:
    case VK_OEM_MINUS:
        swprintf(message, size, L"%ls", library->video.PELLORA_Slow(window) ? L"Slower" : L"Slowest");
        return true;
    case 'N':
        library->video.PELLORA_Play(window);
        wall->paused[wall->selected] = false;
        return true;
    default:
        return on_sound_key(wall, key, message, size);
    }
}
