#include "hosts/demo/library.h"

#include <stddef.h>
#include <stdio.h>
#include <string.h>

typedef struct {
    const char *name;
    size_t offset; /* of its pointer in Library */
} Function;

/* The one place that names the functions. */
static const Function functionsOfPellora[] = {
    {"PELLORA_Init", offsetof(Library, Init)},
    {"PELLORA_Fini", offsetof(Library, Fini)},
    {"PELLORA_CreateWindow", offsetof(Library, CreateWindow_)},
    {"PELLORA_DestroyWindow", offsetof(Library, DestroyWindow)},
    {"PELLORA_SetGeometry", offsetof(Library, SetGeometry)},
    {"PELLORA_SplitScreen", offsetof(Library, SplitScreen)},
    {"PELLORA_SetCurWnd", offsetof(Library, SetCurWnd)},
    {"PELLORA_FullScreen", offsetof(Library, FullScreen)},
    {"PELLORA_NormalScreen", offsetof(Library, NormalScreen)},
    {"PELLORA_SetPreviewStatusCallback", offsetof(Library, SetPreviewStatusCallback)},
    {"PELLORA_PreviewStream", offsetof(Library, PreviewStream)},
    {"PELLORA_StopPreviewStream", offsetof(Library, StopPreviewStream)},
    {"PELLORA_BatchPreviewStream", offsetof(Library, BatchPreviewStream)},
    {"PELLORA_StopAllPreviewStream", offsetof(Library, StopAllPreviewStream)},
    {"PELLORA_PreviewFile", offsetof(Library, PreviewFile)},
    {"PELLORA_Play", offsetof(Library, Play)},
    {"PELLORA_Pause", offsetof(Library, Pause)},
    {"PELLORA_Restore", offsetof(Library, Restore)},
    {"PELLORA_Fast", offsetof(Library, Fast)},
    {"PELLORA_Slow", offsetof(Library, Slow)},
    {"PELLORA_OneByOne", offsetof(Library, OneByOne)},
    {"PELLORA_OneByOneBack", offsetof(Library, OneByOneBack)},
    {"PELLORA_OpenSound", offsetof(Library, OpenSound)},
    {"PELLORA_CloseSound", offsetof(Library, CloseSound)},
    {"PELLORA_SetVolume", offsetof(Library, SetVolume)},
    {"PELLORA_GetVolume", offsetof(Library, GetVolume)},
    {"PELLORA_SetPlayPos", offsetof(Library, SetPlayPos)},
    {"PELLORA_GetPlayPos", offsetof(Library, GetPlayPos)},
    {"PELLORA_GetFileTime", offsetof(Library, GetFileTime)},
    {"PELLORA_GetSystemTime", offsetof(Library, GetSystemTime)},
    {"PELLORA_GetPictureSize", offsetof(Library, GetPictureSize)},
    {"PELLORA_Capture", offsetof(Library, Capture)},
    {"PELLORA_CreateRule", offsetof(Library, CreateRule)},
    {"PELLORA_SetRuleCoord", offsetof(Library, SetRuleCoord)},
    {"PELLORA_SetRuleCoordCallback", offsetof(Library, SetRuleCoordCallback)},
};

static const Function functionsOfDevices[] = {
    {"SELVIK_DCM_Login", offsetof(Library, Login)},
    {"SELVIK_DCM_Logout", offsetof(Library, Logout)},
    {"SELVIK_DCM_GetLastError", offsetof(Library, GetLastError)},
    {"SELVIK_DCM_SetStateCallback", offsetof(Library, SetStateCallback)},
    {"SELVIK_DCM_GetErrorText", offsetof(Library, GetErrorText)},
};

static const Function functionsOfPlayer[] = {
    {"Kavun_GetPort", offsetof(Library, PlayerGetPort)},
    {"Kavun_FreePort", offsetof(Library, PlayerFreePort)},
    {"Kavun_OpenFile", offsetof(Library, PlayerOpenFile)},
    {"Kavun_GetLastError", offsetof(Library, PlayerGetLastError)},
};

enum { PATH_SIZE = 32768 };

/** The path of a file beside a module; with a null module, beside this program. */
static bool path_beside(HMODULE module, const wchar_t *name, wchar_t path[PATH_SIZE])
{
    const DWORD length = GetModuleFileNameW(module, path, PATH_SIZE);
    wchar_t *last = length > 0 && length < PATH_SIZE ? wcsrchr(path, L'\\') : NULL;
    if (last == NULL || (size_t)(last + 1 - path) + wcslen(name) >= PATH_SIZE)
        return false;
    wcscpy(last + 1, name);
    return true;
}

/** Loads one of the two and finds its functions; null, with a message, when that fails. */
static HMODULE load(Library *library, const wchar_t *path, const Function *functions, size_t count)
{
    /* The flag makes Windows look for the library's companions beside the library, not beside this program. */
    const HMODULE module = LoadLibraryExW(path, NULL, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (module == NULL)
        fprintf(stderr, "%ls cannot be loaded: Windows error %lu.\n", path, GetLastError());
    for (size_t i = 0; module != NULL && i < count; ++i) {
        const FARPROC address = GetProcAddress(module, functions[i].name);
        if (address == NULL) {
            fprintf(stderr, "%ls has no function %s.\n", path, functions[i].name);
            return NULL;
        }
        memcpy((char *)library + functions[i].offset, &address, sizeof address);
    }
    return module;
}

bool library_load(Library *library, const wchar_t *path)
{
    wchar_t beside[PATH_SIZE];
    if (path == NULL) {
        if (!path_beside(NULL, L"Pellora.dll", beside))
            return false;
        path = beside;
    }
    const HMODULE module =
        load(library, path, functionsOfPellora, sizeof functionsOfPellora / sizeof functionsOfPellora[0]);
    /* Log-ins are numbers of one copy of the device library: the one that Pellora.dll itself uses, beside it. */
    return module != NULL && path_beside(module, L"Selvikdcm.dll", beside) &&
           load(library, beside, functionsOfDevices, sizeof functionsOfDevices / sizeof functionsOfDevices[0]) !=
               NULL &&
           path_beside(module, L"Drovel.dll", beside) &&
           load(library, beside, functionsOfPlayer, sizeof functionsOfPlayer / sizeof functionsOfPlayer[0]) != NULL;
}
