#ifndef PREVIEW_LIVEPORT_H
#define PREVIEW_LIVEPORT_H

namespace pellora
{

/**
 * The player's port of one pane, as a live stream sees it.
 *
 * Called by PaneStream under its lock, on a thread of the device library or on the GUI thread; never two at a time.
 */
class LivePort
{
public:
    LivePort() = default;
    virtual ~LivePort() = default;
    LivePort(const LivePort &) = delete;
    LivePort &operator=(const LivePort &) = delete;

    /**
     * A stream begins: opens a port for it. A port that is open is replaced, and with `bAgain` the settings that were
     * in force on it are put in force on the new one. False: it could not be opened.
     */
    virtual bool openLive(unsigned char *pHeader, unsigned long nLength, bool bAgain) = 0;
    /** The stream goes on. Never waits. */
    virtual void feedLive(unsigned char *pBytes, unsigned long nLength) = 0;
};

} // namespace pellora

#endif
