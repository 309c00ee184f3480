#include "hosts/demo/cameras.h"

#include "Selvikdcm.h"

#include <stdio.h>

static const wchar_t *const words[] = {
    [CAMERA_STOPPED] = L"stopped",
    [CAMERA_STARTING] = L"starting",
    [CAMERA_PLAYING] = L"playing",
    [CAMERA_FAILED] = L"failed; S tries again",
};

static void set_state(Cameras *cameras, int pane, CameraState state)
{
    cameras->cameras[pane].state = state;
    cameras->cameras[pane].errorTold = false;
    printf("Pane %d: %ls.\n", pane + 1, words[state]);
    fflush(stdout);
}

static void log_in(Cameras *cameras, int pane, const char *address)
{
    Camera *camera = &cameras->cameras[pane];
    /* A name and a password in the address go before those given here. */
    camera->userID = cameras->library->devices.SELVIK_DCM_Login(address, "", "");
    camera->state = camera->userID >= 0 ? CAMERA_STOPPED : CAMERA_FAILED;
    if (camera->userID < 0)
        camera->error = (LONG)cameras->library->devices.SELVIK_DCM_GetLastError();
}

/** Called by the device library, on a thread of its own. */
static void on_state(const SELVIK_DCM_STATE *state, void *user)
{
    Cameras *cameras = user;
    for (int pane = 0; pane < OPTIONS_MAX_SOURCES; ++pane)
        if (state->userID >= 0 && cameras->cameras[pane].userID == state->userID)
            InterlockedExchange(&cameras->cameras[pane].error, (LONG)state->error);
}

void cameras_log_in(Cameras *cameras, const Library *library, const Options *options)
{
    *cameras = (Cameras){.library = library, .stream = options->stream, .openDraw = options->rules};
    for (int pane = 0; pane < OPTIONS_MAX_SOURCES; ++pane) {
        cameras->cameras[pane] = (Camera){.library = library, .state = NO_CAMERA, .userID = -1};
        if (pane < options->sourceCount && options->sources[pane].camera) {
            cameras->cameras[pane].channel = options->sources[pane].channel;
            log_in(cameras, pane, options->sources[pane].place);
        }
    }
    library->devices.SELVIK_DCM_SetStateCallback(on_state, cameras);
}

void cameras_tell_errors(Cameras *cameras)
{
    for (int pane = 0; pane < OPTIONS_MAX_SOURCES; ++pane) {
        Camera *camera = &cameras->cameras[pane];
        const LONG error = camera->error;
        if (camera->state != CAMERA_FAILED || camera->errorTold || error == SELVIK_ERROR_NONE)
            continue;
        camera->errorTold = true;
        fprintf(stderr, "The camera of pane %d cannot be shown: %s.\n", pane + 1,
                cameras->library->devices.SELVIK_DCM_GetErrorText((unsigned long)error));
        fflush(stderr);
    }
}

/** Without an address: the log-in's own is used, and so no password gets into the library's log. */
static tagPELLORA_PREVIEW_PARAM request_for(const Cameras *cameras, int pane)
{
    return (tagPELLORA_PREVIEW_PARAM){.userID = cameras->cameras[pane].userID,
                                      .lChannel = cameras->cameras[pane].channel,
                                      .streamType = cameras->stream,
                                      .openDraw = cameras->openDraw};
}

int cameras_start_first(Cameras *cameras, long window, int panes)
{
    /* Request i is for pane i. One without a log-in fails alone, and was told already. */
    tagPELLORA_BATCH_PREVIEW_PARAM batch = {.wNum = 0};
    for (int pane = 0; pane < panes && cameras_has(cameras, pane); ++pane)
        batch.struPreviewParam[batch.wNum++] = request_for(cameras, pane);
    if (batch.wNum == 0 || !cameras->library->video.PELLORA_BatchPreviewStream(window, batch, NULL))
        return 0;
    for (int pane = 0; pane < batch.wNum; ++pane)
        if (cameras->cameras[pane].userID >= 0)
            set_state(cameras, pane, CAMERA_STARTING);
    return batch.wNum;
}

bool cameras_start(Cameras *cameras, long window, int pane)
{
    if (!cameras->library->video.PELLORA_PreviewStream(window, request_for(cameras, pane)))
        return false;
    set_state(cameras, pane, CAMERA_STARTING);
    return true;
}

void cameras_stop(Cameras *cameras, long window, int pane)
{
    /* It is not reported: only the outcomes of starts are. */
    cameras->library->video.PELLORA_StopPreviewStream(window);
    set_state(cameras, pane, CAMERA_STOPPED);
}

bool cameras_report(Cameras *cameras, int pane, bool playing)
{
    const CameraState state = cameras->cameras[pane].state;
    const CameraState now = playing ? CAMERA_PLAYING : CAMERA_FAILED;
    /* One that was stopped meanwhile stays so. */
    if (state == NO_CAMERA || state == CAMERA_STOPPED || state == now)
        return false;
    set_state(cameras, pane, now);
    return playing;
}

static DWORD WINAPI log_out(void *parameter)
{
    Camera *camera = parameter;
    camera->library->devices.SELVIK_DCM_Logout(camera->userID);
    camera->userID = -1;
    return 0;
}

void cameras_log_out(Cameras *cameras, bool playing)
{
    cameras->library->devices.SELVIK_DCM_SetStateCallback(NULL, NULL);
    HANDLE threads[OPTIONS_MAX_SOURCES];
    DWORD count = 0;
    for (int pane = 0; pane < OPTIONS_MAX_SOURCES; ++pane) {
        Camera *camera = &cameras->cameras[pane];
        if (camera->userID < 0 || cameras_plays(cameras, pane) != playing)
            continue;
        /* All at once: each may wait for its camera's good-bye. */
        const HANDLE thread = CreateThread(NULL, 0, log_out, camera, 0, NULL);
        if (thread != NULL)
            threads[count++] = thread;
        else
            log_out(camera);
    }
    if (count > 0)
        WaitForMultipleObjects(count, threads, TRUE, INFINITE);
    for (DWORD i = 0; i < count; ++i)
        CloseHandle(threads[i]);
}

bool cameras_has(const Cameras *cameras, int pane)
{
    return cameras->cameras[pane].state != NO_CAMERA;
}

bool cameras_runs(const Cameras *cameras, int pane)
{
    return cameras->cameras[pane].state == CAMERA_STARTING || cameras_plays(cameras, pane);
}

bool cameras_plays(const Cameras *cameras, int pane)
{
    return cameras->cameras[pane].state == CAMERA_PLAYING;
}

bool cameras_failed(const Cameras *cameras, int pane)
{
    return cameras->cameras[pane].state == CAMERA_FAILED;
}

void cameras_describe(const Cameras *cameras, int pane, wchar_t *text, size_t size)
{
    int all = 0;
    int playing = 0;
    for (int i = 0; i < OPTIONS_MAX_SOURCES; ++i) {
        all += cameras_has(cameras, i);
        playing += cameras_plays(cameras, i);
    }
    const Camera *camera = &cameras->cameras[pane];
    const LONG error = camera->state == CAMERA_FAILED ? camera->error : SELVIK_ERROR_NONE;
    swprintf(text, size, L"Pane %d: %ls%hs%hs    %d of %d cameras play", pane + 1, words[camera->state],
             error != SELVIK_ERROR_NONE ? ": " : "",
             error != SELVIK_ERROR_NONE ? cameras->library->devices.SELVIK_DCM_GetErrorText((unsigned long)error) : "",
             playing, all);
}
