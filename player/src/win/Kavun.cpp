// The C boundary: each function finds its port, calls it, and keeps the error. No exception leaves it.
#include "Kavun.h"

#include "companion/SettingsFile.h"
#include "player/src/core/Ffmpeg.h"
#include "player/src/core/HardwareDecoding.h"
#include "player/src/port/ErrorStore.h"
#include "player/src/port/PortTable.h"
#include "player/src/win/SystemTime.h"
#include "player/src/win/WindowsPlatform.h"

#include <cstring>

namespace
{

using player::DisplayRegion;
using player::Error;
using player::ErrorStore;
using player::PixelRect;
using player::Port;

constexpr int kNoSlot = -1;
constexpr int kDefaultQuality = 85;

/** What Pellora.ini beside the library says. */
void readSettings()
{
    bool bHardware = false;
    companion::readSettings("Drovel", "player", {{"hardware_decoding", &bHardware}});
    player::allowHardwareDecoding(bHardware);
}

/** Made by the first call and never destroyed: threads of the host may call until the process is gone. */
player::Platform &platform()
{
    static auto *pPlatform = new player::WindowsPlatform;
    return *pPlatform;
}

player::PortTable &ports()
{
    // What is wrong with a file is told by error codes; the host's standard error is its own.
    [[maybe_unused]] static const bool bQuiet = (av_log_set_level(AV_LOG_QUIET), true);
    [[maybe_unused]] static const bool bSet = (readSettings(), true);
    static auto *pTable = new player::PortTable(platform());
    return *pTable;
}

int keep(int slot, long port, Error error)
{
    ErrorStore::set(slot, static_cast<std::int32_t>(port), error);
    return error == Error::None ? 1 : 0;
}

/** Runs what may throw; what is thrown becomes an error code. */
template <typename Operation>
Error guarded(Operation operation) noexcept
{
    try {
        return operation();
    } catch (...) {
        // The boundary: the host may not be written in C++. Memory and threads are all that the player can lack.
        return Error::Resources;
    }
}

/** Runs an operation on an open port and keeps its error. */
template <typename Operation>
int onPort(long port, Operation operation) noexcept
{
    std::shared_ptr<Port> pPort;
    const Error found = guarded([&] {
        pPort = ports().find(port);
        return pPort ? Error::None : Error::Argument;
    });
    if (found != Error::None) {
        return keep(kNoSlot, port, found);
    }
    return keep(pPort->slot(), port, guarded([&] { return operation(*pPort); }));
}

/** Error 10 where no date of Windows can tell it. */
Error deliver(std::int64_t microseconds, KAVUN_SYSTEM_TIME &time)
{
    const auto date = player::systemTime(microseconds);
    if (!date) {
        return Error::NoTime;
    }
    time = *date;
    return Error::None;
}

Error deliver(const std::vector<std::uint8_t> &file, unsigned char *buffer, unsigned long bufferSize,
              unsigned long &pictureSize)
{
    pictureSize = static_cast<unsigned long>(file.size());
    if (bufferSize < file.size()) {
        return Error::BufferTooSmall;
    }
    std::memcpy(buffer, file.data(), file.size());
    return Error::None;
}

/** A side of a crop rectangle: whatever lies beyond the largest number lies beyond the picture as well. */
int side(unsigned long value)
{
    constexpr unsigned long kMost = 0x7FFFFFFF;
    return static_cast<int>(value < kMost ? value : kMost);
}

DisplayRegion displayRegion(const RECT &rect)
{
    return {{rect.left, rect.top, rect.right, rect.bottom}, rect.top > rect.bottom};
}

} // namespace

int Kavun_GetPort(long *pPort)
{
    if (!pPort) {
        return keep(kNoSlot, -1, Error::Argument);
    }
    int slot = kNoSlot;
    const Error error = guarded([&] {
        const auto pAdded = ports().add();
        if (!pAdded) {
            return Error::Limit;
        }
        slot = pAdded->slot();
        *pPort = pAdded->number();
        return Error::None;
    });
    return keep(slot, slot == kNoSlot ? -1 : *pPort, error);
}

int Kavun_FreePort(long port)
{
    return keep(kNoSlot, port, guarded([&] {
                    const auto pPort = ports().remove(port);
                    if (!pPort) {
                        return Error::Argument;
                    }
                    pPort->close();
                    return Error::None;
                }));
}

unsigned long Kavun_GetLastError(long port)
{
    int slot = kNoSlot;
    static_cast<void>(guarded([&] {
        const auto pPort = ports().find(port);
        slot = pPort ? pPort->slot() : kNoSlot;
        return Error::None;
    }));
    return static_cast<unsigned long>(ErrorStore::get(slot, static_cast<std::int32_t>(port)));
}

int Kavun_SetStreamOpenMode(long port, unsigned long mode)
{
    return onPort(port, [&](Port &p) { return p.setOpenMode(mode); });
}

int Kavun_OpenStream(long port, unsigned char *header, unsigned long headerSize, unsigned long sourceBufferSize)
{
    return onPort(port, [&](Port &p) { return p.openStream(header, headerSize, sourceBufferSize); });
}

int Kavun_CloseStream(long port)
{
    return onPort(port, [](Port &p) { return p.closeStream(); });
}

int Kavun_InputData(long port, unsigned char *data, unsigned long size)
{
    return onPort(port, [&](Port &p) { return p.inputData(data, size); });
}

int Kavun_OpenFile(long port, char *path)
{
    return onPort(port, [&](Port &p) { return p.openFile(path); });
}

int Kavun_CloseFile(long port)
{
    return onPort(port, [](Port &p) { return p.closeFile(); });
}

int Kavun_SetDisplayBuf(long port, unsigned long frames)
{
    return onPort(port, [&](Port &p) { return p.setDisplayBuffers(frames); });
}

int Kavun_Play(long port, HWND hWnd)
{
    return onPort(port, [&](Port &p) { return p.play(hWnd); });
}

int Kavun_Stop(long port)
{
    return onPort(port, [](Port &p) { return p.stop(); });
}

int Kavun_Pause(long port, unsigned long pause)
{
    return onPort(port, [&](Port &p) { return p.pause(pause); });
}

int Kavun_Fast(long port)
{
    return onPort(port, [](Port &p) { return p.changeSpeed(1); });
}

int Kavun_Slow(long port)
{
    return onPort(port, [](Port &p) { return p.changeSpeed(-1); });
}

int Kavun_OneByOne(long port)
{
    return onPort(port, [](Port &p) { return p.stepForward(); });
}

int Kavun_OneByOneBack(long port)
{
    return onPort(port, [](Port &p) { return p.stepBack(); });
}

int Kavun_SetPlayedTimeEx(long port, unsigned long milliseconds)
{
    return onPort(port, [&](Port &p) { return p.seek(milliseconds); });
}

unsigned long Kavun_GetPlayedTime(long port)
{
    unsigned long seconds = 0;
    onPort(port, [&](Port &p) { return p.playedSeconds(seconds); });
    return seconds;
}

unsigned long Kavun_GetFileTime(long port)
{
    unsigned long seconds = 0;
    onPort(port, [&](Port &p) { return p.lengthSeconds(seconds); });
    return seconds;
}

int Kavun_GetFileTotalTime(long port, KAVUN_SYSTEM_TIME *start, KAVUN_SYSTEM_TIME *end)
{
    return onPort(port, [&](Port &p) {
        if (!start || !end) {
            return Error::Argument;
        }
        std::int64_t first = 0;
        std::int64_t last = 0;
        const Error error = p.recordingTimes(first, last);
        if (error != Error::None) {
            return error;
        }
        KAVUN_SYSTEM_TIME began{};
        const Error beginning = deliver(first, began);
        const Error ending = beginning == Error::None ? deliver(last, *end) : beginning;
        if (ending == Error::None) {
            *start = began;
        }
        return ending;
    });
}

int Kavun_GetSystemTime(long port, KAVUN_SYSTEM_TIME *time)
{
    return onPort(port, [&](Port &p) {
        if (!time) {
            return Error::Argument;
        }
        std::int64_t shown = 0;
        const Error error = p.timeOnDisplay(shown);
        return error == Error::None ? deliver(shown, *time) : error;
    });
}

int Kavun_GetPictureSize(long port, long *width, long *height)
{
    return onPort(port, [&](Port &p) {
        if (!width || !height) {
            return Error::Argument;
        }
        int columns = 0;
        int rows = 0;
        const Error error = p.pictureSize(columns, rows);
        if (error == Error::None) {
            *width = columns;
            *height = rows;
        }
        return error;
    });
}

int Kavun_GetJPEG(long port, unsigned char *buffer, unsigned long bufferSize, unsigned long *pictureSize)
{
    return onPort(port, [&](Port &p) {
        if ((!buffer && bufferSize > 0) || !pictureSize) {
            return Error::Argument;
        }
        std::vector<std::uint8_t> file;
        const Error error = p.jpeg(std::nullopt, kDefaultQuality, file);
        return error == Error::None ? deliver(file, buffer, bufferSize, *pictureSize) : error;
    });
}

int Kavun_GetCropJPEG(long port, CROP_PIC_INFO *info)
{
    return onPort(port, [&](Port &p) {
        if (!info || (!info->pBuf && info->dwBufSize > 0) || !info->pCropRect || info->dwQuality > 100) {
            return Error::Argument;
        }
        const unsigned long *pRect = info->pCropRect;
        const PixelRect region{side(pRect[0]), side(pRect[1]), side(pRect[2]), side(pRect[3])};
        const int quality = info->dwQuality == 0 ? kDefaultQuality : static_cast<int>(info->dwQuality);
        std::vector<std::uint8_t> file;
        const Error error = p.jpeg(region, quality, file);
        return error == Error::None ? deliver(file, info->pBuf, info->dwBufSize, info->dwPicSize) : error;
    });
}

int Kavun_SetDisplayRegion(long port, unsigned long region, RECT *rect, HWND hWnd, int)
{
    return onPort(port, [&](Port &p) {
        // The port's own picture is region 0 without a window, whatever the last argument says.
        if (region != 0 || hWnd) {
            return Error::Argument;
        }
        return p.setDisplayRegion(rect ? std::optional(displayRegion(*rect)) : std::nullopt);
    });
}

int Kavun_PlaySound(long port)
{
    return onPort(port, [](Port &p) { return p.playSound(); });
}

int Kavun_StopSound(void)
{
    return keep(kNoSlot, -1, guarded([] {
                    platform().sound().stop();
                    return Error::None;
                }));
}

int Kavun_SetVolume(long port, unsigned short volume)
{
    return onPort(port, [&](Port &p) {
        p.setVolume(volume);
        return Error::None;
    });
}

unsigned short Kavun_GetVolume(long port)
{
    unsigned short volume = 0;
    onPort(port, [&](Port &p) {
        volume = p.volume();
        return Error::None;
    });
    return volume;
}

int Kavun_SetFileEndCallback(long port, void (*callback)(long port, void *user), void *user)
{
    return onPort(port, [&](Port &p) {
        p.callbacks().fileEnd.set(callback ? [=] { callback(port, user); } : std::function<void()>());
        return Error::None;
    });
}

int Kavun_SetFileRefCallBack(long port, void (*callback)(long port, void *user), void *user)
{
    return onPort(port, [&](Port &p) {
        p.setFileIndexCallback(callback ? [=] { callback(port, user); } : std::function<void()>());
        return Error::None;
    });
}

int Kavun_RegisterDrawFun(long port, void (*callback)(long port, HDC dc, void *user), void *user)
{
    return onPort(port, [&](Port &p) {
        p.callbacks().draw.set(callback ? [=](void *dc) { callback(port, static_cast<HDC>(dc), user); }
                                        : std::function<void(void *)>());
        return Error::None;
    });
}

int Kavun_RenderPrivateData(long port, long type, int enable)
{
    return onPort(port, [&](Port &p) {
        p.showPrivateData(type, enable != 0);
        return Error::None;
    });
}
