#ifndef VIDEOWINDOW_TAKESTREAMTASK_H
#define VIDEOWINDOW_TAKESTREAMTASK_H

#include "preview/PreviewStart.h"
#include "threadpool/ThreadTask.h"

#include <QObject>

#include <windows.h>

namespace pellora
{

/**
 * The pool's task around one start of a preview; the result is a signal.
 *
 * Threads: made and let go on the GUI thread, run on a thread of the pool, where the signal is emitted.
 * Owner:   see PreviewStart::Release. It tells the pool not to delete it.
 */
class TakeStreamTask : public QObject, public publicdatacontroller::ThreadTask, public PreviewStart
{
    Q_OBJECT

public:
    TakeStreamTask(int userID, const SELVIK_DCM_PREVIEW_INFO *pRequest, QObject *pParent);

    void run() override;
    [[nodiscard]] publicdatacontroller::ThreadTask &task() override;

signals:
    /** Negative: the start failed. */
    void signalTakeStreamResult(LONG lPreviewHandel);

protected:
    void deliver(long lPreviewHandel) override;
};

} // namespace pellora

#endif
