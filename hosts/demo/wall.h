/**
 * The video wall: one Pellora window with its panes, and the commands that the keys stand for.
 *
 * Everything here runs on the thread that called library Init, as the library asks.
 */
#ifndef DEMO_WALL_H
#define DEMO_WALL_H

#include "hosts/demo/library.h"
#include "hosts/demo/options.h"

#include <stddef.h>

typedef struct {
    const Library *library;
    const Options *options;
    long window; /**< Pellora's handle; -1: none */
    int filled;  /**< panes that have been given a file, from the first */
    bool loop;
    bool paused; /**< by the space bar */
    bool fullScreen;
    int captures; /**< saved so far */
} Wall;

/** Makes the video window in the host's. */
bool wall_open(Wall *wall, HWND host, const Library *library, const Options *options);
/** Starts the files, one for each pane, from the first again. Place the video before: each resize moves rules a bit. */
void wall_play(Wall *wall);
void wall_close(Wall *wall);
/** Places the video in the host's client area. */
void wall_place(const Wall *wall, int x, int y, int width, int height);
/**
 * Does what a key stands for. False: the key stands for nothing here. *message is set to what was done, for the
 * status bar, or left alone.
 */
bool wall_on_key(Wall *wall, WPARAM key, wchar_t *message, size_t size);
/** Position, length, picture size and recording time of the selected pane. */
void wall_describe(const Wall *wall, wchar_t *text, size_t size);

#endif
