// A host that returns from main() with everything still going: the process has to end all the same. Not a GoogleTest
// program, since what is tested is what comes after its end.
#include "interface/Pellora.h"
#include "tests/doubles/DoubleControl.h"
#include "tests/support/HostWindow.h"

#include <cstdio>

namespace
{

int fail(const char *pWhat)
{
    std::printf("%s\n", pWhat);
    return 1;
}

} // namespace

int main()
{
    PELLORA_Init();
    support::HostWindow host;
    const long lHandle = PELLORA_CreateWindow(host.handle(), 2);
    tagPELLORA_PREVIEW_PARAM param{};
    param.lChannel = 1;
    if (PELLORA_PreviewStream(lHandle, param) != 1) {
        return fail("the preview was refused");
    }
    if (!support::pumpUntil([] { return !doubles::openPreviews().empty(); })) {
        return fail("the preview was not started");
    }
    // Neither the preview is stopped, nor the window destroyed, nor the library ended. This is the test runner's
    // success.
    return 0;
}
