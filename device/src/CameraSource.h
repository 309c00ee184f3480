#ifndef DEVICE_CAMERASOURCE_H
#define DEVICE_CAMERASOURCE_H

#include "device/src/Address.h"
#include "device/src/onvif/KeptAddresses.h"

#include <memory>

namespace selvik
{

/** What a preview shows. Threads: a value. */
struct CameraSource {
    Address address; /**< channel and stream type are filled in where it has places for them */
    unsigned int channel = 0;
    unsigned int streamType = 0;
    std::shared_ptr<KeptAddresses> kept; /**< what an ONVIF device has answered; the log-in's, if there is one */
};

} // namespace selvik

#endif
