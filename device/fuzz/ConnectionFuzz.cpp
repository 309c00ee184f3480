// What a camera sends on an RTSP connection: answers, packets, requests of its own, anything.
#include "device/fuzz/FuzzedStream.h"
#include "device/src/RtspConnection.h"
#include "tests/support/FuzzTarget.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <utility>

using pellora::test::FuzzInput;
using pellora::test::mustHold;

namespace selvik
{
namespace
{

/** How the bytes come, by the last bytes of the input. All zero is a camera that plays in the usual way. */
struct Manner {
    explicit Manner(FuzzInput &input)
    {
        static constexpr std::array<std::size_t, 4> kPieces = {16 * 1024, 1, 7, 1460};
        const std::uint8_t how = input.choose();
        bAnonymous = (how & 1) != 0;
        bPlaying = (how & 2) != 0;
        bGoesSilent = (how & 4) != 0;
        bKeepsAlive = (how & 8) != 0;
        nPiece = kPieces[(how >> 4) & 3];
        if ((how & 0xC0) == 0xC0) {
            input.repeatUpTo(64 * 1024);
        }
    }

    bool bAnonymous;
    bool bPlaying;    /**< it has begun long before */
    bool bGoesSilent; /**< at the end, instead of hanging up */
    bool bKeepsAlive; /**< a request after each packet */
    std::size_t nPiece;
};

/** Hands out what was received, as the preview does. */
void takePackets(RtspConnection &connection)
{
    InterleavedPacket packet;
    while (connection.takePacket(packet)) {
        mustHold(packet.nChannel >= 0 && packet.nChannel <= 255, "a packet has a channel");
        mustHold(packet.data.size <= 0xFFFF, "a packet is no longer than its length can say");
        // The bytes are the connection's: each is looked at, so that one that is gone is noticed.
        unsigned int nSum = 0;
        for (const std::uint8_t byte : packet.data) {
            nSum += byte;
        }
        mustHold(nSum <= 0xFFFF * 0xFF, "bytes are bytes");
    }
    if (const std::optional<RtspResponse> answer = connection.takeAnswer()) {
        (void)connection.takeChallenge(*answer);
    }
}

void play(RtspConnection &connection, const Manner &manner, const std::atomic<bool> &stop, const Patience &patience)
{
    if (!manner.bPlaying) {
        for (const char *pMethod : {"OPTIONS", "DESCRIBE", "SETUP", "PLAY"}) {
            const RtspResponse response = connection.request(pMethod, "rtsp://camera/live", {}, patience);
            mustHold(response.nStatus >= 200, "a request is answered in the end");
        }
    }
    connection.setChannels({0, 1});
    while (!stop) {
        (void)connection.poll(patience.atMost(Milliseconds(100)));
        takePackets(connection);
        if (manner.bKeepsAlive) {
            connection.send("GET_PARAMETER", "rtsp://camera/live", {}, patience);
            connection.sendPacket(1, Bytes(8), patience);
        }
    }
}

} // namespace
} // namespace selvik

void pellora::test::fuzz(FuzzInput &input)
{
    const selvik::Manner manner(input);
    const FuzzTime limit(2000);
    selvik::SteppedTime time;
    std::atomic<bool> stop{false};
    const selvik::Patience patience(time, stop, time.now() + std::chrono::hours(1));
    const selvik::Credentials credentials =
        manner.bAnonymous ? selvik::Credentials{} : selvik::Credentials{"viewer", "secret"};
    selvik::FuzzedBytes bytes{input.bytes(), manner.nPiece, manner.bGoesSilent};
    // A camera that hangs up behind its answer is connected to again, where the bytes go on.
    const auto connect = [&](const selvik::Patience &) {
        return std::make_unique<selvik::FuzzedStream>(bytes, time, stop);
    };
    selvik::RtspConnection connection(connect(patience), selvik::Authenticator(credentials), connect);
    try {
        selvik::play(connection, manner, stop, patience);
    } catch (const selvik::Failure &failure) {
        mustHold(failure.error() != SELVIK_ERROR_NONE, "a failure has a reason");
    } catch (const selvik::Stopped &) {
        mustHold(stop, "stopped only where somebody said so");
    }
}
