#ifndef TESTS_DOUBLES_PREVIEWTABLE_H
#define TESTS_DOUBLES_PREVIEWTABLE_H

#include "tests/doubles/DoubleControl.h"

/** The previews that the double of the device library has handed out, and the threads on which they send. */
namespace doubles
{

DOUBLES_API void recordRequest(long userID, const SELVIK_DCM_PREVIEW_INFO &info);
/** The handle of a start that succeeds, or the negative number that it is to answer. */
[[nodiscard]] DOUBLES_API long takePreview(const SELVIK_DCM_PREVIEW_INFO &info);
/** The negative number that a failed start answers. */
[[nodiscard]] DOUBLES_API long takeFailure();
/** False for an unknown one; waits for its running callback, except inside it. */
[[nodiscard]] DOUBLES_API bool dropPreview(long previewHandle);

/** Ends every preview and waits for the threads that send. */
void resetPreviews();

} // namespace doubles

#endif
