#ifndef DEVICE_TESTS_CAMERASENDER_H
#define DEVICE_TESTS_CAMERASENDER_H

#include "device/src/Bytes.h"
#include "device/tests/CameraScript.h"
#include "device/tests/TestSocket.h"

#include <array>
#include <string>
#include <vector>

namespace selvik
{

/** What a scripted camera shows. */
struct CameraClip {
    bool bH265 = false;
    std::vector<Bytes> pictures; /**< with start codes, in the order of decoding */
};

/** The format parameters that carry the clip's parameter sets. */
[[nodiscard]] std::string parameterSetsOf(const CameraClip &clip);

/**
 * Sends the pictures, sound, documents and reports of one connection of a scripted camera.
 *
 * Threads: the connection's. Borrows the script, the clip and the connection's socket.
 */
class CameraSender
{
public:
    /** How one medium is sent. */
    struct Track {
        bool bUsed = false;
        int nChannel = 0;
        unsigned short nPort = 0;        /**< 0: interleaved */
        std::uint16_t nSequence = 65530; /**< wraps around soon */
    };

    CameraSender(const Script &script, const CameraClip &clip, TestSocket socket);
    ~CameraSender();
    CameraSender(const CameraSender &) = delete;
    CameraSender &operator=(const CameraSender &) = delete;

    [[nodiscard]] Track &track(std::size_t number)
    {
        return m_tracks.at(number);
    }
    /** Of video, sound and metadata, what belongs to the next picture. */
    void sendPicture();
    void write(const std::uint8_t *pData, std::size_t size);
    /** Where its datagrams come from. */
    [[nodiscard]] unsigned short datagramPort() const;

    [[nodiscard]] std::size_t pictures() const
    {
        return m_nPicture;
    }
    /** The other side is gone, or the script says that the camera hangs up. */
    [[nodiscard]] bool isOver() const
    {
        return m_bOver;
    }

private:
    void sendVideo(const Bytes &picture, std::uint32_t time);
    void sendForeign(std::uint32_t time);
    void sendLeave(const Track &track);
    /** Whether datagrams may be sent already. */
    [[nodiscard]] bool isPunched();
    [[nodiscard]] std::uint32_t sourceOf(const Track &track) const;
    [[nodiscard]] std::uint32_t timeOf(std::size_t nPicture) const;
    void sendPacket(const Track &track, const Bytes &packet);
    /** One unit as packets of at most 1400 bytes. */
    void packetise(const Bytes &unit, std::vector<Bytes> &payloads) const;
    void sendRtp(Track &track, int nType, std::uint32_t time, bool bMarker, const Bytes &payload);
    void sendDatagram(TestSocket socket, unsigned short port, const Bytes &packet);
    void sendReport(const Track &track, std::uint32_t time);
    void interleave(int nChannel, const Bytes &packet);

    const Script &m_script;
    const CameraClip &m_clip;
    TestSocket m_socket;
    TestSocket m_datagrams;
    TestSocket m_stranger;  /**< on the same machine, another port */
    TestSocket m_foreigner; /**< of another address */
    std::array<Track, 3> m_tracks;
    int m_nPackets = 0;
    int m_nPunches = 0;
    std::uint16_t m_nForeign = 30000; /**< numbers of packets that are not the camera's */
    bool m_bOver = false;
    std::size_t m_nPicture = 0;
    Bytes m_heldBack;
};

} // namespace selvik

#endif
