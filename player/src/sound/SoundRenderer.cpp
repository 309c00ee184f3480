#include "player/src/sound/SoundRenderer.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace player
{

namespace
{

constexpr std::int64_t kSecond = 1000000;
/** Kept waiting in the device: for live sound as little as the wake-ups of a thread allow. */
constexpr std::int64_t kLiveWaiting = 30000;
constexpr std::int64_t kFileWaiting = 120000;
/** Kept decoded before it is written. */
constexpr std::int64_t kReady = 40000;
/** Farther out of step than this, sound is put in step at once. */
constexpr double kMostLiveError = 30000;
/** A file's clock comes to meet its sound within this, which is more than any device's delay. */
constexpr double kMostFileError = 400000;
/** Chunks this close to each other go on without a seam. */
constexpr std::int64_t kSeam = 30000;
/** Packets that are late by more are not worth decoding. */
constexpr std::int64_t kLongPast = 2000000;
/** Weight of a new measurement among some hundred a second: devices tell their position in steps. */
constexpr double kWeight = 0.05;
/** An error is made good in so long, by stretching. */
constexpr double kMakeGoodSeconds = 1;
/** From silence to full, so that nothing cracks. */
constexpr float kFadeSeconds = 0.005F;

} // namespace

SoundRenderer::SoundRenderer(Clock &clock, std::shared_ptr<SoundTrack> pTrack, SoundOutput &output)
    : m_clock(clock), m_pTrack(std::move(pTrack)), m_output(output), m_format(output.format()), m_converter(m_format)
{
}

SoundRenderer::~SoundRenderer()
{
    m_output.clear();
    m_pTrack->setHeard(std::nullopt);
}

bool SoundRenderer::isLive() const
{
    return m_pTrack->kind() == SoundTrack::Kind::Live;
}

std::int64_t SoundRenderer::durationOf(std::size_t frames) const
{
    return static_cast<std::int64_t>(frames) * kSecond / m_format.rate;
}

std::size_t SoundRenderer::framesIn(std::int64_t microseconds) const
{
    // No wait is so long, and no product may overflow.
    constexpr std::int64_t kHour = 3600 * kSecond;
    return static_cast<std::size_t>(std::clamp<std::int64_t>(microseconds, 0, kHour) * m_format.rate / kSecond);
}

std::size_t SoundRenderer::framesLeft() const
{
    return m_chunks.front().samples.size() / static_cast<std::size_t>(m_format.channels) - m_nTaken;
}

std::int64_t SoundRenderer::frontTime() const
{
    return m_chunks.front().time + durationOf(m_nTaken);
}

void SoundRenderer::dropFront(std::size_t frames)
{
    m_nTaken += frames;
    m_nReady -= frames;
    if (framesLeft() == 0) {
        m_chunks.pop_front();
        m_nTaken = 0;
    }
}

bool SoundRenderer::supply()
{
    auto state = m_output.state();
    if (!state) {
        return false;
    }
    measure(*state);
    const std::int64_t waiting = isLive() ? kLiveWaiting : kFileWaiting;
    const auto margin = std::chrono::microseconds(waiting + static_cast<std::int64_t>(*m_latency));
    const SoundTrack::Orders orders = m_pTrack->orders(margin);
    if (orders.generation != m_nGeneration) {
        m_nGeneration = orders.generation;
        m_chunks.clear();
        m_nTaken = m_nReady = 0;
        m_decoder.flush();
        m_converter.flush();
        beSilent();
    }
    if (orders.silent) {
        beSilent();
        m_bSilent = true;
        return true;
    }
    m_bSilent = false;
    // What waited may have been forgotten just now.
    state = m_output.state();
    if (state) {
        fill(orders, *state);
    }
    return state.has_value();
}

void SoundRenderer::measure(const SoundOutput::State &state)
{
    const double latency = static_cast<double>(state.delay.count() - durationOf(state.waiting));
    m_latency = m_latency ? *m_latency + kWeight * (latency - *m_latency) : latency;
}

void SoundRenderer::beSilent()
{
    if (!m_bSilent) {
        m_output.clear();
    }
    m_bInStep = false;
    m_bEntering = true;
    m_fGain = 0;
    m_pTrack->setHeard(std::nullopt);
}

std::int64_t SoundRenderer::errorOfFront(std::int64_t zero, std::int64_t heardAt) const
{
    // Where a file begins to sound, its clock waits for the device, and nothing is left out.
    const bool bWaits = m_bEntering && !isLive();
    const std::int64_t due = zero + frontTime();
    const std::int64_t now = microsecondsOf(m_clock.now());
    return bWaits && due < heardAt ? std::min<std::int64_t>(due - now, 0) : due - heardAt;
}

void SoundRenderer::fill(const SoundTrack::Orders &orders, const SoundOutput::State &state)
{
    const std::size_t wanted = framesIn(isLive() ? kLiveWaiting : kFileWaiting);
    std::size_t room = wanted > state.waiting ? wanted - state.waiting : 0;
    // Where it has run dry, what comes next has its place by its time.
    m_bInStep = m_bInStep && state.waiting > 0;
    // When a frame that is written now is heard.
    std::int64_t heardAt = microsecondsOf(m_clock.now()) + state.delay.count();
    bool bMeasured = false;
    while (orders.zero && decodeAhead(heardAt - *orders.zero)) {
        const std::int64_t error = errorOfFront(*orders.zero, heardAt);
        m_bInStep = m_bInStep && std::abs(frontTime() - m_nWrittenUpTo) <= kSeam;
        if (m_bInStep && !std::exchange(bMeasured, true)) {
            keepInStep(error);
        }
        const std::size_t late = m_bInStep ? 0 : framesIn(-error);
        if (late > 0) {
            m_fGain = 0;
            dropFront(std::min(late, framesLeft()));
            continue;
        }
        const std::size_t written = writeOne(error, room, orders.volume);
        if (written == 0) {
            break;
        }
        room -= written;
        heardAt += durationOf(written);
    }
    tellHeard(heardAt);
}

std::size_t SoundRenderer::writeOne(std::int64_t error, std::size_t room, float volume)
{
    if (room == 0) {
        return 0;
    }
    const std::size_t early = m_bInStep ? 0 : framesIn(error);
    if (early > 0) {
        return writeSilence(std::min(early, room));
    }
    m_dError = m_bInStep ? m_dError : 0;
    m_bInStep = true;
    m_bEntering = false;
    return writeFront(room, volume);
}

void SoundRenderer::tellHeard(std::int64_t heardAt)
{
    if (m_bInStep && !isLive()) {
        const Moment now = m_clock.now();
        m_pTrack->setHeard(HeardSound{m_nWrittenUpTo - (heardAt - microsecondsOf(now)), now});
    }
}

void SoundRenderer::keepInStep(std::int64_t error)
{
    m_dError += kWeight * (static_cast<double>(error) - m_dError);
    const bool bLive = isLive();
    if (std::fabs(m_dError) > (bLive ? kMostLiveError : kMostFileError)) {
        m_bInStep = false;
        m_dError = 0;
    }
    // An error of a microsecond in a second is one part in a million.
    m_converter.stretch(bLive ? static_cast<int>(m_dError / kMakeGoodSeconds) : 0);
}

bool SoundRenderer::decodeAhead(std::int64_t now)
{
    const std::int64_t earliest = now - kLongPast;
    while (m_nReady < framesIn(kReady)) {
        auto packet = m_pTrack->take();
        if (!packet) {
            break;
        }
        if (packet->time == AV_NOPTS_VALUE || packet->time >= earliest) {
            decodeOne(*packet);
        }
    }
    return !m_chunks.empty();
}

void SoundRenderer::decodeOne(const SoundPacket &packet)
{
    m_decoder.feed(packet);
    while (const FramePtr pFrame = m_decoder.take()) {
        SoundChunk chunk = m_converter.convert(*pFrame);
        if (!chunk.samples.empty()) {
            m_nReady += chunk.samples.size() / static_cast<std::size_t>(m_format.channels);
            m_chunks.push_back(std::move(chunk));
        }
    }
}

std::size_t SoundRenderer::writeSilence(std::size_t frames)
{
    m_scratch.assign(frames * static_cast<std::size_t>(m_format.channels), 0.0F);
    m_fGain = 0;
    return m_output.write(m_scratch.data(), frames);
}

std::size_t SoundRenderer::writeFront(std::size_t frames, float volume)
{
    frames = std::min(frames, framesLeft());
    const auto channels = static_cast<std::size_t>(m_format.channels);
    const float step = 1 / (kFadeSeconds * static_cast<float>(m_format.rate));
    m_scratch.resize(frames * channels);
    const float *pIn = m_chunks.front().samples.data() + m_nTaken * channels;
    float *pOut = m_scratch.data();
    for (std::size_t i = 0; i < frames; ++i) {
        m_fGain += std::clamp(volume - m_fGain, -step, step);
        for (std::size_t channel = 0; channel < channels; ++channel) {
            *pOut++ = *pIn++ * m_fGain;
        }
    }
    const std::size_t written = m_output.write(m_scratch.data(), frames);
    m_nWrittenUpTo = frontTime() + durationOf(written);
    dropFront(written);
    return written;
}

} // namespace player
