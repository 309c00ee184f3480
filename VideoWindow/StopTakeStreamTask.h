#ifndef VIDEOWINDOW_STOPTAKESTREAMTASK_H
#define VIDEOWINDOW_STOPTAKESTREAMTASK_H

#include "preview/PreviewWork.h"
#include "threadpool/ThreadTask.h"

namespace pellora
{

/**
 * Stops one device preview. Nothing is reported back but to the log.
 *
 * Threads: made on the GUI thread, run on a thread of the pool; settled on the GUI thread when the pool has ended.
 * Owner:   the pool, once it has it; the one who settles it otherwise.
 */
class StopTakeStreamTask : public publicdatacontroller::ThreadTask, public PreviewWork
{
public:
    explicit StopTakeStreamTask(long lPreviewHandel);

    void run() override;
    /** Stops the preview here, and deletes the task. */
    void settle() override;

private:
    long m_lPreviewHandel;
};

} // namespace pellora

#endif
