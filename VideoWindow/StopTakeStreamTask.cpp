#include "VideoWindow/StopTakeStreamTask.h"

#include "VideoWindow/TakeStreamMgr.h"
#include "logging/LogException.h"
#include "preview/Device.h"

namespace pellora
{

StopTakeStreamTask::StopTakeStreamTask(long lPreviewHandel) : m_lPreviewHandel(lPreviewHandel) {}

void StopTakeStreamTask::run()
{
    const LogLocation where =
        logAt("VideoWindow\\TakeStreamMgr", "void __cdecl pellora::StopTakeStreamTask::run(void)");
    TakeStreamMgr::getInstance()->taken(this);
    contained(where, [&] { stopDevice(where, m_lPreviewHandel); });
}

void StopTakeStreamTask::settle()
{
    run();
    delete this;
}

} // namespace pellora
