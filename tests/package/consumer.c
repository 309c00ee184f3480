/*
 * What somebody builds against the unpacked package: plays the file that it is given to its end, through each of the
 * three libraries' import library. Ends with 0 when all was as it should be.
 */
#include <windows.h>

#include <shellapi.h>

#include <Kavun.h>
#include <Pellora.h>
#include <Selvikdcm.h>

#include <stdio.h>
#include <string.h>

static int ends;

static void on_end(long window)
{
    (void)window;
    ++ends;
    PostQuitMessage(0);
}

/** Gives up: a host that hears nothing must not wait for ever. */
static void CALLBACK on_late(HWND window, UINT message, UINT_PTR timer, DWORD time)
{
    (void)window, (void)message, (void)timer, (void)time;
    PostQuitMessage(1);
}

static int fail(const char *what)
{
    fprintf(stderr, "%s\n", what);
    return 1;
}

/** The first argument as UTF-8. */
static int source(char *path, int size)
{
    int count = 0;
    LPWSTR *arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    return arguments != NULL && count == 2 &&
           WideCharToMultiByte(CP_UTF8, 0, arguments[1], -1, path, size, NULL, NULL) > 0;
}

int main(void)
{
    char path[4096];
    if (!source(path, sizeof path))
        return fail("one argument, a file");
    if (strcmp(SELVIK_DCM_GetErrorText(5), SELVIK_DCM_GetErrorText(6)) == 0)
        return fail("the device library has no words");
    if (Kavun_GetPictureSize(-1, NULL, NULL) != 0)
        return fail("the player knows a port that nobody opened");

    const WNDCLASSW type = {.lpfnWndProc = DefWindowProcW, .lpszClassName = L"Consumer"};
    RegisterClassW(&type);
    const HWND host = CreateWindowW(L"Consumer", L"Consumer", WS_OVERLAPPEDWINDOW | WS_VISIBLE | WS_CLIPCHILDREN, 50,
                                    50, 480, 300, NULL, NULL, NULL, NULL);
    PELLORA_Init();
    const long video = PELLORA_CreateWindow(host, PELLORA_EMBED_PLAIN);
    PELLORA_SetFileEndCallback(video, on_end);
    if (PELLORA_PreviewFile(video, path, 0, 0) != 1)
        return fail("the file does not play");
    SetTimer(NULL, 0, 60000, on_late);
    for (MSG message; GetMessageW(&message, NULL, 0, 0) > 0; DispatchMessageW(&message))
        TranslateMessage(&message);
    PELLORA_DestroyWindow(video);
    PELLORA_Fini();
    return ends == 1 ? 0 : fail("the file did not come to its end");
}
