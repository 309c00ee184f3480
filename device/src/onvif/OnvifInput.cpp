#include "device/src/onvif/OnvifInput.h"

#include "Selvikdcm.h"
#include "device/src/onvif/OnvifDevice.h"

namespace selvik
{

namespace
{

// How long a camera that has refused a stream may take to let go of the session.
constexpr Milliseconds kLeaveLimit{300};

} // namespace

OnvifInput::OnvifInput(CameraSource source, TimeSource &time, Factory makeInput)
    : m_source(std::move(source)), m_time(time), m_makeInput(std::move(makeInput))
{
}

void OnvifInput::open(const Patience &patience)
{
    if (openKept(patience)) {
        return;
    }
    const KeptAddresses::Stream stream = {m_source.channel, m_source.streamType};
    const Address address = OnvifDevice(m_source.address, m_time).streamOf(stream.first, stream.second, patience);
    openAt(address, patience);
    m_source.kept->keep(stream, address);
}

bool OnvifInput::openKept(const Patience &patience)
{
    const KeptAddresses::Stream stream = {m_source.channel, m_source.streamType};
    const std::optional<Address> kept = m_source.kept->find(stream);
    if (!kept) {
        return false;
    }
    try {
        openAt(*kept, patience);
        return true;
    } catch (const Failure &failure) {
        m_source.kept->forget(stream);
        if (failure.error() != SELVIK_ERROR_CHANNEL && failure.error() != SELVIK_ERROR_MEDIA) {
            throw;
        }
        close(patience.atMost(kLeaveLimit));
        return false;
    }
}

void OnvifInput::openAt(const Address &address, const Patience &patience)
{
    m_input = m_makeInput(address);
    m_input->open(patience);
}

void OnvifInput::close(const Patience &patience) noexcept
{
    if (m_input != nullptr) {
        m_input->close(patience);
    }
}

} // namespace selvik
