#ifndef INTERFACE_TESTS_PELLORAFIXTURE_H
#define INTERFACE_TESTS_PELLORAFIXTURE_H

#include "interface/Pellora.h"
#include "tests/doubles/DoubleControl.h"
#include "tests/support/HostWindow.h"
#include "tests/support/LogCapture.h"

#include <QWidget>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>
#include <vector>

/**
 * The library itself, over recording doubles of the player and the device library, in a host of plain Win32.
 *
 * Its widgets are Qt's, so that a test finds them by class and object name. Every test ends with no window and no
 * port left.
 */
class PelloraFixture : public testing::Test
{
protected:
    static void SetUpTestSuite();
    static void TearDownTestSuite();
    void SetUp() override;
    void TearDown() override;

    /** A video window in the host; its handle. */
    long createWindow();
    /** Plays a file in the current pane of the window and forgets the calls; the port's number. */
    long playFile(long lHandle, unsigned char byLoop = 0, unsigned char byOpenDraw = 0);
    /** Texts of the calls since the last look, without those that only ask for the last error. */
    static std::vector<std::string> newCalls();

    std::unique_ptr<support::HostWindow> m_pHost;
    support::LogCapture m_log;
};

using Texts = std::vector<std::string>;

/** Every video window that lives, in the order of creation. */
[[nodiscard]] std::vector<QWidget *> videoWindows();
/** The nine panes of a video window, in the order of creation. */
[[nodiscard]] std::vector<QWidget *> panesOf(const QWidget *pWindow);
[[nodiscard]] QWidget *childNamed(const QWidget *pParent, const char *name);
[[nodiscard]] HWND nativeWindow(const QWidget *pWidget);
/** The window that a pane's player draws into, spelled as the doubles do. */
[[nodiscard]] std::string pictureWindow(const QWidget *pPane);
[[nodiscard]] std::string spelled(const void *pPointer);

/** The function in a signature: "PELLORA_Play". */
[[nodiscard]] std::string functionName(const std::string &signature);

/** The warning of an export that was refused. */
MATCHER_P2(IsRefusal, reason, function, "")
{
    return arg.level == "WARN" && arg.message == functionName(function) + ": " + reason && arg.function == function &&
           arg.file == "Pellora";
}

/** A line of the interface's log, whatever its line number. */
MATCHER_P2(IsExportLine, message, function, "")
{
    return arg.level == "INFO" && arg.message == message && arg.function == function && arg.file == "Pellora" &&
           arg.line > 0;
}

#endif
