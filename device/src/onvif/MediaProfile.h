#ifndef DEVICE_ONVIF_MEDIAPROFILE_H
#define DEVICE_ONVIF_MEDIAPROFILE_H

#include <string>
#include <vector>

namespace selvik
{

/** A stream that a device offers: the picture of one video source in one size. */
struct MediaProfile {
    std::string token;
    std::string source; /**< the video source's token */
    int nWidth = 0;     /**< of the coded picture; 0 where the device does not say */
    int nHeight = 0;
    std::string coding; /**< the device's word for it, such as H264 */
};

/** One video source of a device, and the streams of it from the largest picture down. */
struct VideoSource {
    std::string token;
    std::vector<MediaProfile> profiles;
};

/**
 * Orders a device's streams by channel: sources as `sources` names them, then those that only profiles name. Profiles
 * of equal size stay in the device's order.
 */
[[nodiscard]] std::vector<VideoSource> bySource(const std::vector<std::string> &sources,
                                                const std::vector<MediaProfile> &profiles);

} // namespace selvik

#endif
