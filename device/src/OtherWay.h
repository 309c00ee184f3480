#ifndef DEVICE_OTHERWAY_H
#define DEVICE_OTHERWAY_H

#include "Selvikdcm.h"
#include "device/src/Failure.h"

namespace selvik
{

/** How an RTSP camera is reached: as RTSP says, through HTTP, or by joining its multicast group. */
enum class RtspWay { Direct, Tunnelled, Multicast };

/** There is no usable media on the direct way, but a camera that answers so may have some on another one. */
class OtherWay : public Failure
{
public:
    explicit OtherWay(RtspWay way) : Failure(SELVIK_ERROR_MEDIA), m_way(way) {}

    [[nodiscard]] RtspWay way() const
    {
        return m_way;
    }

private:
    RtspWay m_way;
};

} // namespace selvik

#endif
