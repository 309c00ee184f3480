#include "device/src/CameraInputs.h"

#include "device/src/ContainerInput.h"
#include "device/src/SecondTryInput.h"
#include "device/src/onvif/OnvifInput.h"

namespace selvik
{

namespace
{

std::unique_ptr<CameraInput> makeStreamInput(const Address &address, TimeSource &time)
{
    if (address.isRtsp()) {
        return std::make_unique<SecondTryInput>(address, time);
    }
    return std::make_unique<ContainerInput>(address, time);
}

} // namespace

std::unique_ptr<CameraInput> makeCameraInput(const CameraSource &source, TimeSource &time)
{
    if (source.address.scheme() != Address::Scheme::Onvif) {
        return makeStreamInput(source.address, time);
    }
    return std::make_unique<OnvifInput>(source, time,
                                        [&time](const Address &address) { return makeStreamInput(address, time); });
}

} // namespace selvik
