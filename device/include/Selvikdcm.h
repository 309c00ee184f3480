/**
 * Selvikdcm.dll, the device library: log-in to a device, and live previews handed over as a byte stream.
 *
 * C and C++. Every function can be called from any thread, with any number.
 */
#ifndef SELVIKDCM_H
#define SELVIKDCM_H

#include <stddef.h>

#ifdef __cplusplus
extern "C" {
#endif

/** Last errors. */
enum {
    SELVIK_ERROR_NONE = 0,
    SELVIK_ERROR_ARGUMENT = 1,
    SELVIK_ERROR_HANDLE = 2, /**< unknown log-in or preview handle */
    SELVIK_ERROR_RESOURCES = 3,
    SELVIK_ERROR_ADDRESS = 4, /**< address not understood           */
    SELVIK_ERROR_HOST = 5,    /**< host not reached                 */
    SELVIK_ERROR_REFUSED = 6, /**< credentials or certificate       */
    SELVIK_ERROR_CHANNEL = 7, /**< no such channel or stream        */
    SELVIK_ERROR_TIMEOUT = 8,
    SELVIK_ERROR_MEDIA = 9 /**< no usable media                  */
};

/** Values of SELVIK_DCM_STREAM_DATA::type. */
enum { SELVIK_STREAM_HEADER = 1, SELVIK_STREAM_DATA = 2 };

/** One piece of a preview's byte stream. */
typedef struct {
    unsigned int type;    /**< 1 header, 2 data */
    unsigned int length;  /**< bytes */
    unsigned char *bytes; /**< valid during the call */
} SELVIK_DCM_STREAM_DATA;

/** Called by one thread per preview: the header first, then data. */
typedef void (*SELVIK_DCM_STREAM_CB)(long previewHandle, const SELVIK_DCM_STREAM_DATA *data, void *user);

/** Request of SELVIK_DCM_StartPreview; it and `url` are not used after the call returns. */
typedef struct {
    unsigned int channel;
    unsigned int streamType;
    unsigned int word8;  /**< callers write 0 */
    unsigned int word12; /**< callers write 0 */
    unsigned int word16; /**< callers write 1 */
    unsigned int pad20;  /**< callers write 0 */
    SELVIK_DCM_STREAM_CB callback;
    void *user;
    unsigned char reserved40[8];
    const char *url; /**< an address that stands in for the log-in's template; may be null */
    unsigned char reserved56[120];
} SELVIK_DCM_PREVIEW_INFO;

/** Values of SELVIK_DCM_STATE::state. */
enum {
    SELVIK_STATE_STARTING = 1, /**< SELVIK_DCM_StartPreview() was called                       */
    SELVIK_STATE_PLAYING = 2,  /**< a header has come, the first one or one after a loss       */
    SELVIK_STATE_LOST = 3,     /**< the device is gone; the library goes on asking for it      */
    SELVIK_STATE_FAILED = 4,   /**< the start failed, or the preview cannot go on: the last one */
    SELVIK_STATE_STOPPED = 5   /**< SELVIK_DCM_StopPreview() or _Logout(): the last one         */
};

/** How a preview is; valid during the call. */
typedef struct {
    long userID;             /**< the request's; -1 without a log-in */
    unsigned int channel;    /**< as asked for */
    unsigned int streamType; /**< as asked for */
    long previewHandle;      /**< -1 until it is known, which it is from the first header on */
    unsigned int state;      /**< SELVIK_STATE_ */
    unsigned int error;      /**< why it is lost or failed, SELVIK_ERROR_; else 0 */
} SELVIK_DCM_STATE;

/** Called on a thread of the library's, one call at a time, in the order in which a preview's states follow. */
typedef void (*SELVIK_DCM_STATE_CB)(const SELVIK_DCM_STATE *state, void *user);

#if defined(__cplusplus)
#define SELVIK_STATIC_ASSERT(condition, message) static_assert(condition, message)
#elif defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L
#define SELVIK_STATIC_ASSERT(condition, message) _Static_assert(condition, message)
#else
/* Before C11 an array of negative size stands in for it. */
#define SELVIK_STATIC_ASSERT(condition, message) extern char SELVIK_asserted[(condition) ? 1 : -1]
#endif
SELVIK_STATIC_ASSERT(sizeof(SELVIK_DCM_STREAM_DATA) == 16, "SELVIK_DCM_STREAM_DATA");
SELVIK_STATIC_ASSERT(offsetof(SELVIK_DCM_STREAM_DATA, type) == 0, "type");
SELVIK_STATIC_ASSERT(offsetof(SELVIK_DCM_STREAM_DATA, length) == 4, "length");
SELVIK_STATIC_ASSERT(offsetof(SELVIK_DCM_STREAM_DATA, bytes) == 8, "bytes");
SELVIK_STATIC_ASSERT(sizeof(SELVIK_DCM_PREVIEW_INFO) == 176, "SELVIK_DCM_PREVIEW_INFO");
SELVIK_STATIC_ASSERT(offsetof(SELVIK_DCM_PREVIEW_INFO, channel) == 0, "channel");
SELVIK_STATIC_ASSERT(offsetof(SELVIK_DCM_PREVIEW_INFO, streamType) == 4, "streamType");
SELVIK_STATIC_ASSERT(offsetof(SELVIK_DCM_PREVIEW_INFO, word8) == 8, "word8");
SELVIK_STATIC_ASSERT(offsetof(SELVIK_DCM_PREVIEW_INFO, word12) == 12, "word12");
SELVIK_STATIC_ASSERT(offsetof(SELVIK_DCM_PREVIEW_INFO, word16) == 16, "word16");
SELVIK_STATIC_ASSERT(offsetof(SELVIK_DCM_PREVIEW_INFO, pad20) == 20, "pad20");
SELVIK_STATIC_ASSERT(offsetof(SELVIK_DCM_PREVIEW_INFO, callback) == 24, "callback");
SELVIK_STATIC_ASSERT(offsetof(SELVIK_DCM_PREVIEW_INFO, user) == 32, "user");
SELVIK_STATIC_ASSERT(offsetof(SELVIK_DCM_PREVIEW_INFO, reserved40) == 40, "reserved40");
SELVIK_STATIC_ASSERT(offsetof(SELVIK_DCM_PREVIEW_INFO, url) == 48, "url");
SELVIK_STATIC_ASSERT(offsetof(SELVIK_DCM_PREVIEW_INFO, reserved56) == 56, "reserved56");
SELVIK_STATIC_ASSERT(sizeof(SELVIK_DCM_STATE) == sizeof(long) * 2 + 16, "SELVIK_DCM_STATE");
SELVIK_STATIC_ASSERT(offsetof(SELVIK_DCM_STATE, userID) == 0, "userID");
SELVIK_STATIC_ASSERT(offsetof(SELVIK_DCM_STATE, channel) == sizeof(long), "channel");
SELVIK_STATIC_ASSERT(offsetof(SELVIK_DCM_STATE, streamType) == sizeof(long) + 4, "streamType");
SELVIK_STATIC_ASSERT(offsetof(SELVIK_DCM_STATE, previewHandle) == sizeof(long) + 8, "previewHandle");
SELVIK_STATIC_ASSERT(offsetof(SELVIK_DCM_STATE, state) == sizeof(long) * 2 + 8, "state");
SELVIK_STATIC_ASSERT(offsetof(SELVIK_DCM_STATE, error) == sizeof(long) * 2 + 12, "error");
#ifdef _WIN32
SELVIK_STATIC_ASSERT(sizeof(SELVIK_DCM_STATE) == 24, "SELVIK_DCM_STATE");
#endif

/** Starts a preview: a handle of 0 or more, or -1. Waits at most 5 seconds for the device's answer. */
long SELVIK_DCM_StartPreview(long userID, const SELVIK_DCM_PREVIEW_INFO *info);
/**
 * When it returns, the callback is not running and is not called again. Never waits for the network. Inside a callback
 * it does not wait for one that itself waits, there, for the calling one to return.
 */
int SELVIK_DCM_StopPreview(long previewHandle);
/** The calling thread's last error. */
unsigned long SELVIK_DCM_GetLastError(void);
/**
 * Keeps an address (a template with {channel} and {stream}) and its credentials, either or both of which may be null
 * for a device that asks for none: an identifier, or -1.
 */
long SELVIK_DCM_Login(const char *address, const char *user, const char *password);
/** Forgets a log-in, stops its previews and waits for their good-byes, about a second at most in all. */
int SELVIK_DCM_Logout(long userID);
/**
 * Tells the states of all previews from now on; null: nobody. There is one such callback in a process. When the call
 * returns, the former one is not running and is not called again, unless the call comes from inside it. What was not
 * told yet the new one is told.
 */
int SELVIK_DCM_SetStateCallback(SELVIK_DCM_STATE_CB callback, void *user);
/** What an error means, in short English; never null, and never to be freed. */
const char *SELVIK_DCM_GetErrorText(unsigned long error);

#ifdef __cplusplus
}
#endif

#endif
