#include "device/src/CameraInputs.h"

#include "device/src/ContainerInput.h"
#include "device/src/SecondTryInput.h"

namespace selvik
{

std::unique_ptr<CameraInput> makeCameraInput(const Address &address, TimeSource &time)
{
    if (address.isRtsp()) {
        return std::make_unique<SecondTryInput>(address, time);
    }
    return std::make_unique<ContainerInput>(address, time);
}

} // namespace selvik
