/**
 * Where the controls below the video lie: buttons, the position bar, the time, the volume. Values only, no window.
 *
 * Units: client pixels of the host's window.
 */
#ifndef HOSTS_DEMO_CONTROLS_LAYOUT_H
#define HOSTS_DEMO_CONTROLS_LAYOUT_H

#include <windows.h>

/** From left to right. */
typedef enum {
    CONTROL_PLAY,
    CONTROL_BACK, /**< one picture */
    CONTROL_ON,   /**< one picture */
    CONTROL_BAR,
    CONTROL_TIME,
    CONTROL_MUTE,
    CONTROL_VOLUME,
    CONTROL_COUNT,
    CONTROL_NONE = CONTROL_COUNT
} Control;

/**
 * Places the controls in a strip. The position bar gets what the others leave. Where that is too little, the time goes
 * first, then the volume, the steps, the mute and the pause: what goes has an empty place.
 */
void controls_layout(RECT strip, RECT places[CONTROL_COUNT]);
/** The control at a point, or CONTROL_NONE. */
Control controls_at(const RECT places[CONTROL_COUNT], POINT point);

/** The value, 0 to most, that a column of a slider stands for; beside it the nearest one. */
unsigned long controls_value_at(const RECT *slider, int x, unsigned long most);
/** The column of a slider that stands for a value; its left end where there are no values. */
int controls_column_of(const RECT *slider, unsigned long value, unsigned long most);

#endif
