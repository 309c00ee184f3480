// What the demo host's status bar says of a wall of files and cameras.
extern "C" {
#include "hosts/demo/playback.h"
}

#include <gtest/gtest.h>

#include <cwchar>
#include <string>

namespace
{

const char *reason_of(unsigned long /*error*/)
{
    return "refused";
}

int tell_no_size(long /*lHandle*/, tagPELLORA_POINT * /*pSize*/)
{
    return 0;
}

int tell_no_time(long /*lHandle*/, tagPELLORA_SYSTEM_TIME * /*pTime*/)
{
    return 0;
}

/** A wall of a file in pane 0 and three other sources; the file is selected. */
class StatusTextTest : public testing::Test
{
protected:
    StatusTextTest()
    {
        m_library.devices.SELVIK_DCM_GetErrorText = &reason_of;
        m_library.video.PELLORA_GetPictureSize = &tell_no_size;
        m_library.video.PELLORA_GetSystemTime = &tell_no_time;
        m_wall.library = &m_library;
        m_wall.cameras.library = &m_library;
        m_wall.filled = 4;
    }

    void hasFailedFile(int nPane)
    {
        std::wcscpy(m_wall.failures[nPane], L"no video");
    }

    void hasCamera(int nPane, CameraState state, LONG lError = SELVIK_ERROR_NONE)
    {
        m_wall.cameras.cameras[nPane].state = state;
        m_wall.cameras.cameras[nPane].error = lError;
    }

    std::wstring textOfPane(int nPane)
    {
        m_wall.selected = nPane;
        PlaybackView view{};
        view.live = cameras_has(&m_wall.cameras, nPane);
        wchar_t text[260];
        playback_describe(&m_wall, &view, text, 260);
        return text;
    }

    Library m_library{};
    Wall m_wall{};
};

TEST_F(StatusTextTest, CountsFilesAndCamerasThatCannotBePlayed)
{
    hasFailedFile(1);
    hasCamera(2, CAMERA_FAILED, SELVIK_ERROR_REFUSED);
    hasCamera(3, CAMERA_PLAYING);
    EXPECT_NE(textOfPane(0).find(L"2 of 4 panes cannot be played"), std::wstring::npos) << "a file is selected";
    EXPECT_NE(textOfPane(3).find(L"2 of 4 panes cannot be played"), std::wstring::npos) << "a camera is selected";
}

TEST_F(StatusTextTest, TellsTheReasonInsteadWhereTheSelectedPaneIsOneOfThem)
{
    hasFailedFile(1);
    hasCamera(2, CAMERA_FAILED, SELVIK_ERROR_REFUSED);
    EXPECT_EQ(textOfPane(1), L"Pane 2 cannot be played: no video");
    EXPECT_EQ(textOfPane(2), L"Pane 3: failed; S tries again: refused    0 of 1 cameras play");
}

TEST_F(StatusTextTest, CountsNoCameraThatStartsPlaysOrWasStopped)
{
    hasCamera(1, CAMERA_STARTING);
    hasCamera(2, CAMERA_PLAYING);
    hasCamera(3, CAMERA_STOPPED);
    EXPECT_EQ(textOfPane(0).find(L"cannot be played"), std::wstring::npos);
}

} // namespace
