/* The header is valid C, and its records are what hosts in any language build by hand: every field has its place. */
#include "interface/Pellora.h"

#include <stddef.h>

#define FIELD(record, field, offset, size)                                                                             \
    _Static_assert(offsetof(record, field) == (offset) && sizeof(((record *)0)->field) == (size), #record "." #field)

FIELD(tagPELLORA_PREVIEW_PARAM, userID, 0, 4);
FIELD(tagPELLORA_PREVIEW_PARAM, lChannel, 4, 4);
FIELD(tagPELLORA_PREVIEW_PARAM, streamType, 8, 4);
FIELD(tagPELLORA_PREVIEW_PARAM, openDraw, 12, 1);
FIELD(tagPELLORA_PREVIEW_PARAM, lHandle, 16, 4);
FIELD(tagPELLORA_PREVIEW_PARAM, lSubHandel, 20, 4);
FIELD(tagPELLORA_PREVIEW_PARAM, url, 24, 8);

FIELD(tagPELLORA_BATCH_PREVIEW_PARAM, struPreviewParam, 0, 288);
FIELD(tagPELLORA_BATCH_PREVIEW_PARAM, wNum, 288, 2);

FIELD(tagPELLORA_PREVIEW_STATUS, userID, 0, 4);
FIELD(tagPELLORA_PREVIEW_STATUS, lChannel, 4, 4);
FIELD(tagPELLORA_PREVIEW_STATUS, byPlaying, 8, 1);
FIELD(tagPELLORA_PREVIEW_STATUS, lHandle, 12, 4);
FIELD(tagPELLORA_PREVIEW_STATUS, lSubHandel, 16, 4);

FIELD(tagPELLORA_SYSTEM_TIME, dwYear, 0, 4);
FIELD(tagPELLORA_SYSTEM_TIME, dwMonth, 4, 4);
FIELD(tagPELLORA_SYSTEM_TIME, dwDay, 8, 4);
FIELD(tagPELLORA_SYSTEM_TIME, dwHour, 12, 4);
FIELD(tagPELLORA_SYSTEM_TIME, dwMinute, 16, 4);
FIELD(tagPELLORA_SYSTEM_TIME, dwSecond, 20, 4);
FIELD(tagPELLORA_SYSTEM_TIME, dwMillisecond, 24, 4);

FIELD(tagPELLORA_POINT, x, 0, 4);
FIELD(tagPELLORA_POINT, y, 4, 4);

FIELD(tagPELLORA_RECT, left, 0, 4);
FIELD(tagPELLORA_RECT, top, 4, 4);
FIELD(tagPELLORA_RECT, right, 8, 4);
FIELD(tagPELLORA_RECT, bottom, 12, 4);

FIELD(tagPELLORA_CROP_PIC_INFO, pBuf, 0, 8);
FIELD(tagPELLORA_CROP_PIC_INFO, dwBufSize, 8, 4);
FIELD(tagPELLORA_CROP_PIC_INFO, dwPicSize, 12, 4);
FIELD(tagPELLORA_CROP_PIC_INFO, dwQuality, 16, 4);
FIELD(tagPELLORA_CROP_PIC_INFO, dwReserved, 20, 12);
FIELD(tagPELLORA_CROP_PIC_INFO, pCropRect, 32, 8);

FIELD(tagPELLORA_CLIP_AREA, struRect, 0, 64);
FIELD(tagPELLORA_CLIP_AREA, wRadius, 64, 8);
FIELD(tagPELLORA_CLIP_AREA, wNum, 72, 2);

FIELD(tagPELLORA_RULE_POINT, struPoint, 0, 8);

FIELD(tagPELLORA_RULE_LINE, struStart, 0, 8);
FIELD(tagPELLORA_RULE_LINE, struEnd, 8, 8);

FIELD(tagPELLORA_RULE_RECT, struTopLeft, 0, 8);
FIELD(tagPELLORA_RULE_RECT, struBottomRight, 8, 8);

FIELD(tagPELLORA_RULE_POLYGON, struPoints, 0, 80);
FIELD(tagPELLORA_RULE_POLYGON, wPointNum, 80, 2);

FIELD(tagPELLORA_RULE_TEXT, szText, 0, 1024);
FIELD(tagPELLORA_RULE_TEXT, wAnchor, 1024, 2);
FIELD(tagPELLORA_RULE_TEXT, struPoint, 1028, 8);
FIELD(tagPELLORA_RULE_TEXT, byDock, 1036, 1);

FIELD(tagPELLORA_RULE_POLYGON_EXT, wPointNum, 0, 2);
FIELD(tagPELLORA_RULE_POLYGON_EXT, byFinishEarly, 2, 1);

/* Keeps the file from being empty, and shows that a C host links. */
int initFromC(void);
int initFromC(void)
{
    return PELLORA_SetVisible(-1, 1);
}
