#ifndef DEVICE_CAMERAINPUTS_H
#define DEVICE_CAMERAINPUTS_H

#include "device/src/CameraInput.h"
#include "device/src/CameraSource.h"
#include "device/src/TimeSource.h"

#include <memory>

namespace selvik
{

/** The connection that a source asks for; it is not opened yet. */
[[nodiscard]] std::unique_ptr<CameraInput> makeCameraInput(const CameraSource &source, TimeSource &time);

} // namespace selvik

#endif
