/**
 * Why something cannot be played, in words.
 *
 * Pellora says that a file cannot be played and keeps the reason for its log; the player beside it tells the reason.
 */
#ifndef HOSTS_DEMO_FAILURE_H
#define HOSTS_DEMO_FAILURE_H

#include "hosts/demo/library.h"

#include <stddef.h>

/** Opens a file that could not be played once more, by the player itself, for its error. UTF-8. */
void failure_of_file(const Library *library, char *file, wchar_t *text, size_t size);

#endif
