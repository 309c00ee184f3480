#ifndef TESTS_SUPPORT_FUZZTARGET_H
#define TESTS_SUPPORT_FUZZTARGET_H

#include "tests/support/FuzzChecks.h"
#include "tests/support/FuzzInput.h"

namespace pellora::test
{

/** What a fuzz target does with one input; each target's source defines it. It must not throw. Threads: one. */
void fuzz(FuzzInput &input);

} // namespace pellora::test

#endif
