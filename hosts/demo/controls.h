/**
 * The controls below the video: pause, steps, a position bar that can be dragged, mute and volume, for the selected
 * pane.
 *
 * They are painted into the host's own window, outside of the library's, so that nothing of them runs over the video.
 *
 * Everything here runs on the thread that owns the host's window. Units: client pixels of that window.
 */
#ifndef HOSTS_DEMO_CONTROLS_H
#define HOSTS_DEMO_CONTROLS_H

#include "hosts/demo/controls_layout.h"
#include "hosts/demo/playback.h"

enum { CONTROLS_HEIGHT = 32 };

/** What the controls show. */
typedef struct {
    PlaybackView playback;
    bool dragging;        /**< the position bar: its thumb is where the mouse is */
    unsigned long target; /**< seconds; where the thumb is meanwhile */
} ControlsView;

typedef struct {
    HWND window;    /**< the host's */
    UINT_PTR timer; /**< the number of a timer of that window, which is the controls' */
    Wall *wall;
    RECT strip;
    RECT places[CONTROL_COUNT];
    ControlsView view; /**< as it is painted */
    Control held;      /**< the slider that the mouse has taken, or CONTROL_NONE */
    int pane;          /**< the one that is being dragged in */
    bool resume;       /**< it played before */
    bool sought;       /**< to the second below, at that tick */
    unsigned long soughtTo;
    ULONGLONG soughtAt;
} Controls;

void controls_open(Controls *controls, HWND window, UINT_PTR timer, Wall *wall);
/** Places them in a strip of the window. */
void controls_place(Controls *controls, RECT strip);
/** Asks for what the selected pane does, and repaints where something has changed. */
void controls_update(Controls *controls);
void controls_paint(const Controls *controls, HDC dc);
/**
 * Takes a mouse message of the host's window. True: the status bar may have to tell something else at once. *message is
 * set to what was done, for the status bar, or left alone.
 */
bool controls_on_mouse(Controls *controls, UINT kind, LPARAM place, wchar_t *message, size_t size);
/** The timer has come. */
void controls_on_timer(Controls *controls);
/** Lets go of whatever the mouse holds: something else is to be done. */
void controls_let_go(Controls *controls);

#endif
