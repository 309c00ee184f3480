// What libFuzzer calls, the same for all targets.
#include "tests/support/FuzzTarget.h"

extern "C" {
#include <libavutil/log.h>

// NOLINTBEGIN(readability-identifier-naming): libFuzzer's names.
int LLVMFuzzerInitialize(int * /*pCount*/, char *** /*pArguments*/)
{
    // FFmpeg has something to say of every input.
    av_log_set_level(AV_LOG_QUIET);
    return 0;
}

int LLVMFuzzerTestOneInput(const std::uint8_t *pData, std::size_t size)
{
    pellora::test::FuzzInput input(pData, size);
    pellora::test::fuzz(input);
    return 0;
}
// NOLINTEND(readability-identifier-naming)
}
