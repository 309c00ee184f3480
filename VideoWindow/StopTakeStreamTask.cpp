#include "VideoWindow/StopTakeStreamTask.h"

#include "VideoWindow/TakeStreamMgr.h"
#include "logging/NoThrow.h"
#include "preview/Device.h"

namespace pellora
{

StopTakeStreamTask::StopTakeStreamTask(long lPreviewHandel) : m_lPreviewHandel(lPreviewHandel) {}

void StopTakeStreamTask::run()
{
    const LogLocation where =
        logAt("VideoWindow\\TakeStreamMgr", "void __cdecl pellora::StopTakeStreamTask::run(void)");
    TakeStreamMgr::getInstance()->taken(this);
    withoutThrowing(where, [&] { stopDevice(where, m_lPreviewHandel); });
}

void StopTakeStreamTask::settle()
{
    run();
    delete this;
}

} // namespace pellora
