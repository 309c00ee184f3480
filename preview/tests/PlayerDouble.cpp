#include "preview/tests/PlayerDouble.h"

#include "Kavun.h"

#include <atomic>
#include <map>
#include <mutex>

namespace
{

enum class Kind { Unopened, Stream, File };

std::mutex g_mutex;
// Guarded by the mutex.
std::map<long, Kind> g_ports;
long g_nNext = 0;

std::atomic<int> g_nFaults{0};

int isOpen(long port)
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    return g_ports.count(port) != 0 ? 1 : 0;
}

int openAs(long port, Kind kind)
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    const auto found = g_ports.find(port);
    if (found == g_ports.end()) {
        return 0;
    }
    g_nFaults += found->second != Kind::Unopened ? 1 : 0;
    found->second = kind;
    return 1;
}

int closeAs(long port, Kind kind)
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    const auto found = g_ports.find(port);
    if (found == g_ports.end() || found->second != kind) {
        ++g_nFaults;
        return 0;
    }
    found->second = Kind::Unopened;
    return 1;
}

} // namespace

namespace playerdouble
{

std::size_t openPorts()
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    return g_ports.size();
}

int faults()
{
    return g_nFaults;
}

} // namespace playerdouble

// clang-format off: a table of what the player's functions do here
int Kavun_GetPort(long *pPort)
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    *pPort = g_nNext++;
    g_ports[*pPort] = Kind::Unopened;
    return 1;
}
int Kavun_FreePort(long port)
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    return static_cast<int>(g_ports.erase(port));
}
unsigned long Kavun_GetLastError(long port)
{
    return isOpen(port) != 0 ? KAVUN_ERROR_NONE : KAVUN_ERROR_ARGUMENT;
}
int Kavun_SetStreamOpenMode(long port, unsigned long)
{
    return isOpen(port);
}
int Kavun_OpenStream(long port, unsigned char *, unsigned long, unsigned long)
{
    return openAs(port, Kind::Stream);
}
int Kavun_CloseStream(long port)
{
    return closeAs(port, Kind::Stream);
}
int Kavun_InputData(long port, unsigned char *, unsigned long)
{
    return isOpen(port);
}
int Kavun_OpenFile(long port, char *)
{
    return openAs(port, Kind::File);
}
int Kavun_CloseFile(long port)
{
    return closeAs(port, Kind::File);
}
int Kavun_SetDisplayBuf(long port, unsigned long)
{
    return isOpen(port);
}
int Kavun_Play(long port, HWND)
{
    return isOpen(port);
}
int Kavun_Stop(long port)
{
    return isOpen(port);
}
int Kavun_Pause(long port, unsigned long)
{
    return isOpen(port);
}
int Kavun_Fast(long port)
{
    return isOpen(port);
}
int Kavun_Slow(long port)
{
    return isOpen(port);
}
int Kavun_OneByOne(long port)
{
    return isOpen(port);
}
int Kavun_OneByOneBack(long port)
{
    return isOpen(port);
}
int Kavun_SetPlayedTimeEx(long port, unsigned long)
{
    return isOpen(port);
}
unsigned long Kavun_GetPlayedTime(long)
{
    return 0;
}
unsigned long Kavun_GetFileTime(long)
{
    return 0;
}
int Kavun_GetFileTotalTime(long port, KAVUN_SYSTEM_TIME *, KAVUN_SYSTEM_TIME *)
{
    return isOpen(port);
}
int Kavun_GetSystemTime(long port, KAVUN_SYSTEM_TIME *)
{
    return isOpen(port);
}
int Kavun_GetPictureSize(long port, long *width, long *height)
{
    // Another size for each port, so that regions are mapped anew.
    *width = 100 + port % 7;
    *height = 100;
    return isOpen(port);
}
int Kavun_GetJPEG(long port, unsigned char *, unsigned long, unsigned long *)
{
    return isOpen(port);
}
int Kavun_GetCropJPEG(long port, CROP_PIC_INFO *)
{
    return isOpen(port);
}
int Kavun_PlaySound(long port)
{
    return isOpen(port);
}
int Kavun_StopSound(void)
{
    return 1;
}
int Kavun_SetVolume(long port, unsigned short)
{
    return isOpen(port);
}
unsigned short Kavun_GetVolume(long)
{
    return 0;
}
int Kavun_SetFileEndCallback(long port, void (*)(long, void *), void *)
{
    return isOpen(port);
}
int Kavun_SetFileRefCallBack(long port, void (*)(long, void *), void *)
{
    return isOpen(port);
}
int Kavun_RegisterDrawFun(long port, void (*)(long, HDC, void *), void *)
{
    return isOpen(port);
}
int Kavun_RenderPrivateData(long port, long, int)
{
    return isOpen(port);
}
int Kavun_SetDisplayRegion(long port, unsigned long, RECT *, HWND, int)
{
    return isOpen(port);
}
// clang-format on
