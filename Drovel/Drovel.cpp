#include "Drovel/Drovel.h"

#include "logging/Log.h"

namespace pellora
{

namespace
{

constexpr long kNoPort = -1;
constexpr unsigned long kSourceBufferSize = 0x500000;
constexpr unsigned long kDisplayBuffers = 6;
constexpr int kInputRetries = 3;
constexpr long kEveryPrivateData = 0xff;
constexpr long kAnalysisData = 1;
constexpr unsigned long kMillisecondsPerSecond = 1000;
/** The player's times have 32 bits. */
constexpr unsigned long kLastMillisecond = 0xFFFFFFFF;

enum PlayState { Stopped = 0, Playing = 1, Paused = 2 };

const char *const kFile = "Drovel\\Drovel";

/** Hands a call's outcome on, and logs a failure with the port's last error. Call it right after the call. */
bool succeeded(int nResult, long nPort, LogLevel level, const LogLocation &where, const char *pFailureText)
{
    if (nResult != 0) {
        return true;
    }
    const unsigned long nError = Kavun_GetLastError(nPort);
    writeLog(level, where, Base::StringUtil::FormatString(pFailureText, nError));
    return false;
}

bool succeeded(int nResult, long nPort, const LogLocation &where, const char *pFailureText)
{
    return succeeded(nResult, nPort, LogLevel::Error, where, pFailureText);
}

/** For getters, whose values say nothing about failure. */
bool succeededByLastError(long nPort, const LogLocation &where, const char *pFailureText)
{
    const unsigned long nError = Kavun_GetLastError(nPort);
    if (nError == KAVUN_ERROR_NONE) {
        return true;
    }
    logError(where, pFailureText, nError);
    return false;
}

} // namespace

/** One call on the port; false without one. */
template <typename... Parameters, typename... Arguments>
bool Drovel::callPort(const LogLocation &where, const char *pFailureText, int (*pfnCall)(long, Parameters...),
                      Arguments... arguments)
{
    const long nPort = m_nPort;
    return nPort != kNoPort && succeeded(pfnCall(nPort, arguments...), nPort, where, pFailureText);
}

/** One getter of the port; 0 without one. */
template <typename Value>
Value Drovel::askPort(const LogLocation &where, const char *pFailureText, Value (*pfnCall)(long))
{
    const long nPort = m_nPort;
    if (nPort == kNoPort) {
        return 0;
    }
    const Value value = pfnCall(nPort);
    return succeededByLastError(nPort, where, pFailureText) ? value : Value(0);
}

bool Drovel::startPlayStream(unsigned char *pHeader, unsigned long nHeaderSize, HWND hWnd)
{
    const char *const pFunction =
        "bool __cdecl pellora::Drovel::startPlayStream(unsigned char *,unsigned long,struct HWND__ *)";
    stopPlayStream();
    long nPort = kNoPort;
    if (!succeeded(Kavun_GetPort(&nPort), kNoPort, logAt(kFile, pFunction), "Kavun_GetPort error: %d.")) {
        return false;
    }
    m_nPort = nPort;
    if (!succeeded(Kavun_SetStreamOpenMode(nPort, m_nStreamOpenMode), nPort, logAt(kFile, pFunction),
                   "Kavun_SetStreamOpenMode error: %d.") ||
        !succeeded(Kavun_OpenStream(nPort, pHeader, nHeaderSize, kSourceBufferSize), nPort, logAt(kFile, pFunction),
                   "Kavun_OpenStream error: %d.")) {
        // m_nPort keeps the freed number until it is stopped; docs/compatibility.md: port-number-after-failure.
        Kavun_FreePort(nPort);
        return false;
    }
    // A stream without its display buffers still plays.
    succeeded(Kavun_SetDisplayBuf(nPort, kDisplayBuffers), nPort, logAt(kFile, pFunction),
              "Kavun_SetDisplayBuf error: %d.");
    // Their errors are fetched and dropped; docs/compatibility.md: play-unchecked.
    Kavun_Play(nPort, hWnd);
    Kavun_GetLastError(nPort);
    Kavun_RenderPrivateData(nPort, kEveryPrivateData, FALSE);
    Kavun_GetLastError(nPort);
    // Neither the window nor the play state is kept; docs/compatibility.md: stream-without-state. Play then passes a
    // null window, with which the player keeps the one it has.
    return true;
}

bool Drovel::stopPlayStream()
{
    const char *const pFunction = "bool __cdecl pellora::Drovel::stopPlayStream(void)";
    const long nPort = m_nPort;
    if (nPort == kNoPort) {
        return false;
    }
    succeeded(Kavun_Stop(nPort), nPort, LogLevel::Warn, logAt(kFile, pFunction), "Kavun_Stop error: %d.");
    succeeded(Kavun_CloseStream(nPort), nPort, LogLevel::Warn, logAt(kFile, pFunction), "Kavun_CloseStream error: %d.");
    succeeded(Kavun_FreePort(nPort), nPort, LogLevel::Warn, logAt(kFile, pFunction), "Kavun_FreePort error: %d.");
    m_nPort = kNoPort;
    // Speed steps are left alone; docs/compatibility.md: stream-without-state.
    return true;
}

bool Drovel::startPlayFile(char *pPath, HWND hWnd)
{
    const char *const pFunction = "bool __cdecl pellora::Drovel::startPlayFile(char *,struct HWND__ *)";
    stopPlayFile();
    long nPort = kNoPort;
    if (!succeeded(Kavun_GetPort(&nPort), kNoPort, logAt(kFile, pFunction), "Kavun_GetPort error: %d.")) {
        return false;
    }
    m_nPort = nPort;
    // Without the notice a file only lacks steps back.
    succeeded(Kavun_SetFileRefCallBack(nPort, &Drovel::fileRefDoneCallback, this), nPort, logAt(kFile, pFunction),
              "Kavun_SetFileRefCallBack error: %d.");
    if (!succeeded(Kavun_SetStreamOpenMode(nPort, m_nStreamOpenMode), nPort, logAt(kFile, pFunction),
                   "Kavun_SetStreamOpenMode error: %d.") ||
        !succeeded(Kavun_OpenFile(nPort, pPath), nPort, logAt(kFile, pFunction), "Kavun_OpenFile error: %d.")) {
        // The number stays, as for a stream.
        Kavun_FreePort(nPort);
        return false;
    }
    succeeded(Kavun_SetDisplayBuf(nPort, kDisplayBuffers), nPort, logAt(kFile, pFunction),
              "Kavun_SetDisplayBuf error: %d.");
    // The file counts as playing whatever the player answers; docs/compatibility.md: play-unchecked.
    Kavun_Play(nPort, hWnd);
    m_nPlayState = Playing;
    m_hWnd = hWnd;
    Kavun_RenderPrivateData(nPort, kEveryPrivateData, FALSE);
    Kavun_GetLastError(nPort);
    return true;
}

bool Drovel::stopPlayFile()
{
    const char *const pFunction = "bool __cdecl pellora::Drovel::stopPlayFile(void)";
    m_hWnd = nullptr;
    m_bFileRefDone = false;
    m_nSpeed = 0;
    const long nPort = m_nPort;
    if (nPort == kNoPort) {
        return false;
    }
    succeeded(Kavun_SetFileRefCallBack(nPort, nullptr, nullptr), nPort, logAt(kFile, pFunction),
              "Kavun_SetFileRefCallBack error: %d.");
    succeeded(Kavun_Stop(nPort), nPort, LogLevel::Warn, logAt(kFile, pFunction), "Kavun_Stop error: %d.");
    m_nPlayState = Stopped;
    succeeded(Kavun_CloseFile(nPort), nPort, LogLevel::Warn, logAt(kFile, pFunction), "Kavun_CloseFile error: %d.");
    succeeded(Kavun_FreePort(nPort), nPort, LogLevel::Warn, logAt(kFile, pFunction), "Kavun_FreePort error: %d.");
    // Once more, now that no callback can run: one that ran above would have marked the next file's index complete.
    m_bFileRefDone = false;
    m_nPort = kNoPort;
    return true;
}

void Drovel::inputData(unsigned char *pData, unsigned long nSize)
{
    const long nPort = m_nPort;
    if (nPort == kNoPort || Kavun_InputData(nPort, pData, nSize) != 0 ||
        Kavun_GetLastError(nPort) != KAVUN_ERROR_BUFFER_FULL) {
        return;
    }
    // The caller is the device's thread, which must not wait; docs/compatibility.md: full-buffer-dropped.
    for (int nRetry = 0; nRetry < kInputRetries; ++nRetry) {
        if (Kavun_InputData(nPort, pData, nSize) != 0) {
            return;
        }
    }
}

void Drovel::setStreamOpenMode(unsigned int nMode)
{
    m_nStreamOpenMode = nMode;
}

bool Drovel::isOpened() const
{
    return m_nPort != kNoPort;
}

long Drovel::portNumber() const
{
    return m_nPort;
}

void Drovel::setFileRefDone(bool bDone)
{
    m_bFileRefDone = bDone;
}

void Drovel::fileRefDoneCallback(long, void *pUser)
{
    if (pUser != nullptr) {
        static_cast<Drovel *>(pUser)->setFileRefDone(true);
    }
}

bool Drovel::play()
{
    const char *const pFunction = "bool __cdecl pellora::Drovel::play(void)";
    const long nPort = m_nPort;
    if (nPort == kNoPort ||
        !succeeded(Kavun_Play(nPort, m_hWnd), nPort, logAt(kFile, pFunction), "Kavun_Play error: %d.")) {
        return false;
    }
    m_nPlayState = Playing;
    // The player starts at normal speed; the steps counted so far are taken again, whether or not one of them fails.
    for (int nStep = 0; nStep < m_nSpeed; ++nStep) {
        succeeded(Kavun_Fast(nPort), nPort, logAt(kFile, pFunction), "Kavun_Fast error: %d.");
    }
    for (int nStep = 0; nStep > m_nSpeed; --nStep) {
        succeeded(Kavun_Slow(nPort), nPort, logAt(kFile, pFunction), "Kavun_Slow error: %d.");
    }
    return true;
}

bool Drovel::pause()
{
    if (!callPort(logAt(kFile, "bool __cdecl pellora::Drovel::pause(void)"), "Kavun_Pause error: %d.", &Kavun_Pause,
                  1UL)) {
        return false;
    }
    m_nPlayState = Paused;
    return true;
}

bool Drovel::restore()
{
    if (!callPort(logAt(kFile, "bool __cdecl pellora::Drovel::restore(void)"), "Kavun_Pause error: %d.", &Kavun_Pause,
                  0UL)) {
        return false;
    }
    m_nPlayState = Playing;
    return true;
}

bool Drovel::fast()
{
    return step(1, logAt(kFile, "bool __cdecl pellora::Drovel::fast(void)"), "Kavun_Fast error: %d.", &Kavun_Fast);
}

bool Drovel::slow()
{
    return step(-1, logAt(kFile, "bool __cdecl pellora::Drovel::slow(void)"), "Kavun_Slow error: %d.", &Kavun_Slow);
}

bool Drovel::step(int nDirection, const LogLocation &where, const char *pFailureText, int (*pfnCall)(long))
{
    const long nPort = m_nPort;
    if (nPort == kNoPort) {
        return false;
    }
    // Only a playing port is told; other steps wait for play, and there is no limit on the count;
    // docs/compatibility.md: steps-without-limit.
    if (m_nPlayState == Playing && !succeeded(pfnCall(nPort), nPort, where, pFailureText)) {
        return false;
    }
    m_nSpeed += nDirection;
    return true;
}

bool Drovel::oneByOne()
{
    return callPort(logAt(kFile, "bool __cdecl pellora::Drovel::oneByOne(void)"), "Kavun_OneByOne error: %d.",
                    &Kavun_OneByOne);
}

bool Drovel::oneByOneBack()
{
    const char *const pFunction = "bool __cdecl pellora::Drovel::oneByOneBack(void)";
    if (!isOpened()) {
        return false;
    }
    if (!m_bFileRefDone) {
        logError(logAt(kFile, pFunction), "m_bFileRefDone: %d.", 0);
        return false;
    }
    return callPort(logAt(kFile, pFunction), "Kavun_OneByOneBack error: %d.", &Kavun_OneByOneBack);
}

bool Drovel::setPlayedTime(unsigned long nSeconds)
{
    // A product that wrapped would seek to the beginning instead of the end.
    const unsigned long nMilliseconds =
        nSeconds <= kLastMillisecond / kMillisecondsPerSecond ? nSeconds * kMillisecondsPerSecond : kLastMillisecond;
    return callPort(logAt(kFile, "bool __cdecl pellora::Drovel::setPlayedTime(unsigned long)"),
                    "Kavun_SetPlayedTimeEx error: %d.", &Kavun_SetPlayedTimeEx, nMilliseconds);
}

unsigned long Drovel::getPlayedTime()
{
    return askPort(logAt(kFile, "unsigned long __cdecl pellora::Drovel::getPlayedTime(void)"),
                   "Kavun_GetPlayedTime error: %d.", &Kavun_GetPlayedTime);
}

unsigned long Drovel::getFileTime()
{
    return askPort(logAt(kFile, "unsigned long __cdecl pellora::Drovel::getFileTime(void)"),
                   "Kavun_GetFileTime error: %d.", &Kavun_GetFileTime);
}

bool Drovel::getSystemFileTime(KAVUN_SYSTEM_TIME *pStart, KAVUN_SYSTEM_TIME *pEnd)
{
    return callPort(logAt(kFile, "bool __cdecl pellora::Drovel::getSystemFileTime("
                                 "struct KAVUN_SYSTEM_TIME *,struct KAVUN_SYSTEM_TIME *)"),
                    "Kavun_GetFileTotalTime error: %d.", &Kavun_GetFileTotalTime, pStart, pEnd);
}

bool Drovel::getSystemTime(KAVUN_SYSTEM_TIME *pTime)
{
    return callPort(logAt(kFile, "bool __cdecl pellora::Drovel::getSystemTime(struct KAVUN_SYSTEM_TIME *)"),
                    "Kavun_GetSystemTime error: %d.", &Kavun_GetSystemTime, pTime);
}

unsigned long Drovel::getFileTimeNoPreview(char *pPath)
{
    const char *const pFunction = "unsigned long __cdecl pellora::Drovel::getFileTimeNoPreview(char *)";
    long nPort = kNoPort;
    if (!succeeded(Kavun_GetPort(&nPort), kNoPort, logAt(kFile, pFunction), "Kavun_GetPort error: %d.")) {
        return 0;
    }
    if (!succeeded(Kavun_OpenFile(nPort, pPath), nPort, logAt(kFile, pFunction), "Kavun_OpenFile error: %d.")) {
        Kavun_FreePort(nPort);
        return 0;
    }
    const unsigned long nLength = Kavun_GetFileTime(nPort);
    // Unlike getFileTime, this hands the player's value on whatever the error;
    // docs/compatibility.md: length-despite-error.
    succeededByLastError(nPort, logAt(kFile, pFunction), "Kavun_GetFileTime error: %d.");
    succeeded(Kavun_CloseFile(nPort), nPort, LogLevel::Warn, logAt(kFile, pFunction), "Kavun_CloseFile error: %d.");
    succeeded(Kavun_FreePort(nPort), nPort, LogLevel::Warn, logAt(kFile, pFunction), "Kavun_FreePort error: %d.");
    return nLength;
}

bool Drovel::getPictureSize(long &nWidth, long &nHeight)
{
    return callPort(logAt(kFile, "bool __cdecl pellora::Drovel::getPictureSize(long &,long &)"),
                    "Kavun_GetPictureSize error: %d.", &Kavun_GetPictureSize, &nWidth, &nHeight);
}

bool Drovel::hasPictureSize(long &nWidth, long &nHeight) const
{
    const long nPort = m_nPort;
    return nPort != kNoPort && Kavun_GetPictureSize(nPort, &nWidth, &nHeight) != 0;
}

bool Drovel::capture(unsigned char *pBuffer, unsigned long nBufferSize, unsigned long *pPictureSize)
{
    return callPort(
        logAt(kFile, "bool __cdecl pellora::Drovel::capture(unsigned char *,unsigned long,unsigned long *)"),
        "Kavun_GetJPEG error: %d.", &Kavun_GetJPEG, pBuffer, nBufferSize, pPictureSize);
}

bool Drovel::screenshot(CROP_PIC_INFO *pInfo)
{
    return callPort(logAt(kFile, "bool __cdecl pellora::Drovel::screenshot(struct CROP_PIC_INFO *)"),
                    "Kavun_GetCropJPEG error: %d.", &Kavun_GetCropJPEG, pInfo);
}

bool Drovel::setDisplayRegion(RECT *pRect)
{
    return callPort(logAt(kFile, "bool __cdecl pellora::Drovel::setDisplayRegion(struct tagRECT *)"),
                    "Kavun_SetDisplayRegion error: %d.", &Kavun_SetDisplayRegion, 0UL, pRect, nullptr, 0);
}

bool Drovel::setIntelData(bool bEnable)
{
    const long nPort = m_nPort;
    Kavun_RenderPrivateData(nPort, kAnalysisData, bEnable ? 1 : 0);
    // The same line and answer for success and failure, with and without a port;
    // docs/compatibility.md: intel-data-answer.
    logInfo(logAt(kFile, "bool __cdecl pellora::Drovel::setIntelData(bool)"), "Kavun_RenderPrivateData error: %d.",
            Kavun_GetLastError(nPort));
    return false;
}

bool Drovel::openSound()
{
    return callPort(logAt(kFile, "bool __cdecl pellora::Drovel::openSound(void)"), "Kavun_PlaySound error: %d.",
                    &Kavun_PlaySound);
}

bool Drovel::closeSound()
{
    const long nPort = m_nPort;
    return nPort != kNoPort &&
           succeeded(Kavun_StopSound(), nPort, logAt(kFile, "bool __cdecl pellora::Drovel::closeSound(void)"),
                     "Kavun_StopSound error: %d.");
}

bool Drovel::setVolume(unsigned short nVolume)
{
    return callPort(logAt(kFile, "bool __cdecl pellora::Drovel::setVolume(unsigned short)"),
                    "Kavun_SetVolume error: %d.", &Kavun_SetVolume, nVolume);
}

unsigned short Drovel::getVolume()
{
    return askPort(logAt(kFile, "unsigned short __cdecl pellora::Drovel::getVolume(void)"),
                   "Kavun_GetVolume error: %d.", &Kavun_GetVolume);
}

bool Drovel::registerFileEndCallback(void (*pfnCallback)(long nPort, void *pUser), void *pUser)
{
    return callPort(
        logAt(kFile, "bool __cdecl pellora::Drovel::registerFileEndCallback(void (__cdecl *)(long,void *),void *)"),
        "Kavun_SetFileEndCallback error: %d.", &Kavun_SetFileEndCallback, pfnCallback, pUser);
}

bool Drovel::unRegisterFileEndCallback()
{
    return callPort(logAt(kFile, "bool __cdecl pellora::Drovel::unRegisterFileEndCallback(void)"),
                    "Kavun_SetFileEndCallback error: %d.", &Kavun_SetFileEndCallback, nullptr, nullptr);
}

bool Drovel::registerDrawFunc(void (*pfnCallback)(long nPort, HDC hDc, void *pUser), void *pUser)
{
    return callPort(
        logAt(kFile,
              "bool __cdecl pellora::Drovel::registerDrawFunc(void (__cdecl *)(long,struct HDC__ *,void *),void *)"),
        "Kavun_RegisterDrawFun error: %d.", &Kavun_RegisterDrawFun, pfnCallback, pUser);
}

bool Drovel::unRegisterDrawFunc()
{
    return callPort(logAt(kFile, "bool __cdecl pellora::Drovel::unRegisterDrawFunc(void)"),
                    "Kavun_RegisterDrawFun error: %d.", &Kavun_RegisterDrawFun, nullptr, nullptr);
}

} // namespace pellora
