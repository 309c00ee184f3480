#include "interface/Boundary.h"

#include <QCoreApplication>
#include <QThread>

#include <windows.h>

namespace pellora
{

bool isUserInterfaceThread()
{
    const QCoreApplication *pApplication = QCoreApplication::instance();
    return pApplication == nullptr || pApplication->thread() == QThread::currentThread();
}

void reportWrongThread(const LogLocation &where)
{
    logError(where, "called on thread %u, which is not the one of the application object", GetCurrentThreadId());
}

} // namespace pellora
