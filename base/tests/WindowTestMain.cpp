#include "corvane/CorvaneMgr.h"

#include <QApplication>

#include <gtest/gtest.h>

#include <windows.h>

#include <cstdio>

int main(int argc, char **argv)
{
    testing::InitGoogleTest(&argc, argv);
    // What a host's surroundings might hold; it must not reach the library's windows.
    qputenv("QT_SCALE_FACTOR", "2");
    const BOOL bAware = IsProcessDPIAware();
    if (QCoreApplication::instance() != nullptr || !corvane::CorvaneMgr::getInstance()->init()) {
        std::fputs("The application object cannot be made.\n", stderr);
        return 1;
    }
    if (IsProcessDPIAware() != bAware) {
        std::fputs("The DPI awareness of the process has changed.\n", stderr);
        return 1;
    }
    return RUN_ALL_TESTS();
}
