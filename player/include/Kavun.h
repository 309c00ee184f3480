/**
 * Drovel.dll, the player: one port per picture, fed from a file or from a pushed stream, drawn into a window.
 *
 * C and C++. Every function can be called from any thread, with any port number: a wrong one fails with an error
 * code. Functions return non-zero for success and 0 for failure unless their type says otherwise; each sets the
 * port's last error for the calling thread (KAVUN_ERROR_*), which Kavun_GetLastError reads.
 * Nothing here waits for the thread that owns the window.
 */
#ifndef KAVUN_H
#define KAVUN_H

#include <windows.h>

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Last errors. */
enum {
    KAVUN_ERROR_NONE = 0,
    KAVUN_ERROR_ARGUMENT = 1,         /**< bad argument or unknown port                       */
    KAVUN_ERROR_ORDER = 2,            /**< wrong order: not open, not playing                 */
    KAVUN_ERROR_RESOURCES = 3,        /**< out of memory or system resources                  */
    KAVUN_ERROR_OPEN = 4,             /**< the file cannot be opened                          */
    KAVUN_ERROR_UNSUPPORTED = 5,      /**< container or codec not supported                   */
    KAVUN_ERROR_CORRUPT = 6,          /**< corrupt header or data                             */
    KAVUN_ERROR_BUFFER_TOO_SMALL = 7, /**< the caller's buffer; the needed size is reported   */
    KAVUN_ERROR_NO_PICTURE = 8,       /**< no picture decoded yet                             */
    KAVUN_ERROR_LIMIT = 9,            /**< limit reached: speed, ports                        */
    KAVUN_ERROR_NO_TIME = 10,         /**< no absolute time known                             */
    KAVUN_ERROR_BUFFER_FULL = 11,     /**< the stream's source buffer has no room             */
    KAVUN_ERROR_NO_INDEX = 12,        /**< the file index is not complete                     */
    KAVUN_ERROR_NO_SOUND = 13,        /**< no sound stream or no sound device                 */
    KAVUN_ERROR_END = 14              /**< end (or beginning) of the file                     */
};

/** Values of Kavun_SetStreamOpenMode. */
enum { KAVUN_MODE_REAL_TIME = 0, KAVUN_MODE_FILE = 1 };

/** An absolute time, UTC. */
typedef struct {
    unsigned long dwYear;
    unsigned long dwMonth;
    unsigned long dwDay;
    unsigned long dwHour;
    unsigned long dwMinute;
    unsigned long dwSecond;
    unsigned long dwMillisecond;
} KAVUN_SYSTEM_TIME;

/** Request of Kavun_GetCropJPEG. */
typedef struct {
    unsigned char *pBuf;         /**< caller's output buffer for the JPEG            */
    unsigned long dwBufSize;     /**< its size in bytes                              */
    unsigned long dwPicSize;     /**< out: bytes produced, or needed (error 7)       */
    unsigned long dwQuality;     /**< 1..100, 0 = default (85)                       */
    unsigned long dwReserved[3]; /**< 0                                              */
    unsigned long *pCropRect;    /**< left, top, right, bottom in picture pixels     */
} CROP_PIC_INFO;

/** A port's notice; called on a thread of the player. */
typedef void (*KAVUN_PORT_CALLBACK)(long port, void *user);

/**
 * Draws over a picture; called on a thread of the player, not always the same one, once per presented picture. In a
 * window of which nothing can be seen nothing is presented, while the stream or the file goes on.
 */
typedef void (*KAVUN_DRAW_CALLBACK)(long port, HDC dc, void *user);

#if !defined(_WIN32)
/* Native tests of what stands on this header: long is wider there, and the records are nobody's contract. */
#define KAVUN_STATIC_ASSERT(condition, text) static_assert(true, text)
#elif defined(__cplusplus)
#define KAVUN_STATIC_ASSERT(condition, text) static_assert(condition, text)
#elif defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L
#define KAVUN_STATIC_ASSERT(condition, text) _Static_assert(condition, text)
#else
/* Before C11 an array of negative size stands in for it. */
#define KAVUN_STATIC_ASSERT(condition, text) extern char KAVUN_asserted[(condition) ? 1 : -1]
#endif
KAVUN_STATIC_ASSERT(sizeof(KAVUN_SYSTEM_TIME) == 28, "KAVUN_SYSTEM_TIME is seven 32-bit words");
KAVUN_STATIC_ASSERT(offsetof(KAVUN_SYSTEM_TIME, dwYear) == 0, "dwYear");
KAVUN_STATIC_ASSERT(offsetof(KAVUN_SYSTEM_TIME, dwMonth) == 4, "dwMonth");
KAVUN_STATIC_ASSERT(offsetof(KAVUN_SYSTEM_TIME, dwDay) == 8, "dwDay");
KAVUN_STATIC_ASSERT(offsetof(KAVUN_SYSTEM_TIME, dwHour) == 12, "dwHour");
KAVUN_STATIC_ASSERT(offsetof(KAVUN_SYSTEM_TIME, dwMinute) == 16, "dwMinute");
KAVUN_STATIC_ASSERT(offsetof(KAVUN_SYSTEM_TIME, dwSecond) == 20, "dwSecond");
KAVUN_STATIC_ASSERT(offsetof(KAVUN_SYSTEM_TIME, dwMillisecond) == 24, "dwMillisecond");
KAVUN_STATIC_ASSERT(sizeof(CROP_PIC_INFO) == 40, "CROP_PIC_INFO");
KAVUN_STATIC_ASSERT(offsetof(CROP_PIC_INFO, pBuf) == 0, "pBuf");
KAVUN_STATIC_ASSERT(offsetof(CROP_PIC_INFO, dwBufSize) == 8, "dwBufSize");
KAVUN_STATIC_ASSERT(offsetof(CROP_PIC_INFO, dwPicSize) == 12, "dwPicSize");
KAVUN_STATIC_ASSERT(offsetof(CROP_PIC_INFO, dwQuality) == 16, "dwQuality");
KAVUN_STATIC_ASSERT(offsetof(CROP_PIC_INFO, dwReserved) == 20, "dwReserved");
KAVUN_STATIC_ASSERT(offsetof(CROP_PIC_INFO, pCropRect) == 32, "pCropRect");

/* ---- ports ---- */

/** Takes a port; *pPort is left alone on failure (1: null, 9: all 256 are taken). Numbers are never used twice. */
int Kavun_GetPort(long *pPort);
/** Stops and closes whatever is open on the port, then gives it back. */
int Kavun_FreePort(long port);
/** The port's last error for the calling thread; for a number that is no port, that thread's last error of any call. */
unsigned long Kavun_GetLastError(long port);

/* ---- sources ---- */

/** Before opening: 0 real time (a stream is shown as it comes), 1 file. */
int Kavun_SetStreamOpenMode(long port, unsigned long mode);
/**
 * Begins a pushed stream whose first bytes are the header; copies it, reads nothing ahead and returns at once. A header
 * or data that make no sense show later: functions that need a picture, and Kavun_InputData, fail with 6 (5: nothing in
 * it that can be shown). What only a file can do (speed, stepping, positions, length) fails with 2 on a stream.
 */
int Kavun_OpenStream(long port, unsigned char *header, unsigned long headerSize, unsigned long sourceBufferSize);
int Kavun_CloseStream(long port);
/**
 * Takes the record whole, or none of it (error 11). Never blocks. A record that was refused and is not pushed again is
 * a loss: nothing is shown up to the next key picture. Error 2 while the port is stopped.
 */
int Kavun_InputData(long port, unsigned char *data, unsigned long size);
/**
 * Opens a file; the path is UTF-8 or, if that names no file, in the system's ANSI code page. A server that is gone may
 * keep the caller for minutes, unless another thread ends it by Kavun_CloseFile or Kavun_FreePort: then it fails
 * with 4. Pictures of more than 16,384 pixels on a side or 64 megapixels are not supported (5), as they are not in
 * streams.
 */
int Kavun_OpenFile(long port, char *path);
/** Also ends the opening of a file that is under way on another thread. Waits for no server. */
int Kavun_CloseFile(long port);
/** Number of decoded pictures kept ready. */
int Kavun_SetDisplayBuf(long port, unsigned long frames);

/* ---- playing ---- */

/** Starts or resumes at normal speed, after the end from the beginning. A null window keeps the one the port has. */
int Kavun_Play(long port, HWND hWnd);
int Kavun_Stop(long port);
/**
 * 1 holds the picture, 0 goes on at the speed in force (also after stepping, which leaves a port paused). A stream in
 * real-time mode is taken in meanwhile and goes on at the newest key picture that has come.
 */
int Kavun_Pause(long port, unsigned long pause);
/** Doubles the speed, up to 16; past it error 9. */
int Kavun_Fast(long port);
/** Halves the speed, down to 1/16; past it error 9. */
int Kavun_Slow(long port);
/** Shows exactly the next picture and holds there; error 14 at the end. */
int Kavun_OneByOne(long port);
/** Shows exactly the previous picture and holds there; error 12 before the index is complete, 14 at the beginning. */
int Kavun_OneByOneBack(long port);
/** Shows the picture that is on display at this time of the file. Past the end: the last picture. */
int Kavun_SetPlayedTimeEx(long port, unsigned long milliseconds);
/** Position in seconds, rounded down. */
unsigned long Kavun_GetPlayedTime(long port);
/** Length in seconds, rounded down; 0 with error 12 while only the index will tell. */
unsigned long Kavun_GetFileTime(long port);
/** Recording times of the first and the last picture; error 10 when the container has none. */
int Kavun_GetFileTotalTime(long port, KAVUN_SYSTEM_TIME *start, KAVUN_SYSTEM_TIME *end);
/** Recording time of the picture on display; error 10 when not known. Live: as the device stamped it, else its arrival.
 */
int Kavun_GetSystemTime(long port, KAVUN_SYSTEM_TIME *time);

/* ---- pictures ---- */

/** Picture size in pixels as it is shown: rotation and pixel aspect applied. A stream has none before its first (8). */
int Kavun_GetPictureSize(long port, long *width, long *height);
/**
 * JPEG of the picture now on display; with error 7 *pictureSize is the size that is needed. A null buffer of size 0
 * asks for that.
 */
int Kavun_GetJPEG(long port, unsigned char *buffer, unsigned long bufferSize, unsigned long *pictureSize);
/** JPEG of a part of it; the rectangle is clamped to the picture, an empty one fails with 1. */
int Kavun_GetCropJPEG(long port, CROP_PIC_INFO *info);
/**
 * Shows only a part of the picture, in picture pixels; null shows all of it. A rectangle whose top is greater than
 * its bottom counts its rows from the picture's bottom edge. Only region 0 with a null window is known (else 1).
 */
int Kavun_SetDisplayRegion(long port, unsigned long region, RECT *rect, HWND hWnd, int enable);

/* ---- sound ---- */

/**
 * One port sounds at a time: takes over from another. Silent while paused, stepped, or at another speed than 1. Ends
 * when what is open on the port is closed. Error 13 without a sound stream or device. Waits for no device.
 *
 * Of a live stream nothing is known before its header has been read, for which some of its data is needed: until then
 * it is accepted, and whoever sounds goes on. It takes over when it turns out to have sound; where it has none nothing
 * changes, and from then on the answer is 13. MPEG-TS, MPEG-PS and FLV may bring sound at any time: they are accepted,
 * and take over with it.
 */
int Kavun_PlaySound(long port);
int Kavun_StopSound(void);
/** 0..0xFFFF, linear; 0xFFFF, the default, is full. */
int Kavun_SetVolume(long port, unsigned short volume);
unsigned short Kavun_GetVolume(long port);

/* ---- callbacks ---- */

/*
 * When one of these three returns, the callback that was set before is not running and will not be called again,
 * except when it is called from inside that callback, which does not deadlock.
 *
 * Stopping, closing or freeing ANOTHER port from inside a callback waits for that port's callback to return, since it
 * must not run any more afterwards. Two callbacks that do it to each other's ports at the same time wait for ever:
 * leave one of the two to another thread.
 */
/** Fires once at each end of the file. */
int Kavun_SetFileEndCallback(long port, void (*callback)(long port, void *user), void *user);
/**
 * Fires once for each file, when its index is complete. One that is set later fires soon after, on a thread of the
 * player's, unless another one has fired for the same file before.
 */
int Kavun_SetFileRefCallBack(long port, void (*callback)(long port, void *user), void *user);
/** The device context's origin and extent are the window's client area. What is drawn is never captured. */
int Kavun_RegisterDrawFun(long port, void (*callback)(long port, HDC dc, void *user), void *user);

/** Shows or hides private data that the stream carries; type 1 is analysis data, 0xff every type. */
int Kavun_RenderPrivateData(long port, long type, int enable);

#ifdef __cplusplus
}
#endif

#endif
