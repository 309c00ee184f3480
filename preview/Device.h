#ifndef PREVIEW_DEVICE_H
#define PREVIEW_DEVICE_H

#include "Selvikdcm.h"
#include "logging/Log.h"

namespace pellora
{

/** No preview: what a failed start answers most often, and what a pane holds that has none. */
constexpr long kNoPreview = -1;

/**
 * Starts a preview in the device library and logs the outcome at `where`.
 *
 * Blocks until the device has answered. Any thread. The handle; negative when it failed.
 */
[[nodiscard]] long startDevice(const LogLocation &where, long lUserID, const SELVIK_DCM_PREVIEW_INFO &request);

/**
 * Stops a preview in the device library and logs the outcome at `where`.
 *
 * Waits for the preview's callback. Any thread, but not inside that callback's lock. Before the call the handle is
 * retired, so that nothing it still sends is taken for another preview's; it stays so when the device will not stop.
 * False: it would not.
 */
bool stopDevice(const LogLocation &where, long lPreviewHandel);

} // namespace pellora

#endif
