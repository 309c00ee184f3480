/**
 * Pellora.dll: live and recorded video inside a window of the host's.
 *
 * Valid C11 and C++17. Link the import library or resolve the functions by name; they have C linkage, the platform's
 * calling convention and undecorated names.
 *
 * THREADS    Every function is called on one thread, the user-interface thread: the one on which PELLORA_Init makes
 *            the application object, or on which the host's own Qt application object lives. On any other thread a
 *            call changes nothing, logs an error and returns its failure value. That thread must run a message loop
 *            (GetMessage/DispatchMessage is enough). Host callbacks are called on it too.
 * RESULTS    An int is 1 for success and 0 for failure unless a function says otherwise; a value is 0 when it is not
 *            known. The reason of a failure is in the log. No function throws.
 * WINDOWS    lHandle is the number of a video window, 0 to 8. Each window holds nine panes, of which 1, 4 or 9 are
 *            shown; one pane is the current one (framed). A command takes the current pane, or the pane whose index,
 *            0 to 8 in reading order, is lSubHandel; there -1 stands for the current pane. With a handle or index
 *            that names nothing a call returns 0.
 * OWNERSHIP  Records, buffers and texts belong to the caller and are used during the call only. Texts end with a
 *            zero byte. A null record makes a call that needs it return 0.
 * CALLBACKS  Every function may be called from inside a callback, PELLORA_DestroyWindow too. What a callback receives
 *            is valid during the call; the library frees nothing of the host's.
 * UNITS      Pixels are device pixels. Coordinates in thousandths run from 0 (left or top edge of the picture) to
 *            1000 (right or bottom edge).
 *
 * Before PELLORA_Init and after PELLORA_Fini there is no failure of its own: calls answer by what they find, so that
 * windows that outlive PELLORA_Fini can still be destroyed, and work again after the next PELLORA_Init.
 */
#ifndef PELLORA_H
#define PELLORA_H

#include <windows.h>

#include <stddef.h>

#ifdef __cplusplus
#define PELLORA_NOEXCEPT noexcept
#define PELLORA_STATIC_ASSERT static_assert
extern "C" {
#else
#define PELLORA_NOEXCEPT
#define PELLORA_STATIC_ASSERT _Static_assert
#endif

/* ---- records ---- */

/** One live preview. */
typedef struct tagPELLORA_PREVIEW_PARAM {
    long userID;            /**< log-in at the device library; 0 or more                                    */
    unsigned long lChannel; /**< channel of the device; not 0                                               */
    long streamType;        /**< stream of the channel: 0, 1 or 2                                           */
    unsigned char openDraw; /**< 1: open the rule overlay once the preview runs, 0: not                     */
    long lHandle;           /**< out, batch calls: the window the preview was started in                    */
    long lSubHandel;        /**< out, batch calls: the pane the preview was started in                      */
    char *url;              /**< batch calls: stream address, read during the call only                     */
} tagPELLORA_PREVIEW_PARAM;

/** Up to nine live previews; also the answer of the batch calls. */
typedef struct tagPELLORA_BATCH_PREVIEW_PARAM {
    tagPELLORA_PREVIEW_PARAM struPreviewParam[9]; /**< element i is for pane i                              */
    unsigned short wNum;                          /**< valid elements; more than 9 count as 9               */
} tagPELLORA_BATCH_PREVIEW_PARAM;

/** State of a pane's preview. Both of the last two words carry the pane's index. */
typedef struct tagPELLORA_PREVIEW_STATUS {
    long userID;             /**< log-in of the pane's preview, -1 without one                              */
    unsigned long lChannel;  /**< its channel, 0 without one                                                */
    unsigned char byPlaying; /**< 1: the pane's player is open, 0: not                                      */
    long lHandle;            /**< index of the pane                                                         */
    long lSubHandel;         /**< index of the pane                                                         */
} tagPELLORA_PREVIEW_STATUS;

/** An absolute time, UTC. */
typedef struct tagPELLORA_SYSTEM_TIME {
    unsigned long dwYear;
    unsigned long dwMonth; /**< 1 to 12 */
    unsigned long dwDay;   /**< 1 to 31 */
    unsigned long dwHour;
    unsigned long dwMinute;
    unsigned long dwSecond;
    unsigned long dwMillisecond;
} tagPELLORA_SYSTEM_TIME;

/** A point; the picture's size where a function says so. */
typedef struct tagPELLORA_POINT {
    long x;
    long y;
} tagPELLORA_POINT;

/** A rectangle in thousandths of the picture, or in pixels where a function says so. */
typedef struct tagPELLORA_RECT {
    long left;
    long top;
    long right;
    long bottom;
} tagPELLORA_RECT;

/** A JPEG of a part of the picture. The first 32 bytes pass through to the player and back. */
typedef struct tagPELLORA_CROP_PIC_INFO {
    unsigned char *pBuf;         /**< caller's buffer for the JPEG                                          */
    unsigned long dwBufSize;     /**< its size in bytes                                                     */
    unsigned long dwPicSize;     /**< out: bytes written; the size needed when the buffer is too small      */
    unsigned long dwQuality;     /**< 1 to 100; 0 is the default, 85                                        */
    unsigned long dwReserved[3]; /**< 0                                                                     */
    unsigned long *pCropRect;    /**< four words, left, top, right, bottom; in: thousandths, out: pixels    */
} tagPELLORA_CROP_PIC_INFO;

/** Holes in a video window. The record is 76 bytes long, of which the first 74 count. */
typedef struct tagPELLORA_CLIP_AREA {
    tagPELLORA_RECT struRect[4]; /**< client pixels of the video window                                     */
    unsigned short wRadius[4];   /**< size of each rectangle's corner ellipse in pixels; 0: square corners  */
    unsigned short wNum;         /**< rectangles that are used, from the first                              */
} tagPELLORA_CLIP_AREA;

PELLORA_STATIC_ASSERT(sizeof(long) == 4 && sizeof(void *) == 8, "Windows x86-64");

PELLORA_STATIC_ASSERT(sizeof(tagPELLORA_PREVIEW_PARAM) == 32, "tagPELLORA_PREVIEW_PARAM");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_PREVIEW_PARAM, userID) == 0, "userID");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_PREVIEW_PARAM, lChannel) == 4, "lChannel");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_PREVIEW_PARAM, streamType) == 8, "streamType");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_PREVIEW_PARAM, openDraw) == 12, "openDraw");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_PREVIEW_PARAM, lHandle) == 16, "lHandle");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_PREVIEW_PARAM, lSubHandel) == 20, "lSubHandel");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_PREVIEW_PARAM, url) == 24, "url");

PELLORA_STATIC_ASSERT(sizeof(tagPELLORA_BATCH_PREVIEW_PARAM) == 296, "tagPELLORA_BATCH_PREVIEW_PARAM");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_BATCH_PREVIEW_PARAM, struPreviewParam) == 0, "struPreviewParam");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_BATCH_PREVIEW_PARAM, wNum) == 288, "wNum");

PELLORA_STATIC_ASSERT(sizeof(tagPELLORA_PREVIEW_STATUS) == 20, "tagPELLORA_PREVIEW_STATUS");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_PREVIEW_STATUS, userID) == 0, "userID");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_PREVIEW_STATUS, lChannel) == 4, "lChannel");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_PREVIEW_STATUS, byPlaying) == 8, "byPlaying");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_PREVIEW_STATUS, lHandle) == 12, "lHandle");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_PREVIEW_STATUS, lSubHandel) == 16, "lSubHandel");

PELLORA_STATIC_ASSERT(sizeof(tagPELLORA_SYSTEM_TIME) == 28, "tagPELLORA_SYSTEM_TIME");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_SYSTEM_TIME, dwYear) == 0, "dwYear");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_SYSTEM_TIME, dwMonth) == 4, "dwMonth");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_SYSTEM_TIME, dwDay) == 8, "dwDay");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_SYSTEM_TIME, dwHour) == 12, "dwHour");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_SYSTEM_TIME, dwMinute) == 16, "dwMinute");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_SYSTEM_TIME, dwSecond) == 20, "dwSecond");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_SYSTEM_TIME, dwMillisecond) == 24, "dwMillisecond");

PELLORA_STATIC_ASSERT(sizeof(tagPELLORA_POINT) == 8, "tagPELLORA_POINT");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_POINT, x) == 0, "x");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_POINT, y) == 4, "y");

PELLORA_STATIC_ASSERT(sizeof(tagPELLORA_RECT) == 16, "tagPELLORA_RECT");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_RECT, left) == 0, "left");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_RECT, top) == 4, "top");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_RECT, right) == 8, "right");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_RECT, bottom) == 12, "bottom");

PELLORA_STATIC_ASSERT(sizeof(tagPELLORA_CROP_PIC_INFO) == 40, "tagPELLORA_CROP_PIC_INFO");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_CROP_PIC_INFO, pBuf) == 0, "pBuf");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_CROP_PIC_INFO, dwBufSize) == 8, "dwBufSize");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_CROP_PIC_INFO, dwPicSize) == 12, "dwPicSize");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_CROP_PIC_INFO, dwQuality) == 16, "dwQuality");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_CROP_PIC_INFO, dwReserved) == 20, "dwReserved");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_CROP_PIC_INFO, pCropRect) == 32, "pCropRect");

PELLORA_STATIC_ASSERT(sizeof(tagPELLORA_CLIP_AREA) == 76, "tagPELLORA_CLIP_AREA");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_CLIP_AREA, struRect) == 0, "struRect");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_CLIP_AREA, wRadius) == 64, "wRadius");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_CLIP_AREA, wNum) == 72, "wNum");

/* ---- callback types; all are called on the user-interface thread ---- */

/** State of a pane's preview has changed, or the pane was clicked. */
typedef void (*pfnPreviewStatusCB)(tagPELLORA_PREVIEW_STATUS struStatus);

/** The file in a pane has reached its end; lHandle is the one given with the callback. */
typedef void (*fFileEndCBFun)(long lHandle);

/**
 * The user draws or edits a rule with the mouse.
 *
 * pCoord   the record of the rule's type with its coordinates, dwSize bytes long; see the rules below
 * byState  2: it is being drawn (with each mouse event), 0: it is complete, 4: it is being edited (each event; the end
 *          of an edit is not told)
 * lHandle  the handle given with the callback; lSubHandel: the index of the pane
 */
typedef void (*pfnRuleCoordCB)(long lRuleID, unsigned short wRuleType, void *pCoord, unsigned char byState,
                               long lHandle, long lSubHandel, unsigned long dwSize);

/* ---- library ---- */

/**
 * Starts the library: the application object when the process has none, the logger (configured by
 * addon.log4cxx.properties beside the library), the look of the windows. Call it first, on the thread that will own
 * the windows. The library stays in the process from then on; FreeLibrary afterwards is harmless. May be called again
 * after PELLORA_Fini. Always 1 on the right thread.
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
 *            destroyed. When it is destroyed first, its video windows go blank for good; calls on them are harmless,
 *            and PELLORA_DestroyWindow still frees their handles.
 * embedMode  how the video stays visible above a page drawn by Chromium, at each paint of the host: 0 for hosts with a
 *            "Chrome_RenderWidgetHostHWND" child (made transparent and put behind the video), 1 for hosts with an
 *            "Intermediate D3D Window" child (the video is put directly behind it), any other value: nothing is done.
 *            The mode of the first video window of a host window counts for all of them.
 *
 * Returns the handle, the lowest free number of 0 to 8, or -1: no such window, no application object yet
 * (PELLORA_Init), or nine windows exist already. In this last case the window is shown all the same, without a handle.
 */
long PELLORA_CreateWindow(HWND hwnd, unsigned char embedMode) PELLORA_NOEXCEPT;

/**
 * Puts a plain native test window, 600 x 600 pixels at (100, 100), into the host's window and subclasses the host's
 * window for good, once. No video window, no handle. Meant for one host window of a process. Always 1 on the right
 * thread.
 */
long PELLORA_CreateWindow2(HWND hwnd) PELLORA_NOEXCEPT;

/**
 * Stops what plays in a video window, destroys the window and frees its handle. From inside a callback the handle is
 * free at once, and the window goes when the callback has returned. 1 for 0 to 8, also without such a window.
 */
int PELLORA_DestroyWindow(long lHandle) PELLORA_NOEXCEPT;

/** Shows the window (any value but 0) or hides it (0). */
int PELLORA_SetVisible(long lHandle, unsigned short wVisible) PELLORA_NOEXCEPT;

/** Moves and sizes the window: client pixels of the host's window. */
int PELLORA_SetGeometry(long lHandle, int x, int y, int width, int height) PELLORA_NOEXCEPT;

/**
 * Cuts holes into the window, through which the host's own content shows. Replaces the earlier holes; wNum 0 closes
 * them all. Does not follow later changes of the window's size: call it again then. wNum is not checked against 4:
 * the host answers for the memory behind the record.
 */
int PELLORA_SetClipArea(long lHandle, tagPELLORA_CLIP_AREA *pArea) PELLORA_NOEXCEPT;

/** Shows 1, 4 or 9 panes, from the first one; other numbers: 0. Panes that are not shown go on playing. */
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
 * 0: userID below 0, lChannel 0, streamType not 0 to 2, openDraw not 0 or 1, or another start is still under way in the
 * pane. 1: the start has been handed to a worker.
 */
int PELLORA_PreviewStream(long lHandle, tagPELLORA_PREVIEW_PARAM param) PELLORA_NOEXCEPT;

/**
 * Stops the preview in the current pane, and clears its rules. Returns at once, always 1; a start that is under way is
 * stopped as soon as it has come back.
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
int PELLORA_SetPreviewStatusCallback(long lHandle, pfnPreviewStatusCB pfnCallback) PELLORA_NOEXCEPT;

/** Shows (any value but 0) or hides analysis data that the streams of the window's panes carry; those that play now. */
int PELLORA_SetIntelData(long lHandle, unsigned short wOpen) PELLORA_NOEXCEPT;

/* ---- recorded files; all on the current pane ---- */

/**
 * Plays a file in the current pane instead of what plays there.
 *
 * pFileName  UTF-8 or, where that names no file, the system's ANSI code page; of any length
 * byLoop     not 0: from the beginning again at each end
 * byOpenDraw not 0: opens the rule overlay
 *
 * 0 when the file cannot be opened; what played before has ended all the same.
 */
int PELLORA_PreviewFile(long lHandle, char *pFileName, unsigned char byLoop, unsigned char byOpenDraw) PELLORA_NOEXCEPT;

/** Ends the file; its overlay, rules and loop end with it. A file-end callback stays for the next file. Always 1. */
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

/** Seeks to a time in seconds, exactly; also while paused and after the end. Past the end: the last picture. */
int PELLORA_SetPlayPos(long lHandle, unsigned long dwPlayedTime) PELLORA_NOEXCEPT;

/** Position in seconds, rounded down. */
unsigned long PELLORA_GetPlayPos(long lHandle) PELLORA_NOEXCEPT;

/** Length of the file in seconds, rounded down; 0 while it is not known. */
unsigned long PELLORA_GetFileTime(long lHandle) PELLORA_NOEXCEPT;

/** Length in seconds of a file that is not played. No window is needed. The name's spelling stays. */
unsigned long PELLORA_GetFileTimeNoPriview(char *pFileName) PELLORA_NOEXCEPT;

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
 * it a loop that runs. A callback set before a file is opened is kept and used for it.
 *
 * 1 when the player has taken it, else 0: so also when it is only kept, because no file is open.
 */
unsigned long PELLORA_SetFileEndCallback(long lHandle, fFileEndCBFun pfnCallback) PELLORA_NOEXCEPT;

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
 * grow with the picture, each region on top of the one before: show the whole picture in between. A region without
 * width or height in pixels: 0, nothing changes.
 */
int PELLORA_SetDisplayRegion(long lHandle, tagPELLORA_RECT *pRect, long lSubHandel) PELLORA_NOEXCEPT;

/* ---- sound of the current pane ---- */

/** Lets this pane sound, instead of the one that did. */
int PELLORA_OpenSound(long lHandle) PELLORA_NOEXCEPT;

/** Ends the sound. */
int PELLORA_CloseSound(long lHandle) PELLORA_NOEXCEPT;

/** 0 to 65535, linear; 65535, the default, is full. */
int PELLORA_SetVolume(long lHandle, unsigned short wVolume) PELLORA_NOEXCEPT;

unsigned short PELLORA_GetVolume(long lHandle) PELLORA_NOEXCEPT;

/* ---- rules: shapes over the picture of a pane; all take lSubHandel ---- */

/*
 * A rule is a shape of one of ten types, drawn over the picture while the overlay is open. Rules belong to the picture:
 * they move and grow with it. Coordinates are thousandths of the picture, counted from its top left corner or, after
 * PELLORA_SetOriginPos with 2, from its bottom left one.
 *
 * type                 record of its coordinates      pExtend of PELLORA_CreateRule
 *  1 point             tagPELLORA_RULE_POINT          ignored
 *  2 line              tagPELLORA_RULE_LINE           ignored
 *  3 rectangle         tagPELLORA_RULE_RECT           ignored
 *  4 polygon           tagPELLORA_RULE_POLYGON        null, or tagPELLORA_RULE_POLYGON_EXT
 *  5 text              tagPELLORA_RULE_TEXT           ignored
 *  6 line with arrows  tagPELLORA_RULE_LINE           ignored
 *  7 rectangle + text  tagPELLORA_RULE_RECT           null, or the caption
 *  8 polygon + text    tagPELLORA_RULE_POLYGON        null, or three bytes as for a polygon and, directly after them,
 *                                                     the caption
 *  9 line + text       tagPELLORA_RULE_LINE           null, or the caption
 * 10 cross + text      tagPELLORA_RULE_POINT          null, or the caption
 *
 * Captions are UTF-8 and end with a zero byte; at most 1 KiB of them is read.
 */

/** A point, or the middle of a cross. */
typedef struct tagPELLORA_RULE_POINT {
    tagPELLORA_POINT struPoint;
} tagPELLORA_RULE_POINT;

/** A line. */
typedef struct tagPELLORA_RULE_LINE {
    tagPELLORA_POINT struStart;
    tagPELLORA_POINT struEnd;
} tagPELLORA_RULE_LINE;

/** A rectangle. */
typedef struct tagPELLORA_RULE_RECT {
    tagPELLORA_POINT struTopLeft;
    tagPELLORA_POINT struBottomRight;
} tagPELLORA_RULE_RECT;

/** A polygon; it is closed from the last point to the first. */
typedef struct tagPELLORA_RULE_POLYGON {
    tagPELLORA_POINT struPoints[10];
    unsigned short wPointNum; /**< points that count, at most 10                                            */
} tagPELLORA_RULE_POLYGON;

/** A text. */
typedef struct tagPELLORA_RULE_TEXT {
    char szText[1024];          /**< UTF-8, with its zero byte                                              */
    unsigned short wAnchor;     /**< struPoint is the text's top left corner (1) or its top right one (2)   */
    tagPELLORA_POINT struPoint; /**< the reference point                                                    */
    unsigned char byDock;       /**< 0 free, 1 docked to the picture's left edge, 2 to its right edge       */
} tagPELLORA_RULE_TEXT;

/** How a polygon is drawn by mouse. Only its first three bytes count. */
typedef struct tagPELLORA_RULE_POLYGON_EXT {
    unsigned short wPointNum;    /**< points of the complete polygon, at most 10; without the record 4      */
    unsigned char byFinishEarly; /**< not 0: the right button completes it with fewer                       */
} tagPELLORA_RULE_POLYGON_EXT;

PELLORA_STATIC_ASSERT(sizeof(tagPELLORA_RULE_POINT) == 8, "tagPELLORA_RULE_POINT");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_RULE_POINT, struPoint) == 0, "struPoint");

PELLORA_STATIC_ASSERT(sizeof(tagPELLORA_RULE_LINE) == 16, "tagPELLORA_RULE_LINE");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_RULE_LINE, struStart) == 0, "struStart");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_RULE_LINE, struEnd) == 8, "struEnd");

PELLORA_STATIC_ASSERT(sizeof(tagPELLORA_RULE_RECT) == 16, "tagPELLORA_RULE_RECT");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_RULE_RECT, struTopLeft) == 0, "struTopLeft");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_RULE_RECT, struBottomRight) == 8, "struBottomRight");

PELLORA_STATIC_ASSERT(sizeof(tagPELLORA_RULE_POLYGON) == 84, "tagPELLORA_RULE_POLYGON");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_RULE_POLYGON, struPoints) == 0, "struPoints");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_RULE_POLYGON, wPointNum) == 80, "wPointNum");

PELLORA_STATIC_ASSERT(sizeof(tagPELLORA_RULE_TEXT) == 1040, "tagPELLORA_RULE_TEXT");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_RULE_TEXT, szText) == 0, "szText");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_RULE_TEXT, wAnchor) == 1024, "wAnchor");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_RULE_TEXT, struPoint) == 1028, "struPoint");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_RULE_TEXT, byDock) == 1036, "byDock");

PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_RULE_POLYGON_EXT, wPointNum) == 0, "wPointNum");
PELLORA_STATIC_ASSERT(offsetof(tagPELLORA_RULE_POLYGON_EXT, byFinishEarly) == 2, "byFinishEarly");

/** Where coordinates count from: 1 the picture's top left corner (at first), 2 its bottom left one; else 0. */
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
 * byLimitMask             edges of the picture that the rule stays within: 1 left, 2 top, 4 right, 8 bottom, added up
 *
 * Returns the rule's number, the lowest free one of 0 to 63; -1 for an unknown type and when 64 rules exist; 0 also
 * when there is no such window or pane.
 */
long PELLORA_CreateRule(long lHandle, unsigned short wRuleType, unsigned long dwRed, unsigned long dwGreen,
                        unsigned long dwBlue, void *pExtend, unsigned char byLimitMask,
                        long lSubHandel) PELLORA_NOEXCEPT;

/** Removes a rule. 1 for 0 to 63, also without such a rule. */
int PELLORA_DestroyRule(long lHandle, long lRuleID, long lSubHandel) PELLORA_NOEXCEPT;

/** Removes every rule of the pane; lSubHandel 255: of all panes. */
int PELLORA_ClearRule(long lHandle, long lSubHandel) PELLORA_NOEXCEPT;

/** Reads a rule's coordinates into the record of its type, which must be zeroed before. */
int PELLORA_GetRuleCoord(long lHandle, long lRuleID, void *pCoord, long lSubHandel) PELLORA_NOEXCEPT;

/** Gives a rule the coordinates in the record of its type, kept within the edges of its limit mask. */
int PELLORA_SetRuleCoord(long lHandle, long lRuleID, void *pCoord, long lSubHandel) PELLORA_NOEXCEPT;

/**
 * Sets the function that is told what the user does to the pane's rules, with lHandle; null: none.
 * lSubHandel 255: for all panes.
 */
int PELLORA_SetRuleCoordCallback(long lHandle, pfnRuleCoordCB pfnCallback, long lSubHandel) PELLORA_NOEXCEPT;

/** The arrows of a rule of type 6: 0 both, 1 only A, 2 only B. 0 for other types. */
int PELLORA_SetRuleArrowType(long lHandle, long lRuleID, unsigned short wArrowType, long lSubHandel) PELLORA_NOEXCEPT;

#ifdef __cplusplus
}
#endif

#endif
