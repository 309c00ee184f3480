#ifndef DEVICE_TESTS_CAMERASESSION_H
#define DEVICE_TESTS_CAMERASESSION_H

#include "device/tests/CameraSender.h"

#include <atomic>
#include <functional>
#include <string>

namespace selvik
{

/** What a scripted camera's connections share. */
struct CameraPlace {
    const Script &script;
    const CameraClip &clip;
    const std::string url;
    TimeSource &time;
    const std::atomic<bool> &stop;
    std::function<void(const std::string &method)> note;
    std::atomic<unsigned short> &clientPort; /**< where the pictures' datagrams go */
};

/**
 * One connection to a scripted camera: reads requests, answers as the script says, sends pictures in between.
 *
 * Threads: one. Owns: its socket.
 */
class CameraSession
{
public:
    CameraSession(CameraPlace place, TestSocket socket);
    ~CameraSession();
    CameraSession(const CameraSession &) = delete;
    CameraSession &operator=(const CameraSession &) = delete;

    /** Until one of the two sides ends the connection. */
    void run();

private:
    [[nodiscard]] bool isFrozen() const;
    /** False when the other side is gone. */
    [[nodiscard]] bool readRequests();
    [[nodiscard]] bool isAllowed(const std::string &method, const std::string &url, const std::string &request) const;
    [[nodiscard]] std::string question() const;
    void handle(const std::string &request);
    void answer(int nStatus, const std::string &headers, const std::string &body = {});
    void describe();
    void setUp(const std::string &url, const std::string &request);
    void play();

    const CameraPlace m_place;
    const Script &m_script;
    TestSocket m_socket;
    CameraSender m_sender;
    std::string m_input;
    std::string m_sequence;
    int m_nSession = 0;
    bool m_bPlaying = false;
    bool m_bEnd = false;
    Clock::time_point m_nextPicture;
    Clock::time_point m_lastRequest;
};

} // namespace selvik

#endif
