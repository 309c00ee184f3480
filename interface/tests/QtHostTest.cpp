// A host that runs Qt itself.

#include "interface/tests/PelloraFixture.h"

#include <QApplication>
#include <QPushButton>

namespace
{

TEST(QtHostTest, UsesTheHostsOwnApplicationObject)
{
    int nArguments = 1;
    char name[] = "host";
    char *arguments[] = {name, nullptr};
    // A host that brings Qt finds the plug-ins itself; Wine's drive Z: is the file system that they are in.
    QCoreApplication::addLibraryPath("Z:" + qEnvironmentVariable("PELLORA_BIN"));
    QApplication application(nArguments, arguments);
    QPushButton button("host");
    button.setGeometry(50, 50, 400, 300);
    button.show();
    doubles::reset();

    EXPECT_EQ(PELLORA_Init(), 1);
    EXPECT_EQ(QCoreApplication::instance(), &application);
    EXPECT_EQ(PELLORA_CreateWindow(reinterpret_cast<HWND>(button.winId()), 2), 0);
    EXPECT_EQ(PELLORA_SplitScreen(0, 4), 1);
    support::pumpPosted();
    EXPECT_TRUE(videoWindows().front()->isVisible());
    EXPECT_EQ(PELLORA_DestroyWindow(0), 1);
    EXPECT_EQ(PELLORA_Fini(), 1);

    EXPECT_EQ(QCoreApplication::instance(), &application);
    EXPECT_THAT(videoWindows(), testing::IsEmpty());
}

} // namespace
