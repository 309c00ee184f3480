#include "VideoWindow/TakeStreamTask.h"

#include "VideoWindow/TakeStreamMgr.h"

namespace pellora
{

TakeStreamTask::TakeStreamTask(int userID, const SELVIK_DCM_PREVIEW_INFO *pRequest, QObject *pParent)
    : QObject(pParent), PreviewStart(userID, *pRequest)
{
    donotDelete();
}

void TakeStreamTask::run()
{
    TakeStreamMgr::getInstance()->taken(this);
    carryOut();
}

void TakeStreamTask::deliver(long lPreviewHandel)
{
    emit signalTakeStreamResult(lPreviewHandel);
}

publicdatacontroller::ThreadTask &TakeStreamTask::task()
{
    return *this;
}

} // namespace pellora
