// A pushed stream from its first byte: the buffer, the demuxer, the decoders.
#include "player/src/live/LiveDecoder.h"
#include "player/src/live/LiveDemuxer.h"
#include "player/src/live/LiveSound.h"
#include "player/src/sound/SoundConverter.h"
#include "player/src/sound/SoundDecoder.h"
#include "tests/support/FuzzTarget.h"

#include <algorithm>
#include <array>

using pellora::test::FuzzInput;
using pellora::test::mustHold;

namespace
{

/** How the bytes come, by the last bytes of the input. */
struct Manner {
    explicit Manner(FuzzInput &input)
    {
        static constexpr std::array<std::size_t, 4> kPieces = {1000, 64 * 1024, 188, 4000};
        static constexpr std::array<std::size_t, 4> kCapacities = {4 << 20, 50 * 1024, 4 << 20, 8000};
        const std::uint8_t how = input.choose();
        nPiece = kPieces[how & 3];
        nCapacity = kCapacities[(how >> 2) & 3];
        nMilliseconds = (how & 0x10) == 0 ? 10 : 1500;
        bRefuses = (how & 0x20) != 0;
        nHeader = static_cast<std::size_t>(input.choose()) << 8;
        nHeader = std::min(nHeader + input.choose(), input.bytes().size());
    }

    std::size_t nPiece;
    std::size_t nCapacity;
    int nMilliseconds; /**< between two pieces */
    bool bRefuses;     /**< pushes two pieces at a time, which a small buffer does not take */
    std::size_t nHeader;
};

/** A clock on which nobody ever waits: whoever would gets the next piece of the stream instead. */
class FeedingClock : public player::Clock
{
public:
    std::function<void()> m_feed;

    void pass(std::chrono::milliseconds duration)
    {
        m_now += duration;
    }
    [[nodiscard]] player::Moment now() override
    {
        return m_now;
    }
    [[nodiscard]] std::int64_t utc() override
    {
        return std::chrono::duration_cast<std::chrono::microseconds>(m_now.time_since_epoch()).count();
    }
    [[nodiscard]] std::thread startThread(std::function<void()> body) override
    {
        return std::thread(std::move(body));
    }
    void join(std::thread &thread) override
    {
        thread.join();
    }
    bool wait(player::WaitQueue & /*queue*/, std::unique_lock<std::mutex> &lock,
              const std::optional<player::Moment> & /*deadline*/) override
    {
        lock.unlock();
        m_feed();
        lock.lock();
        return true;
    }
    void notify(player::WaitQueue & /*queue*/) override {}

private:
    player::Moment m_now{std::chrono::hours(1)};
};

/** What makes samples of the sound. */
struct Ear {
    player::SoundDecoder decoder;
    player::SoundConverter converter{player::SoundFormat{}};
};

void listen(player::SoundTrack &track, Ear &ear)
{
    while (const auto packet = track.take()) {
        ear.decoder.feed(*packet);
        while (const player::FramePtr pFrame = ear.decoder.take()) {
            mustHold(ear.converter.convert(*pFrame).samples.size() % 2 == 0, "both channels have as many samples");
        }
    }
}

void play(const std::vector<std::uint8_t> &bytes, const Manner &manner)
{
    FeedingClock clock;
    player::LiveBuffer buffer(clock, manner.nCapacity);
    std::size_t at = manner.nHeader;
    const auto push = [&] {
        const std::size_t count = std::min(manner.nPiece, bytes.size() - at);
        (void)buffer.push(bytes.data() + at, count);
        at += count;
    };
    clock.m_feed = [&] {
        if (at == bytes.size()) {
            buffer.interrupt();
            return;
        }
        clock.pass(std::chrono::milliseconds(manner.nMilliseconds));
        push();
        if (manner.bRefuses) {
            push();
        }
    };
    const auto end = bytes.begin() + static_cast<std::ptrdiff_t>(manner.nHeader);
    const auto pTrack = std::make_shared<player::SoundTrack>(clock, player::SoundTrack::Kind::Live, [] {});
    pTrack->setWanted(true);
    player::LiveSound sound(clock, pTrack);
    player::LiveDemuxer demuxer(
        clock, {bytes.begin(), end}, buffer, [] {}, &sound);
    player::LiveDecoder decoder(clock);
    Ear ear;
    if (!demuxer.open()) {
        return;
    }
    while (const auto packet = demuxer.read()) {
        decoder.feed(*packet, demuxer.pictureStream(), demuxer.isWithoutTimes());
        for (player::Picture picture = decoder.take(); picture; picture = decoder.take()) {
            mustHold(picture.shape.width > 0 && picture.shape.height > 0, "a picture has a size");
        }
        listen(*pTrack, ear);
    }
}

} // namespace

void pellora::test::fuzz(FuzzInput &input)
{
    const Manner manner(input);
    const FuzzTime time(8000);
    try {
        play(input.bytes(), manner);
    } catch (const player::OpenFailure &failure) {
        mustHold(failure.error != player::Error::None, "a failure has a reason");
    }
}
