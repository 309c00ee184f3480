#include "tests/cameras/CameraBed.h"

#include <winsock2.h>

#include <cstdlib>
#include <sstream>
#include <stdexcept>

namespace cameras
{

namespace
{

// The cameras of camera_clips.py that are no part of the wall, in its order.
const Camera kKinds[] = {{"h264", 10},  {"h265", 11},          {"mjpeg", 12, 50}, {"alaw", 13},
                         {"mulaw", 14}, {"aac", 15},           {"bframes", 16},   {"slow", 17, 60, 1},
                         {"hd", 18},    {"fast", 19, 200, 50}, {"analysis", 20}};

} // namespace

Camera cameraAt(const std::string &path)
{
    for (const Camera &camera : kKinds) {
        if (camera.path == path) {
            return camera;
        }
    }
    throw std::runtime_error("there is no camera " + path);
}

int picturesOf(int nIdentity)
{
    for (const Camera &camera : kKinds) {
        if (camera.nIdentity == nIdentity) {
            return camera.nPictures;
        }
    }
    return Camera().nPictures;
}

int shorterWay(int nDifference, int nRound)
{
    const int nAhead = (nDifference + nRound) % nRound;
    return nAhead > nRound / 2 ? nAhead - nRound : nAhead;
}

Camera wallCamera(int nChannel)
{
    return {"ch" + std::to_string(nChannel) + "/0", nChannel};
}

std::string addressOf(int nPort, const std::string &path)
{
    return "rtsp://127.0.0.1:" + std::to_string(nPort) + "/" + path;
}

CameraBed::CameraBed()
{
    WSADATA data;
    WSAStartup(MAKEWORD(2, 2), &data);
    const char *pPort = std::getenv("PELLORA_CAMERAS");
    if (pPort == nullptr) {
        throw std::runtime_error("run this program with tests/cameras/with_cameras.py");
    }
    m_socket = socket(AF_INET, SOCK_STREAM, IPPROTO_TCP);
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(static_cast<u_short>(std::atoi(pPort)));
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    if (connect(m_socket, reinterpret_cast<const sockaddr *>(&address), sizeof(address)) != 0) {
        throw std::runtime_error("the test bed of cameras does not answer");
    }
    m_ports = command("ports");
}

CameraBed::~CameraBed()
{
    closesocket(m_socket);
    WSACleanup();
}

std::vector<int> CameraBed::command(const std::string &line)
{
    const std::string text = line + "\n";
    if (send(m_socket, text.data(), static_cast<int>(text.size()), 0) != static_cast<int>(text.size())) {
        throw std::runtime_error("the test bed of cameras has gone");
    }
    const std::string sAnswer = readLine();
    std::istringstream answer(sAnswer);
    std::string outcome;
    answer >> outcome;
    if (outcome != "ok") {
        throw std::runtime_error(line + ": " + sAnswer);
    }
    std::vector<int> values;
    for (int nValue = 0; answer >> nValue;) {
        values.push_back(nValue);
    }
    return values;
}

int CameraBed::port(Port port) const
{
    return m_ports.at(static_cast<std::size_t>(port));
}

int CameraBed::addProxy(Port target)
{
    return command("proxy " + std::to_string(port(target))).at(0);
}

int CameraBed::connections(int nPort)
{
    return command("connections " + std::to_string(nPort)).at(0);
}

std::string CameraBed::readLine()
{
    std::string line;
    for (char letter = 0;; line += letter) {
        if (recv(m_socket, &letter, 1, 0) != 1) {
            throw std::runtime_error("the test bed of cameras has gone");
        }
        if (letter == '\n') {
            return line;
        }
    }
}

} // namespace cameras
