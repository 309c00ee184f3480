/*
 * A host for Pellora in plain C: it loads the library, makes a window of its own, puts a video window into it and
 * shows files and cameras. Read on in host_window.c (the window and its loop), wall.c (the calls), cameras.c (log-ins
 * and live pictures) and library.c (the loading).
 */
#include "hosts/demo/host_window.h"

int main(void)
{
    Options options;
    int exitCode = 0;
    if (!options_parse(&options, &exitCode))
        return exitCode;
    Library library;
    if (!library_load(&library, options.library))
        return 1;
    return host_window_run(&library, &options);
}
