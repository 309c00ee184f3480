#include "hosts/demo/failure.h"

#include <stdio.h>

/** By the player's error codes; docs/host-guide.md has them all. */
static const wchar_t *const reasons[] = {
    [3] = L"out of memory",
    [4] = L"it cannot be opened",
    [5] = L"neither its container nor its codec is one that can be played",
    [6] = L"it is damaged, or no video at all",
    [9] = L"too many are open",
};

void failure_of_file(const Library *library, char *file, wchar_t *text, size_t size)
{
    long port = -1;
    unsigned long error = 0;
    if (!library->player.Kavun_GetPort(&port)) {
        error = library->player.Kavun_GetLastError(port);
    } else {
        if (!library->player.Kavun_OpenFile(port, file))
            error = library->player.Kavun_GetLastError(port);
        library->player.Kavun_FreePort(port);
    }
    if (error == 0)
        swprintf(text, size, L"the log beside the library says why");
    else if (error < sizeof reasons / sizeof reasons[0] && reasons[error] != NULL)
        swprintf(text, size, L"%ls (%lu)", reasons[error], error);
    else
        swprintf(text, size, L"error %lu of the player", error);
}
