#ifndef DEVICE_ONVIF_HTTPRESPONSE_H
#define DEVICE_ONVIF_HTTPRESPONSE_H

#include "device/src/RtspMessage.h"

namespace selvik
{

/** An answer to one HTTP request, whatever its status; heads are written as RTSP's are. Threads: a value. */
struct HttpResponse : RtspMessage {
    int nStatus = 0;
    bool bGoesOn = false; /**< the connection takes another request */
};

} // namespace selvik

#endif
