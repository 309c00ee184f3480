#include "threadpool/ThreadTask.h"

namespace publicdatacontroller
{

ThreadTask::ThreadTask() : m_bNeedDelete(true) {}

ThreadTask::~ThreadTask() = default;

bool ThreadTask::needDelete()
{
    return m_bNeedDelete;
}

void ThreadTask::donotDelete()
{
    m_bNeedDelete = false;
}

} // namespace publicdatacontroller
