#include "device/src/RtpDepacketizer.h"

#include "device/src/FfmpegDepacketizer.h"
#include "device/src/H264Depacketizer.h"
#include "device/src/H265Depacketizer.h"

namespace selvik
{

std::unique_ptr<RtpDepacketizer> makeDepacketizer(const SdpMedia &media)
{
    if (media.kind == SdpMedia::Kind::Video && media.encoding == "h264") {
        return std::make_unique<H264Depacketizer>(media);
    }
    if (media.kind == SdpMedia::Kind::Video && (media.encoding == "h265" || media.encoding == "hevc")) {
        return std::make_unique<H265Depacketizer>(media);
    }
    return std::make_unique<FfmpegDepacketizer>(media);
}

} // namespace selvik
