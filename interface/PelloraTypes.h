/**
 * Constants, records and callback types of Pellora.dll; Pellora.h includes it.
 *
 * Valid C and C++, and free of <windows.h>. The library's interface is made of numbers: parameters and fields have the
 * widths that stand here, never that of an enumeration, whose names are for reading and writing the numbers.
 */
#ifndef PELLORATYPES_H
#define PELLORATYPES_H

/* ---- version of this header; the library has no function that tells its own ---- */

#define PELLORA_VERSION_MAJOR 0
#define PELLORA_VERSION_MINOR 1
#define PELLORA_VERSION_PATCH 0
/** For comparing: 100 is 0.1.0, 10203 would be 1.2.3. */
#define PELLORA_VERSION (PELLORA_VERSION_MAJOR * 10000 + PELLORA_VERSION_MINOR * 100 + PELLORA_VERSION_PATCH)
#define PELLORA_VERSION_TEXT "0.1.0"

#if defined(__cplusplus)
#define PELLORA_STATIC_ASSERT(condition, message) static_assert(condition, message)
#elif defined(__STDC_VERSION__) && __STDC_VERSION__ >= 201112L
#define PELLORA_STATIC_ASSERT(condition, message) _Static_assert(condition, message)
#else
/* Before C11 an array of negative size stands in for it. */
#define PELLORA_STATIC_ASSERT(condition, message) extern char PELLORA_asserted[(condition) ? 1 : -1]
#endif

#ifdef __cplusplus
extern "C" {
#endif

PELLORA_STATIC_ASSERT(sizeof(long) == 4 && sizeof(void *) == 8, "Windows x86-64");

/* ---- constants ---- */

/** What there is of each kind. Handles, panes and rules count from 0. */
enum PELLORA_BOUNDS {
    PELLORA_MAX_WINDOWS = 9,      /**< video windows in a process */
    PELLORA_PANES_PER_WINDOW = 9, /**< panes of a window, of which 1, 4 or 9 are shown */
    PELLORA_MAX_RULES = 64,       /**< rules of a pane */
    PELLORA_MAX_RULE_TYPE = 10,   /**< types of rules, which count from 1 */
    PELLORA_MAX_POINTS = 10,      /**< points of a polygon */
    PELLORA_MAX_TEXT = 1024,      /**< a rule's text with its zero byte */
    PELLORA_MAX_VOLUME = 65535
};

/** Numbers below 0 that a function answers with. */
enum PELLORA_NONE {
    PELLORA_NO_WINDOW = -1, /**< of PELLORA_CreateWindow */
    PELLORA_NO_RULE = -1    /**< of PELLORA_CreateRule */
};

/** Values of lSubHandel beside a pane's index. */
enum PELLORA_PANE {
    PELLORA_CURRENT_PANE = -1,
    PELLORA_ALL_PANES = 255 /**< the rules of all panes: PELLORA_ClearRule and PELLORA_SetRuleCoordCallback only */
};

/** How a video window stays visible in its host: embedMode. Any number above 1 is as good as PELLORA_EMBED_PLAIN. */
enum PELLORA_EMBED_MODE {
    PELLORA_EMBED_RENDER_WIDGET = 0, /**< above a page in a "Chrome_RenderWidgetHostHWND" child */
    PELLORA_EMBED_D3D_WINDOW = 1,    /**< beside a page in an "Intermediate D3D Window" child */
    PELLORA_EMBED_PLAIN = 2          /**< no page of Chromium's */
};

/** Streams of a channel: streamType. What is behind each is the device's; the usual order is given. */
enum PELLORA_STREAM_TYPE {
    PELLORA_STREAM_MAIN = 0, /**< all of the picture */
    PELLORA_STREAM_SUB = 1,  /**< smaller */
    PELLORA_STREAM_THIRD = 2
};

/** Types of rules: wRuleType. The record of each type's coordinates stands beside it. */
enum PELLORA_RULE_TYPE {
    PELLORA_RULE_POINT = 1,             /**< tagPELLORA_RULE_POINT */
    PELLORA_RULE_LINE = 2,              /**< tagPELLORA_RULE_LINE */
    PELLORA_RULE_RECT = 3,              /**< tagPELLORA_RULE_RECT */
    PELLORA_RULE_POLYGON = 4,           /**< tagPELLORA_RULE_POLYGON */
    PELLORA_RULE_TEXT = 5,              /**< tagPELLORA_RULE_TEXT */
    PELLORA_RULE_LINE_WITH_ARROWS = 6,  /**< tagPELLORA_RULE_LINE */
    PELLORA_RULE_RECT_WITH_TEXT = 7,    /**< tagPELLORA_RULE_RECT */
    PELLORA_RULE_POLYGON_WITH_TEXT = 8, /**< tagPELLORA_RULE_POLYGON */
    PELLORA_RULE_LINE_WITH_TEXT = 9,    /**< tagPELLORA_RULE_LINE */
    PELLORA_RULE_CROSS_WITH_TEXT = 10   /**< tagPELLORA_RULE_POINT */
};

/** What the mouse does to a rule: byState. Told are 0, 2 and 4; the others name what happens in between. */
enum PELLORA_EDIT_STATE {
    PELLORA_EDIT_COMPLETE = 0, /**< told once, when a drawn rule is complete */
    PELLORA_EDIT_WAITING = 1,  /**< a new rule waits for its first point; not told */
    PELLORA_EDIT_DRAWING = 2,  /**< told with each mouse event while a new rule is drawn */
    PELLORA_EDIT_SELECTED = 3, /**< a rule was hit; not told */
    PELLORA_EDIT_EDITING = 4   /**< told with each mouse event while a rule is edited; the end is not told */
};

/** The corner of the picture that coordinates count from: wOriginPos. */
enum PELLORA_ORIGIN {
    PELLORA_ORIGIN_TOP_LEFT = 1,   /**< y grows downwards; until another one is set */
    PELLORA_ORIGIN_BOTTOM_LEFT = 2 /**< y grows upwards */
};

/** Arrows of a line with arrows: wArrowType. Other numbers show none. The letters A and B are shown in any case. */
enum PELLORA_ARROW_TYPE {
    PELLORA_ARROW_BOTH = 0,
    PELLORA_ARROW_A = 1, /**< to the right, seen along the line from its start */
    PELLORA_ARROW_B = 2  /**< to the left */
};

/** Edges of the picture that a rule stays within: byLimitMask, added up. */
enum PELLORA_LIMIT_MASK {
    PELLORA_LIMIT_NONE = 0,
    PELLORA_LIMIT_LEFT = 1,
    PELLORA_LIMIT_TOP = 2,
    PELLORA_LIMIT_RIGHT = 4,
    PELLORA_LIMIT_BOTTOM = 8
};

/** What a text's point is: wAnchor. */
enum PELLORA_ANCHOR {
    PELLORA_ANCHOR_TOP_LEFT = 1, /**< its top left corner */
    PELLORA_ANCHOR_TOP_RIGHT = 2 /**< its top right one */
};

/** The edge of the picture that a text keeps to while it is dragged: byDock. */
enum PELLORA_DOCK { PELLORA_DOCK_NONE = 0, PELLORA_DOCK_LEFT = 1, PELLORA_DOCK_RIGHT = 2 };

/* ---- records ---- */

/** One live preview. */
typedef struct tagPELLORA_PREVIEW_PARAM {
    long userID;            /**< log-in at the device library; 0 or more */
    unsigned long lChannel; /**< channel of the device; not 0 */
    long streamType;        /**< stream of the channel: PELLORA_STREAM_TYPE */
    unsigned char openDraw; /**< 1: open the rule overlay once the preview runs, 0: not */
    long lHandle;           /**< out, batch calls: the window the preview was started in */
    long lSubHandel;        /**< out, batch calls: the pane the preview was started in */
    char *url;              /**< batch calls: stream address, read during the call only */
} tagPELLORA_PREVIEW_PARAM;

/** Up to nine live previews; also the answer of the batch calls. */
typedef struct tagPELLORA_BATCH_PREVIEW_PARAM {
    tagPELLORA_PREVIEW_PARAM struPreviewParam[PELLORA_PANES_PER_WINDOW]; /**< element i is for pane i */
    unsigned short wNum;                                                 /**< valid elements; more than 9 count as 9 */
} tagPELLORA_BATCH_PREVIEW_PARAM;

/** State of a pane's preview. Both of the last two words carry the pane's index. */
typedef struct tagPELLORA_PREVIEW_STATUS {
    long userID;             /**< log-in of the pane's preview, -1 without one */
    unsigned long lChannel;  /**< its channel, 0 without one */
    unsigned char byPlaying; /**< 1: the pane's player is open, 0: not */
    long lHandle;            /**< index of the pane */
    long lSubHandel;         /**< index of the pane */
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
    unsigned char *pBuf;         /**< caller's buffer for the JPEG */
    unsigned long dwBufSize;     /**< its size in bytes */
    unsigned long dwPicSize;     /**< out: bytes written; the size needed when the buffer is too small */
    unsigned long dwQuality;     /**< 1 to 100; 0 is the default, 85 */
    unsigned long dwReserved[3]; /**< 0 */
    unsigned long *pCropRect;    /**< four words, left, top, right, bottom; in: thousandths, out: pixels */
} tagPELLORA_CROP_PIC_INFO;

/** Holes in a video window. The record is 76 bytes long, of which the first 74 count. */
typedef struct tagPELLORA_CLIP_AREA {
    tagPELLORA_RECT struRect[4]; /**< client pixels of the video window */
    unsigned short wRadius[4];   /**< size of each rectangle's corner ellipse in pixels; 0: square corners */
    unsigned short wNum;         /**< rectangles that are used, from the first */
} tagPELLORA_CLIP_AREA;

/* Records of rules. Coordinates are thousandths of the picture. */

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
    tagPELLORA_POINT struPoints[PELLORA_MAX_POINTS];
    unsigned short wPointNum; /**< points that count, at most 10 */
} tagPELLORA_RULE_POLYGON;

/** A text. */
typedef struct tagPELLORA_RULE_TEXT {
    char szText[PELLORA_MAX_TEXT]; /**< UTF-8, with its zero byte */
    unsigned short wAnchor;        /**< the corner that struPoint is: PELLORA_ANCHOR */
    tagPELLORA_POINT struPoint;    /**< the reference point */
    unsigned char byDock;          /**< PELLORA_DOCK; when read, the anchor's number stands here instead */
} tagPELLORA_RULE_TEXT;

/** How a polygon is drawn by mouse. Only its first three bytes count. */
typedef struct tagPELLORA_RULE_POLYGON_EXT {
    unsigned short wPointNum;    /**< points of the complete polygon, at most 10; without the record 4 */
    unsigned char byFinishEarly; /**< not 0: the right button completes it with fewer */
} tagPELLORA_RULE_POLYGON_EXT;

/* Offsets follow from the sizes of the fields, but the compiler's packing must be the usual one. */
PELLORA_STATIC_ASSERT(sizeof(tagPELLORA_PREVIEW_PARAM) == 32, "tagPELLORA_PREVIEW_PARAM");
PELLORA_STATIC_ASSERT(sizeof(tagPELLORA_BATCH_PREVIEW_PARAM) == 296, "tagPELLORA_BATCH_PREVIEW_PARAM");
PELLORA_STATIC_ASSERT(sizeof(tagPELLORA_PREVIEW_STATUS) == 20, "tagPELLORA_PREVIEW_STATUS");
PELLORA_STATIC_ASSERT(sizeof(tagPELLORA_SYSTEM_TIME) == 28, "tagPELLORA_SYSTEM_TIME");
PELLORA_STATIC_ASSERT(sizeof(tagPELLORA_POINT) == 8, "tagPELLORA_POINT");
PELLORA_STATIC_ASSERT(sizeof(tagPELLORA_RECT) == 16, "tagPELLORA_RECT");
PELLORA_STATIC_ASSERT(sizeof(tagPELLORA_CROP_PIC_INFO) == 40, "tagPELLORA_CROP_PIC_INFO");
PELLORA_STATIC_ASSERT(sizeof(tagPELLORA_CLIP_AREA) == 76, "tagPELLORA_CLIP_AREA");
PELLORA_STATIC_ASSERT(sizeof(tagPELLORA_RULE_POINT) == 8, "tagPELLORA_RULE_POINT");
PELLORA_STATIC_ASSERT(sizeof(tagPELLORA_RULE_LINE) == 16, "tagPELLORA_RULE_LINE");
PELLORA_STATIC_ASSERT(sizeof(tagPELLORA_RULE_RECT) == 16, "tagPELLORA_RULE_RECT");
PELLORA_STATIC_ASSERT(sizeof(tagPELLORA_RULE_POLYGON) == 84, "tagPELLORA_RULE_POLYGON");
PELLORA_STATIC_ASSERT(sizeof(tagPELLORA_RULE_TEXT) == 1040, "tagPELLORA_RULE_TEXT");
PELLORA_STATIC_ASSERT(sizeof(tagPELLORA_RULE_POLYGON_EXT) == 4, "tagPELLORA_RULE_POLYGON_EXT");

/* ---- callback types; all are called on the user-interface thread ---- */

/** State of a pane's preview has changed, or the pane was clicked. */
typedef void (*PELLORA_PREVIEW_STATUS_CB)(tagPELLORA_PREVIEW_STATUS struStatus);

/** The file in a pane has reached its end; lHandle is the one given with the callback. */
typedef void (*PELLORA_FILE_END_CB)(long lHandle);

/**
 * The user draws or edits a rule with the mouse.
 *
 * wRuleType  PELLORA_RULE_TYPE
 * pCoord     the record of that type with the rule's coordinates, dwSize bytes long
 * byState    PELLORA_EDIT_DRAWING with each mouse event while it is drawn, PELLORA_EDIT_COMPLETE once it is complete,
 *            PELLORA_EDIT_EDITING with each event while it is edited; the end of an edit is not told
 * lHandle    the handle given with the callback; lSubHandel: the index of the pane
 */
typedef void (*PELLORA_RULE_COORD_CB)(long lRuleID, unsigned short wRuleType, void *pCoord, unsigned char byState,
                                      long lHandle, long lSubHandel, unsigned long dwSize);

/* Their earlier names, which hosts go on using. */
typedef PELLORA_PREVIEW_STATUS_CB pfnPreviewStatusCB;
typedef PELLORA_FILE_END_CB fFileEndCBFun;
typedef PELLORA_RULE_COORD_CB pfnRuleCoordCB;

#ifdef __cplusplus
}
#endif

#endif
