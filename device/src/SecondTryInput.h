#ifndef DEVICE_SECONDTRYINPUT_H
#define DEVICE_SECONDTRYINPUT_H

#include "device/src/RtspInput.h"

#include <memory>

namespace selvik
{

/**
 * An RTSP camera, asked directly at first. Where there is no usable media so, and the camera answers as if there were
 * another way, that is tried once, within what is left of the patience.
 *
 * See CameraInput.
 */
class SecondTryInput : public CameraInput
{
public:
    SecondTryInput(Address address, TimeSource &time)
        : m_address(std::move(address)), m_time(time), m_input(std::make_unique<RtspInput>(m_address, m_time))
    {
    }

    void open(const Patience &patience) override
    {
        RtspWay way = RtspWay::Direct;
        try {
            m_input->open(patience);
            return;
        } catch (const OtherWay &other) {
            way = other.way();
        }
        m_input->close(patience.atMost(kTimeToLeave));
        m_input = std::make_unique<RtspInput>(m_address, m_time, way);
        m_input->open(patience);
    }
    [[nodiscard]] const std::vector<ParametersPtr> &tracks() const override
    {
        return m_input->tracks();
    }
    [[nodiscard]] bool isLeftOut(std::size_t track) const override
    {
        return m_input->isLeftOut(track);
    }
    [[nodiscard]] bool next(MediaUnit &unit, const Patience &patience) override
    {
        return m_input->next(unit, patience);
    }
    void close(const Patience &patience) noexcept override
    {
        m_input->close(patience);
    }

private:
    static constexpr Milliseconds kTimeToLeave{300};

    const Address m_address;
    TimeSource &m_time;
    std::unique_ptr<RtspInput> m_input;
};

} // namespace selvik

#endif
