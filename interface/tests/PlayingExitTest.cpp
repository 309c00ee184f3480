// A host that returns from main() while a file and a camera play, with the player and the device library themselves:
// the process has to end all the same. Not a GoogleTest program, since what is tested is what comes after its end.
#include "Selvikdcm.h"
#include "interface/Pellora.h"
#include "tests/support/HostWindow.h"

#include <cstdio>
#include <cstdlib>
#include <string>

namespace
{

constexpr long kFilePane = 0;
constexpr long kCameraPane = 1;
constexpr unsigned kLongestWait = 30'000;

int fail(const char *pWhat)
{
    std::printf("%s\n", pWhat);
    return 1;
}

/** The clip as the host's path, on Wine's drive Z:, which is the file system that it is in. */
std::string clip()
{
    const char *const pFolder = std::getenv("PELLORA_TEST_MEDIA");
    return std::string("Z:") + (pFolder != nullptr ? pFolder : "") + "/long.mp4";
}

/** Waits until the current pane has a picture, which its threads have made. */
bool hasPicture(long lHandle)
{
    return support::pumpUntil(
        [lHandle] {
            tagPELLORA_POINT size{};
            return PELLORA_GetPictureSize(lHandle, &size) != 0 && size.x == 160 && size.y == 120;
        },
        kLongestWait);
}

} // namespace

int main()
{
    PELLORA_Init();
    // Never destroyed: a host's window, too, goes with its process.
    auto *const pHost = new support::HostWindow;
    const long lHandle = PELLORA_CreateWindow(pHost->handle(), 2);
    PELLORA_SplitScreen(lHandle, 4);

    PELLORA_SetCurWnd(lHandle, kFilePane);
    std::string path = clip();
    if (PELLORA_PreviewFile(lHandle, path.data(), 1, 1) != 1 || !hasPicture(lHandle)) {
        return fail("the file does not play");
    }
    PELLORA_SetCurWnd(lHandle, kCameraPane);
    tagPELLORA_PREVIEW_PARAM param{};
    param.userID = SELVIK_DCM_Login(("file:///" + clip()).c_str(), "", "");
    param.lChannel = 1;
    if (PELLORA_PreviewStream(lHandle, param) != 1 || !hasPicture(lHandle)) {
        return fail("the camera does not play");
    }
    // Neither is stopped, nor the window destroyed, nor the library ended. This is the test runner's success.
    return 0;
}
