#ifndef VIDEOWINDOW_PANESTREAM_H
#define VIDEOWINDOW_PANESTREAM_H

#include "Drovel/Drovel.h"
#include "preview/LivePanes.h"
#include "preview/StreamGate.h"

#include <mutex>
#include <optional>

namespace pellora
{

/**
 * The way of a live stream into a pane's port, where the device's threads and the GUI thread meet.
 *
 * Records of previews that the pane does not want any more go nowhere, whatever thread they come on and however late.
 * A second header of a preview means that the device was reached again: the port is replaced, and what was in force on
 * the old one is put in force on the new one.
 *
 * Threads: the GUI thread; the device library's threads call input().
 * Owns:    nothing. Borrows the pane's port and listener until leave(); afterwards nothing gets in. It outlives the
 *          pane as long as a device thread holds it.
 * Locks:   m_mutex, around each record and each setting. No host code and no call of the device library runs under it,
 *          and nothing waits there but for the player's own threads, which never wait for anybody. Order: m_mutex, then
 *          SoundOwner's, then the player's, then the rule manager's; RetiredPreviews' after m_mutex.
 */
class PaneStream : public StreamSink
{
public:
    /** Called under the lock, on a device thread or the GUI thread: may only queue a notice. */
    class Listener
    {
    public:
        Listener() = default;
        virtual ~Listener() = default;
        Listener(const Listener &) = delete;
        Listener &operator=(const Listener &) = delete;

        /** A header has arrived; the port is opened next. */
        virtual void headerArrived() = 0;
        /** The start wants the overlay, and its stream has begun. */
        virtual void overlayWanted() = 0;
        /** The first header has opened the port, or failed to. Once a start. */
        virtual void streamOpened(bool bOpened) = 0;
    };

    using DrawCallback = void (*)(long nPort, HDC hDc, void *pUser);

    PaneStream(Drovel &drovel, Listener &listener, HWND hPlayWnd);

    void input(long lPreviewHandel, unsigned int nType, unsigned char *pBytes, unsigned int nLength) override;

    // The preview.
    /** A start is being made. `bOthersUnderWay`: an abandoned start may send records to the same pane. */
    void open(bool bOpenDraw, bool bOthersUnderWay);
    /** The start came back with this handle. */
    void bind(long lPreviewHandel);
    /** The start failed: nothing gets in, and a file that has taken the pane meanwhile goes on. */
    void giveUp();
    /** Nothing gets in any more; the port is the caller's to stop. */
    void close();
    /** The pane goes away. */
    void leave();
    /** The surface has gone with the host's window. */
    void forgetWindow();

    // Files: while one plays, what the device sends is dropped.
    void beginFile();
    [[nodiscard]] bool isForFile() const;
    void stopFile();

    // Settings of the port; each is kept for a port that replaces it.
    bool registerDraw(DrawCallback pfnCallback, void *pUser);
    bool unregisterDraw();
    bool openSound();
    bool closeSound();
    bool setVolume(unsigned short nVolume);
    bool setDisplayRegion(RECT *pRect);
    bool setIntelData(bool bEnable);

private:
    struct InForce {
        std::optional<unsigned short> volume;
        std::optional<RECT> region;
        DrawCallback pfnDraw = nullptr;
        void *pDrawUser = nullptr;
        bool bIntelData = false;
    };

    void feed(unsigned int nType, unsigned char *pBytes, unsigned long nLength);
    void openPort(unsigned char *pBytes, unsigned long nLength);
    void restore();
    void forgetSettings();

    // Guarded by m_mutex; the port also has calls that need no guard.
    mutable std::mutex m_mutex;
    Drovel &m_drovel;
    Listener &m_listener;
    HWND m_hPlayWnd;
    StreamGate m_gate;
    InForce m_inForce;
    bool m_bOpenDraw = false;
    bool m_bHeaderSeen = false;
    bool m_bFile = false;
};

} // namespace pellora

#endif
