// Hosts whose application object knows no widgets.

#include "interface/tests/InstalledLog.h"
#include "interface/tests/PelloraFixture.h"

#include <QGuiApplication>

using testing::Contains;
using testing::HasSubstr;

namespace
{

const char *const kReason = "the host's application object is no QApplication: no window can be made";

/** Starts the library and asks for a window beside such an application object. */
void expectNoWindows()
{
    doubles::reset();
    int nBegun = 0;
    const std::string added = addedToInstalledLog([&nBegun] { nBegun = PELLORA_Init(); });

    EXPECT_EQ(nBegun, 1);
    EXPECT_THAT(added, HasSubstr(std::string("ERROR ") + kReason));
    support::LogCapture log;
    support::HostWindow host;
    const LONG_PTR own = GetWindowLongPtrW(host.handle(), GWLP_WNDPROC);
    EXPECT_EQ(PELLORA_CreateWindow(host.handle(), 0), -1);
    EXPECT_EQ(GetWindowLongPtrW(host.handle(), GWLP_WNDPROC), own);
    EXPECT_THAT(log.texts(), Contains(testing::AllOf(testing::StartsWith("ERROR no video window in "),
                                                     HasSubstr("the application object is no QApplication"))));
    // What needs no window works.
    EXPECT_EQ(PELLORA_CreateWindow2(host.handle()), 1);
    EXPECT_EQ(PELLORA_Fini(), 1);
}

TEST(CoreHostTest, StartsBesideACoreApplication)
{
    int nArguments = 1;
    char name[] = "host";
    char *arguments[] = {name, nullptr};
    const QCoreApplication application(nArguments, arguments);
    expectNoWindows();
}

TEST(CoreHostTest, StartsBesideAGuiApplication)
{
    int nArguments = 1;
    char name[] = "host";
    char *arguments[] = {name, nullptr};
    // A host that brings Qt finds the plug-ins itself; Wine's drive Z: is the file system that they are in.
    QCoreApplication::addLibraryPath("Z:" + qEnvironmentVariable("PELLORA_BIN"));
    const QGuiApplication application(nArguments, arguments);
    expectNoWindows();
}

} // namespace
