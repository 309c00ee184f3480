/**
 * Pellora.dll and its device library, loaded at run time by one call each, for programs that do not link the import
 * libraries.
 *
 *     PelloraFunctions video;
 *     const char *pMissing = NULL;
 *     HMODULE hLibrary = pellora_load(&video, L"C:\\Program Files\\Client\\video\\Pellora.dll", &pMissing);
 *     if (hLibrary == NULL) …        pMissing names the function that is not there; null: GetLastError() tells why
 *     video.PELLORA_Init();
 *
 * Valid C (99 and later) and C++ (11 and later). Everything is in this header. The functions here may be called on any
 * thread; those that they find follow the rules of Pellora.h and Selvikdcm.h.
 */
#ifndef PELLORA_LOAD_H
#define PELLORA_LOAD_H

#include "Pellora.h"
#include "Selvikdcm.h"

#include <stddef.h>
#include <string.h>
#include <windows.h>

/* F(result, name, (parameters)) for each function. A program may use the lists for purposes of its own. */

/* clang-format off */
#define PELLORA_FUNCTIONS(F) \
    F(int, PELLORA_Init, (void)) \
    F(int, PELLORA_Fini, (void)) \
    F(long, PELLORA_CreateWindow, (HWND hwnd, unsigned char embedMode)) \
    F(long, PELLORA_CreateWindow2, (HWND hwnd)) \
    F(int, PELLORA_DestroyWindow, (long lHandle)) \
    F(int, PELLORA_SetVisible, (long lHandle, unsigned short wVisible)) \
    F(int, PELLORA_SetGeometry, (long lHandle, int x, int y, int width, int height)) \
    F(int, PELLORA_SetClipArea, (long lHandle, const tagPELLORA_CLIP_AREA *pArea)) \
    F(int, PELLORA_SplitScreen, (long lHandle, unsigned short wSplitNum)) \
    F(int, PELLORA_FullScreen, (long lHandle)) \
    F(int, PELLORA_NormalScreen, (long lHandle)) \
    F(int, PELLORA_SetCurWnd, (long lHandle, long lSubHandel)) \
    F(int, PELLORA_PreviewStream, (long lHandle, tagPELLORA_PREVIEW_PARAM param)) \
    F(int, PELLORA_StopPreviewStream, (long lHandle)) \
    F(int, PELLORA_BatchPreviewStream, \
      (long lHandle, tagPELLORA_BATCH_PREVIEW_PARAM param, tagPELLORA_BATCH_PREVIEW_PARAM *pOut)) \
    F(int, PELLORA_BatchPreviewStream_Async, \
      (long lHandle, tagPELLORA_BATCH_PREVIEW_PARAM param, tagPELLORA_BATCH_PREVIEW_PARAM *pOut)) \
    F(int, PELLORA_StopAllPreviewStream, (long lHandle)) \
    F(int, PELLORA_StopAllPreviewStream_Async, (long lHandle)) \
    F(int, PELLORA_SetPreviewStatusCallback, (long lHandle, PELLORA_PREVIEW_STATUS_CB pfnCallback)) \
    F(int, PELLORA_SetIntelData, (long lHandle, unsigned short wOpen)) \
    F(int, PELLORA_PreviewFile, \
      (long lHandle, const char *pFileName, unsigned char byLoop, unsigned char byOpenDraw)) \
    F(int, PELLORA_StopPreviewFile, (long lHandle)) \
    F(int, PELLORA_Play, (long lHandle)) \
    F(int, PELLORA_Pause, (long lHandle)) \
    F(int, PELLORA_Restore, (long lHandle)) \
    F(int, PELLORA_Fast, (long lHandle)) \
    F(int, PELLORA_Slow, (long lHandle)) \
    F(int, PELLORA_OneByOne, (long lHandle)) \
    F(int, PELLORA_OneByOneBack, (long lHandle)) \
    F(int, PELLORA_SetPlayPos, (long lHandle, unsigned long dwPlayedTime)) \
    F(unsigned long, PELLORA_GetPlayPos, (long lHandle)) \
    F(unsigned long, PELLORA_GetFileTime, (long lHandle)) \
    F(unsigned long, PELLORA_GetFileTimeNoPriview, (const char *pFileName)) \
    F(int, PELLORA_GetSystemFileTime, (long lHandle, tagPELLORA_SYSTEM_TIME *pStart, tagPELLORA_SYSTEM_TIME *pEnd)) \
    F(int, PELLORA_GetSystemTime, (long lHandle, tagPELLORA_SYSTEM_TIME *pTime)) \
    F(unsigned long, PELLORA_SetFileEndCallback, (long lHandle, PELLORA_FILE_END_CB pfnCallback)) \
    F(int, PELLORA_GetPictureSize, (long lHandle, tagPELLORA_POINT *pSize)) \
    F(int, PELLORA_Capture, (long lHandle, unsigned char *pJpeg, unsigned long dwBufSize, unsigned long *pJpegSize)) \
    F(int, PELLORA_Screenshot, (long lHandle, tagPELLORA_CROP_PIC_INFO *pInfo)) \
    F(int, PELLORA_SetDisplayRegion, (long lHandle, const tagPELLORA_RECT *pRect, long lSubHandel)) \
    F(int, PELLORA_OpenSound, (long lHandle)) \
    F(int, PELLORA_CloseSound, (long lHandle)) \
    F(int, PELLORA_SetVolume, (long lHandle, unsigned short wVolume)) \
    F(unsigned short, PELLORA_GetVolume, (long lHandle)) \
    F(int, PELLORA_SetOriginPos, (long lHandle, unsigned short wOriginPos, long lSubHandel)) \
    F(int, PELLORA_OpenDraw, (long lHandle, long lSubHandel)) \
    F(int, PELLORA_CloseDraw, (long lHandle, long lSubHandel)) \
    F(long, PELLORA_CreateRule, \
      (long lHandle, unsigned short wRuleType, unsigned long dwRed, unsigned long dwGreen, unsigned long dwBlue, \
       const void *pExtend, unsigned char byLimitMask, long lSubHandel)) \
    F(int, PELLORA_DestroyRule, (long lHandle, long lRuleID, long lSubHandel)) \
    F(int, PELLORA_ClearRule, (long lHandle, long lSubHandel)) \
    F(int, PELLORA_GetRuleCoord, (long lHandle, long lRuleID, void *pCoord, long lSubHandel)) \
    F(int, PELLORA_SetRuleCoord, (long lHandle, long lRuleID, const void *pCoord, long lSubHandel)) \
    F(int, PELLORA_SetRuleCoordCallback, (long lHandle, PELLORA_RULE_COORD_CB pfnCallback, long lSubHandel)) \
    F(int, PELLORA_SetRuleArrowType, (long lHandle, long lRuleID, unsigned short wArrowType, long lSubHandel))

#define SELVIK_FUNCTIONS(F) \
    F(long, SELVIK_DCM_StartPreview, (long userID, const SELVIK_DCM_PREVIEW_INFO *info)) \
    F(int, SELVIK_DCM_StopPreview, (long previewHandle)) \
    F(unsigned long, SELVIK_DCM_GetLastError, (void)) \
    F(long, SELVIK_DCM_Login, (const char *address, const char *user, const char *password)) \
    F(int, SELVIK_DCM_Logout, (long userID)) \
    F(int, SELVIK_DCM_SetStateCallback, (SELVIK_DCM_STATE_CB callback, void *user)) \
    F(const char *, SELVIK_DCM_GetErrorText, (unsigned long error))
/* clang-format on */

/* NOLINTNEXTLINE(bugprone-macro-parentheses) the arguments are pieces of a declaration */
#define PELLORA_LOAD_MEMBER(result, name, parameters) result(*name) parameters;
#define PELLORA_LOAD_NAME(result, name, parameters) #name,

/** A pointer to each function of Pellora.dll, called as the function is: video.PELLORA_Init(). */
typedef struct PelloraFunctions {
    PELLORA_FUNCTIONS(PELLORA_LOAD_MEMBER)
} PelloraFunctions;

/** A pointer to each function of Selvikdcm.dll. */
typedef struct SelvikFunctions {
    SELVIK_FUNCTIONS(PELLORA_LOAD_MEMBER)
} SelvikFunctions;

PELLORA_STATIC_ASSERT(sizeof(FARPROC) == sizeof(void *), "pointers of one size");

/* NOLINTBEGIN(modernize-use-nullptr) this is C, wherever it is included */

enum { PELLORA_LOAD_PATH = 32768 /**< the longest path of Windows, with its zero */ };

/** A path that LoadLibraryEx takes: beside the module, or beside the program where that is null; 0 when it is too long.
 */
static inline int pellora_path_beside(HMODULE hModule, const wchar_t *pName, wchar_t *pPath)
{
    const DWORD dwLength = GetModuleFileNameW(hModule, pPath, PELLORA_LOAD_PATH);
    wchar_t *pLast = dwLength > 0 && dwLength < PELLORA_LOAD_PATH ? wcsrchr(pPath, L'\\') : NULL;
    if (pLast == NULL || (size_t)(pLast + 1 - pPath) + wcslen(pName) >= PELLORA_LOAD_PATH) {
        SetLastError(ERROR_FILENAME_EXCED_RANGE);
        return 0;
    }
    wcscpy(pLast + 1, pName);
    return 1;
}

/**
 * Loads a library and writes the addresses of so many functions to pPointers, one after the other.
 *
 * ppMissing  null, or out: the first name that the library lacks; null when it is the library that cannot be loaded
 *
 * Null in both cases; GetLastError() tells Windows' reason.
 */
static inline HMODULE pellora_load_names(const wchar_t *pFullPath, const char *const *ppNames, size_t nNames,
                                         void *pPointers, const char **ppMissing)
{
    /* The flag makes Windows look for the library's companions beside the library, not beside this program. */
    HMODULE hModule = LoadLibraryExW(pFullPath, NULL, LOAD_WITH_ALTERED_SEARCH_PATH);
    size_t i;
    if (ppMissing != NULL)
        *ppMissing = NULL;
    for (i = 0; hModule != NULL && i < nNames; ++i) {
        const FARPROC pfnFunction = GetProcAddress(hModule, ppNames[i]);
        if (pfnFunction == NULL) {
            if (ppMissing != NULL)
                *ppMissing = ppNames[i];
            FreeLibrary(hModule);
            SetLastError(ERROR_PROC_NOT_FOUND);
            return NULL;
        }
        memcpy((char *)pPointers + i * sizeof(pfnFunction), &pfnFunction, sizeof(pfnFunction));
    }
    return hModule;
}

/**
 * Loads Pellora.dll and finds all of its functions. It stays loaded from PELLORA_Init on.
 *
 * pPath      the DLL; a relative path counts from the current folder; null: Pellora.dll beside the program
 * ppMissing  as of pellora_load_names: a library of another version lacks a function
 *
 * The library's handle; null, and nothing of use in *pFunctions, on a failure. ERROR_MOD_NOT_FOUND means that the DLL
 * is not there or that one of its companions is not beside it.
 */
static inline HMODULE pellora_load(PelloraFunctions *pFunctions, const wchar_t *pPath, const char **ppMissing)
{
    static const char *const names[] = {PELLORA_FUNCTIONS(PELLORA_LOAD_NAME)};
    wchar_t path[PELLORA_LOAD_PATH];
    DWORD dwLength;
    if (ppMissing != NULL)
        *ppMissing = NULL;
    if (pPath == NULL)
        return pellora_path_beside(NULL, L"Pellora.dll", path)
                   ? pellora_load_names(path, names, sizeof(names) / sizeof(names[0]), pFunctions, ppMissing)
                   : NULL;
    /* With the flag, Windows wants a whole path. */
    dwLength = GetFullPathNameW(pPath, PELLORA_LOAD_PATH, path, NULL);
    if (dwLength == 0 || dwLength >= PELLORA_LOAD_PATH)
        return NULL;
    return pellora_load_names(path, names, sizeof(names) / sizeof(names[0]), pFunctions, ppMissing);
}

/**
 * Finds the functions of the device library: the copy beside Pellora.dll, which is the one whose log-ins count there.
 *
 * hPellora   what pellora_load has answered, or any handle of Pellora.dll
 *
 * As pellora_load.
 */
static inline HMODULE pellora_load_devices(SelvikFunctions *pFunctions, HMODULE hPellora, const char **ppMissing)
{
    static const char *const names[] = {SELVIK_FUNCTIONS(PELLORA_LOAD_NAME)};
    wchar_t path[PELLORA_LOAD_PATH];
    if (ppMissing != NULL)
        *ppMissing = NULL;
    if (!pellora_path_beside(hPellora, L"Selvikdcm.dll", path))
        return NULL;
    return pellora_load_names(path, names, sizeof(names) / sizeof(names[0]), pFunctions, ppMissing);
}

/* NOLINTEND(modernize-use-nullptr) */

#endif
