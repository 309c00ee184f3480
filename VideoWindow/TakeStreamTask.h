#ifndef VIDEOWINDOW_TAKESTREAMTASK_H
#define VIDEOWINDOW_TAKESTREAMTASK_H

#include "Selvikdcm.h"
#include "preview/StartTicket.h"
#include "threadpool/ThreadTask.h"

#include <QObject>

#include <windows.h>

#include <memory>

namespace pellora
{

/**
 * Starts one device preview and tells its owner the handle.
 *
 * Threads: made, abandoned and deleted on the GUI thread, run on a thread of the pool, where the signal is emitted.
 * Owns:    its own copy of the request and the address. An abandoned task deletes itself when it has run.
 * Errors:  a failed start is a negative handle and a line in the log. An address of 256 characters or more is cut and
 *          never tried.
 */
class TakeStreamTask : public QObject, public publicdatacontroller::ThreadTask
{
    Q_OBJECT

public:
    TakeStreamTask(int userID, const SELVIK_DCM_PREVIEW_INFO *pRequest, QObject *pParent);
    /** Waits until a result that is being handed over on another thread has been queued. */
    ~TakeStreamTask() override;

    void run() override;

    /** The pool was stopped before the task ran: answers -1, or ends the task if nobody waits for it. */
    void settle();

    /** The handle once the start has come back. */
    [[nodiscard]] std::optional<long> result() const;
    /**
     * The owner gives up. The handle when the start had come back: then stopping it and deleting the task are the
     * caller's. None: both are the task's own, once it has run.
     */
    [[nodiscard]] std::optional<long> abandon();

signals:
    /** Negative: the start failed. */
    void signalTakeStreamResult(LONG lPreviewHandel);

private:
    [[nodiscard]] long start();
    void stopUnclaimed(long lPreviewHandel);
    void endUnclaimed();

    long m_lUserID;
    SELVIK_DCM_PREVIEW_INFO m_struPreviewInfo;
    char m_szUrl[256];
    bool m_bUrlCut = false;
    /** Shared with run(), which must not look into the task once the result is out. */
    std::shared_ptr<StartTicket> m_pTicket;
};

} // namespace pellora

#endif
