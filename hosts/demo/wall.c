#include "hosts/demo/wall.h"

#include "hosts/demo/failure.h"
#include "hosts/demo/playback.h"
#include "hosts/demo/rules.h"

#include <stdio.h>
#include <stdlib.h>

enum { CLICK_REPORT_MS = 2000 };

/** The wall that the library's reports are about. */
static Wall *reported;

/** What the user selects by a click is learnt from the library's report of it. */
static void select_pane(Wall *wall, int pane)
{
    wall->library->video.PELLORA_SetCurWnd(wall->window, pane);
    wall->selected = pane;
    wall->volume = -1;
}

static void start_file(Wall *wall, int pane)
{
    char *file = wall->options->sources[pane % wall->options->sourceCount].place;
    wall->paused[pane] = false;
    wall->failures[pane][0] = L'\0';
    if (!wall->library->video.PELLORA_PreviewFile(wall->window, file, wall->loop, wall->options->rules)) {
        failure_of_file(wall->library, file, wall->failures[pane], FAILURE_TEXT_SIZE);
        fprintf(stderr, "%s cannot be played: %ls.\n", file, wall->failures[pane]);
        fflush(stderr);
    }
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
    wall->volume = -1; /* of another pane, or of what has just begun */
    /* A clicked pane that does not play has not failed: its start may still be under way. */
    if (clicked && !status.byPlaying)
        return;
    const bool begins = cameras_report(&wall->cameras, pane, status.byPlaying != 0);
    if (begins && wall->options->rules)
        rules_put(wall->library, wall->window, pane); /* each start takes the rules away */
}

bool wall_open(Wall *wall, HWND host, const Library *library, const Options *options)
{
    *wall = (Wall){.library = library,
                   .options = options,
                   .window = PELLORA_NO_WINDOW,
                   .loop = options->loop,
                   .sounding = -1,
                   .volume = -1};
    wall->window = library->video.PELLORA_CreateWindow(host, PELLORA_EMBED_PLAIN);
    if (wall->window == PELLORA_NO_WINDOW)
        return false;
    cameras_log_in(&wall->cameras, library, options);
    reported = wall;
    library->video.PELLORA_SetPreviewStatusCallback(wall->window, on_status);
    library->video.PELLORA_SplitScreen(wall->window, (unsigned short)options->split);
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
    /* It ends what plays. Nothing else is done to a video window whose host is going. */
    wall->library->video.PELLORA_DestroyWindow(wall->window);
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
        wall->library->video.PELLORA_SetGeometry(wall->window, x, y, width, height);
}

/** Looping is fixed when a file is started, so each of them is started anew and brought back to its position. */
static void toggle_loop(Wall *wall, wchar_t *message, size_t size)
{
    wall->loop = !wall->loop;
    const int selected = wall->selected;
    for (int pane = 0; pane < wall->filled; ++pane) {
        if (cameras_has(&wall->cameras, pane))
            continue;
        select_pane(wall, pane);
        const unsigned long position = wall->library->video.PELLORA_GetPlayPos(wall->window);
        start_file(wall, pane);
        wall->library->video.PELLORA_SetPlayPos(wall->window, position);
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
        wall->paused[wall->selected] = false;
    else
        swprintf(message, size, L"It cannot be started now");
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
    wall->library->video.PELLORA_Capture(wall->window, nothing, 0, &needed);
    unsigned char *jpeg = needed > 0 ? malloc(needed + needed / 4) : NULL; /* the next picture may need a little more */
    wchar_t name[64];
    swprintf(name, 64, L"capture-%d.jpg", wall->captures + 1);
    if (jpeg != NULL && wall->library->video.PELLORA_Capture(wall->window, jpeg, needed + needed / 4, &needed) &&
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
    if (!wall->library->video.PELLORA_SplitScreen(wall->window, panes))
        return;
    fill_panes(wall, panes);
    swprintf(message, size, L"%d pane%ls", panes, panes == 1 ? L"" : L"s");
}

static void set_full_screen(Wall *wall, bool fullScreen)
{
    wall->fullScreen = fullScreen;
    if (fullScreen)
        wall->library->video.PELLORA_FullScreen(wall->window);
    else
        wall->library->video.PELLORA_NormalScreen(wall->window);
}

bool wall_shows_something(Wall *wall)
{
    for (int pane = 0; pane < wall->filled; ++pane) {
        select_pane(wall, pane);
        /* An empty buffer is too small for any picture, and so asks whether there is one. */
        unsigned char nothing[1];
        unsigned long needed = 0;
        wall->library->video.PELLORA_Capture(wall->window, nothing, 0, &needed);
        if (needed > 0)
            return true;
    }
    return false;
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
    case 'S':
        message[0] = L'\0'; /* what becomes of it is part of the description */
        toggle_preview(wall, message, size);
        return true;
    default:
        return playback_on_key(wall, key, message, size);
    }
}
