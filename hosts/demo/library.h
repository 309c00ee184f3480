/**
 * Pellora.dll, the device library and the player beside it, loaded at run time: the functions that this host uses.
 *
 * A program may link the import libraries instead; loading by hand lets the libraries lie in a folder of their own.
 */
#ifndef HOSTS_DEMO_LIBRARY_H
#define HOSTS_DEMO_LIBRARY_H

#include "interface/Pellora.h"

#include "Selvikdcm.h"

#include <stdbool.h>

/** One pointer for each function, named as in the header without its prefix. */
typedef struct {
    int (*Init)(void);
    int (*Fini)(void);
    long (*CreateWindow_)(HWND, unsigned char); /* windows.h makes a macro of the plain name */
    int (*DestroyWindow)(long);
    int (*SetGeometry)(long, int, int, int, int);
    int (*SplitScreen)(long, unsigned short);
    int (*SetCurWnd)(long, long);
    int (*FullScreen)(long);
    int (*NormalScreen)(long);
    int (*SetPreviewStatusCallback)(long, PELLORA_PREVIEW_STATUS_CB);
    int (*PreviewStream)(long, tagPELLORA_PREVIEW_PARAM);
    int (*StopPreviewStream)(long);
    int (*BatchPreviewStream)(long, tagPELLORA_BATCH_PREVIEW_PARAM, tagPELLORA_BATCH_PREVIEW_PARAM *);
    int (*StopAllPreviewStream)(long);
    int (*PreviewFile)(long, char *, unsigned char, unsigned char);
    int (*Play)(long);
    int (*Pause)(long);
    int (*Restore)(long);
    int (*Fast)(long);
    int (*Slow)(long);
    int (*OneByOne)(long);
    int (*OneByOneBack)(long);
    int (*OpenSound)(long);
    int (*CloseSound)(long);
    int (*SetVolume)(long, unsigned short);
    unsigned short (*GetVolume)(long);
    int (*SetPlayPos)(long, unsigned long);
    unsigned long (*GetPlayPos)(long);
    unsigned long (*GetFileTime)(long);
    int (*GetSystemTime)(long, tagPELLORA_SYSTEM_TIME *);
    int (*GetPictureSize)(long, tagPELLORA_POINT *);
    int (*Capture)(long, unsigned char *, unsigned long, unsigned long *);
    long (*CreateRule)(long, unsigned short, unsigned long, unsigned long, unsigned long, void *, unsigned char, long);
    int (*SetRuleCoord)(long, long, void *, long);
    int (*SetRuleCoordCallback)(long, PELLORA_RULE_COORD_CB, long);
    /* Of the device library. */
    long (*Login)(const char *, const char *, const char *);
    int (*Logout)(long);
    unsigned long (*GetLastError)(void);
    int (*SetStateCallback)(SELVIK_DCM_STATE_CB, void *);
    const char *(*GetErrorText)(unsigned long);
    /* Of the player, where the names of others are alike. */
    int (*PlayerGetPort)(long *);
    int (*PlayerFreePort)(long);
    int (*PlayerOpenFile)(long, char *);
    unsigned long (*PlayerGetLastError)(long);
} Library;

/**
 * Loads the library from a path or, with null, from beside this program; the others lie beside it.
 * False, with a message on standard error, when one cannot be loaded or lacks a function.
 */
bool library_load(Library *library, const wchar_t *path);

#endif
