#ifndef DEVICE_SDP_H
#define DEVICE_SDP_H

#include <string>
#include <vector>

namespace selvik
{

/** One medium of a device's description. */
struct SdpMedia {
    enum class Kind { Video, Audio, Metadata, Other };

    Kind kind = Kind::Other;
    int nPayloadType = -1;
    std::string encoding; /**< lower case, such as "h264"; empty for a static type without an rtpmap line */
    std::string rtpmap;   /**< the whole line's value, empty where there is none */
    std::string fmtp;     /**< likewise */
    std::string control;
    int nClockRate = 0;          /**< ticks a second; that of the static type where no line tells it */
    std::vector<int> otherTypes; /**< further payload types of the same line, of other codings */
    int nWidth = 0;              /**< of the pictures, where an attribute tells it */
    int nHeight = 0;

    /** A format parameter's value by its lower-case name; empty where there is none. */
    [[nodiscard]] std::string parameter(const std::string &name) const;

    /** A description of this medium alone, for a reader of RTP packets. */
    [[nodiscard]] std::string description(bool bWithParameters) const;
};

/** A device's description of a stream, read as sloppily as devices write it. Threads: a value. */
struct Sdp {
    std::string control;
    std::vector<SdpMedia> media;

    [[nodiscard]] static Sdp parse(const std::string &text);
};

/** Joins a control attribute to the address that it is relative to, the way devices mean it. */
[[nodiscard]] std::string resolveControl(const std::string &base, const std::string &control);

} // namespace selvik

#endif
