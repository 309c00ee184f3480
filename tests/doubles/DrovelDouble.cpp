#include "Kavun.h"

#include "tests/doubles/Recorder.h"

#include <algorithm>
#include <cstring>

using namespace doubles;

namespace
{

/** Records a call on a port, sets the port's last error and answers like the player. */
int onPort(const char *function, long port, const std::string &arguments)
{
    unsigned long error = recordCall(function, arguments);
    if (error == KAVUN_ERROR_NONE && !isOpenPort(port)) {
        error = KAVUN_ERROR_ARGUMENT;
    }
    setLastError(port, error);
    return error == KAVUN_ERROR_NONE ? 1 : 0;
}

int openAs(const char *function, long port, PortKind kind, const std::string &arguments)
{
    const int done = onPort(function, port, arguments);
    if (done != 0) {
        setPortKind(port, kind);
    }
    return done;
}

/** What was opened as something else is not closed, and the call fails in the wrong order, as the player's does. */
int closeAs(const char *function, long port, PortKind kind)
{
    int done = onPort(function, port, joined(port));
    if (done != 0 && portKind(port) != kind) {
        setLastError(port, KAVUN_ERROR_ORDER);
        done = 0;
    }
    if (done != 0) {
        setPortKind(port, PortKind::Unopened);
    }
    return done;
}

/** A getter hands its value out whatever the error, so that callers who overlook the error are noticed. */
template <typename Value>
Value ask(const char *function, long port, Value PlayerOutputs::*value)
{
    onPort(function, port, joined(port));
    return playerOutputs().*value;
}

std::string spellRect(const RECT *rect)
{
    return rect == nullptr ? "null" : "{" + joined(rect->left, rect->top, rect->right, rect->bottom) + "}";
}

std::string spellCrop(const CROP_PIC_INFO *info)
{
    if (info == nullptr) {
        return "null";
    }
    const unsigned long *crop = info->pCropRect;
    return "{" +
           joined(spell(info->pBuf), info->dwBufSize, info->dwPicSize, info->dwQuality, info->dwReserved[0],
                  info->dwReserved[1], info->dwReserved[2],
                  crop == nullptr ? "null" : "{" + joined(crop[0], crop[1], crop[2], crop[3]) + "}") +
           "}";
}

/** Copies the JPEG as far as it fits and reports its size. */
void giveJpeg(unsigned char *buffer, unsigned long bufferSize, unsigned long *size)
{
    const std::string jpeg = playerOutputs().jpeg;
    if (buffer != nullptr) {
        // NOLINTNEXTLINE(bugprone-not-null-terminated-result): bytes, not a text.
        std::memcpy(buffer, jpeg.data(), std::min<std::size_t>(bufferSize, jpeg.size()));
    }
    if (size != nullptr) {
        *size = static_cast<unsigned long>(jpeg.size());
    }
}

} // namespace

int Kavun_GetPort(long *pPort)
{
    unsigned long error = recordCall("Kavun_GetPort", spellOut(pPort));
    if (error == KAVUN_ERROR_NONE && pPort == nullptr) {
        error = KAVUN_ERROR_ARGUMENT;
    }
    if (error != KAVUN_ERROR_NONE) {
        setLastError(-1, error);
        return 0;
    }
    *pPort = takePort();
    setLastError(*pPort, error);
    return 1;
}

int Kavun_FreePort(long port)
{
    const int done = onPort("Kavun_FreePort", port, joined(port));
    if (done != 0) {
        freePort(port);
    }
    return done;
}

unsigned long Kavun_GetLastError(long port)
{
    recordCall("Kavun_GetLastError", joined(port));
    return lastError(port);
}

int Kavun_SetStreamOpenMode(long port, unsigned long mode)
{
    return onPort("Kavun_SetStreamOpenMode", port, joined(port, mode));
}

int Kavun_OpenStream(long port, unsigned char *header, unsigned long headerSize, unsigned long sourceBufferSize)
{
    return openAs("Kavun_OpenStream", port, PortKind::Stream,
                  joined(port, spellBytes(header, headerSize), headerSize, sourceBufferSize));
}

int Kavun_CloseStream(long port)
{
    return closeAs("Kavun_CloseStream", port, PortKind::Stream);
}

int Kavun_InputData(long port, unsigned char *data, unsigned long size)
{
    return onPort("Kavun_InputData", port, joined(port, spellBytes(data, size), size));
}

int Kavun_OpenFile(long port, char *path)
{
    return openAs("Kavun_OpenFile", port, PortKind::File, joined(port, spellText(path)));
}

int Kavun_CloseFile(long port)
{
    return closeAs("Kavun_CloseFile", port, PortKind::File);
}

int Kavun_SetDisplayBuf(long port, unsigned long frames)
{
    return onPort("Kavun_SetDisplayBuf", port, joined(port, frames));
}

int Kavun_Play(long port, HWND hWnd)
{
    return onPort("Kavun_Play", port, joined(port, spell(hWnd)));
}

int Kavun_Stop(long port)
{
    return onPort("Kavun_Stop", port, joined(port));
}

int Kavun_Pause(long port, unsigned long pause)
{
    return onPort("Kavun_Pause", port, joined(port, pause));
}

int Kavun_Fast(long port)
{
    return onPort("Kavun_Fast", port, joined(port));
}

int Kavun_Slow(long port)
{
    return onPort("Kavun_Slow", port, joined(port));
}

int Kavun_OneByOne(long port)
{
    return onPort("Kavun_OneByOne", port, joined(port));
}

int Kavun_OneByOneBack(long port)
{
    return onPort("Kavun_OneByOneBack", port, joined(port));
}

int Kavun_SetPlayedTimeEx(long port, unsigned long milliseconds)
{
    return onPort("Kavun_SetPlayedTimeEx", port, joined(port, milliseconds));
}

unsigned long Kavun_GetPlayedTime(long port)
{
    return ask("Kavun_GetPlayedTime", port, &PlayerOutputs::playedTime);
}

unsigned long Kavun_GetFileTime(long port)
{
    return ask("Kavun_GetFileTime", port, &PlayerOutputs::fileTime);
}

int Kavun_GetFileTotalTime(long port, KAVUN_SYSTEM_TIME *start, KAVUN_SYSTEM_TIME *end)
{
    const int done = onPort("Kavun_GetFileTotalTime", port, joined(port, spellOut(start), spellOut(end)));
    if (done != 0 && start != nullptr && end != nullptr) {
        *start = playerOutputs().first;
        *end = playerOutputs().last;
    }
    return done;
}

int Kavun_GetSystemTime(long port, KAVUN_SYSTEM_TIME *time)
{
    const int done = onPort("Kavun_GetSystemTime", port, joined(port, spellOut(time)));
    if (done != 0 && time != nullptr) {
        *time = playerOutputs().now;
    }
    return done;
}

int Kavun_GetPictureSize(long port, long *width, long *height)
{
    const int done = onPort("Kavun_GetPictureSize", port, joined(port, spellOut(width), spellOut(height)));
    if (done != 0 && width != nullptr && height != nullptr) {
        *width = playerOutputs().width;
        *height = playerOutputs().height;
    }
    return done;
}

int Kavun_GetJPEG(long port, unsigned char *buffer, unsigned long bufferSize, unsigned long *pictureSize)
{
    const int done = onPort("Kavun_GetJPEG", port, joined(port, spell(buffer), bufferSize, spell(pictureSize)));
    if (done != 0) {
        giveJpeg(buffer, bufferSize, pictureSize);
    }
    return done;
}

int Kavun_GetCropJPEG(long port, CROP_PIC_INFO *info)
{
    const int done = onPort("Kavun_GetCropJPEG", port, joined(port, spellCrop(info)));
    if (done != 0 && info != nullptr) {
        giveJpeg(info->pBuf, info->dwBufSize, &info->dwPicSize);
    }
    return done;
}

int Kavun_PlaySound(long port)
{
    return onPort("Kavun_PlaySound", port, joined(port));
}

int Kavun_StopSound(void)
{
    const unsigned long error = recordCall("Kavun_StopSound", "");
    for (const long port : openPorts()) {
        setLastError(port, error);
    }
    return error == KAVUN_ERROR_NONE ? 1 : 0;
}

int Kavun_SetVolume(long port, unsigned short volume)
{
    return onPort("Kavun_SetVolume", port, joined(port, volume));
}

unsigned short Kavun_GetVolume(long port)
{
    return ask("Kavun_GetVolume", port, &PlayerOutputs::volume);
}

int Kavun_SetFileEndCallback(long port, void (*callback)(long port, void *user), void *user)
{
    const int done = onPort("Kavun_SetFileEndCallback", port,
                            joined(port, spell(reinterpret_cast<const void *>(callback)), spell(user)));
    if (done != 0) {
        changeCallbacks(port, [=](PortCallbacks &callbacks) {
            callbacks.fileEnd = callback;
            callbacks.fileEndUser = user;
        });
    }
    return done;
}

int Kavun_SetFileRefCallBack(long port, void (*callback)(long port, void *user), void *user)
{
    const int done = onPort("Kavun_SetFileRefCallBack", port,
                            joined(port, spell(reinterpret_cast<const void *>(callback)), spell(user)));
    if (done != 0) {
        changeCallbacks(port, [=](PortCallbacks &callbacks) {
            callbacks.fileRef = callback;
            callbacks.fileRefUser = user;
        });
    }
    return done;
}

int Kavun_RegisterDrawFun(long port, void (*callback)(long port, HDC dc, void *user), void *user)
{
    const int done = onPort("Kavun_RegisterDrawFun", port,
                            joined(port, spell(reinterpret_cast<const void *>(callback)), spell(user)));
    if (done != 0) {
        changeCallbacks(port, [=](PortCallbacks &callbacks) {
            callbacks.draw = callback;
            callbacks.drawUser = user;
        });
    }
    return done;
}

int Kavun_RenderPrivateData(long port, long type, int enable)
{
    return onPort("Kavun_RenderPrivateData", port, joined(port, type, enable));
}

int Kavun_SetDisplayRegion(long port, unsigned long region, RECT *rect, HWND hWnd, int enable)
{
    return onPort("Kavun_SetDisplayRegion", port, joined(port, region, spellRect(rect), spell(hWnd), enable));
}
