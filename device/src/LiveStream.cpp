#include "device/src/LiveStream.h"

#include "Selvikdcm.h"
#include "device/src/CodedPicture.h"
#include "device/src/PictureParameters.h"
#include "device/src/UnitScanner.h"

#include <algorithm>

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
    for (bool bKnown = false; !bKnown;) {
        MediaUnit unit;
        if (!m_input->next(unit, patience)) {
            // Pictures came, but neither parameter sets nor a size.
            throw Failure(m_bPictures ? SELVIK_ERROR_MEDIA : SELVIK_ERROR_TIMEOUT);
        }
        if (m_nVideo >= 0 && m_input->isLeftOut(static_cast<std::size_t>(m_nVideo))) {
            leaveOutPictures();
        }
        bKnown = renumber(unit) && takeIn(std::move(unit), patience.now() >= late);
    }
    m_muxer = std::make_unique<LiveMuxer>(m_tracks, m_utcOfZero);
    return m_muxer->header();
}

bool LiveStream::takeIn(MediaUnit unit, bool bLate)
{
    const bool bPicture = static_cast<int>(unit.track) == m_nVideo;
    m_bPictures = m_bPictures || bPicture;
    bool bKnown = false;
    try {
        bKnown = learn(unit, bLate);
    } catch (const Failure &) {
        leaveOutPictures();
        return false;
    }
    const auto now = std::chrono::system_clock::now().time_since_epoch();
    const std::int64_t arrival = std::chrono::duration_cast<std::chrono::microseconds>(now).count();
    m_utcOfZero = (unit.captureTime != AV_NOPTS_VALUE ? unit.captureTime : arrival) - unit.packet->pts;
    m_waiting.push_back(std::move(unit));
    if (!bKnown && bPicture) {
        // Without the header nothing that came so far can be decoded.
        m_waiting.clear();
    }
    return bKnown;
}

void LiveStream::leaveOutPictures()
{
    const bool bSound = std::any_of(m_tracks.begin(), m_tracks.end(),
                                    [](const ParametersPtr &track) { return track->codec_type == AVMEDIA_TYPE_AUDIO; });
    if (!bSound) {
        throw Failure(SELVIK_ERROR_MEDIA);
    }
    m_nLeftOut = m_nVideo;
    m_nVideo = -1;
    m_tracks.erase(m_tracks.begin() + m_nLeftOut);
    m_waiting.clear();
}

bool LiveStream::renumber(MediaUnit &unit) const
{
    if (m_nLeftOut < 0) {
        return true;
    }
    const auto leftOut = static_cast<std::size_t>(m_nLeftOut);
    const bool bLeftOut = unit.track == leftOut;
    unit.track -= unit.track > leftOut ? 1 : 0;
    return !bLeftOut;
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
    } else if (!m_input->next(unit, patience) || !renumber(unit)) {
        return {};
    }
    return isWanted(unit) ? m_muxer->write(unit) : Bytes();
}

void LiveStream::close(const Patience &patience) noexcept
{
    m_input->close(patience);
}

} // namespace selvik
