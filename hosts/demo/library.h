/**
 * Pellora.dll, the device library and the player beside it, loaded at run time.
 *
 * A program may link the import libraries instead; loading by hand lets the libraries lie in a folder of their own.
 */
#ifndef HOSTS_DEMO_LIBRARY_H
#define HOSTS_DEMO_LIBRARY_H

#include "Pellora_load.h"

#include <stdbool.h>

/** What is asked of the player itself: why a file cannot be played. */
#define PLAYER_FUNCTIONS(F)                                                                                            \
    F(int, Kavun_GetPort, (long *port))                                                                                \
    F(int, Kavun_FreePort, (long port))                                                                                \
    F(int, Kavun_OpenFile, (long port, char *path))                                                                    \
    F(unsigned long, Kavun_GetLastError, (long port))

typedef struct {
    PelloraFunctions video;
    SelvikFunctions devices;
    struct {
        PLAYER_FUNCTIONS(PELLORA_LOAD_MEMBER)
    } player;
} Library;

/**
 * Loads the library from a path or, with null, from beside this program; the others lie beside it.
 * False, with a message on standard error, when one cannot be loaded or lacks a function.
 */
bool library_load(Library *library, const wchar_t *path);

#endif
