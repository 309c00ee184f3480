#include "device/src/LiveStream.h"

#include "Selvikdcm.h"
#include "device/src/CodedPicture.h"
#include "device/src/PictureParameters.h"
#include "device/src/UnitScanner.h"

namespace selvik
{

namespace
{

// The header waits so long for a key picture. Then it is written from the camera's description alone, and the first
// data follows with the next key picture.
constexpr Milliseconds kWaitForKeyPicture{3000};

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
    const Clock::time_point late = patience.now() + kWaitForKeyPicture;
    bool bKnown = false;
    bool bPictures = false;
    std::int64_t utcOfZero = 0;
    while (!bKnown) {
        MediaUnit unit;
        if (!m_input->next(unit, patience)) {
            // Pictures came, but neither parameter sets nor a size.
            throw Failure(bPictures ? SELVIK_ERROR_MEDIA : SELVIK_ERROR_TIMEOUT);
        }
        bPictures = bPictures || static_cast<int>(unit.track) == m_nVideo;
        bKnown = learn(unit, patience.now() >= late);
        const auto now = std::chrono::system_clock::now().time_since_epoch();
        const std::int64_t arrival = std::chrono::duration_cast<std::chrono::microseconds>(now).count();
        utcOfZero = (unit.captureTime != AV_NOPTS_VALUE ? unit.captureTime : arrival) - unit.packet->pts;
        m_waiting.push_back(std::move(unit));
        if (!bKnown && static_cast<int>(m_waiting.back().track) == m_nVideo) {
            // Without the header nothing that came so far can be decoded.
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
    if (hasParameterSets(parameters.codec_id) && beginsWithStartCode(unit.bytes())) {
        // The parameter sets between the pictures are right even where the description has others.
        Bytes picture(unit.bytes().begin(), unit.bytes().end());
        const PictureFacts facts = inspectPicture(parameters.codec_id, picture);
        if (!facts.parameterSets.empty()) {
            setExtradata(parameters, facts.parameterSets);
            parameters.width = 0;
            parameters.height = 0;
        }
    }
    if (hasParameterSets(parameters.codec_id) && parameters.extradata_size == 0) {
        return false;
    }
    const ByteView sets = {parameters.extradata, static_cast<std::size_t>(parameters.extradata_size)};
    if (beginsWithStartCode(sets)) {
        readSize(parameters, sets);
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
