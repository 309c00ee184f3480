#include "hosts/demo/library.h"

#include <stdio.h>

/** Windows' reason 126 says that the file is not there, or one of those that it needs. */
static bool report(const wchar_t *name, const char *missing)
{
    if (missing != NULL)
        fprintf(stderr, "%ls has no function %s: it is of another version.\n", name, missing);
    else
        fprintf(stderr, "%ls cannot be loaded: Windows error %lu.\n", name, GetLastError());
    return false;
}

static bool load_player(Library *library, HMODULE pellora)
{
    static const char *const names[] = {PLAYER_FUNCTIONS(PELLORA_LOAD_NAME)};
    static wchar_t path[PELLORA_LOAD_PATH];
    const char *missing = NULL;
    return (pellora_path_beside(pellora, L"Drovel.dll", path) &&
            pellora_load_names(path, names, sizeof names / sizeof names[0], &library->player, &missing) != NULL) ||
           report(L"Drovel.dll", missing);
}

bool library_load(Library *library, const wchar_t *path)
{
    const char *missing = NULL;
    const HMODULE pellora = pellora_load(&library->video, path, &missing);
    if (pellora == NULL)
        return report(path != NULL ? path : L"Pellora.dll", missing);
    /* Log-ins are numbers of one copy of the device library: the one that Pellora.dll itself uses, beside it. */
    if (pellora_load_devices(&library->devices, pellora, &missing) == NULL)
        return report(L"Selvikdcm.dll", missing);
    return load_player(library, pellora);
}
