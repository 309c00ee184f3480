#include "device/src/StopFlag.h"

#include "device/src/Socket.h"

#ifdef _WIN32
#include <windows.h>
#endif

#include <thread>

namespace selvik
{

StopFlag::StopFlag()
{
#ifdef _WIN32
    m_hEvent = CreateEventW(nullptr, TRUE, FALSE, nullptr);
#endif
    try {
        Socket socket = Socket::toItself();
        if (socket.isValid()) {
            m_socket = std::make_unique<Socket>(std::move(socket));
        }
    } catch (const Failure &) {
        // No sockets at all: whatever is begun will fail, and may be stopped before.
    }
}

StopFlag::~StopFlag()
{
#ifdef _WIN32
    if (m_hEvent != nullptr) {
        CloseHandle(m_hEvent);
    }
#endif
}

StopFlag &StopFlag::operator=(bool stop)
{
    if (!stop || m_bSet.exchange(true)) {
        return *this;
    }
#ifdef _WIN32
    if (m_hEvent != nullptr) {
        SetEvent(m_hEvent);
    }
#endif
    if (m_socket) {
        m_socket->sendToItself();
    }
    return *this;
}

void StopFlag::sleep(std::chrono::milliseconds duration) const
{
    if (m_socket) {
        (void)m_socket->awaitItself(duration);
    } else {
        std::this_thread::sleep_for(duration);
    }
}

} // namespace selvik
