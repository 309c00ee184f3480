#include "hosts/demo/wall.h"

#include "hosts/demo/rules.h"

#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>

enum { SEEK_SECONDS = 5 };

enum { CLICK_REPORT_MS = 2000 };

/** The wall that the library's reports are about. */
static Wall *reported;

/** What the user selects by a click is learnt from the library's report of it. */
static void select_pane(Wall *wall, int pane)
{
    wall->library->SetCurWnd(wall->window, pane);
    wall->selected = pane;
}

static void start_file(const Wall *wall, int pane)
{
    char *file = wall->options->sources[pane % wall->options->sourceCount].place;
    if (!wall->library->PreviewFile(wall->window, file, wall->loop, wall->options->rules))
        fprintf(stderr, "%s cannot be played; the log beside the library says why.\n", file);
    if (wall->options->rules)
        rules_put(wall->library, wall->window, pane); /* the file before took its rules with it */
}

static void start_pane(Wall *wall, int pane)
{
    select_pane(wall, pane); /* both go to the current pane */
    if (cameras_has(&wall->cameras, pane))
        cameras_start(&wall->cameras, wall->window, pane);
    else
        start_file(wall, pane);
}

/** Files alone fill every pane, in turn. A camera is shown once, and then panes may stay empty. */
static int panes_with_source(const Wall *wall)
{
    for (int pane = 0; pane < wall->options->sourceCount; ++pane)
        if (cameras_has(&wall->cameras, pane))
            return wall->options->sourceCount;
    return OPTIONS_MAX_SOURCES;
}

/** Gives each of so many panes that has none yet its source, and selects the first pane. */
static void fill_panes(Wall *wall, int panes)
{
    if (panes > panes_with_source(wall))
        panes = panes_with_source(wall);
    if (panes <= wall->filled)
        return;
    if (wall->filled == 0)
        wall->filled = cameras_start_first(&wall->cameras, wall->window, panes);
    while (wall->filled < panes)
        start_pane(wall, wall->filled++);
    select_pane(wall, 0);
}

/**
 * The library's report of a pane, which carries the pane's index and not the window's: the outcome of a start, or the
 * state as it is because the pane was clicked.
 */
static void on_status(tagPELLORA_PREVIEW_STATUS status)
{
    Wall *wall = reported;
    const int pane = (int)status.lSubHandel;
    if (pane < 0 || pane >= OPTIONS_MAX_SOURCES)
        return;
    const bool clicked = GetTickCount64() < wall->clickUntil;
    wall->clickUntil = 0;
    if (clicked)
        wall->selected = pane;
    /* A clicked pane that does not play has not failed: its start may still be under way. */
    if (clicked && !status.byPlaying)
        return;
    const bool begins = cameras_report(&wall->cameras, pane, status.byPlaying != 0);
    if (begins && wall->options->rules)
        rules_put(wall->library, wall->window, pane); /* each start takes the rules away */
}

bool wall_open(Wall *wall, HWND host, const Library *library, const Options *options)
{
    *wall = (Wall){
        .library = library, .options = options, .window = PELLORA_NO_WINDOW, .loop = options->loop, .sounding = -1};
    wall->window = library->CreateWindow_(host, PELLORA_EMBED_PLAIN);
    if (wall->window == PELLORA_NO_WINDOW)
        return false;
    cameras_log_in(&wall->cameras, library, options);
    reported = wall;
    library->SetPreviewStatusCallback(wall->window, on_status);
    library->SplitScreen(wall->window, (unsigned short)options->split);
    if (options->rules)
        rules_listen(library, wall->window);
    return true;
}

void wall_play(Wall *wall)
{
    fill_panes(wall, wall->options->split);
}

void wall_close(Wall *wall)
{
    if (wall->window == PELLORA_NO_WINDOW)
        return;
    wall->library->StopAllPreviewStream(wall->window);
    wall->library->DestroyWindow(wall->window);
    wall->window = PELLORA_NO_WINDOW;
    /* Fini waits for starts that wait for their camera's answer: to log out ends the waiting. */
    cameras_log_out(&wall->cameras, false);
}

void wall_log_out(Wall *wall)
{
    cameras_log_out(&wall->cameras, true);
}

void wall_on_click(Wall *wall)
{
    /* The report comes soon, though perhaps after further messages; a click between the panes brings none. */
    wall->clickUntil = GetTickCount64() + CLICK_REPORT_MS;
}

void wall_place(const Wall *wall, int x, int y, int width, int height)
{
    /* In full screen the library has the picture elsewhere; it comes back to the place given here. */
    if (wall->window != PELLORA_NO_WINDOW && width > 0 && height > 0)
        wall->library->SetGeometry(wall->window, x, y, width, height);
}

static void seek_by(const Wall *wall, int seconds)
{
    const unsigned long position = wall->library->GetPlayPos(wall->window);
    const unsigned long distance = (unsigned long)abs(seconds);
    const unsigned long target = seconds >= 0 ? position + distance : position > distance ? position - distance : 0;
    wall->library->SetPlayPos(wall->window, target);
}

/** The library does not tell whether a pane is paused, so the host remembers; a pane selected since may need a second
 *  press. */
static void toggle_pause(Wall *wall, wchar_t *message, size_t size)
{
    wall->paused = !wall->paused;
    if (wall->paused)
        wall->library->Pause(wall->window);
    else
        wall->library->Restore(wall->window);
    swprintf(message, size, L"%ls", wall->paused ? L"Paused" : L"Playing");
}

/** Looping is fixed when a file is started, so each of them is started anew and brought back to its position. */
static void toggle_loop(Wall *wall, wchar_t *message, size_t size)
{
    wall->loop = !wall->loop;
    wall->paused = false;
    const int selected = wall->selected;
    for (int pane = 0; pane < wall->filled; ++pane) {
        if (cameras_has(&wall->cameras, pane))
            continue;
        select_pane(wall, pane);
        const unsigned long position = wall->library->GetPlayPos(wall->window);
        start_file(wall, pane);
        wall->library->SetPlayPos(wall->window, position);
    }
    select_pane(wall, selected);
    swprintf(message, size, L"Loop %ls", wall->loop ? L"on" : L"off");
}

/** Stops the selected pane's camera, or starts it. */
static void toggle_preview(Wall *wall, wchar_t *message, size_t size)
{
    if (!cameras_has(&wall->cameras, wall->selected)) {
        swprintf(message, size, L"No camera in this pane");
        return;
    }
    if (cameras_runs(&wall->cameras, wall->selected))
        cameras_stop(&wall->cameras, wall->window, wall->selected);
    else if (cameras_start(&wall->cameras, wall->window, wall->selected))
        wall->paused = false;
    else
        swprintf(message, size, L"It cannot be started now");
}

/** One pane sounds at a time: to switch it on in one takes it from another. */
static void toggle_sound(Wall *wall, wchar_t *message, size_t size)
{
    const bool on = wall->sounding != wall->selected;
    const bool done = on ? wall->library->OpenSound(wall->window) : wall->library->CloseSound(wall->window);
    if (done)
        wall->sounding = on ? wall->selected : -1;
    if (done)
        swprintf(message, size, L"Sound %ls", on ? L"on" : L"off");
    else
        swprintf(message, size, L"No sound here, or no sound device");
}

/** Louder or softer by a tenth of full volume. */
static void change_volume(const Wall *wall, int tenths, wchar_t *message, size_t size)
{
    enum { FULL = 0xFFFF, TENTHS = 10 };
    const int now = (wall->library->GetVolume(wall->window) * TENTHS + FULL / 2) / FULL;
    const int next = now + tenths < 0 ? 0 : now + tenths > TENTHS ? TENTHS : now + tenths;
    if (wall->library->SetVolume(wall->window, (unsigned short)(next * FULL / TENTHS)))
        swprintf(message, size, L"Volume %d %%", next * 100 / TENTHS);
}

static bool write_file(const wchar_t *name, const unsigned char *bytes, size_t size)
{
    FILE *file = _wfopen(name, L"wb");
    if (file == NULL)
        return false;
    const bool written = fwrite(bytes, 1, size, file) == size;
    return fclose(file) == 0 && written;
}

static void capture(Wall *wall, wchar_t *message, size_t size)
{
    /* Too small a buffer fails and tells the size that is needed; an empty one asks for it. */
    unsigned char nothing[1];
    unsigned long needed = 0;
    wall->library->Capture(wall->window, nothing, 0, &needed);
    unsigned char *jpeg = needed > 0 ? malloc(needed + needed / 4) : NULL; /* the next picture may need a little more */
    wchar_t name[64];
    swprintf(name, 64, L"capture-%d.jpg", wall->captures + 1);
    if (jpeg != NULL && wall->library->Capture(wall->window, jpeg, needed + needed / 4, &needed) &&
        write_file(name, jpeg, needed)) {
        ++wall->captures;
        swprintf(message, size, L"Saved %ls", name);
    } else {
        swprintf(message, size, L"Nothing to capture");
    }
    free(jpeg);
}

static void split(Wall *wall, unsigned short panes, wchar_t *message, size_t size)
{
    if (!wall->library->SplitScreen(wall->window, panes))
        return;
    fill_panes(wall, panes);
    swprintf(message, size, L"%d pane%ls", panes, panes == 1 ? L"" : L"s");
}

static void set_full_screen(Wall *wall, bool fullScreen)
{
    wall->fullScreen = fullScreen;
    if (fullScreen)
        wall->library->FullScreen(wall->window);
    else
        wall->library->NormalScreen(wall->window);
}

/** Keys for speed and position; false for others. */
static bool on_playback_key(Wall *wall, WPARAM key, wchar_t *message, size_t size)
{
    const Library *library = wall->library;
    const long window = wall->window;
    switch (key) {
    case VK_SPACE:
        toggle_pause(wall, message, size);
        return true;
    case VK_LEFT:
        seek_by(wall, -SEEK_SECONDS);
        return true;
    case VK_RIGHT:
        seek_by(wall, SEEK_SECONDS);
        return true;
    case VK_HOME:
        library->SetPlayPos(window, 0);
        return true;
    case VK_DOWN:
        wall->paused = library->OneByOne(window) || wall->paused; /* a step leaves the pane paused */
        return true;
    case VK_UP:
        if (library->OneByOneBack(window))
            wall->paused = true;
        else
            swprintf(message, size, L"Cannot step back");
        return true;
    case VK_ADD:
    case VK_OEM_PLUS:
        swprintf(message, size, L"%ls", library->Fast(window) ? L"Faster" : L"Fastest");
        return true;
    case VK_SUBTRACT:
    case VK_OEM_MINUS:
        swprintf(message, size, L"%ls", library->Slow(window) ? L"Slower" : L"Slowest");
        return true;
    case 'N':
        library->Play(window);
        wall->paused = false;
        return true;
    default:
        return false;
    }
}

bool wall_on_key(Wall *wall, WPARAM key, wchar_t *message, size_t size)
{
    if (wall->window == PELLORA_NO_WINDOW)
        return false;
    if (wall->options->rules && GetKeyState(VK_CONTROL) < 0)
        return rules_draw_new(wall->library, wall->window, key, message, size);
    switch (key) {
    case '1':
    case '4':
    case '9':
        split(wall, (unsigned short)(key - '0'), message, size);
        return true;
    case 'F':
        set_full_screen(wall, !wall->fullScreen);
        return true;
    case VK_ESCAPE:
        set_full_screen(wall, false);
        return true;
    case 'C':
        capture(wall, message, size);
        return true;
    case 'R':
        toggle_loop(wall, message, size);
        return true;
    case 'M':
        toggle_sound(wall, message, size);
        return true;
    case VK_PRIOR:
    case VK_NEXT:
        change_volume(wall, key == VK_PRIOR ? 1 : -1, message, size);
        return true;
    case 'S':
        message[0] = L'\0'; /* what becomes of it is part of the description */
        toggle_preview(wall, message, size);
        return true;
    default:
        return on_playback_key(wall, key, message, size);
    }
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

void wall_describe(const Wall *wall, wchar_t *text, size_t size)
{
    text[0] = L'\0';
    if (cameras_has(&wall->cameras, wall->selected)) {
        cameras_describe(&wall->cameras, wall->selected, text, size);
        if (!cameras_plays(&wall->cameras, wall->selected))
            return; /* to ask for a picture that cannot be there would only fill the log */
    } else {
        const unsigned long position = wall->library->GetPlayPos(wall->window);
        const unsigned long length = wall->library->GetFileTime(wall->window);
        append(text, size, L"%02lu:%02lu / %02lu:%02lu", position / 60, position % 60, length / 60, length % 60);
    }
    tagPELLORA_POINT picture = {0, 0};
    wall->library->GetPictureSize(wall->window, &picture);
    append(text, size, L"    %ld \u00d7 %ld", picture.x, picture.y);

    /* This function returns 0 also when it filled the record; the year tells. */
    tagPELLORA_SYSTEM_TIME time = {0};
    wall->library->GetSystemTime(wall->window, &time);
    if (time.dwYear != 0)
        append(text, size, L"    %04lu-%02lu-%02lu %02lu:%02lu:%02lu UTC", time.dwYear, time.dwMonth, time.dwDay,
               time.dwHour, time.dwMinute, time.dwSecond);
}
