#include "device/tests/CameraDouble.h"

#include <array>

namespace selvik
{

class CameraDouble::Input : public CameraInput
{
public:
    Input(CameraDouble &camera, TimeSource &time) : m_camera(camera), m_time(time) {}

    void open(const Patience &patience) override
    {
        {
            const std::lock_guard<std::mutex> lock(m_camera.m_mutex);
            m_nConnection = static_cast<int>(m_camera.m_times.size());
            m_camera.m_times.push_back(m_time.now());
            ++m_camera.m_nOpen;
        }
        m_bOpen = true;
        if (!waitFor(m_camera.opening(m_nConnection), m_time.now(), patience)) {
            throw Failure(SELVIK_ERROR_TIMEOUT);
        }
        addTrack(m_camera.bPictures, AVMEDIA_TYPE_VIDEO, AV_CODEC_ID_MJPEG);
        addTrack(m_camera.bSound, AVMEDIA_TYPE_AUDIO, AV_CODEC_ID_PCM_ALAW);
        m_latest = m_time.now();
    }
    [[nodiscard]] const std::vector<ParametersPtr> &tracks() const override
    {
        return m_tracks;
    }
    [[nodiscard]] bool next(MediaUnit &unit, const Patience &patience) override
    {
        const Step step = m_camera.script(m_nConnection, m_nUnit);
        if (!waitFor(step, m_latest, patience)) {
            return false;
        }
        m_latest += step.wait;
        static const std::array<std::uint8_t, 4> kBytes = {0xFF, 0xD8, 0xFF, 0xD9};
        unit.packet = makePacket({kBytes.data(), kBytes.size()});
        unit.packet->pts = 1000LL * m_nUnit++;
        unit.packet->flags |= AV_PKT_FLAG_KEY;
        unit.track = step.bSound && m_camera.bPictures ? 1 : 0;
        return true;
    }
    void close(const Patience & /*patience*/) noexcept override
    {
        const std::lock_guard<std::mutex> lock(m_camera.m_mutex);
        m_camera.m_nOpen -= m_bOpen ? 1 : 0;
        m_bOpen = false;
    }

private:
    /** False when the patience ends first. */
    static bool waitFor(const Step &step, Clock::time_point from, const Patience &patience)
    {
        patience.sleepUntil(from + step.wait);
        if (patience.isStopped()) {
            throw Stopped();
        }
        const bool bCame = patience.now() >= from + step.wait;
        if (bCame && step.error != SELVIK_ERROR_NONE) {
            throw Failure(step.error);
        }
        return bCame;
    }
    void addTrack(bool bThere, AVMediaType type, AVCodecID codec)
    {
        if (!bThere) {
            return;
        }
        AVCodecParameters &parameters = *m_tracks.emplace_back(required(avcodec_parameters_alloc()));
        parameters.codec_type = type;
        parameters.codec_id = codec;
        parameters.width = parameters.height = type == AVMEDIA_TYPE_VIDEO ? 16 : 0;
        parameters.sample_rate = 8000;
        parameters.bits_per_coded_sample = 8;
        av_channel_layout_default(&parameters.ch_layout, 1);
    }

    CameraDouble &m_camera;
    TimeSource &m_time;
    std::vector<ParametersPtr> m_tracks;
    Clock::time_point m_latest;
    int m_nConnection = 0;
    int m_nUnit = 0;
    bool m_bOpen = false;
};

InputMaker CameraDouble::maker()
{
    return [this](const CameraSource &, TimeSource &time) { return std::make_unique<Input>(*this, time); };
}

int CameraDouble::connections() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return static_cast<int>(m_times.size());
}

int CameraDouble::openConnections() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_nOpen;
}

std::vector<Clock::time_point> CameraDouble::connectionTimes() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_times;
}

} // namespace selvik
