/** The host's own window: the video above, controls and a status bar below, and a plain Win32 message loop. */
#ifndef HOSTS_DEMO_HOST_WINDOW_H
#define HOSTS_DEMO_HOST_WINDOW_H

#include "hosts/demo/library.h"
#include "hosts/demo/options.h"

/** Shows the window and runs until it is closed; the program's exit code: 1 also when it ended by itself and nothing
 * was to be seen. */
int host_window_run(const Library *library, const Options *options);

#endif
