/** How the controls below the video look. */
#ifndef HOSTS_DEMO_CONTROLS_PAINTING_H
#define HOSTS_DEMO_CONTROLS_PAINTING_H

#include "hosts/demo/controls.h"

/** Paints the whole strip at once, so that it does not flicker. */
void controls_painting_paint(HDC dc, RECT strip, const RECT places[CONTROL_COUNT], const ControlsView *view);

#endif
