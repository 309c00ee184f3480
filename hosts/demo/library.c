#include "hosts/demo/library.h"

#include <stddef.h>
#include <stdio.h>
#include <string.h>

typedef struct {
    const char *name;
    size_t offset; /* of its pointer in Library */
} Function;

/* The one place that names the functions. */
static const Function functions[] = {
    {"PELLORA_Init", offsetof(Library, Init)},
    {"PELLORA_Fini", offsetof(Library, Fini)},
    {"PELLORA_CreateWindow", offsetof(Library, CreateWindow_)},
    {"PELLORA_DestroyWindow", offsetof(Library, DestroyWindow)},
    {"PELLORA_SetGeometry", offsetof(Library, SetGeometry)},
    {"PELLORA_SplitScreen", offsetof(Library, SplitScreen)},
    {"PELLORA_SetCurWnd", offsetof(Library, SetCurWnd)},
    {"PELLORA_FullScreen", offsetof(Library, FullScreen)},
    {"PELLORA_NormalScreen", offsetof(Library, NormalScreen)},
    {"PELLORA_PreviewFile", offsetof(Library, PreviewFile)},
    {"PELLORA_Play", offsetof(Library, Play)},
    {"PELLORA_Pause", offsetof(Library, Pause)},
    {"PELLORA_Restore", offsetof(Library, Restore)},
    {"PELLORA_Fast", offsetof(Library, Fast)},
    {"PELLORA_Slow", offsetof(Library, Slow)},
    {"PELLORA_OneByOne", offsetof(Library, OneByOne)},
    {"PELLORA_OneByOneBack", offsetof(Library, OneByOneBack)},
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

/** Replaces the file name in a path of this program's own by another. */
static bool path_beside_program(const wchar_t *name, wchar_t *path, size_t size)
{
    const DWORD length = GetModuleFileNameW(NULL, path, (DWORD)size);
    wchar_t *last = length > 0 && length < size ? wcsrchr(path, L'\\') : NULL;
    if (last == NULL || (size_t)(last + 1 - path) + wcslen(name) >= size)
        return false;
    wcscpy(last + 1, name);
    return true;
}

bool library_load(Library *library, const wchar_t *path)
{
    wchar_t beside[32768];
    if (path == NULL) {
        if (!path_beside_program(L"Pellora.dll", beside, sizeof beside / sizeof beside[0]))
            return false;
        path = beside;
    }

    /* The flag makes Windows look for the library's companions beside the library, not beside this program. */
    const HMODULE module = LoadLibraryExW(path, NULL, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (module == NULL) {
        fprintf(stderr, "%ls cannot be loaded: Windows error %lu.\n", path, GetLastError());
        return false;
    }
    for (size_t i = 0; i < sizeof functions / sizeof functions[0]; ++i) {
        const FARPROC address = GetProcAddress(module, functions[i].name);
        if (address == NULL) {
            fprintf(stderr, "%ls has no function %s.\n", path, functions[i].name);
            return false;
        }
        memcpy((char *)library + functions[i].offset, &address, sizeof address);
    }
    return true;
}
