#include "bench/FilePort.h"

#include "Kavun.h"

#include <cstdlib>
#include <iterator>

namespace bench
{

namespace
{

constexpr DWORD kPatience = 60000;

bool isSet(HANDLE hEvent)
{
    return WaitForSingleObject(hEvent, kPatience) == WAIT_OBJECT_0;
}

} // namespace

std::string clipPath(const std::string &name)
{
    const char *pFolder = std::getenv("PELLORA_TEST_MEDIA");
    return std::string(pFolder != nullptr ? pFolder : "build/media") + "/" + name;
}

ShownWindow::ShownWindow(int nWidth, int nHeight, int nLeft, int nTop)
    : m_hWnd(CreateWindowExW(0, L"STATIC", L"", WS_POPUP | WS_VISIBLE, nLeft, nTop, nWidth, nHeight, nullptr, nullptr,
                             nullptr, nullptr))
{
}

ShownWindow::~ShownWindow()
{
    DestroyWindow(m_hWnd);
}

FilePort::FilePort(const std::string &path)
    : m_hFirst(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      m_hIndex(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      m_hEnd(CreateEventW(nullptr, TRUE, FALSE, nullptr))
{
    Kavun_GetPort(&m_lPort);
    const auto set = [](long, void *pEvent) { SetEvent(static_cast<HANDLE>(pEvent)); };
    Kavun_SetFileEndCallback(m_lPort, set, m_hEnd);
    Kavun_SetFileRefCallBack(m_lPort, set, m_hIndex);
    Kavun_RegisterDrawFun(
        m_lPort,
        [](long, HDC, void *pUser) {
            auto *const pSelf = static_cast<FilePort *>(pUser);
            if (++pSelf->m_nPresented == 1) {
                SetEvent(pSelf->m_hFirst);
            }
        },
        this);
    std::string name = path;
    m_bOpen = Kavun_OpenFile(m_lPort, name.data()) != 0;
}

FilePort::~FilePort()
{
    Kavun_FreePort(m_lPort);
    CloseHandle(m_hFirst);
    CloseHandle(m_hIndex);
    CloseHandle(m_hEnd);
}

bool FilePort::play(HWND hWnd)
{
    return Kavun_Play(m_lPort, hWnd) != 0;
}

bool FilePort::waitForFirstPicture()
{
    return isSet(m_hFirst);
}

bool FilePort::waitForIndex()
{
    return isSet(m_hIndex);
}

bool FilePort::waitForEnd()
{
    return isSet(m_hEnd);
}

bool FilePort::waitForSeek()
{
    unsigned char jpeg[4096];
    unsigned long corner[] = {0, 0, 16, 16};
    CROP_PIC_INFO crop = {};
    crop.pBuf = jpeg;
    crop.dwBufSize = static_cast<unsigned long>(std::size(jpeg));
    crop.pCropRect = corner;
    // Captures wait for half a second at a time.
    for (const ULONGLONG end = GetTickCount64() + kPatience; GetTickCount64() < end;) {
        if (Kavun_GetCropJPEG(m_lPort, &crop) != 0) {
            return true;
        }
    }
    return false;
}

} // namespace bench
