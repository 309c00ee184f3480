#include "player/src/metadata/FileAnalysis.h"

#include "player/src/core/Codec.h"
#include "player/src/core/Notice.h"
#include "player/src/file/PictureTimes.h"

#include <algorithm>
#include <new>
#include <system_error>
#include <utility>

extern "C" {
#include <libavutil/common.h>
}

namespace player
{

namespace
{

constexpr std::int64_t kSecond = 1000000;
/** A document may stand so far from the picture of its time, either way, in the order of the file. */
constexpr std::int64_t kDisorder = kSecond;
// Beyond what the picture on display needs: behind it for steps back, ahead of it for what is shown next. What is read
// on is read in bursts, from the lower mark to the upper one.
constexpr std::int64_t kLeastBehind = kSecond / 2;
constexpr std::int64_t kBehind = 2 * kSecond;
constexpr std::int64_t kLeastAhead = kSecond;
constexpr std::int64_t kAhead = 3 * kSecond;
/** A place so far ahead is not reached by reading on. */
constexpr std::int64_t kFarAhead = 20 * kSecond;
/** What a picture may need are four seconds: a hundred objects in each of 60 pictures a second fit in ten times. */
constexpr AnalysisTrack::Room kRoom{8192, std::size_t{32} * 1024 * 1024};

} // namespace

FileAnalysis::Part::Part(const std::function<void(const char *)> &tell) : track(tell, kRoom) {}

FileAnalysis::FileAnalysis(Clock &clock, Opening opening, std::int64_t firstTick,
                           std::shared_ptr<const FileIndex> pIndex)
    : m_clock(clock), m_opening(std::move(opening)), m_nFirstTick(firstTick), m_pIndex(std::move(pIndex)), m_wake(clock)
{
}

FileAnalysis::~FileAnalysis()
{
    FileAnalysis::stop();
}

void FileAnalysis::stop()
{
    std::thread thread;
    {
        const std::lock_guard lock(m_mutex);
        m_bStop = true;
        thread.swap(m_thread);
        if (m_pDemuxer) {
            m_pDemuxer->interrupt();
        }
    }
    if (!thread.joinable()) {
        return;
    }
    m_opening.cancel();
    m_wake.notifyAll();
    m_clock.join(thread);
    // The file is closed when the port's is.
    m_pDemuxer.reset();
}

AnalysisFrames FileAnalysis::at(std::int64_t time)
{
    time = AnalysisTrack::sane(time);
    std::shared_ptr<Part> pPart;
    {
        const std::lock_guard lock(m_mutex);
        if (!m_bExpecting || m_shown != time) {
            m_bExpecting = false;
            want(time);
        }
        m_shown = time;
        pPart = partFor(time);
    }
    return pPart ? pPart->track.at(time) : AnalysisFrames();
}

void FileAnalysis::expect(std::int64_t time)
{
    const std::lock_guard lock(m_mutex);
    m_bExpecting = true;
    want(AnalysisTrack::sane(time));
}

std::shared_ptr<FileAnalysis::Part> FileAnalysis::partFor(std::int64_t time)
{
    if (m_pPart && m_pPart->covers(time)) {
        m_pFormer.reset();
        return m_pPart;
    }
    return m_pFormer && m_pFormer->covers(time) ? m_pFormer : nullptr;
}

void FileAnalysis::want(std::int64_t time)
{
    m_wanted = time;
    if (m_bStop || m_bOver) {
        return;
    }
    if (m_thread.joinable()) {
        if (isToLoad() || isToExtend()) {
            m_wake.notifyAll();
        }
        return;
    }
    try {
        m_thread = m_clock.startThread([this] { run(); });
    } catch (const std::system_error &) {
        m_bOver = true;
    }
}

bool FileAnalysis::isToLoad() const
{
    const std::int64_t from = *m_wanted - AnalysisTrack::kHold;
    return !m_pPart || from - (m_pPart->track.isCrowded() ? 0 : kLeastBehind) < m_pPart->from ||
           *m_wanted > std::min(m_pPart->upTo, INT64_MAX - kFarAhead) + kFarAhead;
}

bool FileAnalysis::isToExtend() const
{
    return m_pPart->upTo < Part::lastFor(*m_wanted) + (m_pPart->track.isCrowded() ? 0 : kLeastAhead);
}

void FileAnalysis::run()
{
    try {
        read();
    } catch (const OpenFailure &) {
        // The file has gone, or is another one by now.
    } catch (...) {
        // Thread entry: whatever else can be thrown means that memory is short.
    }
    const std::lock_guard lock(m_mutex);
    m_bOver = true;
    m_pPart.reset();
}

void FileAnalysis::read()
{
    auto pBytes = m_opening.open();
    if (!pBytes) {
        return;
    }
    {
        const std::lock_guard lock(m_mutex);
        m_pDemuxer = std::make_unique<FileDemuxer>(std::move(pBytes));
    }
    m_pDemuxer->open();
    if (m_pDemuxer->sideStream(SideStream::Metadata) == nullptr) {
        return;
    }
    m_pDemuxer->use(SideStream::Metadata, true);
    std::unique_lock lock(m_mutex);
    while (!m_bStop) {
        const std::int64_t wanted = *m_wanted;
        const auto pPart = m_pPart;
        if (isToLoad()) {
            lock.unlock();
            load(wanted);
            lock.lock();
        } else if (isToExtend()) {
            // What lies behind makes room for what lies ahead.
            pPart->from = std::max(pPart->from, wanted - AnalysisTrack::kHold - kBehind);
            pPart->track.forgetBefore(pPart->from);
            lock.unlock();
            extend(*pPart, Part::lastFor(wanted) + kAhead);
            lock.lock();
        } else {
            m_wake.wait(lock, [this] { return m_bStop || isToLoad() || isToExtend(); });
        }
    }
}

void FileAnalysis::load(std::int64_t time)
{
    {
        const std::lock_guard lock(m_mutex);
        m_pFormer = std::exchange(m_pPart, nullptr);
    }
    const std::int64_t from = time - AnalysisTrack::kHold - kBehind;
    auto pPart = from - kDisorder > 0 ? beginAt(from) : nullptr;
    if (!pPart) {
        pPart = beginAtStart();
    }
    extend(*pPart, Part::lastFor(time));
    if (pPart->from > time - AnalysisTrack::kHold) {
        tell("there is more analysis metadata than can be kept; the file's is left out.");
        throw std::bad_alloc();
    }
    if (!pPart->covers(time)) {
        return;
    }
    // Documents are read here rather than where pictures are shown.
    static_cast<void>(pPart->track.at(time));
    const std::lock_guard lock(m_mutex);
    m_pPart = std::move(pPart);
}

std::shared_ptr<FileAnalysis::Part> FileAnalysis::makePart()
{
    return std::make_shared<Part>([this](const char *pText) { tell(pText); });
}

void FileAnalysis::tell(const char *pText)
{
    if (!m_bTold.exchange(true)) {
        notice(pText);
    }
}

std::shared_ptr<FileAnalysis::Part> FileAnalysis::beginAt(std::int64_t time)
{
    if (!goTo(time - kDisorder)) {
        return nullptr;
    }
    auto pPart = makePart();
    pPart->from = time;
    while (pPart->upTo == INT64_MIN && readOne(*pPart)) {
    }
    // Containers without an index land as they can.
    const bool bLate = pPart->upTo > time - 2 * kDisorder;
    return bLate ? nullptr : pPart;
}

std::shared_ptr<FileAnalysis::Part> FileAnalysis::beginAtStart()
{
    if (!m_bAtStart && !m_pDemuxer->reopen()) {
        throw OpenFailure{Error::Corrupt};
    }
    m_bAtStart = false;
    auto pPart = makePart();
    pPart->from = INT64_MIN;
    return pPart;
}

bool FileAnalysis::goTo(std::int64_t time)
{
    m_bAtStart = false;
    const auto ordinal = m_pIndex ? m_pIndex->ordinalAt(time) : std::nullopt;
    const auto key = ordinal ? m_pIndex->keyFor(*ordinal) : std::nullopt;
    if (key) {
        return m_pDemuxer->seek(*key);
    }
    const AVRational tick = m_pDemuxer->pictureStream().time_base;
    return m_pDemuxer->seek(av_sat_add64(m_nFirstTick, av_rescale_q(time, {1, kSecond}, tick)));
}

void FileAnalysis::extend(Part &part, std::int64_t upTo)
{
    bool bMore = true;
    while (bMore && part.upTo < upTo) {
        bMore = readOne(part);
        const std::lock_guard lock(m_mutex);
        // Elsewhere is something more urgent to be read.
        const bool bElsewhere = *m_wanted - AnalysisTrack::kHold < part.from || *m_wanted > upTo + kFarAhead;
        if (m_bStop || bElsewhere || (part.upTo >= Part::lastFor(*m_wanted) && part.track.isCrowded())) {
            return;
        }
    }
}

bool FileAnalysis::readOne(Part &part)
{
    const PacketPtr pPacket = makePacket();
    const FileDemuxer::Found found = m_pDemuxer->read(*pPacket);
    if (found == FileDemuxer::Found::Metadata) {
        if (pPacket->size > 0) {
            const auto *pText = reinterpret_cast<const char *>(pPacket->data);
            const auto gone = part.track.add(timeOf(*pPacket, *m_pDemuxer->sideStream(SideStream::Metadata)),
                                             {pText, static_cast<std::size_t>(pPacket->size)});
            const std::lock_guard lock(m_mutex);
            part.from = gone ? std::max(part.from, *gone + 1) : part.from;
        }
        return true;
    }
    const bool bPicture = found == FileDemuxer::Found::Picture;
    const std::lock_guard lock(m_mutex);
    part.upTo = bPicture ? std::max(part.upTo, timeOf(*pPacket, m_pDemuxer->pictureStream()) - kDisorder) : INT64_MAX;
    return bPicture;
}

std::int64_t FileAnalysis::timeOf(const AVPacket &packet, const AVStream &stream) const
{
    const std::int64_t stamp = stampOfPacket(packet);
    if (stamp == AV_NOPTS_VALUE) {
        // As if it were not there.
        return AnalysisTrack::sane(INT64_MIN);
    }
    const AVRational pictureTick = m_pDemuxer->pictureStream().time_base;
    return AnalysisTrack::sane(microsecondsBetween(0, stamp, stream.time_base)) -
           AnalysisTrack::sane(microsecondsBetween(0, m_nFirstTick, pictureTick));
}

} // namespace player
