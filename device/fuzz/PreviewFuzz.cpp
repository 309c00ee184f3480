// From the packets of two media to the stream that a host gets: tracks, the common time, header, blocks. As for the
// track alone: RTP and RTCP of the first medium on the channels 0 and 1, of the second one on 2 and 3, jumps above.
#include "device/fuzz/FramedPackets.h"
#include "device/fuzz/FuzzedTrack.h"
#include "device/fuzz/SteppedTime.h"
#include "device/src/CameraInput.h"
#include "device/src/LiveStream.h"
#include "device/src/Timeline.h"
#include "tests/support/FuzzTarget.h"

#include <atomic>
#include <deque>

using pellora::test::FuzzInput;
using pellora::test::mustHold;

namespace selvik
{
namespace
{

/** Two media that read their packets from an input; at its end the camera is lost. */
class FuzzedInput : public CameraInput
{
public:
    FuzzedInput(const Bytes &bytes, const std::array<std::uint8_t, 2> &media, bool bInOrder, SteppedTime &time)
        : m_packets(bytes), m_time(time), m_begin(time.now())
    {
        for (const std::uint8_t medium : media) {
            m_media.push_back(std::make_unique<FuzzedTrack>(fuzzedMedium(medium), bInOrder));
        }
    }

    void open(const Patience & /*patience*/) override
    {
        for (const auto &pMedium : m_media) {
            m_tracks.emplace_back(required(avcodec_parameters_alloc()));
            mustHold(avcodec_parameters_copy(m_tracks.back().get(), &pMedium->track().parameters()) >= 0, "memory");
        }
    }
    [[nodiscard]] const std::vector<ParametersPtr> &tracks() const override
    {
        return m_tracks;
    }
    [[nodiscard]] bool next(MediaUnit &unit, const Patience & /*patience*/) override
    {
        while (m_units.empty()) {
            read();
        }
        unit = std::move(m_units.front());
        m_units.pop_front();
        return true;
    }
    void close(const Patience & /*patience*/) noexcept override {}

private:
    void read()
    {
        int nChannel = 0;
        ByteView packet;
        if (!m_packets.next(nChannel, packet)) {
            throw Failure(SELVIK_ERROR_HOST);
        }
        m_time.step(Milliseconds(20));
        const std::size_t track = static_cast<std::size_t>(nChannel >> 1) % m_media.size();
        FuzzedTrack &medium = *m_media[track];
        if (nChannel >= 4) {
            medium.jump(packet);
            return;
        }
        if (nChannel % 2 != 0) {
            medium.feedReport(packet);
            return;
        }
        std::vector<MediaUnit> units;
        medium.feed(packet, m_time.now(), units);
        const auto arrival = std::chrono::duration_cast<std::chrono::microseconds>(m_time.now() - m_begin).count();
        for (MediaUnit &unit : units) {
            unit.track = track;
            m_timeline.place(unit, arrival);
            m_units.push_back(std::move(unit));
        }
    }

    FramedPackets m_packets;
    SteppedTime &m_time;
    const Clock::time_point m_begin;
    std::vector<std::unique_ptr<FuzzedTrack>> m_media;
    std::vector<ParametersPtr> m_tracks;
    Timeline m_timeline{2, 0};
    std::deque<MediaUnit> m_units;
};

void preview(FuzzInput &input)
{
    const std::array<std::uint8_t, 2> media = {input.choose(), input.choose()}; // in that order
    const std::uint8_t how = input.choose();
    const bool bInOrder = (how & 1) == 0;
    if ((how & 6) == 6) {
        // Jumps add up.
        input.repeatUpTo(128 * 1024);
    }
    SteppedTime time;
    const std::atomic<bool> stop{false};
    const Patience patience(time, stop, TimeSource::kNoDeadline);
    LiveStream stream(std::make_unique<FuzzedInput>(input.bytes(), media, bInOrder, time));
    mustHold(!stream.open(patience).empty(), "a stream begins with a header");
    for (;;) {
        (void)stream.next(patience);
    }
}

} // namespace
} // namespace selvik

void pellora::test::fuzz(FuzzInput &input)
{
    const FuzzTime time(4000);
    try {
        selvik::preview(input);
    } catch (const selvik::Failure &failure) {
        mustHold(failure.error() != SELVIK_ERROR_NONE, "a failure has a reason");
    }
}
