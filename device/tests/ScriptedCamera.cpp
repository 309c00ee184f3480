#include "device/tests/ScriptedCamera.h"

#include "device/src/Ffmpeg.h"
#include "device/tests/CameraSession.h"

#include <algorithm>
#include <cstdlib>
#include <stdexcept>

namespace selvik
{

namespace
{

/** The clip's pictures with start codes, in the order of decoding; parameter sets lead each key picture. */
CameraClip readClip(const std::string &clip)
{
    const char *pMedia = std::getenv("PELLORA_TEST_MEDIA");
    const std::string path = std::string(pMedia != nullptr ? pMedia : "build/media") + "/" + clip;
    AVFormatContext *pFormat = nullptr;
    if (avformat_open_input(&pFormat, path.c_str(), nullptr, nullptr) < 0) {
        throw std::runtime_error("no clip " + path + "; tests/media/make-media.sh makes it");
    }
    const FormatPtr format(pFormat);
    const int nStream = av_find_best_stream(pFormat, AVMEDIA_TYPE_VIDEO, -1, -1, nullptr, 0);
    CameraClip result;
    result.bH265 = pFormat->streams[nStream]->codecpar->codec_id == AV_CODEC_ID_HEVC;
    AVBSFContext *pFilter = nullptr;
    av_bsf_alloc(av_bsf_get_by_name(result.bH265 ? "hevc_mp4toannexb" : "h264_mp4toannexb"), &pFilter);
    avcodec_parameters_copy(pFilter->par_in, pFormat->streams[nStream]->codecpar);
    av_bsf_init(pFilter);
    const PacketPtr packet(av_packet_alloc());
    while (av_read_frame(pFormat, packet.get()) >= 0) {
        if (packet->stream_index == nStream && av_bsf_send_packet(pFilter, packet.get()) >= 0) {
            while (av_bsf_receive_packet(pFilter, packet.get()) >= 0) {
                result.pictures.emplace_back(packet->data, packet->data + packet->size);
                av_packet_unref(packet.get());
            }
        }
        av_packet_unref(packet.get());
    }
    av_bsf_free(&pFilter);
    return result;
}

} // namespace

ScriptedCamera::ScriptedCamera(TimeSource &time, Script script, unsigned short port)
    : m_time(time), m_script(std::move(script)), m_clip(readClip(m_script.clip))
{
    startSockets();
    const TestSocket listener = ::socket(AF_INET, SOCK_STREAM, 0);
    int on = 1;
    setsockopt(listener, SOL_SOCKET, SO_REUSEADDR, reinterpret_cast<const char *>(&on), sizeof on);
    sockaddr_in address = loopback(port);
    socklen_t size = sizeof address;
    if (bind(listener, reinterpret_cast<const sockaddr *>(&address), size) != 0 || listen(listener, 16) != 0) {
        throw std::runtime_error("the camera's port is taken");
    }
    getsockname(listener, reinterpret_cast<sockaddr *>(&address), &size);
    m_nPort = ntohs(address.sin_port);
    m_listener = static_cast<long long>(listener);
    m_acceptor = std::thread([this, presence = m_time.presence()] { acceptConnections(); });
}

ScriptedCamera::~ScriptedCamera()
{
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_bStop = true;
        m_time.wait(lock, m_changed, TimeSource::kNoDeadline, [this] { return m_bEnded; });
    }
    m_acceptor.join();
    closeSocket(static_cast<TestSocket>(m_listener));
}

void ScriptedCamera::acceptConnections()
{
    const auto listener = static_cast<TestSocket>(m_listener);
    std::vector<std::thread> sessions;
    while (!m_bStop) {
        if (!waitReadable(m_time, m_bStop, listener, std::chrono::seconds(1))) {
            continue;
        }
        const TestSocket socket = accept(listener, nullptr, nullptr);
        // The system would hold small packets back for some time of its own.
        int noDelay = 1;
        setsockopt(socket, IPPROTO_TCP, TCP_NODELAY, reinterpret_cast<const char *>(&noDelay), sizeof noDelay);
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_connectionTimes.push_back(m_time.now());
        if (m_script.nPlays > 0 && m_connectionTimes.size() > static_cast<std::size_t>(m_script.nPlays)) {
            closeSocket(socket);
            continue;
        }
        ++m_nOpen;
        sessions.emplace_back([this, socket, presence = m_time.presence()] { serve(static_cast<long long>(socket)); });
    }
    std::unique_lock<std::mutex> lock(m_mutex);
    m_time.wait(lock, m_changed, TimeSource::kNoDeadline, [this] { return m_nOpen == 0; });
    lock.unlock();
    for (std::thread &session : sessions) {
        session.join();
    }
    lock.lock();
    m_bEnded = true;
    m_changed.notify_all();
}

void ScriptedCamera::serve(long long socket)
{
    const auto note = [this](const std::string &method) {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_methods.push_back(method);
    };
    {
        CameraSession session({m_script, m_clip, url(), m_time, m_bStop, note, m_clientPort},
                              static_cast<TestSocket>(socket));
        session.run();
    }
    const std::lock_guard<std::mutex> lock(m_mutex);
    --m_nOpen;
    m_changed.notify_all();
}

int ScriptedCamera::openConnections() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_nOpen;
}

std::vector<Clock::time_point> ScriptedCamera::connectionTimes() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_connectionTimes;
}

int ScriptedCamera::requests(const std::string &method) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return static_cast<int>(std::count(m_methods.begin(), m_methods.end(), method));
}

} // namespace selvik
