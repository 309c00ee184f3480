#ifndef DEVICE_PICTUREASSEMBLER_H
#define DEVICE_PICTUREASSEMBLER_H

#include "device/src/CodedPicture.h"
#include "device/src/ParameterSets.h"
#include "device/src/RtpDepacketizer.h"

#include <optional>
#include <utility>
#include <vector>

namespace selvik
{

/**
 * Makes whole pictures out of the pieces of them that packets bring.
 *
 * Where a picture ends is told by the marker of its last packet, by the next picture's time stamp, and by what is in
 * the packets: the first slice of the next picture. Cameras set the marker too often or never, repeat time stamps or
 * change them inside a picture. So the content has the last word, and a marker is trusted until it is seen to be wrong.
 *
 * Threads: one. A picture has at most 16 MiB and 4096 units; larger ones are torn.
 */
class PictureAssembler : public CodedSink
{
public:
    struct Picture {
        Bytes bytes;
        std::int64_t ticks = 0;   /**< the time stamp of its first slice */
        bool bBehindTorn = false; /**< before it there was one that is not handed on */
    };

    /** Borrows nothing. The parameters may have parameter sets. */
    explicit PictureAssembler(const AVCodecParameters &parameters);

    /** The time stamp of the packet whose units follow. */
    void beginPacket(std::int64_t ticks)
    {
        m_nTicks = ticks;
    }
    void begin(ByteView head) override;
    void append(ByteView bytes) override;
    /** `bInsideUnit`: the packet ended in the middle of a unit. */
    void endPacket(bool bMarker, bool bInsideUnit);
    /** Packets are missing: what has come of the present picture is of no use. */
    void lose();

    /** Those that are complete, in the order of their coming; to be cleared by the caller. */
    [[nodiscard]] std::vector<Picture> &ready()
    {
        return m_ready;
    }
    /** Whether, since the last picture and the last question, one was torn though no packet was missing. */
    [[nodiscard]] bool takeTorn()
    {
        return std::exchange(m_bTorn, false);
    }

private:
    static constexpr std::size_t kNone = ~std::size_t(0);

    void beginSlice(bool bFirst, ByteView head, bool bNewTime);
    void beginOpening(ByteView head, bool bParameterSet, bool bNewTime);
    void beginOpaque(bool bMayBegin, bool bNewTime);
    void finish();
    void dropLateMessages();
    [[nodiscard]] bool hasPicture() const;
    void readSequence(ByteView unit);
    [[nodiscard]] bool isSecondField(ByteView head);

    const AVCodecID m_codec;
    std::int64_t m_nTicks = AV_NOPTS_VALUE;     /**< of the present packet */
    std::int64_t m_nUnitTicks = AV_NOPTS_VALUE; /**< of the last unit that was begun */
    std::int64_t m_nLastTicks = AV_NOPTS_VALUE; /**< of the last picture that was finished */

    // What has come of the picture in the making.
    Bytes m_bytes;
    std::size_t m_nTail = kNone; /**< where the units begin that may belong to the next picture */
    std::int64_t m_nPictureTicks = 0;
    int m_nSlices = 0;
    int m_nUnits = 0;
    bool m_bParameterSets = false; /**< in the making, or kept for the next picture */
    bool m_bIncomplete = false;    /**< it is not to be handed on */
    bool m_bSkipping = false;      /**< the present unit is left out */

    bool m_bMarkerTrusted = true;
    bool m_bMarkerBefore = false; /**< the last packet had one */
    bool m_bEndedByMarker = false;

    // Only for H.264 with fields.
    std::optional<H264Sequence> m_sequence;
    std::optional<H264Field> m_field; /**< of the first slice in the making */
    bool m_bPaired = false;           /**< both fields are there */

    bool m_bTorn = false;
    std::vector<Picture> m_ready;
};

} // namespace selvik

#endif
