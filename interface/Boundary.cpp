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

void reportException(const LogLocation &where, const char *pWhat) noexcept
{
    try {
        logError(where, "exception: %s", pWhat);
    } catch (...) {
        // Not even memory for a line about it: the result alone tells the host.
        return;
    }
}

} // namespace pellora
