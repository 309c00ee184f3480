/**
 * Pellora.dll: live and recorded video inside a window of the host's. The functions; PelloraTypes.h, beside this file,
 * has the constants, records and callback types.
 *
 * Valid C (99 and later) and C++ (11 and later). Link the import library or resolve the functions by name; they have C
 * linkage, the platform's calling convention and undecorated names.
 *
 * THREADS    Every function is called on one thread, the user-interface thread: the one on which PELLORA_Init makes
 *            the application object, or on which the host's own Qt application object lives. On any other thread a
 *            call changes nothing, logs an error and returns its failure value. That thread must run a message loop
 *            (GetMessage/DispatchMessage is enough). Host callbacks are called on it too.
 * RESULTS    An int is 1 for success and 0 for failure unless a function says otherwise; a value is 0 when it is not
 *            known. The reason of a failure is in the log: one WARN line for a call that is refused, or, where its
 *            handle names no window, a line on standard error. No function throws.
 * WINDOWS    lHandle is the number of a video window, 0 to 8. Each window holds nine panes, of which 1, 4 or 9 are
 *            shown; one pane is the current one (framed), at first pane 0. A command takes the current pane, or the
 *            pane whose index, 0 to 8 in reading order, is lSubHandel; there PELLORA_CURRENT_PANE stands for the
 *            current one. With a handle or index that names nothing a call returns 0. So it does for a window whose
 *            host window has been destroyed; only PELLORA_DestroyWindow does its work there.
 * OWNERSHIP  Records, buffers and texts belong to the caller and are used during the call only. Texts end with a
 *            zero byte. A null record makes a call that needs it return 0.
 * CALLBACKS  Every function may be called from inside a callback, PELLORA_DestroyWindow too. What a callback receives
 *            is valid during the call; the library frees nothing of the host's.
 * UNITS      Pixels are device pixels. Coordinates in thousandths run from 0 (left or top edge of the picture) to
 *            1000 (right or bottom edge).
 *
 * Before PELLORA_Init and after PELLORA_Fini calls answer by what they find. There is no video window before the first
 * PELLORA_Init unless the host has a QApplication of its own; without one PELLORA_CreateWindow answers
 * PELLORA_NO_WINDOW and every other call what it answers without a window. Windows that outlive PELLORA_Fini can be
 * destroyed, and work again after the next PELLORA_Init.
 */
#ifndef PELLORA_H
#define PELLORA_H

#include "PelloraTypes.h"

#include <windows.h>

#ifdef __cplusplus
#define PELLORA_NOEXCEPT noexcept
extern "C" {
#else
#define PELLORA_NOEXCEPT
#endif

/* ---- library ---- */

/**
 * Starts the library: the application object when the process has none, the logger (configured by
 * addon.log4cxx.properties beside the library), the workers that start previews, the look of the windows. Call it on
 * the thread that will own the windows. Calls before it are allowed and answer by what they find: a callback that is
 * set has no window to be set for. The library stays in the process from PELLORA_Init on; FreeLibrary afterwards is
 * harmless. May be called again after PELLORA_Fini.
 *
 * Always 1 on the right thread; a step that fails is in the log, and the next one is taken. Where the host's own
 * application object is a QCoreApplication or a QGuiApplication there can be no widgets: that is an error line, also on
 * standard error while there is no log, and PELLORA_CreateWindow then answers PELLORA_NO_WINDOW.
 */
int PELLORA_Init(void) PELLORA_NOEXCEPT;

/** Ends the library's work; video windows stay until they are destroyed. Always 1 on the right thread. */
int PELLORA_Fini(void) PELLORA_NOEXCEPT;

/* ---- windows ---- */

/**
 * Makes a video window, shows it in the host's window and fills the client area with it; later sizes are the host's
 * to set (PELLORA_SetGeometry).
 *
 * hwnd       the host's window: alive, made by the calling thread. It is subclassed until its last video window is
 *            destroyed. When it is destroyed first, its video windows are dead: every function answers its failure
 *            value, with a WARN line that says so, except PELLORA_DestroyWindow, which ends what played there and frees
 *            the handle.
 * embedMode  PELLORA_EMBED_MODE: how the video stays visible above a page drawn by Chromium, at each paint of the host.
 *            PELLORA_EMBED_RENDER_WIDGET makes the "Chrome_RenderWidgetHostHWND" child transparent and puts it behind
 *            the video, PELLORA_EMBED_D3D_WINDOW puts the video directly behind the "Intermediate D3D Window" child,
 *            any other value does nothing. The mode of the first video window of a host window counts for all of them.
 *
 * Returns the handle, the lowest free number of 0 to 8, or PELLORA_NO_WINDOW: no such window, no application object for
 * widgets (PELLORA_Init), or nine windows exist already. In this last case the window is shown all the same, without a
 * handle.
 */
long PELLORA_CreateWindow(HWND hwnd, unsigned char embedMode) PELLORA_NOEXCEPT;

/**
 * Puts a plain native test window, 600 x 600 pixels at (100, 100), into the host's window and subclasses the host's
 * window for good, once. No video window, no handle. May be mixed with PELLORA_CreateWindow, for any number of host
 * windows. Always 1 on the right thread.
 */
long PELLORA_CreateWindow2(HWND hwnd) PELLORA_NOEXCEPT;

/**
 * Stops what plays in a video window, takes the window off the screen and frees its handle, at once. Its native windows
 * go with a later message of the thread, so that it may be called from anywhere: a callback, or a window procedure of
 * the host's that runs because of a call into the library. 1 for 0 to 8, also without such a window.
 */
int PELLORA_DestroyWindow(long lHandle) PELLORA_NOEXCEPT;

/** Shows the window (any value but 0) or hides it (0), for which it leaves full screen first. */
int PELLORA_SetVisible(long lHandle, unsigned short wVisible) PELLORA_NOEXCEPT;

/** Moves and sizes the window: client pixels of the host's window. */
int PELLORA_SetGeometry(long lHandle, int x, int y, int width, int height) PELLORA_NOEXCEPT;

/**
 * Cuts holes into the window, through which the host's own content shows. Replaces the earlier holes; wNum 0 closes
 * them all. Does not follow later changes of the window's size: call it again then. wNum is not checked against 4:
 * what lies behind the record is read, and where its memory ends before the rectangles the call is refused.
 */
int PELLORA_SetClipArea(long lHandle, const tagPELLORA_CLIP_AREA *pArea) PELLORA_NOEXCEPT;

/**
 * Shows 1, 4 or 9 panes, from the first one; other numbers: 0. A new window shows one. Panes that are not shown go on
 * playing, and the current pane stays current, shown or not.
 */
int PELLORA_SplitScreen(long lHandle, unsigned short wSplitNum) PELLORA_NOEXCEPT;

/** Covers the screen that the window is on. */
int PELLORA_FullScreen(long lHandle) PELLORA_NOEXCEPT;

/** Back from full screen. */
int PELLORA_NormalScreen(long lHandle) PELLORA_NOEXCEPT;

/** Makes a pane, 0 to 8, the current one, as a click on it does. -1: 0. */
int PELLORA_SetCurWnd(long lHandle, long lSubHandel) PELLORA_NOEXCEPT;

/* ---- live previews ----
 *
 * A preview is started with a log-in of the device library (SELVIK_DCM_Login). It takes the place of what plays in its
 * pane. Two routes lead there, whose names are swapped, for good: the plain functions hand the start to a worker thread
 * and return at once; those that end in _Async call the device library on the calling thread and return when it has
 * answered, at most 5 seconds a preview. Starting and stopping may be mixed.
 *
 * The outcome of each start comes through the status callback, by either route: byPlaying 1 when the stream has begun,
 * 0 when it could not be started. A start that the host stops before that is not reported. Once a preview runs, a
 * device that is lost is reached again by itself; the picture, sound, volume, display region and overlay go on as they
 * were.
 */

/**
 * Starts a preview in the current pane, at the address of its log-in: param.url is not looked at.
 *
 * 0: userID below 0, lChannel 0, streamType none of PELLORA_STREAM_TYPE, openDraw not 0 or 1, or another start is still
 * under way in the pane. 1: the start has been handed to a worker.
 */
int PELLORA_PreviewStream(long lHandle, tagPELLORA_PREVIEW_PARAM param) PELLORA_NOEXCEPT;

/**
 * Stops the preview in the current pane, and clears its rules; a file that plays there instead ends as well. Returns at
 * once, always 1; a start that is under way is stopped as soon as it has come back.
 */
int PELLORA_StopPreviewStream(long lHandle) PELLORA_NOEXCEPT;

/**
 * Starts previews in panes 0, 1, 2 and so on, in the order of the requests, which are not checked. A url in a request
 * stands in for the log-in's address; it may have up to 255 characters.
 *
 * pOut  null, or filled with what was handed over: each request, its window and pane, and their number; its url fields
 *       stay as they are
 */
int PELLORA_BatchPreviewStream(long lHandle, tagPELLORA_BATCH_PREVIEW_PARAM param,
                               tagPELLORA_BATCH_PREVIEW_PARAM *pOut) PELLORA_NOEXCEPT;

/** As PELLORA_BatchPreviewStream, on the calling thread, device after device. */
int PELLORA_BatchPreviewStream_Async(long lHandle, tagPELLORA_BATCH_PREVIEW_PARAM param,
                                     tagPELLORA_BATCH_PREVIEW_PARAM *pOut) PELLORA_NOEXCEPT;

/** Stops the previews of all nine panes, as PELLORA_StopPreviewStream does. */
int PELLORA_StopAllPreviewStream(long lHandle) PELLORA_NOEXCEPT;

/** As PELLORA_StopAllPreviewStream, on the calling thread; the previews have ended when it returns. */
int PELLORA_StopAllPreviewStream_Async(long lHandle) PELLORA_NOEXCEPT;

/**
 * Sets the function that is told the state of each pane's preview: the outcome of each start, and at each left click on
 * a pane. Never called from inside the function that starts. Null: none.
 */
int PELLORA_SetPreviewStatusCallback(long lHandle, PELLORA_PREVIEW_STATUS_CB pfnCallback) PELLORA_NOEXCEPT;

/** Shows (any value but 0) or hides analysis data that the streams of the window's panes carry; those that play now. */
int PELLORA_SetIntelData(long lHandle, unsigned short wOpen) PELLORA_NOEXCEPT;

/* ---- recorded files; all on the current pane ---- */

/**
 * Plays a file in the current pane instead of what plays there. A live preview, also one that is still starting, is
 * stopped for good first, and its outcome is no longer reported.
 *
 * pFileName  UTF-8 or, where that names no file, the system's ANSI code page; of any length
 * byLoop     not 0: from the beginning again at each end
 * byOpenDraw not 0: opens the rule overlay
 *
 * 0 when the file cannot be opened; what played before has ended all the same.
 */
int PELLORA_PreviewFile(long lHandle, const char *pFileName, unsigned char byLoop,
                        unsigned char byOpenDraw) PELLORA_NOEXCEPT;

/**
 * Ends the file; its overlay, rules and loop end with it. A file-end callback stays for the next file. A live preview
 * that plays there instead ends as well. Always 1.
 */
int PELLORA_StopPreviewFile(long lHandle) PELLORA_NOEXCEPT;

/** Plays: from a pause, from the end (then from the beginning), at the speed that Fast and Slow have counted up to. */
int PELLORA_Play(long lHandle) PELLORA_NOEXCEPT;

/** Holds the picture. */
int PELLORA_Pause(long lHandle) PELLORA_NOEXCEPT;

/** Goes on after a pause, at the speed from before it. Speed steps asked for meanwhile wait for PELLORA_Play. */
int PELLORA_Restore(long lHandle) PELLORA_NOEXCEPT;

/**
 * Doubles the speed, up to 16; past it: 0. While paused the step is only counted, until PELLORA_Play.
 * Sound is silent unless the speed is 1.
 */
int PELLORA_Fast(long lHandle) PELLORA_NOEXCEPT;

/** Halves the speed, down to 1/16; otherwise as PELLORA_Fast. */
int PELLORA_Slow(long lHandle) PELLORA_NOEXCEPT;

/** Shows exactly the next picture and holds there; 0 at the end. PELLORA_Restore or PELLORA_Play goes on. */
int PELLORA_OneByOne(long lHandle) PELLORA_NOEXCEPT;

/** Shows exactly the previous picture and holds there; 0 at the beginning and while the file is being indexed. */
int PELLORA_OneByOneBack(long lHandle) PELLORA_NOEXCEPT;

/**
 * Seeks to a time in seconds, exactly; also while paused and after the end. Past the end, by however much: the last
 * picture.
 */
int PELLORA_SetPlayPos(long lHandle, unsigned long dwPlayedTime) PELLORA_NOEXCEPT;

/** Position in seconds, rounded down. */
unsigned long PELLORA_GetPlayPos(long lHandle) PELLORA_NOEXCEPT;

/** Length of the file in seconds, rounded down; 0 while it is not known. */
unsigned long PELLORA_GetFileTime(long lHandle) PELLORA_NOEXCEPT;

/** Length in seconds of a file that is not played. No window is needed. The name's spelling stays. */
unsigned long PELLORA_GetFileTimeNoPriview(const char *pFileName) PELLORA_NOEXCEPT;

/**
 * Recording times of the file's first and last picture. Always 0, also when the records were filled: zero them first
 * and look at dwYear. Nothing is written when no recording time is known.
 */
int PELLORA_GetSystemFileTime(long lHandle, tagPELLORA_SYSTEM_TIME *pStart,
                              tagPELLORA_SYSTEM_TIME *pEnd) PELLORA_NOEXCEPT;

/** Recording time of the picture on the screen. Always 0, as PELLORA_GetSystemFileTime. */
int PELLORA_GetSystemTime(long lHandle, tagPELLORA_SYSTEM_TIME *pTime) PELLORA_NOEXCEPT;

/**
 * Sets the function that is called at each end of a file in the current pane, with lHandle; null clears it, and with
 * it a loop that runs. It may be set before a file is opened, and is kept for later files of the pane.
 *
 * 1 when the player has taken it, which it can only while something plays in the pane. 0 otherwise, although the
 * callback is kept and will be called: 0 is no failure there.
 */
unsigned long PELLORA_SetFileEndCallback(long lHandle, PELLORA_FILE_END_CB pfnCallback) PELLORA_NOEXCEPT;

/* ---- picture; all on the current pane unless they take lSubHandel ---- */

/** Size of the picture in pixels as it is shown: width into x, height into y. */
int PELLORA_GetPictureSize(long lHandle, tagPELLORA_POINT *pSize) PELLORA_NOEXCEPT;

/**
 * JPEG of the whole picture now on the screen, at its own size, without rules.
 *
 * pJpeg, dwBufSize  the caller's buffer and its size in bytes
 * pJpegSize         out: bytes written; when the buffer is too small the call returns 0 and this is the size needed
 */
int PELLORA_Capture(long lHandle, unsigned char *pJpeg, unsigned long dwBufSize,
                    unsigned long *pJpegSize) PELLORA_NOEXCEPT;

/**
 * JPEG of a part of the picture. The four words at pCropRect are thousandths; the call replaces them by pixels, also
 * when it fails, so set them anew for each call. pInfo is written back in any case.
 */
int PELLORA_Screenshot(long lHandle, tagPELLORA_CROP_PIC_INFO *pInfo) PELLORA_NOEXCEPT;

/**
 * Shows only a part of the picture, given in thousandths, in the whole pane; null shows all of it again. Rules move and
 * grow with the picture, each region on top of the one before: show the whole picture in between. The region stays the
 * same part of the picture when a camera comes back at another resolution. A region without width or height in pixels:
 * 0, nothing changes.
 */
int PELLORA_SetDisplayRegion(long lHandle, const tagPELLORA_RECT *pRect, long lSubHandel) PELLORA_NOEXCEPT;

/* ---- sound of the current pane ---- */

/** Lets this pane sound, instead of the one that did. */
int PELLORA_OpenSound(long lHandle) PELLORA_NOEXCEPT;

/** Ends the sound. */
int PELLORA_CloseSound(long lHandle) PELLORA_NOEXCEPT;

/** 0 to PELLORA_MAX_VOLUME, linear; PELLORA_MAX_VOLUME, the default, is full. */
int PELLORA_SetVolume(long lHandle, unsigned short wVolume) PELLORA_NOEXCEPT;

unsigned short PELLORA_GetVolume(long lHandle) PELLORA_NOEXCEPT;

/* ---- rules: shapes over the picture of a pane; all take lSubHandel ---- */

/*
 * A rule is a shape of one of ten types, drawn over the picture while the overlay is open. Rules belong to the picture:
 * they move and grow with it. Coordinates are thousandths of the picture, counted from its top left corner or, after
 * PELLORA_SetOriginPos with PELLORA_ORIGIN_BOTTOM_LEFT, from its bottom left one.
 *
 * wRuleType, PELLORA_RULE_…  record of its coordinates  pExtend of PELLORA_CreateRule
 *  1 POINT                   tagPELLORA_RULE_POINT      ignored
 *  2 LINE                    tagPELLORA_RULE_LINE       ignored
 *  3 RECT                    tagPELLORA_RULE_RECT       ignored
 *  4 POLYGON                 tagPELLORA_RULE_POLYGON    null, or tagPELLORA_RULE_POLYGON_EXT
 *  5 TEXT                    tagPELLORA_RULE_TEXT       ignored
 *  6 LINE_WITH_ARROWS        tagPELLORA_RULE_LINE       ignored
 *  7 RECT_WITH_TEXT          tagPELLORA_RULE_RECT       null, or the caption
 *  8 POLYGON_WITH_TEXT       tagPELLORA_RULE_POLYGON    null, or three bytes as for a polygon and, directly after
 *                                                       them, the caption
 *  9 LINE_WITH_TEXT          tagPELLORA_RULE_LINE       null, or the caption
 * 10 CROSS_WITH_TEXT         tagPELLORA_RULE_POINT      null, or the caption
 *
 * Captions are UTF-8 and end with a zero byte; at most 1 KiB of them is read.
 */

/** Where coordinates count from: PELLORA_ORIGIN, at first the top left corner; 0 for other numbers. */
int PELLORA_SetOriginPos(long lHandle, unsigned short wOriginPos, long lSubHandel) PELLORA_NOEXCEPT;

/** Opens the overlay: rules are painted, and the mouse draws and edits them. 0 while nothing plays in the pane. */
int PELLORA_OpenDraw(long lHandle, long lSubHandel) PELLORA_NOEXCEPT;

/** Closes the overlay; the rules stay. */
int PELLORA_CloseDraw(long lHandle, long lSubHandel) PELLORA_NOEXCEPT;

/**
 * Creates a rule, without coordinates: give it some (PELLORA_SetRuleCoord), or let the user draw it, which the next
 * mouse event on the picture begins. A point takes one click, a line two, a rectangle a drag, a polygon one click a
 * point. A line with arrows has its place at once and is only moved.
 *
 * dwRed, dwGreen, dwBlue  0 to 255 each; higher bits are ignored
 * byLimitMask             edges of the picture that the rule stays within: PELLORA_LIMIT_MASK, added up
 *
 * Returns the rule's number, the lowest free one of 0 to 63; PELLORA_NO_RULE for an unknown type and when 64 rules
 * exist; 0 also when there is no such window or pane.
 */
long PELLORA_CreateRule(long lHandle, unsigned short wRuleType, unsigned long dwRed, unsigned long dwGreen,
                        unsigned long dwBlue, const void *pExtend, unsigned char byLimitMask,
                        long lSubHandel) PELLORA_NOEXCEPT;

/** Removes a rule. 1 for 0 to 63, also without such a rule. */
int PELLORA_DestroyRule(long lHandle, long lRuleID, long lSubHandel) PELLORA_NOEXCEPT;

/** Removes every rule of the pane, or with PELLORA_ALL_PANES of all panes. */
int PELLORA_ClearRule(long lHandle, long lSubHandel) PELLORA_NOEXCEPT;

/** Reads a rule's coordinates into the record of its type, which must be zeroed before. */
int PELLORA_GetRuleCoord(long lHandle, long lRuleID, void *pCoord, long lSubHandel) PELLORA_NOEXCEPT;

/** Gives a rule the coordinates in the record of its type, kept within the edges of its limit mask. */
int PELLORA_SetRuleCoord(long lHandle, long lRuleID, const void *pCoord, long lSubHandel) PELLORA_NOEXCEPT;

/**
 * Sets the function that is told what the user does to the pane's rules, with lHandle; null: none.
 * lSubHandel PELLORA_ALL_PANES: for all panes.
 */
int PELLORA_SetRuleCoordCallback(long lHandle, PELLORA_RULE_COORD_CB pfnCallback, long lSubHandel) PELLORA_NOEXCEPT;

/** The arrows of a line with arrows: PELLORA_ARROW_TYPE. 0 for rules of other types. */
int PELLORA_SetRuleArrowType(long lHandle, long lRuleID, unsigned short wArrowType, long lSubHandel) PELLORA_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif
