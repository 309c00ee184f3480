#include "device/tests/TunnelServer.h"

#include "device/src/Text.h"
#include "device/tests/HttpCamera.h"

extern "C" {
#include <libavutil/base64.h>
}

#include <algorithm>
#include <stdexcept>

namespace selvik
{

namespace
{

void sendText(TestSocket socket, const std::string &text)
{
    (void)send(socket, text.data(), static_cast<int>(text.size()), kSendFlags);
}

} // namespace

TunnelServer::TunnelServer(TimeSource &time, unsigned short cameraPort, std::string password)
    : m_time(time), m_nCameraPort(cameraPort), m_password(std::move(password))
{
    startSockets();
    m_listener = ::socket(AF_INET, SOCK_STREAM, 0);
    sockaddr_in address = loopback(0);
    socklen_t size = sizeof address;
    if (bind(m_listener, reinterpret_cast<const sockaddr *>(&address), size) != 0 || listen(m_listener, 16) != 0) {
        throw std::runtime_error("no port for the server");
    }
    getsockname(m_listener, reinterpret_cast<sockaddr *>(&address), &size);
    m_nPort = ntohs(address.sin_port);
    m_thread = std::thread([this, presence = m_time.presence()] { run(); });
}

TunnelServer::~TunnelServer()
{
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_bStop = true;
        m_time.wait(lock, m_changed, TimeSource::kNoDeadline, [this] { return m_bEnded; });
    }
    m_thread.join();
    closeSocket(m_listener);
}

void TunnelServer::run()
{
    while (!m_bStop) {
        fd_set set;
        (void)m_time.poll(std::chrono::seconds(1), [&](Milliseconds most) {
            FD_ZERO(&set);
            FD_SET(m_listener, &set);
            auto highest = static_cast<int>(m_listener);
            const auto add = [&](TestSocket socket) {
                FD_SET(socket, &set);
                highest = std::max(highest, static_cast<int>(socket));
            };
            for (const Client &client : m_clients) {
                add(client.socket);
            }
            if (m_bTunnel) {
                add(m_camera);
            }
            timeval value = {};
            value.tv_usec = static_cast<decltype(value.tv_usec)>(most.count() * 1000);
            const int nReady = select(highest + 1, &set, nullptr, nullptr, &value);
            if (nReady <= 0) {
                FD_ZERO(&set);
            }
            return nReady > 0 || m_bStop;
        });
        if (FD_ISSET(m_listener, &set)) {
            acceptClient();
        }
        bool bWhole = !m_bTunnel || !FD_ISSET(m_camera, &set) || readCamera();
        for (std::size_t i = 0; i < m_clients.size() && bWhole; ++i) {
            bWhole = !FD_ISSET(m_clients[i].socket, &set) || readClient(m_clients[i]);
        }
        if (!bWhole) {
            closeAll();
        }
    }
    closeAll();
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_bEnded = true;
    m_changed.notify_all();
}

void TunnelServer::acceptClient()
{
    const TestSocket socket = accept(m_listener, nullptr, nullptr);
    int noDelay = 1;
    setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char *>(&noDelay), sizeof noDelay);
    m_clients.push_back({socket, {}, false});
}

void TunnelServer::closeAll()
{
    for (const Client &client : m_clients) {
        closeSocket(client.socket);
    }
    m_clients.clear();
    if (m_bTunnel) {
        closeSocket(m_camera);
        m_bTunnel = false;
    }
}

bool TunnelServer::readClient(Client &client)
{
    char buffer[4096];
    const auto received = recv(client.socket, buffer, sizeof buffer, 0);
    if (received <= 0) {
        return false;
    }
    client.input.append(buffer, static_cast<std::size_t>(received));
    if (!client.bPost && client.input.find("\r\n\r\n") != std::string::npos && !begin(client)) {
        return false;
    }
    if (client.bPost) {
        forward(client);
    }
    return true;
}

bool TunnelServer::begin(Client &client)
{
    const std::size_t end = client.input.find("\r\n\r\n") + 4;
    const std::string request = client.input.substr(0, end);
    client.input.erase(0, end);
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_requests.push_back(request.substr(0, request.find("\r\n")));
    }
    const bool bGet = startsWith(request, "GET /live HTTP/1.1\r\n");
    const bool bPost = startsWith(request, "POST /live HTTP/1.1\r\n");
    if (!bGet && !bPost) {
        sendText(client.socket, "HTTP/1.1 400 Bad Request\r\nContent-Length: 0\r\n\r\n");
        return false;
    }
    if (!m_password.empty() && !isDigestRight(request, "viewer", m_password)) {
        sendText(client.socket, "HTTP/1.1 401 Unauthorized\r\nWWW-Authenticate: Digest realm=\"cameras\", "
                                "nonce=\"abc123\"\r\nContent-Length: 0\r\n\r\n");
        return false;
    }
    const std::string cookie = headerOf(request, "x-sessioncookie");
    if (bGet) {
        m_cookie = cookie;
        m_answers = client.socket;
        sendText(client.socket, "HTTP/1.0 200 OK\r\nContent-Type: application/x-rtsp-tunnelled\r\n\r\n");
        return true;
    }
    client.bPost = !cookie.empty() && cookie == m_cookie;
    m_camera = ::socket(AF_INET, SOCK_STREAM, 0);
    const sockaddr_in address = loopback(m_nCameraPort);
    m_bTunnel = connect(m_camera, reinterpret_cast<const sockaddr *>(&address), sizeof address) == 0;
    return client.bPost && m_bTunnel;
}

void TunnelServer::forward(Client &client)
{
    std::string message;
    // Each message is padded by itself.
    while (client.input.size() >= 4) {
        const std::string group = client.input.substr(0, 4);
        client.input.erase(0, 4);
        std::uint8_t bytes[3] = {};
        const int nSize = av_base64_decode(bytes, group.c_str(), sizeof bytes);
        message.append(reinterpret_cast<const char *>(bytes), static_cast<std::size_t>(std::max(nSize, 0)));
    }
    // At once: the system holds the rest of a message that is sent in parts back for a time of its own.
    sendText(m_camera, message);
}

bool TunnelServer::readCamera()
{
    char buffer[65536];
    const auto received = recv(m_camera, buffer, sizeof buffer, 0);
    return received > 0 && send(m_answers, buffer, static_cast<int>(received), kSendFlags) == received;
}

std::vector<std::string> TunnelServer::requests() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_requests;
}

} // namespace selvik
