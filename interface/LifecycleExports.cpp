#include "interface/Pellora.h"

#include "VideoWindow/TakeStreamMgr.h"
#include "base/CLog.h"
#include "corvane/CorvaneMgr.h"
#include "interface/Boundary.h"
#include "interface/PaneChoice.h"
#include "widgets/CWidgetLayoutMgr.h"

#include <QApplication>
#include <QFile>

using namespace pellora;

namespace
{

/** The library is never unloaded again: threads, window procedures and Qt's objects would outlive its code. */
void stayInProcess()
{
    HMODULE hModule = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_PIN,
                       reinterpret_cast<LPCWSTR>(&stayInProcess), &hModule);
}

void startLog()
{
    const QString path = ZentixGUIToolkit::GetTargetPathFile(QStringLiteral("addon.log4cxx.properties"));
    Base::CLog::getInstance()->InitLog(path.toUtf8().toStdString());
}

/** A missing resource leaves the application without a style. */
void applyStyleSheet()
{
    QString styleSheet;
    QFile file(QStringLiteral(":/Qss/Qss/Pellora.qss"));
    if (file.open(QIODevice::ReadOnly)) {
        styleSheet.append(QString::fromUtf8(file.readAll()));
    }
    file.close();
    if (qApp != nullptr) {
        qApp->setStyleSheet(styleSheet);
    }
}

} // namespace

int PELLORA_Init(void) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_Init(void)");
    return guarded(where, 0, [&where] {
        stayInProcess();
        corvane::CorvaneMgr *pCorvaneMgr = corvane::CorvaneMgr::getInstance();
        if (!pCorvaneMgr->isInit()) {
            pCorvaneMgr->init();
        }
        startLog();
        logInfo(where, "==================Pellora Begin==================");
        logInfo(where, "CorvaneMgr: %p", pCorvaneMgr);
        logInfo(where, "CLog: %p", Base::CLog::getInstance());
        TakeStreamMgr::getInstance()->startThreadPool();
        applyStyleSheet();
        return 1;
    });
}

int PELLORA_Fini(void) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_Fini(void)");
    return guarded(where, 0, [&where] {
        TakeStreamMgr::getInstance()->stopThreadPool();
        // Panes whose starts have come back meanwhile are free again, even before the next message is looked at.
        registry().takeStartResults();
        logInfo(where, "==================Pellora End==================");
        Base::CLog::getInstance()->UninitLog();
        corvane::CorvaneMgr *pCorvaneMgr = corvane::CorvaneMgr::getInstance();
        if (pCorvaneMgr->isInit()) {
            pCorvaneMgr->unInit();
        }
        return 1;
    });
}
