#ifndef DEVICE_RTPDEPACKETIZER_H
#define DEVICE_RTPDEPACKETIZER_H

#include "device/src/Ffmpeg.h"
#include "device/src/RtpPacket.h"
#include "device/src/Sdp.h"

#include <memory>

namespace selvik
{

/** Where the coded bytes of a medium go, piece by piece, so that each is copied once. */
class CodedSink
{
public:
    CodedSink() = default;
    virtual ~CodedSink() = default;
    CodedSink(const CodedSink &) = delete;
    CodedSink &operator=(const CodedSink &) = delete;

    /**
     * A unit begins: of H.264 and H.265 one between start codes, of other codings what FFmpeg makes of a packet.
     * `head` is its beginning, the whole unit where the packet has it whole; the bytes come by append().
     */
    virtual void begin(ByteView head) = 0;
    virtual void append(ByteView bytes) = 0;
};

/**
 * Takes the coded bytes out of the RTP packets of one medium.
 *
 * Threads: one.
 */
class RtpDepacketizer
{
public:
    RtpDepacketizer() = default;
    virtual ~RtpDepacketizer() = default;
    RtpDepacketizer(const RtpDepacketizer &) = delete;
    RtpDepacketizer &operator=(const RtpDepacketizer &) = delete;

    /** What the description tells of the medium. */
    [[nodiscard]] virtual const AVCodecParameters &parameters() const = 0;
    /** What a packet holds goes to the sink at once. Whatever the bytes are, nothing worse than nonsense comes out. */
    virtual void feed(const RtpPacket &packet, CodedSink &sink) = 0;
    /** Packets are missing before the next one. */
    virtual void lose() {}
    /** The last packet ended inside a unit, so that it cannot be a picture's last one, whatever its marker says. */
    [[nodiscard]] virtual bool isInsideUnit() const
    {
        return false;
    }
};

/** The one for a medium. Throws Failure(SELVIK_ERROR_MEDIA) where it is not understood. */
[[nodiscard]] std::unique_ptr<RtpDepacketizer> makeDepacketizer(const SdpMedia &media);

} // namespace selvik

#endif
