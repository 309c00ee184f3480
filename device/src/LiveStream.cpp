#include "device/src/LiveStream.h"

#include "Selvikdcm.h"
#include "device/src/CodedPicture.h"

#include <cstring>

namespace selvik
{

namespace
{

// A camera whose key pictures are far apart begins with what its description says; pictures follow with the next one.
constexpr Milliseconds waitForKeyPicture{3000};

void setExtradata(AVCodecParameters &parameters, const Bytes &bytes)
{
    av_freep(&parameters.extradata);
    parameters.extradata_size = 0;
    parameters.extradata =
        static_cast<std::uint8_t *>(required(av_mallocz(bytes.size() + AV_INPUT_BUFFER_PADDING_SIZE)));
    std::memcpy(parameters.extradata, bytes.data(), bytes.size());
    parameters.extradata_size = static_cast<int>(bytes.size());
}

bool needsParameterSets(AVCodecID codec)
{
    return codec == AV_CODEC_ID_H264 || codec == AV_CODEC_ID_HEVC;
}

bool startsWithStartCode(ByteView bytes)
{
    return bytes.size > 4 && bytes.pData[0] == 0 && bytes.pData[1] == 0 &&
           (bytes.pData[2] == 1 || (bytes.pData[2] == 0 && bytes.pData[3] == 1));
}

} // namespace

LiveStream::LiveStream(std::unique_ptr<CameraInput> input) : m_input(std::move(input)) {}

LiveStream::~LiveStream() = default;

void LiveStream::copyTracks()
{
    for (const ParametersPtr &track : m_input->tracks()) {
        if (track->codec_type == AVMEDIA_TYPE_VIDEO) {
            m_nVideo = static_cast<int>(m_tracks.size());
        }
        m_tracks.emplace_back(required(avcodec_parameters_alloc()));
        if (avcodec_parameters_copy(m_tracks.back().get(), track.get()) < 0) {
            throw std::bad_alloc();
        }
    }
}

Bytes LiveStream::open(const Patience &patience)
{
    m_input->open(patience);
    copyTracks();
    const Clock::time_point late = Clock::now() + waitForKeyPicture;
    bool bKnown = false;
    bool bPictures = false;
    std::int64_t utcOfZero = 0;
    while (!bKnown) {
        MediaUnit unit;
        if (!m_input->next(unit, patience)) {
            // Pictures came, but nothing that says how to read them.
            throw Failure(bPictures ? SELVIK_ERROR_MEDIA : SELVIK_ERROR_TIMEOUT);
        }
        bPictures = bPictures || static_cast<int>(unit.track) == m_nVideo;
        bKnown = learn(unit, Clock::now() >= late);
        const auto now = std::chrono::system_clock::now().time_since_epoch();
        const std::int64_t arrival = std::chrono::duration_cast<std::chrono::microseconds>(now).count();
        utcOfZero = (unit.captureTime != AV_NOPTS_VALUE ? unit.captureTime : arrival) - unit.packet->pts;
        m_waiting.push_back(std::move(unit));
        if (!bKnown && static_cast<int>(m_waiting.back().track) == m_nVideo) {
            // Nothing of what came so far can be shown.
            m_waiting.clear();
        }
    }
    m_muxer = std::make_unique<LiveMuxer>(m_tracks, utcOfZero);
    return m_muxer->header();
}

bool LiveStream::learn(const MediaUnit &unit, bool bLate)
{
    if (m_nVideo < 0) {
        return true;
    }
    if (static_cast<int>(unit.track) != m_nVideo || (!unit.isKey() && !bLate)) {
        return false;
    }
    AVCodecParameters &parameters = *m_tracks[unit.track];
    if (needsParameterSets(parameters.codec_id) && startsWithStartCode(unit.bytes())) {
        // What comes with the pictures is right, whatever the description says.
        Bytes picture(unit.bytes().begin(), unit.bytes().end());
        const PictureFacts facts = inspectPicture(parameters.codec_id, picture);
        if (!facts.parameterSets.empty()) {
            setExtradata(parameters, facts.parameterSets);
            parameters.width = 0;
            parameters.height = 0;
        }
    }
    if (needsParameterSets(parameters.codec_id) && parameters.extradata_size == 0) {
        return false;
    }
    return (parameters.width > 0 && parameters.height > 0) || probeSize(parameters, unit.bytes());
}

bool LiveStream::isWanted(const MediaUnit &unit)
{
    if (m_nVideo < 0 || static_cast<int>(unit.track) != m_nVideo) {
        return true;
    }
    m_bKeySeen = m_bKeySeen || unit.isKey();
    return m_bKeySeen;
}

Bytes LiveStream::next(const Patience &patience)
{
    MediaUnit unit;
    if (!m_waiting.empty()) {
        unit = std::move(m_waiting.front());
        m_waiting.pop_front();
    } else if (!m_input->next(unit, patience)) {
        return {};
    }
    return isWanted(unit) ? m_muxer->write(unit) : Bytes();
}

void LiveStream::close(const Patience &patience) noexcept
{
    m_input->close(patience);
}

} // namespace selvik
