/*
 * Gives another program's window one client size after the other, as a user does who drags its frame:
 * ResizeWindow TITLE MILLISECONDS WxH...
 */
#include <windows.h>

#include <stdio.h>
#include <stdlib.h>

int main(int count, char **words)
{
    const HWND window = count > 3 ? FindWindowA(NULL, words[1]) : NULL;
    if (window == NULL) {
        fputs("There is no such window.\n", stderr);
        return 1;
    }
    for (int i = 3; i < count; ++i) {
        int width = 0;
        int height = 0;
        if (sscanf(words[i], "%dx%d", &width, &height) != 2)
            return 2;
        RECT rect = {0, 0, width, height};
        AdjustWindowRect(&rect, (DWORD)GetWindowLongA(window, GWL_STYLE), FALSE);
        SetWindowPos(window, NULL, 0, 0, rect.right - rect.left, rect.bottom - rect.top,
                     SWP_NOMOVE | SWP_NOZORDER | SWP_NOACTIVATE);
        Sleep((DWORD)atoi(words[2])); /* the pace of a hand */
    }
    return 0;
}
