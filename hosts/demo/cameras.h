/**
 * The cameras of the wall: a log-in at the device library for each, and what the library has reported of their panes.
 *
 * Pane i shows source i, so that a camera is called by the number of its pane, never by its address, which may hold a
 * password. The log-in is also all that Pellora is told of it.
 *
 * Everything here is called on the thread that called library Init.
 */
#ifndef HOSTS_DEMO_CAMERAS_H
#define HOSTS_DEMO_CAMERAS_H

#include "hosts/demo/library.h"
#include "hosts/demo/options.h"

#include <stddef.h>

typedef enum { NO_CAMERA, CAMERA_STOPPED, CAMERA_STARTING, CAMERA_PLAYING, CAMERA_FAILED } CameraState;

typedef struct {
    const Library *library;
    CameraState state;
    long userID; /**< its log-in; -1: none */
    int channel; /**< from 1 */
    /** Why it was lost or could not be started, SELVIK_ERROR_; else 0. Written by a thread of the device library. */
    volatile LONG error;
    bool errorTold; /**< on standard error */
} Camera;

typedef struct {
    const Library *library;
    long stream;                         /**< of each: PELLORA_STREAM_TYPE */
    unsigned char openDraw;              /**< open the overlay once a picture is there */
    Camera cameras[OPTIONS_MAX_SOURCES]; /**< by pane; NO_CAMERA where a file plays, or nothing */
} Cameras;

/**
 * Logs in to the cameras among the sources, which connects to none of them yet. What fails is told on the console.
 * The device library tells their states from then on, until cameras_log_out().
 */
void cameras_log_in(Cameras *cameras, const Library *library, const Options *options);
/** Starts the cameras of the first panes in one call, up to the first pane without one; how many panes these are. */
int cameras_start_first(Cameras *cameras, long window, int panes);
/**
 * Starts the camera of a pane, which must be the window's current one. False: it has no log-in, or its last start,
 * which was stopped before it was answered, is not over yet.
 */
bool cameras_start(Cameras *cameras, long window, int pane);
/** Stops the camera of a pane, which must be the window's current one. */
void cameras_stop(Cameras *cameras, long window, int pane);
/** Takes in what the library reports of a pane; true when its camera has begun to play. */
bool cameras_report(Cameras *cameras, int pane, bool playing);
/** Tells on standard error why cameras have failed; the reasons come from other threads. Call it now and then. */
void cameras_tell_errors(Cameras *cameras);
/**
 * Logs out of the cameras that play, or of all others. Log-outs wait for the cameras' good-byes, at most about a
 * second however many they are.
 */
void cameras_log_out(Cameras *cameras, bool playing);

bool cameras_has(const Cameras *cameras, int pane);
/** Starting or playing. */
bool cameras_runs(const Cameras *cameras, int pane);
bool cameras_plays(const Cameras *cameras, int pane);
/** It has no log-in, or its last start failed. */
bool cameras_failed(const Cameras *cameras, int pane);
/** The state of a pane's camera in words, and how many of all play. */
void cameras_describe(const Cameras *cameras, int pane, wchar_t *text, size_t size);

#endif
