#ifndef DEVICE_PREVIEWSERVICES_H
#define DEVICE_PREVIEWSERVICES_H

#include "device/src/CallbackWaits.h"
#include "device/src/CameraInput.h"
#include "device/src/CameraSource.h"
#include "device/src/StateTeller.h"
#include "device/src/TimeSource.h"

#include <functional>
#include <memory>

namespace selvik
{

/** How a connection to a camera is made: by its source, on that time. */
using InputMaker = std::function<std::unique_ptr<CameraInput>(const CameraSource &, TimeSource &)>;

/** What all previews share. A value; what it names must outlive the previews. */
struct PreviewServices {
    TimeSource *pTime = nullptr;
    CallbackWaits *pWaits = nullptr;
    StateTeller *pStates = nullptr;
    InputMaker makeInput;
};

} // namespace selvik

#endif
