/** The command line. */
#ifndef HOSTS_DEMO_OPTIONS_H
#define HOSTS_DEMO_OPTIONS_H

#include "PelloraTypes.h"

#include <stdbool.h>
#include <wchar.h>

/** One for each pane. */
enum { OPTIONS_MAX_SOURCES = PELLORA_PANES_PER_WINDOW };

/** What one pane shows. */
typedef struct {
    char *place; /**< UTF-8: a file's path or a camera's address. Never printed: an address may hold a password */
    bool camera;
    int channel; /**< of the camera's device, from 1 */
} Source;

typedef struct {
    Source sources[OPTIONS_MAX_SOURCES];
    int sourceCount;
    int split;              /**< panes: 1, 4 or 9; 0: as many as the sources need */
    int width, height;      /**< client area in pixels */
    int stream;             /**< of each camera: PELLORA_STREAM_TYPE */
    int seconds;            /**< end by itself after so many; 0: stay */
    bool loop;              /**< start a file over at its end */
    bool rules;             /**< put rules on the pictures */
    const wchar_t *library; /**< path of Pellora.dll; null: beside the program */
} Options;

/**
 * Reads this process's command line.
 * False when the program should end at once, with *exitCode (0 after --help, 2 for a wrong command line).
 */
bool options_parse(Options *options, int *exitCode);

#endif
