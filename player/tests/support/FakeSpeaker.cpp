#include "player/tests/support/FakeSpeaker.h"

#include <algorithm>
#include <cmath>

namespace player::test
{

namespace
{

using Seconds = std::chrono::duration<double>;

constexpr std::size_t kBuffer = FakeSpeaker::kRate / 5;

Moment::duration ticks(double seconds)
{
    return std::chrono::duration_cast<Moment::duration>(Seconds(seconds));
}

} // namespace

class FakeSpeaker::Output : public SoundOutput
{
public:
    explicit Output(FakeSpeaker &speaker)
        : m_speaker(speaker), m_nEpoch(speaker.m_nEpoch), m_dSecondsEach(1 / (kRate * (1 + speaker.m_nDrift / 1e6)))
    {
        ++m_speaker.m_nOutputs;
        ++m_speaker.m_nOpened;
    }

    ~Output() override
    {
        silenceFrom(m_speaker.m_clock.now());
        --m_speaker.m_nOutputs;
    }

    SoundFormat format() const override
    {
        return {kRate, 2, 3};
    }

    std::optional<State> state() override
    {
        if (m_speaker.m_nEpoch != m_nEpoch) {
            return std::nullopt;
        }
        const Moment now = m_speaker.m_clock.now();
        State state;
        const auto ahead = std::chrono::duration_cast<Seconds>(next(now) - now - m_speaker.m_latency).count();
        state.waiting = static_cast<std::size_t>(std::lround(ahead / m_dSecondsEach));
        state.delay = std::chrono::duration_cast<std::chrono::microseconds>(next(now) - now);
        return state;
    }

    std::size_t write(const float *pFrames, std::size_t frames) override
    {
        const Moment now = m_speaker.m_clock.now();
        const auto fill = state();
        if (!fill || fill->waiting >= kBuffer) {
            return 0;
        }
        frames = std::min(frames, kBuffer - fill->waiting);
        Piece piece{next(now), m_dSecondsEach, {}};
        for (std::size_t i = 0; i < frames; ++i) {
            piece.samples.push_back(pFrames[2 * i]);
        }
        m_next = piece.begin + ticks(static_cast<double>(frames) * m_dSecondsEach);
        const std::lock_guard lock(m_speaker.m_mutex);
        m_speaker.m_pieces.push_back(std::move(piece));
        return frames;
    }

    void clear() override
    {
        silenceFrom(m_speaker.m_clock.now());
        m_next = {};
    }

private:
    [[nodiscard]] Moment next(Moment now) const
    {
        return std::max(m_next, now + m_speaker.m_latency);
    }

    void silenceFrom(Moment moment)
    {
        const std::lock_guard lock(m_speaker.m_mutex);
        for (Piece &piece : m_speaker.m_pieces) {
            const double left = std::chrono::duration_cast<Seconds>(moment - piece.begin).count() / piece.secondsEach;
            const auto most = static_cast<double>(piece.samples.size());
            piece.samples.resize(static_cast<std::size_t>(std::clamp(left, 0.0, most)));
        }
    }

    FakeSpeaker &m_speaker;
    const int m_nEpoch;
    const double m_dSecondsEach;
    Moment m_next;
};

void FakeSpeaker::setThere(bool there)
{
    m_bThere = there;
    if (!there) {
        ++m_nEpoch;
    }
}

void FakeSpeaker::change()
{
    ++m_nEpoch;
}

std::unique_ptr<SoundOutput> FakeSpeaker::open()
{
    return m_bThere ? std::make_unique<Output>(*this) : nullptr;
}

std::vector<float> FakeSpeaker::heard(Moment from, std::chrono::microseconds span) const
{
    std::vector<float> heard(static_cast<std::size_t>(span.count() * kRate / 1000000), 0.0F);
    const std::lock_guard lock(m_mutex);
    for (const Piece &piece : m_pieces) {
        const double begin = std::chrono::duration_cast<Seconds>(piece.begin - from).count();
        const double end = begin + piece.secondsEach * static_cast<double>(piece.samples.size());
        auto place = static_cast<std::int64_t>(std::max(0.0, std::ceil(begin * kRate)));
        for (; place < static_cast<std::int64_t>(heard.size()); ++place) {
            const double at = static_cast<double>(place) / kRate;
            if (at >= end) {
                break;
            }
            const auto sample = static_cast<std::size_t>((at - begin) / piece.secondsEach);
            heard[static_cast<std::size_t>(place)] = piece.samples[std::min(sample, piece.samples.size() - 1)];
        }
    }
    return heard;
}

} // namespace player::test
