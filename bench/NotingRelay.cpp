#include "bench/NotingRelay.h"

#include <cstddef>
#include <stdexcept>

namespace bench
{

namespace
{

sockaddr_in loopback(int nPort)
{
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<u_short>(nPort));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
}

bool isReadable(SOCKET one, SOCKET other, bool &bOne, bool &bOther)
{
    fd_set sockets;
    FD_ZERO(&sockets);
    FD_SET(one, &sockets);
    FD_SET(other, &sockets);
    timeval patience{0, 50'000};
    select(0, &sockets, nullptr, nullptr, &patience);
    bOne = FD_ISSET(one, &sockets) != 0;
    bOther = FD_ISSET(other, &sockets) != 0;
    return bOne || bOther;
}

} // namespace

NotingRelay::NotingRelay(int nCameraPort) : m_nCameraPort(nCameraPort)
{
    m_listener = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    sockaddr_in address = loopback(0);
    int nSize = sizeof(address);
    if (bind(m_listener, reinterpret_cast<sockaddr *>(&address), nSize) != 0 || listen(m_listener, 1) != 0 ||
        getsockname(m_listener, reinterpret_cast<sockaddr *>(&address), &nSize) != 0) {
        throw std::runtime_error("no port for the relay");
    }
    m_nPort = ntohs(address.sin_port);
    m_thread = std::thread([this] { relay(); });
}

NotingRelay::~NotingRelay()
{
    m_bStop = true;
    m_thread.join();
    closesocket(m_listener);
}

std::vector<NotingRelay::Clock::time_point> NotingRelay::arrivals() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_arrivals;
}

void NotingRelay::relay()
{
    bool bViewer = false;
    bool bCamera = false;
    while (!m_bStop && !isReadable(m_listener, m_listener, bViewer, bCamera)) {
    }
    if (m_bStop) {
        return;
    }
    const SOCKET viewer = accept(m_listener, nullptr, nullptr);
    const SOCKET camera = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    const sockaddr_in address = loopback(m_nCameraPort);
    const BOOL bOn = TRUE;
    setsockopt(viewer, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char *>(&bOn), sizeof(bOn));
    bool bOpen = connect(camera, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) == 0;
    std::vector<char> buffer(1 << 16);
    while (!m_bStop && bOpen) {
        if (!isReadable(viewer, camera, bViewer, bCamera)) {
            continue;
        }
        if (bViewer) {
            bOpen = forward(viewer, camera, buffer, false);
        }
        if (bOpen && bCamera) {
            bOpen = forward(camera, viewer, buffer, true);
        }
    }
    closesocket(viewer);
    closesocket(camera);
}

bool NotingRelay::forward(SOCKET from, SOCKET to, std::vector<char> &buffer, bool bNote)
{
    const int nRead = recv(from, buffer.data(), static_cast<int>(buffer.size()), 0);
    if (nRead <= 0) {
        return false;
    }
    if (bNote) {
        note(buffer.data(), static_cast<std::size_t>(nRead));
    }
    for (int nSent = 0; nSent < nRead;) {
        const int nNow = send(to, buffer.data() + nSent, nRead - nSent, 0);
        if (nNow <= 0) {
            return false;
        }
        nSent += nNow;
    }
    return true;
}

void NotingRelay::note(const char *pBytes, std::size_t nBytes)
{
    const auto now = Clock::now();
    m_pending.insert(m_pending.end(), pBytes, pBytes + nBytes);
    std::size_t nAt = 0;
    while (nAt < m_pending.size()) {
        if (m_pending[nAt] != '$') {
            ++nAt;
            continue;
        }
        if (nAt + 6 > m_pending.size()) {
            break;
        }
        const std::size_t nLength =
            static_cast<unsigned char>(m_pending[nAt + 2]) * 256U + static_cast<unsigned char>(m_pending[nAt + 3]);
        if (nAt + 4 + nLength > m_pending.size()) {
            break;
        }
        const bool bMarker = (static_cast<unsigned char>(m_pending[nAt + 5]) & 0x80U) != 0;
        if (m_pending[nAt + 1] == 0 && bMarker) {
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_arrivals.push_back(now);
        }
        nAt += 4 + nLength;
    }
    m_pending.erase(m_pending.begin(), m_pending.begin() + static_cast<std::ptrdiff_t>(nAt));
}

} // namespace bench
