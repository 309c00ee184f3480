#ifndef VIDEOWINDOW_STOPTAKESTREAMTASK_H
#define VIDEOWINDOW_STOPTAKESTREAMTASK_H

#include "threadpool/ThreadTask.h"

namespace pellora
{

/**
 * Stops one device preview. Nothing is reported back but to the log.
 *
 * Threads: made on the GUI thread, run on a thread of the pool.
 */
class StopTakeStreamTask : public publicdatacontroller::ThreadTask
{
public:
    explicit StopTakeStreamTask(long lPreviewHandel);

    void run() override;

private:
    long m_lPreviewHandel;
};

} // namespace pellora

#endif
