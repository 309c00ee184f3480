#ifndef DEVICE_RTSPINPUT_H
#define DEVICE_RTSPINPUT_H

#include "device/src/Address.h"
#include "device/src/CameraInput.h"
#include "device/src/RtpTrack.h"
#include "device/src/RtspSession.h"
#include "device/src/SenderFilter.h"
#include "device/src/Timeline.h"
#include "device/src/Transport.h"

#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace selvik
{

/**
 * The media of a camera that speaks RTSP: interleaved with the answers, or in datagrams where the camera refuses that.
 *
 * The first video, sound and ONVIF metadata that can be carried are taken. A camera that falls silent is asked whether
 * it is there. See CameraInput.
 */
class RtspInput : public CameraInput
{
public:
    RtspInput(Address address, TimeSource &time, RtspWay way = RtspWay::Direct);
    ~RtspInput() override;

    void open(const Patience &patience) override;
    [[nodiscard]] const std::vector<ParametersPtr> &tracks() const override
    {
        return m_parameters;
    }
    [[nodiscard]] bool isLeftOut(std::size_t track) const override
    {
        return m_channels[track].bLeftOut;
    }
    [[nodiscard]] bool next(MediaUnit &unit, const Patience &patience) override;
    void close(const Patience &patience) noexcept override;

private:
    /** How the packets of one track travel. */
    struct Channel {
        SdpMedia media;
        std::unique_ptr<RtpTrack> track;
        int nRtpChannel = -1; /**< on the connection; the reports' number is not always the next one */
        int nRtcpChannel = -1;
        Socket rtp; /**< invalid while the media travel on the connection */
        Socket rtcp;
        Endpoint sender;       /**< where the camera sends its datagrams from; port 0 where it does not say */
        Endpoint reports;      /**< where it wants receiver reports in datagrams */
        bool bHeard = false;   /**< media have come */
        bool bLeftOut = false; /**< they are nothing that can be carried */
        SenderFilter mediaSender;
        SenderFilter reportSender;
    };
    enum class SetupResult { Done, Refused, TransportRefused };

    void chooseTracks(const Sdp &sdp);
    void setUpAll(const Patience &patience);
    [[nodiscard]] SetupResult setUp(Channel &channel, bool bDatagrams, int nIndex, const Patience &patience);
    void readTransport(Channel &channel, const Transport &transport) const;
    /** Joins the group that the camera names; false where it names none. */
    [[nodiscard]] bool joinGroup(Channel &channel, const Transport &transport) const;
    void shareChannels();
    void punch();
    void keepAlive(const Patience &patience);
    void sendReports(const Patience &patience);
    void receive(const Patience &patience);
    void receiveDatagrams(const Patience &patience);
    void drainDatagrams(Channel &channel, const Patience &patience);
    void takePackets();
    /** Whether the source of the pictures has taken leave: nothing more is to be expected of this connection. */
    [[nodiscard]] bool isOver() const;
    void collect(Channel &channel, ByteView packet);
    /** Goes on without a medium, where there is another one to be watched or heard; else throws the failure on. */
    void leaveOut(Channel &channel, const Failure &failure) const;
    void place(Channel &channel, std::vector<MediaUnit> &units);

    TimeSource &m_time;
    const RtspWay m_way;
    RtspSession m_session;
    bool m_bDatagrams = false;
    unsigned long m_setupError = 0; /**< the SELVIK_ERROR_ code of the last medium that was refused */
    std::vector<Channel> m_channels;
    std::vector<ParametersPtr> m_parameters;
    std::unique_ptr<Timeline> m_timeline;
    std::deque<MediaUnit> m_units;
    Clock::time_point m_begin;
    Clock::time_point m_lastSign; /**< when the last thing of any kind came */
    Clock::time_point m_lastKeepAlive;
    Clock::time_point m_lastReport;
    Clock::time_point m_lastPunch;
    int m_nPunches = 0;
    Bytes m_datagram; /**< the one that is being read */
};

} // namespace selvik

#endif
