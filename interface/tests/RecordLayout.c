/* The header is valid C11, and its records are what hosts in any language build by hand. */
#include "interface/Pellora.h"

#define LAYOUT(record, size) _Static_assert(sizeof(record) == (size), #record)
#define FIELD(record, field, offset, size)                                                                             \
    _Static_assert(offsetof(record, field) == (offset) && sizeof(((record *)0)->field) == (size), #record "." #field)

LAYOUT(tagPELLORA_PREVIEW_PARAM, 32);
FIELD(tagPELLORA_PREVIEW_PARAM, userID, 0, 4);
FIELD(tagPELLORA_PREVIEW_PARAM, lChannel, 4, 4);
FIELD(tagPELLORA_PREVIEW_PARAM, streamType, 8, 4);
FIELD(tagPELLORA_PREVIEW_PARAM, openDraw, 12, 1);
FIELD(tagPELLORA_PREVIEW_PARAM, lHandle, 16, 4);
FIELD(tagPELLORA_PREVIEW_PARAM, lSubHandel, 20, 4);
FIELD(tagPELLORA_PREVIEW_PARAM, url, 24, 8);
LAYOUT(tagPELLORA_BATCH_PREVIEW_PARAM, 296);
FIELD(tagPELLORA_BATCH_PREVIEW_PARAM, struPreviewParam, 0, 288);
FIELD(tagPELLORA_BATCH_PREVIEW_PARAM, wNum, 288, 2);
LAYOUT(tagPELLORA_PREVIEW_STATUS, 20);
FIELD(tagPELLORA_PREVIEW_STATUS, userID, 0, 4);
FIELD(tagPELLORA_PREVIEW_STATUS, lChannel, 4, 4);
FIELD(tagPELLORA_PREVIEW_STATUS, byPlaying, 8, 1);
FIELD(tagPELLORA_PREVIEW_STATUS, lHandle, 12, 4);
FIELD(tagPELLORA_PREVIEW_STATUS, lSubHandel, 16, 4);
LAYOUT(tagPELLORA_SYSTEM_TIME, 28);
FIELD(tagPELLORA_SYSTEM_TIME, dwYear, 0, 4);
FIELD(tagPELLORA_SYSTEM_TIME, dwMonth, 4, 4);
FIELD(tagPELLORA_SYSTEM_TIME, dwDay, 8, 4);
FIELD(tagPELLORA_SYSTEM_TIME, dwHour, 12, 4);
FIELD(tagPELLORA_SYSTEM_TIME, dwMinute, 16, 4);
FIELD(tagPELLORA_SYSTEM_TIME, dwSecond, 20, 4);
FIELD(tagPELLORA_SYSTEM_TIME, dwMillisecond, 24, 4);
LAYOUT(tagPELLORA_POINT, 8);
FIELD(tagPELLORA_POINT, x, 0, 4);
FIELD(tagPELLORA_POINT, y, 4, 4);
LAYOUT(tagPELLORA_RECT, 16);
FIELD(tagPELLORA_RECT, left, 0, 4);
FIELD(tagPELLORA_RECT, top, 4, 4);
FIELD(tagPELLORA_RECT, right, 8, 4);
FIELD(tagPELLORA_RECT, bottom, 12, 4);
LAYOUT(tagPELLORA_CROP_PIC_INFO, 40);
FIELD(tagPELLORA_CROP_PIC_INFO, pCropRect, 32, 8);
LAYOUT(tagPELLORA_CLIP_AREA, 76);
FIELD(tagPELLORA_CLIP_AREA, struRect, 0, 64);
FIELD(tagPELLORA_CLIP_AREA, wRadius, 64, 8);
FIELD(tagPELLORA_CLIP_AREA, wNum, 72, 2);

/* Keeps the file from being empty, and shows that a C host links. */
int initFromC(void);
int initFromC(void)
{
    return PELLORA_SetVisible(-1, 1);
}
