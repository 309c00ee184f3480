#ifndef BASE_CORVANE_CORVANEMGR_H
#define BASE_CORVANE_CORVANEMGR_H

#include "base/CorvaneExport.h"

namespace corvane
{

/**
 * Makes Qt work in a host's process, whether or not the host uses Qt itself.
 *
 * Threads: init and unInit on the thread that will own the windows. Under a host's plain Win32 message loop Qt's
 *          events are delivered; no event loop of Qt's own is started.
 */
class CORVANE_API CorvaneMgr
{
public:
    /** The same object for every module of the process. */
    [[nodiscard]] static CorvaneMgr *getInstance();

    CorvaneMgr() = default;
    CorvaneMgr(const CorvaneMgr &) = delete;
    CorvaneMgr &operator=(const CorvaneMgr &) = delete;

    [[nodiscard]] bool isInit() const;
    /**
     * Makes the QApplication if the process has none, on the calling thread; its plug-ins are found beside this
     * library. Neither changes the process's DPI awareness nor scales: all coordinates are device pixels.
     */
    bool init();
    /** The application object stays until the process ends, since windows may outlive this; init works again. */
    void unInit();

private:
    bool m_bInit = false;
};

} // namespace corvane

#endif
