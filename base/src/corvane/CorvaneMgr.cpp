#include "corvane/CorvaneMgr.h"

#include "base/CSingleton.h"
#include "base/src/base/LibraryFolder.h"
#include "base/src/corvane/ScopedEnvironment.h"

#include <QApplication>
#include <QFileInfo>

#include <cstdio>

namespace corvane
{
namespace
{

// Kept until the process ends: Qt refers to both as long as the application object lives.
int s_argumentCount = 1;
char s_programName[] = "Corvane";
char *s_arguments[] = {s_programName, nullptr};

bool makeApplication()
{
    const QString folder = QString::fromStdWString(Base::libraryFolder());
    if (!QFileInfo::exists(folder + QStringLiteral("platforms/qwindows.dll"))) {
        // Without its platform plug-in Qt would end the host's process.
        std::fprintf(stderr, "Corvane: %splatforms\\qwindows.dll is missing; no window can be made\n",
                     folder.toUtf8().constData());
        return false;
    }
    // The host's surroundings may name other plug-ins or scale factors, meant for another Qt.
    const ScopedEnvironment environment({"QT_QPA_PLATFORM", "QT_QPA_PLATFORM_PLUGIN_PATH", "QT_PLUGIN_PATH",
                                         "QT_SCALE_FACTOR", "QT_SCREEN_SCALE_FACTORS", "QT_AUTO_SCREEN_SCALE_FACTOR",
                                         "QT_ENABLE_HIGHDPI_SCALING", "QT_STYLE_OVERRIDE"});
    QCoreApplication::addLibraryPath(folder);
    QCoreApplication::setAttribute(Qt::AA_DisableHighDpiScaling);
    // Keeps the process's DPI awareness as the host has set it.
    QCoreApplication::setAttribute(Qt::AA_PluginApplication);
    // Never destroyed: windows may outlive unInit, and at the end of the process Qt's threads are gone.
    static QApplication *s_pApplication = nullptr;
    s_pApplication = new QApplication(s_argumentCount, s_arguments);
    s_pApplication->setQuitOnLastWindowClosed(false);
    return true;
}

} // namespace

CorvaneMgr *CorvaneMgr::getInstance()
{
    return Base::CSingleton<CorvaneMgr>::getInstance();
}

bool CorvaneMgr::isInit() const
{
    return m_bInit;
}

bool CorvaneMgr::init()
{
    if (!m_bInit) {
        // A host's own application object is used as it is; one without widgets cannot serve.
        const QCoreApplication *pExisting = QCoreApplication::instance();
        m_bInit = pExisting != nullptr ? qobject_cast<const QApplication *>(pExisting) != nullptr : makeApplication();
    }
    return m_bInit;
}

void CorvaneMgr::unInit()
{
    m_bInit = false;
}

} // namespace corvane
