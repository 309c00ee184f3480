#include "player/src/live/LivePlayback.h"

#include "player/src/core/Notice.h"
#include "player/src/sound/SoundPlayer.h"

#include <algorithm>
#include <utility>

namespace player
{

namespace
{

using std::chrono::microseconds;
using std::chrono::milliseconds;

constexpr std::chrono::seconds kIdle{5};
/** A picture that is late by less is expected any moment. */
constexpr milliseconds kJitter{10};
/** Pictures that come so soon after each other are not drawn anew in between … */
constexpr milliseconds kFlowing{60};
/** … unless so many of them in a row do not come. */
constexpr int kMostMissing = 3;
/** Times that jump by more start a new count; pictures that are late by more than the second do so too. */
constexpr std::int64_t kMostStep = 5000000;
constexpr std::chrono::seconds kMostLate{1};

} // namespace

LivePlayback::LivePlayback(Platform &platform, std::vector<std::uint8_t> header, std::size_t bufferSize,
                           StreamMode mode, std::shared_ptr<PortCallbacks> pCallbacks)
    : Playback(platform, std::move(pCallbacks)),
      m_mode(mode),
      m_pSound(std::make_shared<SoundTrack>(platform.clock(), SoundTrack::Kind::Live,
                                            [&platform] { platform.sound().wake(); })),
      m_pTrack(std::make_shared<AnalysisTrack>(notice)),
      m_feed(
          platform.clock(), std::move(header), bufferSize, mode, [this] { feedChanged(); }, m_pSound,
          [this](std::int64_t time, std::string_view document) { documentCame(time, document); })
{
    setAnalysis(m_pTrack);
}

LivePlayback::~LivePlayback()
{
    joinLeft();
    m_feed.stop();
}

void LivePlayback::start()
{
    m_feed.start(shared_from_this());
}

void LivePlayback::feedChanged()
{
    if (m_mode == StreamMode::File) {
        // By the stream's times a picture is shown later than it is decoded.
        tellChanged();
        return;
    }
    const bool bBehind = !m_feed.isIdle();
    {
        const std::lock_guard lock(m_mutex);
        m_bBehind = bBehind;
    }
    presentHere(bBehind ? kVeryQuick : kQuick);
}

void LivePlayback::documentCame(std::int64_t time, std::string_view document)
{
    m_pTrack->add(time, document);
    {
        const std::lock_guard lock(m_mutex);
        const bool bOfCurrent = m_current && time >= m_current.time - AnalysisTrack::kTolerance &&
                                time <= m_current.time + AnalysisTrack::kTolerance;
        if (!bOfCurrent || !m_pCallbacks->analysisShown) {
            return;
        }
        // Pictures do not wait for what is said about them: what was shown without it is shown again.
        m_bFresh = true;
    }
    m_changed.notifyAll();
}

Error LivePlayback::push(const std::uint8_t *pData, std::size_t size)
{
    return m_feed.push(pData, size);
}

void LivePlayback::setCapacity(std::size_t pictures)
{
    m_feed.setCapacity(pictures);
}

void LivePlayback::endFeed()
{
    m_feed.stop();
}

void LivePlayback::begin(Moment)
{
    m_state = State::Playing;
    m_feed.setOpen(true);
    m_feed.hold(false);
    m_pSound->run();
}

void LivePlayback::end(Moment)
{
    m_feed.setOpen(false);
    m_feed.hold(false);
    m_zero.reset();
    m_nextDue.reset();
    m_pSound->silence();
}

void LivePlayback::hold(Moment)
{
    m_feed.hold(m_state == State::Paused);
    if (m_state == State::Paused) {
        m_pSound->silence();
    } else {
        m_pSound->run();
    }
    // The stream's clock stood still meanwhile.
    m_zero.reset();
    m_nextDue.reset();
}

void LivePlayback::adoptPictures(Moment now)
{
    if (m_state != State::Playing) {
        return;
    }
    if (m_mode == StreamMode::RealTime) {
        Picture picture = m_feed.take();
        if (picture) {
            adopt(std::move(picture), now);
        }
        return;
    }
    for (auto next = m_feed.nextTime(); next; next = m_feed.nextTime()) {
        if (!m_nextDue) {
            m_nextDue = dueTime(*next, now);
        }
        if (*m_nextDue > now) {
            return;
        }
        m_nextDue.reset();
        adopt(m_feed.take(), now);
    }
}

void LivePlayback::adopt(Picture picture, Moment now)
{
    m_interval = m_current ? now - m_adopted : Moment::duration{};
    m_adopted = now;
    m_current = std::move(picture);
    m_bFresh = true;
    if (m_current.streamTime) {
        m_pSound->pictureShown(*m_current.streamTime, now);
    }
}

Moment LivePlayback::dueTime(std::int64_t time, Moment now)
{
    const bool bJump = time < m_nLatestTime || time > m_nLatestTime + kMostStep;
    m_nLatestTime = time;
    if (!m_zero || bJump || now - (*m_zero + microseconds(time)) > kMostLate) {
        m_zero = now - microseconds(time);
    }
    return *m_zero + microseconds(time);
}

bool LivePlayback::reachedEnd(Moment)
{
    // What is pushed has no end.
    return false;
}

Moment LivePlayback::redrawAt() const
{
    const Moment redraw = m_presented + kRedrawInterval;
    const Moment expected = m_adopted + m_interval;
    const bool bSoon = m_state == State::Playing && expected > redraw - kJitter && expected < redraw + kSoon;
    return bSoon ? expected + kJitter : redraw;
}

Moment LivePlayback::showAt() const
{
    if (!m_bFresh) {
        return redrawAt();
    }
    // A picture behind which nothing waits is shown however soon it comes after another one: two that the network has
    // pushed together are both to be seen. Left out is only what would hold up the pictures behind it.
    const bool bNew = m_adopted >= m_presented;
    const bool bAtOnce = bNew && m_mode == StreamMode::RealTime && !m_bBehind && m_took <= kQuick;
    return bAtOnce ? m_adopted : m_presented + kLeastInterval;
}

bool LivePlayback::isPresentationDue(Moment now) const
{
    return m_current && now >= showAt();
}

bool LivePlayback::areComing(Moment now) const
{
    return m_state == State::Playing && m_mode == StreamMode::RealTime && m_interval <= kFlowing &&
           now < m_adopted + m_interval + kJitter;
}

Moment LivePlayback::nextWake(Moment now) const
{
    Moment wake = now + kIdle;
    if (m_current) {
        wake = showAt();
        if (!m_bFresh && areComing(now)) {
            // The decoding thread shows them. This one only looks now and then whether it still does.
            wake = std::max(wake, m_adopted + kMostMissing * m_interval);
        }
    }
    if (m_nextDue && m_state == State::Playing) {
        wake = std::min(wake, *m_nextDue);
    }
    return std::max(wake, now + milliseconds(1));
}

std::optional<PictureShape> LivePlayback::shapeLocked() const
{
    return m_current ? m_current.shape : m_feed.shape();
}

std::int64_t LivePlayback::position() const
{
    const std::lock_guard lock(m_mutex);
    return m_current.time;
}

Error LivePlayback::onDisplay(Picture &picture)
{
    const std::lock_guard lock(m_mutex);
    if (m_current) {
        picture = m_current;
        return Error::None;
    }
    const Error failure = m_feed.failure();
    return failure == Error::None ? Error::NoPicture : failure;
}

Error LivePlayback::shape(PictureShape &shape) const
{
    const std::lock_guard lock(m_mutex);
    if (const auto known = shapeLocked()) {
        shape = *known;
        return Error::None;
    }
    const Error failure = m_feed.failure();
    return failure == Error::None ? Error::NoPicture : failure;
}

Error LivePlayback::timeOnDisplay(std::int64_t &time)
{
    Picture picture;
    const Error error = onDisplay(picture);
    if (error == Error::None) {
        time = picture.utc;
    }
    return error;
}

} // namespace player
