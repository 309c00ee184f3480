#include "player/src/metadata/AnalysisTrack.h"

#include "player/src/core/Ffmpeg.h"
#include "player/src/metadata/AnalysisDocument.h"

#include <algorithm>
#include <cstring>

namespace player
{

namespace
{

constexpr std::size_t kMostSources = 8;

} // namespace

bool isAnalysisStream(const AVStream &stream)
{
    const AVCodecParameters &parameters = *stream.codecpar;
    if (parameters.codec_type == AVMEDIA_TYPE_SUBTITLE) {
        const AVDictionaryEntry *pTitle = av_dict_get(stream.metadata, "title", nullptr, 0);
        return pTitle && std::strcmp(pTitle->value, "application/vnd.onvif.metadata") == 0;
    }
    // ISO 14496-12: metadata as XML, or as text of a kind that it names. That it is ONVIF's shows in the documents.
    return parameters.codec_type == AVMEDIA_TYPE_DATA &&
           (parameters.codec_tag == MKTAG('m', 'e', 't', 'x') || parameters.codec_tag == MKTAG('m', 'e', 't', 't'));
}

struct AnalysisTrack::TimedFrame {
    std::int64_t time = 0;
    std::shared_ptr<const AnalysisFrame> pFrame;
};

struct AnalysisTrack::Document {
    std::int64_t time = 0;
    std::size_t size = 0;

    // Asking thread only.
    /** Until it has been read. */
    std::string text;
    bool bRead = false;
    std::vector<TimedFrame> frames;
};

AnalysisTrack::AnalysisTrack(std::function<void(const char *)> tell, const Room &room)
    : m_room(room), m_tell(std::move(tell))
{
}

AnalysisTrack::~AnalysisTrack() = default;

std::optional<std::int64_t> AnalysisTrack::add(std::int64_t time, std::string_view document)
{
    auto pDocument = std::make_shared<Document>();
    pDocument->time = sane(time);
    pDocument->size = document.size();
    // Of one that is too long nothing will be made but the complaint.
    pDocument->text = document.substr(0, AnalysisBounds::kDocumentBytes + 1);
    const std::lock_guard lock(m_mutex);
    m_nBytes += pDocument->size;
    m_documents.push_back(std::move(pDocument));
    std::optional<std::int64_t> gone;
    while (m_documents.size() > m_room.documents || (m_nBytes > m_room.bytes && m_documents.size() > 1)) {
        gone = std::max(gone.value_or(INT64_MIN), m_documents.front()->time);
        forgetFirst();
    }
    return gone;
}

bool AnalysisTrack::isCrowded() const
{
    const std::lock_guard lock(m_mutex);
    return m_documents.size() > m_room.documents / 2 || m_nBytes > m_room.bytes / 2;
}

void AnalysisTrack::forgetBefore(std::int64_t time)
{
    const std::lock_guard lock(m_mutex);
    while (!m_documents.empty() && m_documents.front()->time < time) {
        forgetFirst();
    }
}

void AnalysisTrack::forgetFirst()
{
    m_nBytes -= m_documents.front()->size;
    m_documents.pop_front();
}

AnalysisFrames AnalysisTrack::at(std::int64_t time)
{
    time = sane(time);
    std::vector<std::shared_ptr<Document>> documents;
    {
        const std::lock_guard lock(m_mutex);
        for (const auto &pDocument : m_documents) {
            // The frames of a later document may be of earlier pictures.
            if (pDocument->time >= time - kHold && pDocument->time <= time + kTolerance + kLongestDocument) {
                documents.push_back(pDocument);
            }
        }
    }
    std::vector<TimedFrame> found;
    for (const auto &pDocument : documents) {
        read(*pDocument);
        for (const TimedFrame &frame : pDocument->frames) {
            if (frame.time > time + kTolerance || frame.time < time - kHold) {
                continue;
            }
            const auto known = std::find_if(found.begin(), found.end(), [&frame](const TimedFrame &other) {
                return other.pFrame->source == frame.pFrame->source;
            });
            if (known == found.end() && found.size() < kMostSources) {
                found.push_back(frame);
            } else if (known != found.end() && frame.time >= known->time) {
                *known = frame;
            }
        }
    }
    AnalysisFrames frames;
    for (TimedFrame &frame : found) {
        if (!frame.pFrame->objects.empty()) {
            frames.push_back(std::move(frame.pFrame));
        }
    }
    return frames;
}

void AnalysisTrack::read(Document &document)
{
    if (document.bRead) {
        return;
    }
    document.bRead = true;
    const std::string text = std::move(document.text);
    document.text = {};
    auto frames = readAnalysis(text);
    if (!frames) {
        if (!m_bTold) {
            m_bTold = true;
            m_tell("analysis metadata that is no document of ONVIF's, or beyond all bounds, is left out.");
        }
        return;
    }
    std::optional<std::int64_t> latest;
    for (const AnalysisFrame &frame : *frames) {
        latest = frame.utc ? std::max(latest.value_or(*frame.utc), *frame.utc) : latest;
    }
    for (AnalysisFrame &frame : *frames) {
        // Hostile times may lie further apart than fits; those of the calendar do not.
        const std::int64_t before = frame.utc ? *latest - *frame.utc : 0;
        const std::int64_t time = before <= kLongestDocument ? document.time - before : document.time;
        document.frames.push_back({time, std::make_shared<const AnalysisFrame>(std::move(frame))});
    }
}

} // namespace player
