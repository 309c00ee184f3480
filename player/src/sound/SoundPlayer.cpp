#include "player/src/sound/SoundPlayer.h"

#include "player/src/core/Platform.h"
#include "player/src/sound/SoundOutput.h"
#include "player/src/sound/SoundRenderer.h"

#include <utility>

namespace player
{

namespace
{

/** How often the device is looked after. It holds several times as much. */
constexpr std::chrono::milliseconds kInterval{10};
constexpr std::chrono::seconds kRetryInterval{1};

using Presence = SoundTrack::Presence;

} // namespace

SoundPlayer::SoundPlayer(Platform &platform)
    : m_platform(platform), m_clock(platform.clock()), m_changed(platform.clock())
{
}

SoundPlayer::~SoundPlayer()
{
    std::thread thread;
    {
        const std::lock_guard lock(m_mutex);
        m_bQuit = true;
        thread.swap(m_thread);
    }
    m_changed.notifyAll();
    if (thread.joinable()) {
        m_clock.join(thread);
    }
    if (m_pTrack) {
        m_pTrack->setWanted(false);
    }
}

Error SoundPlayer::play(const std::shared_ptr<SoundTrack> &pTrack)
{
    if (pTrack->presence() == Presence::None || !m_platform.hasSoundDevice()) {
        return Error::NoSound;
    }
    std::thread ended;
    {
        const std::lock_guard lock(m_mutex);
        if (!m_bRunning && !m_bQuit) {
            std::thread thread = m_clock.startThread([this] { run(); });
            ended = std::exchange(m_thread, std::move(thread));
            m_bRunning = true;
        }
        // Of a file the container has told already.
        const bool bUnknown = pTrack->kind() == SoundTrack::Kind::Live && pTrack->presence() == Presence::Unknown;
        if (bUnknown && m_pTrack && m_pTrack != pTrack && m_pTrack->presence() == Presence::There) {
            m_pAwaited = pTrack;
            // It may have become known just now.
            settle();
        } else {
            exchange(pTrack);
        }
    }
    m_changed.notifyAll();
    if (ended.joinable()) {
        // It has nothing left to do.
        m_clock.join(ended);
    }
    return Error::None;
}

void SoundPlayer::exchange(std::shared_ptr<SoundTrack> pTrack)
{
    m_pAwaited.reset();
    if (pTrack != m_pTrack) {
        m_pTrack.swap(pTrack);
        if (pTrack) {
            pTrack->setWanted(false);
        }
        if (m_pTrack) {
            m_pTrack->setWanted(true);
        }
    }
    m_bWake = true;
}

void SoundPlayer::settle()
{
    if (m_pAwaited && m_pAwaited->presence() == Presence::None) {
        m_pAwaited.reset();
    }
    const bool bCome = m_pAwaited && m_pAwaited->presence() == Presence::There;
    const bool bSilent = m_pTrack && m_pTrack->presence() == Presence::None;
    if (bCome || bSilent) {
        exchange(m_pAwaited);
    }
}

void SoundPlayer::stop()
{
    {
        const std::lock_guard lock(m_mutex);
        exchange(nullptr);
    }
    m_changed.notifyAll();
}

void SoundPlayer::stop(const SoundTrack &track)
{
    {
        const std::lock_guard lock(m_mutex);
        if (m_pAwaited.get() == &track) {
            m_pAwaited.reset();
        }
        if (m_pTrack.get() != &track) {
            return;
        }
        exchange(m_pAwaited);
    }
    m_changed.notifyAll();
}

void SoundPlayer::wake()
{
    {
        const std::lock_guard lock(m_mutex);
        settle();
        m_bWake = true;
    }
    m_changed.notifyAll();
}

void SoundPlayer::run()
{
    std::unique_lock lock(m_mutex);
    while (m_bRunning) {
        try {
            playUntilStopped(lock);
        } catch (...) {
            // Thread entry: memory is short. What was being played is lost, and the next port has to ask again.
            if (!lock.owns_lock()) {
                lock.lock();
            }
            exchange(nullptr);
        }
        lock.unlock();
        m_pRenderer.reset();
        m_pOutput.reset();
        lock.lock();
        // Whoever came meanwhile is played.
        m_bRunning = m_pTrack && !m_bQuit;
    }
}

void SoundPlayer::playUntilStopped(std::unique_lock<std::mutex> &lock)
{
    while (m_pTrack && !m_bQuit) {
        const auto pTrack = m_pTrack;
        m_bWake = false;
        lock.unlock();
        supply(pTrack);
        const Moment next = nextLook();
        lock.lock();
        while (!m_bWake && !m_bQuit) {
            if (next == Moment::max()) {
                m_changed.wait(lock, [this] { return m_bWake || m_bQuit; });
            } else if (!m_changed.waitUntil(lock, next)) {
                break;
            }
        }
    }
}

void SoundPlayer::supply(const std::shared_ptr<SoundTrack> &pTrack)
{
    if (m_pRenderer && m_pRenderer->track() != pTrack) {
        m_pRenderer.reset();
    }
    const Moment now = m_clock.now();
    if (!m_pOutput && now >= m_retry) {
        m_pOutput = m_platform.makeSoundOutput();
        m_retry = now + kRetryInterval;
    }
    if (!m_pOutput) {
        return;
    }
    if (!m_pRenderer) {
        m_pRenderer = std::make_unique<SoundRenderer>(m_clock, pTrack, *m_pOutput);
    }
    if (!m_pRenderer->supply()) {
        m_pRenderer.reset();
        m_pOutput.reset();
    }
}

Moment SoundPlayer::nextLook() const
{
    if (!m_pOutput) {
        return m_retry;
    }
    return m_pRenderer && m_pRenderer->isSilent() ? Moment::max() : m_clock.now() + kInterval;
}

} // namespace player
