#ifndef DEVICE_ONVIF_ONVIFINPUT_H
#define DEVICE_ONVIF_ONVIFINPUT_H

#include "device/src/CameraInput.h"
#include "device/src/CameraSource.h"

#include <functional>
#include <memory>

namespace selvik
{

/**
 * A stream whose address an ONVIF device is asked for. The address that worked is kept with the log-in and used until
 * it fails: then the device is asked anew, at once where it answers that there is no such stream (7 or 9), else at the
 * next attempt, since a device that is gone cannot be asked.
 *
 * See CameraInput.
 */
class OnvifInput : public CameraInput
{
public:
    using Factory = std::function<std::unique_ptr<CameraInput>(const Address &)>;

    /** `makeInput` makes the input that reads a stream, once its address is known. */
    OnvifInput(CameraSource source, TimeSource &time, Factory makeInput);

    void open(const Patience &patience) override;
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
    void close(const Patience &patience) noexcept override;

private:
    [[nodiscard]] bool openKept(const Patience &patience);
    void openAt(const Address &address, const Patience &patience);

    const CameraSource m_source;
    TimeSource &m_time;
    const Factory m_makeInput;
    std::unique_ptr<CameraInput> m_input; /**< null until its address is known */
};

} // namespace selvik

#endif
