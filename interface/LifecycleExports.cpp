#include "interface/Pellora.h"

#include "VideoWindow/TakeStreamMgr.h"
#include "VideoWindow/VideoWindowMgr.h"
#include "base/CLog.h"
#include "base/CSingleton.h"
#include "base/PinModule.h"
#include "corvane/CorvaneMgr.h"
#include "interface/Boundary.h"
#include "widgets/CWidgetLayoutMgr.h"

#include <QApplication>
#include <QFile>

#include <cstdio>
#include <exception>

using namespace pellora;

namespace
{

/** An error line; where no log is up that could take it, on standard error. */
void reportStart(const LogLocation &where, const char *pWhat) noexcept
{
    logError(where, "%s", pWhat);
    if (!Base::CLog::getInstance()->isStarted()) {
        std::fprintf(stderr, "Pellora: %s\n", pWhat);
    }
}

/** Takes one step of the start; one that fails keeps none of the others from being taken. */
template <typename Step>
void take(const LogLocation &where, Step step) noexcept
{
    try {
        step();
    } catch (const std::exception &exception) {
        reportStart(where, exception.what());
    } catch (...) {
        reportStart(where, "an unknown exception");
    }
}

void startManager()
{
    corvane::CorvaneMgr *pCorvaneMgr = corvane::CorvaneMgr::getInstance();
    if (!pCorvaneMgr->isInit()) {
        pCorvaneMgr->init();
    }
}

void startLog()
{
    const QString path = ZentixGUIToolkit::GetTargetPathFile(QStringLiteral("addon.log4cxx.properties"));
    Base::CLog::getInstance()->InitLog(path.toUtf8().toStdString());
}

void sayHello(const LogLocation &where)
{
    logInfo(where, "==================Pellora Begin==================");
    logInfo(where, "CorvaneMgr: %p", corvane::CorvaneMgr::getInstance());
    logInfo(where, "CLog: %p", Base::CLog::getInstance());
    logInfo(where, "Pellora %s", PELLORA_VERSION_TEXT);
    if (!corvane::CorvaneMgr::getInstance()->isInit()) {
        reportStart(where, QCoreApplication::instance() != nullptr
                               ? "the host's application object is no QApplication: no window can be made"
                               : "there is no application object: no window can be made");
    }
}

/** A missing resource leaves the application without a style. */
void applyStyleSheet()
{
    // A host's own application object may be one without widgets.
    auto *pApplication = qobject_cast<QApplication *>(QCoreApplication::instance());
    if (pApplication == nullptr) {
        return;
    }
    QString styleSheet;
    QFile file(QStringLiteral(":/Qss/Qss/Pellora.qss"));
    if (file.open(QIODevice::ReadOnly)) {
        styleSheet.append(QString::fromUtf8(file.readAll()));
    }
    file.close();
    pApplication->setStyleSheet(styleSheet);
}

} // namespace

int PELLORA_Init(void) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_Init(void)");
    return guarded(where, 0, [&where] {
        // The library is never unloaded again: threads, window procedures and Qt's objects would outlive its code.
        Base::pinModule(reinterpret_cast<const void *>(&PELLORA_Init));
        take(where, startManager);
        take(where, startLog);
        take(where, [&where] { sayHello(where); });
        take(where, [] { TakeStreamMgr::getInstance()->startThreadPool(); });
        take(where, applyStyleSheet);
        return 1;
    });
}

int PELLORA_Fini(void) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_Fini(void)");
    return guarded(where, 0, [&where] {
        TakeStreamMgr::getInstance()->stopThreadPool();
        // Panes whose starts have come back meanwhile are free again, even before the next message is looked at.
        VideoWindowMgr *pRegistry = Base::CSingleton<VideoWindowMgr>::existingInstance();
        if (pRegistry != nullptr) {
            pRegistry->takeStartResults();
        }
        logInfo(where, "==================Pellora End==================");
        Base::CLog::getInstance()->UninitLog();
        corvane::CorvaneMgr *pCorvaneMgr = corvane::CorvaneMgr::getInstance();
        if (pCorvaneMgr->isInit()) {
            pCorvaneMgr->unInit();
        }
        return 1;
    });
}
