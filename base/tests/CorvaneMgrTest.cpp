#include "corvane/CorvaneMgr.h"
#include "base/tests/HostWindow.h"
#include "widgets/CWidgetLayoutMgr.h"

#include <QApplication>
#include <QFileInfo>
#include <QTimer>

#include <gtest/gtest.h>

namespace
{

using corvane::CorvaneMgr;

TEST(CorvaneMgr, MakesAnApplicationThatStays)
{
    ASSERT_TRUE(CorvaneMgr::getInstance()->isInit());
    const QCoreApplication *pApplication = QCoreApplication::instance();
    ASSERT_NE(nullptr, qobject_cast<const QApplication *>(pApplication));
    CorvaneMgr::getInstance()->unInit();
    EXPECT_FALSE(CorvaneMgr::getInstance()->isInit());
    EXPECT_EQ(pApplication, QCoreApplication::instance());
    EXPECT_TRUE(CorvaneMgr::getInstance()->init());
    EXPECT_EQ(pApplication, QCoreApplication::instance());
}

TEST(CorvaneMgr, LeavesTheEnvironmentAsItWasAndDoesNotScale)
{
    EXPECT_EQ("2", qgetenv("QT_SCALE_FACTOR"));
    EXPECT_EQ(1.0, qApp->devicePixelRatio());
}

TEST(CorvaneMgr, DeliversEventsUnderAPlainMessageLoop)
{
    bool queued = false;
    bool timed = false;
    QMetaObject::invokeMethod(
        qApp, [&queued] { queued = true; }, Qt::QueuedConnection);
    QTimer::singleShot(10, qApp, [&timed] { timed = true; });
    EXPECT_FALSE(queued);
    EXPECT_TRUE(pumpUntil([&] { return queued && timed; }));
}

TEST(GetTargetPathFile, NamesFilesBesideTheLibrary)
{
    const QString path = ZentixGUIToolkit::GetTargetPathFile("WidgetLayout/WidgetLayout.xml");
    EXPECT_TRUE(QFileInfo::exists(path)) << path.toStdString();
    EXPECT_FALSE(path.contains('/'));
}

} // namespace
