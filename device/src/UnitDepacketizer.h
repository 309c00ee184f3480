#ifndef DEVICE_UNITDEPACKETIZER_H
#define DEVICE_UNITDEPACKETIZER_H

#include "device/src/RtpDepacketizer.h"

#include <utility>

namespace selvik
{

/** What the depacketizers of H.264 and H.265 have in common: units that come in fragments, or several in one place. */
class UnitDepacketizer : public RtpDepacketizer
{
public:
    [[nodiscard]] const AVCodecParameters &parameters() const override
    {
        return *m_parameters;
    }
    void lose() override
    {
        m_bInside = false;
    }
    [[nodiscard]] bool isInsideUnit() const override
    {
        return m_bInside;
    }

protected:
    explicit UnitDepacketizer(ParametersPtr parameters) : m_parameters(std::move(parameters)) {}

    static void feedWhole(ByteView unit, CodedSink &sink);
    /** Those between start codes; without one, the whole. */
    static void feedEach(ByteView units, CodedSink &sink);
    /** A unit begins with a head that stands elsewhere in the packet, and with bytes that are not taken in yet. */
    static void begin(ByteView head, ByteView behind, CodedSink &sink);
    /** `flags`: the byte of a fragment that says whether it is a unit's first one and its last one, as in both. */
    void feedFragment(std::uint8_t flags, ByteView head, ByteView fragment, CodedSink &sink);
    /** A packet without a fragment has come. */
    void endFragments()
    {
        m_bInside = false;
    }

private:
    ParametersPtr m_parameters;
    bool m_bInside = false; /**< between the first and the last fragment of a unit */
};

} // namespace selvik

#endif
