#include "hosts/demo/controls_layout.h"

#include <stdbool.h>
#include <stddef.h>

enum { GAP = 8, LEAST_BAR = 80 };

static const int widths[CONTROL_COUNT] = {
    [CONTROL_PLAY] = 24,  [CONTROL_BACK] = 24, [CONTROL_ON] = 24,     [CONTROL_BAR] = 0,
    [CONTROL_TIME] = 112, [CONTROL_MUTE] = 24, [CONTROL_VOLUME] = 80,
};

/** What goes first when there is too little room. Both steps go together. */
static const Control dispensable[] = {CONTROL_TIME, CONTROL_VOLUME, CONTROL_BACK,
                                      CONTROL_ON,   CONTROL_MUTE,   CONTROL_PLAY};

static int width_beside_bar(const bool shown[CONTROL_COUNT])
{
    int width = 2 * GAP;
    for (int control = 0; control < CONTROL_COUNT; ++control)
        if (control != CONTROL_BAR && shown[control])
            width += widths[control] + GAP;
    return width;
}

void controls_layout(RECT strip, RECT places[CONTROL_COUNT])
{
    bool shown[CONTROL_COUNT];
    for (int control = 0; control < CONTROL_COUNT; ++control)
        shown[control] = true;
    const int room = strip.right - strip.left;
    for (size_t i = 0; i < sizeof dispensable / sizeof dispensable[0]; ++i) {
        if (room - width_beside_bar(shown) >= LEAST_BAR && dispensable[i] != CONTROL_ON)
            break;
        shown[dispensable[i]] = false;
    }
    const int bar = room - width_beside_bar(shown);
    LONG x = strip.left + GAP;
    for (int control = 0; control < CONTROL_COUNT; ++control) {
        const int width = control != CONTROL_BAR ? widths[control] : bar > 0 ? bar : 0;
        places[control] = (RECT){x, strip.top, x, strip.top};
        if (!shown[control])
            continue;
        places[control] = (RECT){x, strip.top, x + width, strip.bottom};
        x += width + GAP;
    }
}

Control controls_at(const RECT places[CONTROL_COUNT], POINT point)
{
    for (int control = 0; control < CONTROL_COUNT; ++control)
        if (PtInRect(&places[control], point))
            return (Control)control;
    return CONTROL_NONE;
}

/** Columns between the first and the last value. */
static long span_of(const RECT *slider)
{
    return slider->right - slider->left - 1;
}

unsigned long controls_value_at(const RECT *slider, int x, unsigned long most)
{
    const long span = span_of(slider);
    const long from = x - slider->left;
    if (from <= 0 || span <= 0)
        return 0;
    if (from >= span)
        return most;
    return (unsigned long)(((unsigned long long)from * most + (unsigned long long)span / 2) / (unsigned long long)span);
}

int controls_column_of(const RECT *slider, unsigned long value, unsigned long most)
{
    const long span = span_of(slider);
    if (most == 0 || span <= 0)
        return slider->left;
    const unsigned long long within = value < most ? value : most;
    return slider->left + (int)((within * (unsigned long long)span + most / 2) / most);
}
