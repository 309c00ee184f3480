/**
 * The video wall: one Pellora window with its panes, and the commands that the keys stand for.
 *
 * Everything here runs on the thread that called library Init, as the library asks.
 */
#ifndef HOSTS_DEMO_WALL_H
#define HOSTS_DEMO_WALL_H

#include "hosts/demo/cameras.h"
#include "hosts/demo/library.h"
#include "hosts/demo/options.h"

#include <stddef.h>

enum { FAILURE_TEXT_SIZE = 96 };

typedef struct {
    const Library *library;
    const Options *options;
    Cameras cameras;
    long window;          /**< Pellora's handle, or PELLORA_NO_WINDOW */
    int filled;           /**< panes that have been given their source, from the first */
    int selected;         /**< the window's current pane */
    ULONGLONG clickUntil; /**< the next report of a pane's state, if it comes before this tick, is of a click */
    bool loop;
    bool paused[OPTIONS_MAX_SOURCES]; /**< by the host's commands; the library does not tell */
    bool fullScreen;
    int sounding; /**< the pane whose sound is on, as far as the host has to do with it; -1: none */
    int volume;   /**< of the selected pane in percent; -1: to be asked for */
    int captures; /**< saved so far */
    wchar_t failures[OPTIONS_MAX_SOURCES][FAILURE_TEXT_SIZE]; /**< why a pane's file cannot be played; empty: it can */
} Wall;

/**
 * Makes the video window in the host's, and logs in to the cameras. There is one wall, which stays where it is: what
 * the library reports of a pane comes without a word of the host's.
 */
bool wall_open(Wall *wall, HWND host, const Library *library, const Options *options);
/** Starts the sources, one for each pane. Place the video before: each resize moves rules a bit. */
void wall_play(Wall *wall);
/** Stops everything and destroys the video window; library Fini can follow, and waits for no camera. */
void wall_close(Wall *wall);
/** Logs out of the last cameras, once library Fini has carried out what was left to stop. */
void wall_log_out(Wall *wall);
/** Tells that the left button went down on the video. */
void wall_on_click(Wall *wall);
/** Places the video in the host's client area. */
void wall_place(const Wall *wall, int x, int y, int width, int height);
/**
 * Does what a key stands for. False: the key stands for nothing here. *message is set to what was done, for the
 * status bar, or left alone.
 */
bool wall_on_key(Wall *wall, WPARAM key, wchar_t *message, size_t size);
/** Whether there is a picture in any of the panes. Selects one pane after the other, for use at the end. */
bool wall_shows_something(Wall *wall);

#endif
