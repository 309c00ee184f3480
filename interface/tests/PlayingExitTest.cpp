// Hosts that end, in each way in which a process can, while a file plays with its sound and a camera runs, with the
// player and the device library themselves: the process has to end all the same, and with the host's own exit code.
// Each is this program, started by itself with the way as its argument.
#include "Selvikdcm.h"
#include "interface/Pellora.h"
#include "tests/support/HostWindow.h"

#include <gtest/gtest.h>

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <optional>
#include <string>
#include <thread>

namespace
{

constexpr long kFilePane = 0;
constexpr long kCameraPane = 1;
constexpr unsigned kLongestWait = 30'000;
constexpr DWORD kLongestLife = 120'000;
/** The host's exit code; other ones are failures. */
constexpr int kExitCode = 42;
constexpr int kNotPlaying = 1;
constexpr int kBackAgain = 2;
const std::string kAsHost = "--host=";

// ---- the host ----

/** The clip as the host's path, on Wine's drive Z:, which is the file system that it is in. */
std::string clip(const char *pName)
{
    const char *const pFolder = std::getenv("PELLORA_TEST_MEDIA");
    return std::string("Z:") + (pFolder != nullptr ? pFolder : "") + "/" + pName;
}

/** Waits until the current pane has a picture, which its threads have made. */
bool hasPicture(long lHandle)
{
    return support::pumpUntil(
        [lHandle] {
            tagPELLORA_POINT size{};
            return PELLORA_GetPictureSize(lHandle, &size) != 0 && size.x > 0 && size.y > 0;
        },
        kLongestWait);
}

/** Never destroyed: a host's window, too, goes with its process. */
support::HostWindow &host()
{
    static auto *const pHost = new support::HostWindow;
    return *pHost;
}

bool playsAll(long lHandle)
{
    PELLORA_SplitScreen(lHandle, 4);
    PELLORA_SetCurWnd(lHandle, kFilePane);
    std::string path = clip("h264.mp4");
    if (PELLORA_PreviewFile(lHandle, path.data(), 1, 1) != 1 || !hasPicture(lHandle) ||
        PELLORA_OpenSound(lHandle) != 1) {
        std::printf("the file does not play with sound\n");
        return false;
    }
    PELLORA_SetCurWnd(lHandle, kCameraPane);
    tagPELLORA_PREVIEW_PARAM param{};
    param.userID = SELVIK_DCM_Login(("file:///" + clip("long.mp4")).c_str(), "", "");
    param.lChannel = 1;
    if (PELLORA_PreviewStream(lHandle, param) != 1 || !hasPicture(lHandle)) {
        std::printf("the camera does not play\n");
        return false;
    }
    return true;
}

void onThread(void (*pfnEnd)())
{
    std::thread(pfnEnd).detach();
    // The host's loop runs on, as it would.
    static_cast<void>(support::pumpUntil([] { return false; }, kLongestWait));
}

void endByExit()
{
    std::exit(kExitCode);
}

void endByExitProcess()
{
    ExitProcess(kExitCode);
}

/** A click brings the status callback, which ends the process. */
void endInACallback(long lHandle)
{
    PELLORA_SetPreviewStatusCallback(lHandle, [](tagPELLORA_PREVIEW_STATUS) { std::exit(kExitCode); });
    POINT place = {5, 5};
    const HWND hVideo = support::childrenOf(host().handle()).front();
    HWND hPicture = hVideo;
    for (HWND hChild = hVideo; hChild != nullptr; hChild = ChildWindowFromPoint(hPicture, place)) {
        if (hChild == hPicture && hChild != hVideo) {
            break;
        }
        hPicture = hChild;
    }
    PostMessageW(hPicture, WM_LBUTTONDOWN, MK_LBUTTON, MAKELPARAM(5, 5));
    static_cast<void>(support::pumpUntil([] { return false; }, kLongestWait));
}

int runHost(const std::string &way)
{
    PELLORA_Init();
    const long lHandle = PELLORA_CreateWindow(host().handle(), 2);
    if (!playsAll(lHandle)) {
        return kNotPlaying;
    }
    // Nothing is stopped, nor is the window destroyed, nor the library ended.
    if (way == "Return") {
        return kExitCode;
    }
    if (way == "ReturnAfterFini") {
        PELLORA_Fini();
        return kExitCode;
    }
    if (way == "Exit") {
        endByExit();
    } else if (way == "ExitProcess") {
        endByExitProcess();
    } else if (way == "ExitOnAnotherThread") {
        onThread(&endByExit);
    } else if (way == "ExitProcessOnAnotherThread") {
        onThread(&endByExitProcess);
    } else if (way == "ExitInACallback") {
        endInACallback(lHandle);
    } else if (way == "TerminateProcess") {
        TerminateProcess(GetCurrentProcess(), kExitCode);
    }
    return kBackAgain;
}

// ---- the test ----

class PlayingExitTest : public testing::TestWithParam<const char *>
{
};

/** Runs this program as a host; its exit code, none when it has not ended in time. */
std::optional<DWORD> exitCodeOf(const std::string &way)
{
    wchar_t program[MAX_PATH] = {};
    EXPECT_NE(GetModuleFileNameW(nullptr, program, MAX_PATH), 0U);
    const std::string argument = kAsHost + way;
    std::wstring line = L"\"" + std::wstring(program) + L"\" " + std::wstring(argument.begin(), argument.end());
    STARTUPINFOW startup = {};
    startup.cb = sizeof(startup);
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(program, line.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process)) {
        ADD_FAILURE() << "the host was not started";
        return std::nullopt;
    }
    std::optional<DWORD> code;
    DWORD dwCode = 0;
    if (WaitForSingleObject(process.hProcess, kLongestLife) != WAIT_OBJECT_0) {
        TerminateProcess(process.hProcess, kBackAgain);
    } else if (GetExitCodeProcess(process.hProcess, &dwCode)) {
        code = dwCode;
    }
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return code;
}

TEST_P(PlayingExitTest, EndsInTimeWithTheHostsExitCode)
{
    std::optional<DWORD> code = exitCodeOf(GetParam());
    if (!code) {
        // One end in a thousand does not come under Wine 8, which has locks in the process that Windows has in the
        // system: a thread that is stopped while it holds one is waited for. A defect would show again.
        printf("did not end in time; once more\n");
        code = exitCodeOf(GetParam());
    }
    EXPECT_EQ(code, static_cast<DWORD>(kExitCode));
}

INSTANTIATE_TEST_SUITE_P(Host, PlayingExitTest,
                         testing::Values("Return", "ReturnAfterFini", "Exit", "ExitProcess", "ExitOnAnotherThread",
                                         "ExitProcessOnAnotherThread", "ExitInACallback", "TerminateProcess"),
                         [](const auto &parameter) { return std::string(parameter.param); });

} // namespace

int main(int nArguments, char **ppArguments)
{
    if (nArguments == 2 && std::string(ppArguments[1]).rfind(kAsHost, 0) == 0) {
        return runHost(std::string(ppArguments[1]).substr(kAsHost.size()));
    }
    testing::InitGoogleTest(&nArguments, ppArguments);
    return RUN_ALL_TESTS();
}
