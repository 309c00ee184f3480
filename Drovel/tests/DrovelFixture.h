#ifndef DROVEL_TESTS_DROVELFIXTURE_H
#define DROVEL_TESTS_DROVELFIXTURE_H

#include "Drovel/Drovel.h"
#include "tests/doubles/DoubleControl.h"
#include "tests/support/LogCapture.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

/** A player port over the recording double, with the log captured. Every test ends with no port left. */
class DrovelFixture : public testing::Test
{
protected:
    static void SetUpTestSuite();
    static void TearDownTestSuite();
    void SetUp() override;
    void TearDown() override;

    void openStream();
    void openFile();
    /** Texts of the calls since the last look. */
    std::vector<std::string> newCalls();

    // A window only has to be a number: the double draws nothing.
    const HWND m_hWnd = reinterpret_cast<HWND>(0x1234);
    std::string m_sHeader = "\x01\x02\x03";
    std::string m_sPath = "C:\\films\\a.mkv";
    support::LogCapture m_log;
    pellora::Drovel m_drovel;

    unsigned char *header();
};

using Texts = std::vector<std::string>;

/** One log line of the player port, whatever its line number. */
MATCHER_P3(IsLogLine, level, message, function, "")
{
    return arg.level == level && arg.message == message && arg.function == function && arg.file == "Drovel\\Drovel" &&
           arg.line > 0;
}

#endif
