// What a camera sends on an RTSP connection: answers, packets, requests of its own, anything.
#include "device/fuzz/SteppedTime.h"
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

class FuzzedStream : public ByteStream
{
public:
    FuzzedStream(const Bytes &input, const Manner &manner, SteppedTime &time, std::atomic<bool> &stop)
        : m_input(input), m_manner(manner), m_time(time), m_stop(stop)
    {
    }

    [[nodiscard]] std::size_t receive(std::uint8_t *pBuffer, std::size_t capacity,
                                      const Patience & /*patience*/) override
    {
        mustHold(capacity > 0, "there is room for what is received");
        const std::size_t count = std::min({m_manner.nPiece, capacity, m_input.size() - m_nAt});
        if (count == 0) {
            // Either the other side is gone, or nothing comes any more and somebody stops the preview.
            m_stop = true;
            if (!m_manner.bGoesSilent) {
                throw Failure(SELVIK_ERROR_HOST);
            }
        }
        std::copy_n(m_input.begin() + static_cast<std::ptrdiff_t>(m_nAt), count, pBuffer);
        m_nAt += count;
        m_time.step(Milliseconds(1));
        return count;
    }
    void send(const std::uint8_t *pData, std::size_t size, const Patience & /*patience*/) override
    {
        mustHold(size > 0 && pData != nullptr, "something is sent");
    }
    [[nodiscard]] const Socket *socket() const override
    {
        return nullptr;
    }

private:
    const Bytes &m_input;
    const Manner m_manner;
    SteppedTime &m_time;
    std::atomic<bool> &m_stop;
    std::size_t m_nAt = 0;
};

/** Hands out what was received, as the preview does. */
void takePackets(RtspConnection &connection)
{
    InterleavedPacket packet;
    while (connection.takePacket(packet)) {
        mustHold(packet.nChannel >= 0 && packet.nChannel <= 255, "a packet has a channel");
        mustHold(packet.data.size() <= 0xFFFF, "a packet is no longer than its length can say");
    }
    (void)connection.takeStatus();
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
    selvik::RtspConnection connection(std::make_unique<selvik::FuzzedStream>(input.bytes(), manner, time, stop),
                                      selvik::Authenticator(credentials));
    try {
        selvik::play(connection, manner, stop, patience);
    } catch (const selvik::Failure &failure) {
        mustHold(failure.error() != SELVIK_ERROR_NONE, "a failure has a reason");
    } catch (const selvik::Stopped &) {
        mustHold(stop, "stopped only where somebody said so");
    }
}
