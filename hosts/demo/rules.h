/**
 * Rules over the picture: one of each type, new ones by mouse, and what the library reports of them.
 *
 * Runs on the thread that called library Init, as the reports do.
 */
#ifndef HOSTS_DEMO_RULES_H
#define HOSTS_DEMO_RULES_H

#include "hosts/demo/library.h"

#include <stddef.h>

/** Prints each report about the window's rules to standard output, a line each. */
void rules_listen(const Library *library, long window);
/** Puts a rule of each type on the picture of a pane. */
void rules_put(const Library *library, long window, long pane);
/**
 * Lets the user draw a rule with the mouse: key '1' to '9' and '0' stand for the types 1 to 10. False for other keys.
 * *message is set to what the user does next.
 */
bool rules_draw_new(const Library *library, long window, WPARAM key, wchar_t *message, size_t size);

#endif
