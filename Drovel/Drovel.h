#ifndef DROVEL_DROVEL_H
#define DROVEL_DROVEL_H

#include "Kavun.h"

#include <atomic>

namespace pellora
{

struct LogLocation;

/**
 * One port of the player, for a live stream or a file.
 *
 * Threads: the GUI thread, and the device library's thread, which opens and feeds streams (setStreamOpenMode,
 *          startPlayStream, inputData). It holds no lock: its owner sees to it that two sources never use it at a time.
 *          Callbacks given to it run on the player's threads.
 * Owns:    its port, but the destructor stops nothing: stop it first. Borrows the window until then.
 * Units:   seconds, where a record does not say otherwise; pixels of the picture for regions.
 * Errors:  false or 0, and a log line with the port's last error; without a port silently. Never throws.
 */
class Drovel
{
public:
    Drovel() = default;
    ~Drovel() = default;
    Drovel(const Drovel &) = delete;
    Drovel &operator=(const Drovel &) = delete;

    /** Opens a port for a live stream; what was playing is stopped. After a failure it still counts as opened. */
    bool startPlayStream(unsigned char *pHeader, unsigned long nHeaderSize, HWND hWnd);
    bool stopPlayStream();
    /** Opens a port for a file and plays it; a file that was playing is stopped. Failures: as startPlayStream. */
    bool startPlayFile(char *pPath, HWND hWnd);
    bool stopPlayFile();
    /** Data that do not fit after some immediate tries are dropped. */
    void inputData(unsigned char *pData, unsigned long nSize);
    /** For the next start: 0 real time, 1 file. */
    void setStreamOpenMode(unsigned int nMode);
    [[nodiscard]] bool isOpened() const;
    /** -1 without a port. The player never hands a number out twice. */
    [[nodiscard]] long portNumber() const;

    void setFileRefDone(bool bDone);
    /** The player's notice that the file index is complete; `pUser` is the Drovel. */
    static void fileRefDoneCallback(long nPort, void *pUser);

    // Speed and position.
    /** Plays at the speed that fast and slow have counted up to. */
    bool play();
    bool pause();
    /** Goes on; speed steps counted meanwhile wait for play. */
    bool restore();
    /** Counts one step, also while nothing plays. */
    bool fast();
    bool slow();
    bool oneByOne();
    /** Needs the complete file index. */
    bool oneByOneBack();
    /** A time beyond what the player can count in milliseconds is the last that it can. */
    bool setPlayedTime(unsigned long nSeconds);
    unsigned long getPlayedTime();
    unsigned long getFileTime();
    /** Recording times of the file's first and last picture. */
    bool getSystemFileTime(KAVUN_SYSTEM_TIME *pStart, KAVUN_SYSTEM_TIME *pEnd);
    /** Recording time of the picture on the screen. */
    bool getSystemTime(KAVUN_SYSTEM_TIME *pTime);
    /** Length of a file that is not being played. Uses a port of its own. */
    static unsigned long getFileTimeNoPreview(char *pPath);

    // Pictures.
    bool getPictureSize(long &nWidth, long &nHeight);
    /** As getPictureSize, without a log line: for looking again and again until there is a picture. Any thread. */
    [[nodiscard]] bool hasPictureSize(long &nWidth, long &nHeight) const;
    bool capture(unsigned char *pBuffer, unsigned long nBufferSize, unsigned long *pPictureSize);
    bool screenshot(CROP_PIC_INFO *pInfo);
    /** Null shows the whole picture. */
    bool setDisplayRegion(RECT *pRect);
    /** Shows or hides analysis data. Always false, whether or not it worked. */
    bool setIntelData(bool bEnable);

    // Sound.
    bool openSound();
    bool closeSound();
    bool setVolume(unsigned short nVolume);
    unsigned short getVolume();

    // Callbacks; when a call returns, the callback set before is no longer running.
    bool registerFileEndCallback(void (*pfnCallback)(long nPort, void *pUser), void *pUser);
    bool unRegisterFileEndCallback();
    bool registerDrawFunc(void (*pfnCallback)(long nPort, HDC hDc, void *pUser), void *pUser);
    bool unRegisterDrawFunc();

private:
    template <typename... Parameters, typename... Arguments>
    bool callPort(const LogLocation &where, const char *pFailureText, int (*pfnCall)(long, Parameters...),
                  Arguments... arguments);
    template <typename Value>
    Value askPort(const LogLocation &where, const char *pFailureText, Value (*pfnCall)(long));
    bool step(int nDirection, const LogLocation &where, const char *pFailureText, int (*pfnCall)(long));

    // GUI and device threads: a start stores the port where data arrive while the GUI thread asks for it.
    /** -1 without a port. After a failed start it keeps the freed number, which the player never hands out again. */
    std::atomic<long> m_nPort{-1};
    std::atomic<unsigned int> m_nStreamOpenMode{KAVUN_MODE_REAL_TIME};

    // GUI thread.
    /** Where the file is drawn; null for a live stream. */
    HWND m_hWnd = nullptr;

    /** Set by a player thread, cleared and read by the GUI thread. */
    std::atomic<bool> m_bFileRefDone{false};

    // GUI thread.
    /** Steps of fast less steps of slow. */
    int m_nSpeed = 0;
    /** 0 stopped, 1 playing, 2 paused; a live stream does not move it. */
    int m_nPlayState = 0;
};

} // namespace pellora

#endif
