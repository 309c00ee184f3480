#include "player/src/file/FileDecoder.h"

#include "player/src/core/Codec.h"

#include <algorithm>
#include <utility>

extern "C" {
#include <libavutil/common.h>
}

namespace player
{

namespace
{

constexpr AVRational kMicroseconds{1, 1000000};
constexpr std::int64_t kSecond = 1000000;
/** Pictures that are kept for steps back, at most, and how much further back decoding may begin for their sake. */
constexpr std::int64_t kMostCollected = 1000;
constexpr std::int64_t kWorthMore = 8;
/** How long a seek waits for the index where the container's own stamps may deceive. */
constexpr std::chrono::milliseconds kIndexPatience{300};
/** A target this near ahead is reached sooner by decoding on than by seeking. */
constexpr std::int64_t kNearAhead = kSecond / 2;
/** Each try goes back further before the target, for containers that land behind it; then the very start. */
constexpr std::int64_t kBacks[] = {0, kSecond, 3 * kSecond, 10 * kSecond, 30 * kSecond, 120 * kSecond};

} // namespace

FileDecoder::FileDecoder(Clock &clock, std::unique_ptr<ByteSource> pBytes,
                         const std::function<DecoderThreads(int, int)> &threads)
    : m_clock(clock), m_reader(clock, std::move(pBytes)), m_decoder(m_reader)
{
    m_reader.open();
    m_decoder.open(threads);
    m_pending = m_decoder.decodeFirst();
    if (!m_pending) {
        throw OpenFailure{Error::Corrupt};
    }
    learnFacts(m_reader.endTick());
    m_reader.setFirstTick(m_facts.firstTick);
}

FileDecoder::~FileDecoder() = default;

void FileDecoder::learnFacts(std::optional<std::int64_t> endTick)
{
    m_facts.shape = m_pending.shape;
    m_facts.pictureDuration = m_pending.duration;
    m_facts.firstTick = m_decoder.firstTick().value_or(0);
    m_facts.recordingTime = m_reader.recordingTime();
    if (m_pending.utc > 0) {
        m_facts.recordingTime = m_pending.utc;
    } else if (m_facts.recordingTime && m_reader.isRecordingTimeOfTickZero()) {
        *m_facts.recordingTime += microsecondsBetween(0, m_facts.firstTick, m_reader.pictureStream().time_base);
    }
    m_facts.nominalDuration = m_decoder.nominalDuration();
    m_facts.firstNumber = m_decoder.firstNumber();
    m_facts.pictureBytes = m_pending.bytes();
    m_facts.mayLeap = m_reader.mayLeap();
    if (endTick && m_decoder.firstTick() && *endTick > m_facts.firstTick) {
        m_facts.length = microsecondsBetween(m_facts.firstTick, *endTick, m_reader.pictureStream().time_base);
    }
}

Picture FileDecoder::next()
{
    Picture picture = m_pending ? std::exchange(m_pending, Picture()) : m_decoder.decode();
    if (picture) {
        m_latest = picture;
    }
    return picture;
}

std::int64_t FileDecoder::tickOf(std::int64_t time) const
{
    const AVRational tick = m_reader.pictureStream().time_base;
    return av_sat_add64(m_facts.firstTick, av_rescale_q(time, kMicroseconds, tick));
}

bool FileDecoder::canReachForward(std::int64_t time) const
{
    if (!m_latest || time < m_latest.time || m_decoder.isAfterGap() || m_pending.afterGap) {
        return false;
    }
    return m_reader.isWithoutTimes() || time - m_latest.time <= kNearAhead;
}

Picture FileDecoder::seek(std::int64_t time, const Superseded &superseded)
{
    time = std::max<std::int64_t>(time, 0);
    m_decoder.leaveOutUnneeded(false);
    awaitIndex(time, superseded);
    const auto ordinal = m_pIndex ? m_pIndex->ordinalAt(time) : std::nullopt;
    Picture found;
    if (ordinal && goToPicture(
                       *ordinal, *ordinal, [&](const Picture &picture) { found = picture; }, superseded)) {
        return found;
    }
    return superseded() ? Picture() : seekWithoutIndex(time, superseded);
}

std::deque<Picture> FileDecoder::collect(std::int64_t ordinal, std::int64_t bytes, const Superseded &superseded)
{
    m_decoder.leaveOutUnneeded(false);
    const std::int64_t fitting = std::max<std::int64_t>(bytes / std::max<std::int64_t>(m_facts.pictureBytes, 1), 1);
    const std::int64_t from = std::max<std::int64_t>(ordinal - std::min(fitting, kMostCollected) + 1, 0);
    std::deque<Picture> pictures;
    std::int64_t kept = 0;
    const auto keep = [&](const Picture &picture) {
        pictures.push_back(picture);
        kept += picture.bytes();
        while (pictures.size() > 1 && (kept > bytes || pictures.front().ordinal < from)) {
            kept -= pictures.front().bytes();
            pictures.pop_front();
        }
    };
    return goToPicture(ordinal, from, keep, superseded) ? std::move(pictures) : std::deque<Picture>();
}

void FileDecoder::awaitIndex(std::int64_t time, const Superseded &superseded) const
{
    if (!m_pIndex) {
        return;
    }
    if (m_reader.isWithoutTimes()) {
        m_pIndex->waitFor(time, superseded, std::nullopt);
    } else if (m_reader.mayLeap()) {
        m_pIndex->waitFor(time, superseded, m_clock.now() + kIndexPatience);
    }
}

bool FileDecoder::goToPicture(std::int64_t ordinal, std::int64_t from, const Visitor &visit,
                              const Superseded &superseded)
{
    // The group of the first picture wanted may be a little further back than that of the last one: so much is worth
    // it, since another seek costs more.
    auto key = m_pIndex->keyFor(std::max(from, ordinal - kWorthMore));
    if (!key) {
        return false;
    }
    m_decoder.setNeededFrom(from);
    bool bFound = false;
    if (from == ordinal && canReachForward(*key, ordinal)) {
        visit(m_latest);
        if (m_latest.ordinal != ordinal) {
            decodeUpToOrdinal(ordinal, visit, superseded);
        }
        m_decoder.setNeededFrom(0);
        return !superseded();
    }
    for (std::size_t back = 1; key && !superseded(); back *= 2) {
        const auto timeSought = m_pIndex->timeOf(ordinal).value_or(0);
        if (!m_reader.seek(*key, timeSought, superseded)) {
            break;
        }
        restart(true);
        if (decodeUpToOrdinal(ordinal, visit, superseded)) {
            bFound = true;
            break;
        }
        // Nothing came out in time, as where a wave renews the picture bit by bit: decoding has to begin earlier.
        key = m_pIndex->keyBefore(*key, back);
    }
    m_decoder.setNeededFrom(0);
    return bFound && !superseded();
}

bool FileDecoder::decodeUpToOrdinal(std::int64_t ordinal, const Visitor &visit, const Superseded &superseded)
{
    bool bAny = false;
    while (!superseded()) {
        Picture picture = m_pending ? std::exchange(m_pending, Picture()) : m_decoder.decode();
        if (!picture) {
            return bAny;
        }
        if (picture.ordinal > ordinal) {
            m_pending = std::move(picture);
            return bAny;
        }
        m_latest = picture;
        visit(picture);
        bAny = true;
        if (picture.ordinal == ordinal) {
            return true;
        }
    }
    return false;
}

bool FileDecoder::canReachForward(const FileIndex::Key &key, std::int64_t ordinal) const
{
    return m_latest && m_latest.ordinal >= 0 && m_latest.ordinal <= ordinal && m_latest.ordinal >= key.ordinal &&
           !m_decoder.isAfterGap() && !m_pending.afterGap;
}

Picture FileDecoder::seekWithoutIndex(std::int64_t time, const Superseded &superseded)
{
    if (canReachForward(time)) {
        return decodeUpTo(time, m_latest, superseded);
    }
    if (!m_reader.isWithoutTimes()) {
        for (const std::int64_t back : kBacks) {
            if (back > time || superseded()) {
                break;
            }
            if (goBefore(time, back)) {
                Picture found = decodeUpTo(time, {}, superseded);
                if (found) {
                    return found;
                }
            }
        }
    }
    if (superseded() || !goToStart(time)) {
        return {};
    }
    Picture found = decodeUpTo(time, {}, superseded);
    return found || !m_pending ? found : next();
}

bool FileDecoder::goBefore(std::int64_t time, std::int64_t back)
{
    if (!m_reader.seek(tickOf(time - back), time)) {
        return false;
    }
    restart(true);
    // Only the first key packet is fed here: one behind the target tells that the container landed too late.
    const std::int64_t key = m_decoder.feed() ? m_decoder.keyStamp() : INT64_MAX;
    return !m_decoder.isDrained() && (key == AV_NOPTS_VALUE || key <= tickOf(time));
}

bool FileDecoder::goToStart(std::int64_t time)
{
    if (!m_reader.rewind(time)) {
        return false;
    }
    restart(false);
    return true;
}

void FileDecoder::restart(bool atKey)
{
    // Somebody waits for what comes next; what plays on from there asks for less again.
    m_decoder.setHurried(true);
    m_decoder.restart(atKey);
    m_pending = {};
    m_latest = {};
}

Picture FileDecoder::decodeUpTo(std::int64_t time, Picture best, const Superseded &superseded)
{
    while (!superseded()) {
        Picture picture = m_pending ? std::exchange(m_pending, Picture()) : m_decoder.decode();
        if (!picture) {
            m_latest = best;
            return best;
        }
        if (picture.time > time) {
            // Nothing at or before the target: what was found lies behind it, and the next try begins further back.
            m_pending = picture;
            m_latest = best;
            return best;
        }
        best = std::move(picture);
        m_latest = best;
    }
    return {};
}

void FileDecoder::leaveOutUnneeded(bool leaveOut)
{
    m_decoder.leaveOutUnneeded(leaveOut);
}

void FileDecoder::hurryTo(std::int64_t time)
{
    if (m_decoder.hurryTo(time, tickOf(time))) {
        m_pending = {};
    }
}

} // namespace player
