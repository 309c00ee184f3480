#ifndef DEVICE_FUZZ_FUZZEDSTREAM_H
#define DEVICE_FUZZ_FUZZEDSTREAM_H

#include "device/fuzz/SteppedTime.h"
#include "device/src/ByteStream.h"
#include "tests/support/FuzzChecks.h"

#include <algorithm>
#include <atomic>
#include <string>

namespace selvik
{

/** What comes on a connection, how far it was read, and how it comes. */
struct FuzzedBytes {
    const Bytes &bytes;
    std::size_t nPiece;
    bool bGoesSilent; /**< at the end, instead of hanging up */
    std::size_t nAt = 0;
};

/** A connection on which the bytes of an input come. At their end somebody stops the preview. Threads: one. */
class FuzzedStream : public ByteStream
{
public:
    FuzzedStream(FuzzedBytes &input, SteppedTime &time, std::atomic<bool> &stop)
        : m_input(input), m_time(time), m_stop(stop)
    {
    }

    [[nodiscard]] std::size_t receive(std::uint8_t *pBuffer, std::size_t capacity,
                                      const Patience & /*patience*/) override
    {
        using pellora::test::mustHold;
        mustHold(capacity > 0, "there is room for what is received");
        const std::size_t count = std::min({m_input.nPiece, capacity, m_input.bytes.size() - m_input.nAt});
        if (count == 0) {
            m_stop = true;
            if (!m_input.bGoesSilent) {
                throw Failure(SELVIK_ERROR_HOST);
            }
        }
        std::copy_n(m_input.bytes.begin() + static_cast<std::ptrdiff_t>(m_input.nAt), count, pBuffer);
        m_input.nAt += count;
        m_time.step(Milliseconds(1));
        return count;
    }
    void send(const std::uint8_t *pData, std::size_t size, const Patience & /*patience*/) override
    {
        using pellora::test::mustHold;
        mustHold(size > 0 && pData != nullptr, "something is sent");
        const std::string text(reinterpret_cast<const char *>(pData), pData[0] == '$' ? 0 : size);
        for (std::size_t at = text.find('\r'); at != std::string::npos; at = text.find('\r', at + 1)) {
            mustHold(at + 1 < size && text[at + 1] == '\n', "what a device has said cannot end a line of a request");
        }
    }
    [[nodiscard]] const Socket *socket() const override
    {
        return nullptr;
    }

private:
    FuzzedBytes &m_input;
    SteppedTime &m_time;
    std::atomic<bool> &m_stop;
};

} // namespace selvik

#endif
