#ifndef TESTS_CAMERAS_CAMERABED_H
#define TESTS_CAMERAS_CAMERABED_H

#include <optional>
#include <string>
#include <vector>

namespace cameras
{

/** How many numbers belong to one camera; its identity is a number divided by this. */
constexpr int kPicturesPerCamera = 1024;
/** The log-in of the ports that want one, and a password that they refuse. */
constexpr const char *kUser = "viewer";
constexpr const char *kPassword = "s3cret/w@rd";
constexpr const char *kWrongPassword = "wr0ng-s3cret";

/** A camera of the test bed: what its pictures carry. */
struct Camera {
    std::string path;
    int nIdentity = 0;
    int nPictures = 100; /**< its pictures go round and round */
    int nRate = 25;
};

/** The camera at a path of the test bed. */
[[nodiscard]] Camera cameraAt(const std::string &path);
/** How many pictures of the camera with that identity go round. */
[[nodiscard]] int picturesOf(int nIdentity);
/** A difference, less than a round either way, of the numbers of pictures that go round: by the shorter way. */
[[nodiscard]] int shorterWay(int nDifference, int nRound);
/** A camera of the wall: 1 to 9. */
[[nodiscard]] Camera wallCamera(int nChannel);

/**
 * Commands the test bed of cameras (camera_bed.py), which with_cameras.py has started for this program.
 *
 * Threads: one.
 * Owns:    the control connection, with which the bed ends.
 * Errors:  throws std::runtime_error with the bed's reason: a test cannot go on without its cameras.
 */
class CameraBed
{
public:
    /** Who is let in, and how media travel; or the ONVIF device whose channels are the wall's cameras. */
    enum class Port { Anybody, Digest, Basic, UdpOnly, Onvif };

    CameraBed();
    ~CameraBed();
    CameraBed(const CameraBed &) = delete;
    CameraBed &operator=(const CameraBed &) = delete;

    /** Sends a command of the bed; the values of its answer. */
    std::vector<int> command(const std::string &line);
    [[nodiscard]] int port(Port port) const;
    /** The port of a new proxy before one of the cameras' ports. */
    [[nodiscard]] int addProxy(Port port = Port::Anybody);
    /** Connections to a port that clients have open. */
    [[nodiscard]] int connections(int nPort);

private:
    [[nodiscard]] std::string readLine();

    unsigned long long m_socket;
    std::vector<int> m_ports;
};

[[nodiscard]] std::string addressOf(int nPort, const std::string &path);

} // namespace cameras

#endif
