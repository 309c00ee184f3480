#ifndef DEVICE_CAMERAINPUTS_H
#define DEVICE_CAMERAINPUTS_H

#include "device/src/Address.h"
#include "device/src/CameraInput.h"
#include "device/src/TimeSource.h"

#include <memory>

namespace selvik
{

/** The connection that an address asks for; it is not opened yet. */
[[nodiscard]] std::unique_ptr<CameraInput> makeCameraInput(const Address &address, TimeSource &time);

} // namespace selvik

#endif
