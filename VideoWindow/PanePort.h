#ifndef VIDEOWINDOW_PANEPORT_H
#define VIDEOWINDOW_PANEPORT_H

#include "Drovel/Drovel.h"
#include "preview/LivePort.h"
#include "rules/RuleTypes.h"

#include <mutex>
#include <optional>

namespace pellora
{

/**
 * The only door to a pane's port of the player: what plays in it, one way to end that, and the settings in force.
 *
 * The port plays one source at a time, and ends it as what it is, whatever the caller takes it for. The settings in
 * force (overlay, sound, volume, display region, analysis data) belong to the source: they are put in force again when
 * a live stream opens a new port, and are forgotten when the source ends.
 *
 * Threads: the GUI thread. openLive() and feedLive() also come from the device library's threads, never two at a time.
 * Owns:    the port. Borrows the surface until forgetWindow().
 * Units:   thousandths of the picture for regions.
 * Errors:  false, and Drovel's log line.
 * Locks:   m_mutex, around each source and each setting. The player is called under it, and nobody else. Order: after
 *          PaneStream's; then SoundOwner's, then the player's, then the rule manager's.
 */
class PanePort : public LivePort
{
public:
    enum class Source { None, File, Live };

    using DrawCallback = void (*)(long nPort, HDC hDc, void *pUser);

    /** A display region and the part of the picture that it is. */
    struct Region {
        RECT thousandths;
        /** Pixels of the picture; none of it while the player knows no picture. */
        RECT part;
        /** Of the picture; 0 while it is not known. */
        PixelSize picture;
    };

    explicit PanePort(HWND hPlayWnd);

    // Sources.
    /** The source before must have been ended. It counts as a file from here on, even if it cannot be opened. */
    bool playFile(char *pPath);
    /** Ends what plays. When nothing does, only what is left of such a source is forgotten. */
    void end(Source otherwise);
    [[nodiscard]] Source source() const;
    /** True when a file plays in the port with this number. */
    [[nodiscard]] bool isFile(long nPort) const;
    /** The surface has gone with the host's window: later ports draw nowhere. */
    void forgetWindow();

    bool openLive(unsigned char *pHeader, unsigned long nLength, bool bAgain) override;
    void feedLive(unsigned char *pBytes, unsigned long nLength) override;

    // What changes neither source nor settings; see Drovel.
    [[nodiscard]] bool isOpened() const;
    bool play();
    bool pause();
    bool restore();
    bool fast();
    bool slow();
    bool oneByOne();
    bool oneByOneBack();
    bool setPlayedTime(unsigned long nSeconds);
    unsigned long getPlayedTime();
    unsigned long getFileTime();
    /** Fills the records when it can and returns false in every case; docs/compatibility.md: system-times-answer-0. */
    bool getSystemFileTime(KAVUN_SYSTEM_TIME *pStart, KAVUN_SYSTEM_TIME *pEnd);
    /** As getSystemFileTime. */
    bool getSystemTime(KAVUN_SYSTEM_TIME *pTime);
    bool getPictureSize(long &nWidth, long &nHeight);
    bool capture(unsigned char *pBuffer, unsigned long nBufferSize, unsigned long *pPictureSize);
    bool screenshot(CROP_PIC_INFO *pInfo);
    unsigned short getVolume();
    bool registerFileEndCallback(void (*pfnCallback)(long nPort, void *pUser), void *pUser);
    bool unRegisterFileEndCallback();

    // Settings.
    bool registerDraw(DrawCallback pfnCallback, void *pUser);
    bool unregisterDraw();
    bool openSound();
    bool closeSound();
    bool setVolume(unsigned short nVolume);
    /** Which part of the present picture a region is; the region itself is not changed. */
    [[nodiscard]] Region partOf(const RECT &thousandths);
    /** The same thousandths are shown of each later picture of the source, whatever its size. */
    bool showRegion(const Region &region);
    bool showWhole();
    /** Shows or hides analysis data. Always false, whether or not it worked. */
    bool setIntelData(bool bEnable);

private:
    struct InForce {
        std::optional<unsigned short> volume;
        std::optional<Region> region;
        DrawCallback pfnDraw = nullptr;
        void *pDrawUser = nullptr;
        bool bIntelData = false;
    };

    void putInForce();
    void renewRegion();

    /** Any thread; a number that is stale reaches no port. */
    Drovel m_drovel;

    // Guarded by m_mutex.
    mutable std::mutex m_mutex;
    HWND m_hPlayWnd;
    Source m_source = Source::None;
    InForce m_inForce;
};

} // namespace pellora

#endif
