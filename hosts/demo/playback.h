/**
 * The selected pane's position, speed and sound: what the keys do with them, and what the controls below the video
 * show.
 *
 * Everything here runs on the thread that called library Init.
 */
#ifndef HOSTS_DEMO_PLAYBACK_H
#define HOSTS_DEMO_PLAYBACK_H

#include "hosts/demo/wall.h"

#include <stddef.h>

/** What is known of the selected pane. */
typedef struct {
    bool playable;          /**< a file that is open, or a camera that is shown */
    bool live;              /**< a camera, which has no position */
    bool seekable;          /**< a file whose length is known */
    bool paused;            /**< as far as the host has to do with it */
    bool sounding;          /**< the same */
    unsigned long position; /**< seconds */
    unsigned long length;   /**< seconds, rounded down */
    int volume;             /**< percent */
} PlaybackView;

/** Asks the library. */
PlaybackView playback_view(Wall *wall);
/** A time as 01:23, from an hour on as 1:02:03. */
void playback_format_time(unsigned long seconds, wchar_t *text, size_t size);
/**
 * What the selected pane shows, for the status bar: a camera's state or a file's position and length, picture size and
 * recording time; or why it shows nothing.
 */
void playback_describe(const Wall *wall, const PlaybackView *view, wchar_t *text, size_t size);

/** Goes to a time of the file, in seconds, and stays paused or goes on as it is. */
void playback_seek(const Wall *wall, unsigned long seconds);
/** Holds the picture, or lets it go on, for as long as something else of the host's needs it. */
void playback_hold(const Wall *wall, bool held);
/* Each sets *message to what was done, for the status bar, or leaves it alone. */
void playback_toggle_pause(Wall *wall, wchar_t *message, size_t size);
/** One picture on (true) or back. */
void playback_step(Wall *wall, bool on, wchar_t *message, size_t size);
void playback_toggle_sound(Wall *wall, wchar_t *message, size_t size);
/** 0 to 100 percent. */
void playback_set_volume(Wall *wall, int percent, wchar_t *message, size_t size);

/** Does what a key for speed, position or sound stands for; false for others. */
bool playback_on_key(Wall *wall, WPARAM key, wchar_t *message, size_t size);

#endif
