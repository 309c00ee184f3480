#ifndef DEVICE_RTSPREADER_H
#define DEVICE_RTSPREADER_H

#include "device/src/InterleavedPacket.h"
#include "device/src/RtspRequest.h"
#include "device/src/RtspResponse.h"

#include <optional>
#include <utility>
#include <vector>

namespace selvik
{

/**
 * Takes answers, requests and interleaved packets out of the bytes of one connection, where there may be garbage
 * between them.
 *
 * No byte is searched twice, and none is copied for a packet: a packet's data lie in the receive buffer until space()
 * is called next. Threads: one at a time. Owns: the receive buffer, of 256 KiB unless a body is larger, which is at
 * most 1 MiB. Errors:  Failure(SELVIK_ERROR_MEDIA) for a head or a body beyond all measure.
 */
class RtspReader
{
public:
    enum class Met { Nothing, Packet, Response, Request };

    /** Room for the next bytes. */
    struct Space {
        std::uint8_t *pData = nullptr;
        std::size_t size = 0;
    };

    RtspReader();

    [[nodiscard]] Space space();
    /** So many bytes were put into the space. */
    void filled(std::size_t count)
    {
        m_nEnd += count;
    }

    /** Forgets all bytes, for a new connection. */
    void reset()
    {
        m_nBegin = m_nEnd = m_nSearched = 0;
        advance(0, true);
    }

    /** What comes next; Nothing while it is not whole. */
    [[nodiscard]] Met next();
    /** After next() has met one. */
    [[nodiscard]] const InterleavedPacket &packet() const
    {
        return m_packet;
    }
    [[nodiscard]] RtspResponse takeResponse()
    {
        return std::exchange(m_response, {});
    }
    [[nodiscard]] RtspRequest takeRequest()
    {
        return std::exchange(m_request, {});
    }

    /** The channels in use. After garbage, only packets on one of these are believed. */
    void setChannels(std::vector<int> channels)
    {
        m_channels = std::move(channels);
    }
    /** Whether the next answer may have a description behind it without telling its length. */
    void expectDescription(bool bExpected)
    {
        m_bDescription = bExpected;
    }
    /** Whether only the end of such a description is missing. */
    [[nodiscard]] bool hasOpenBody() const
    {
        return m_bOpenBody;
    }
    /** Whether only the rest of an answer's body is missing, whether or not its length is known. */
    [[nodiscard]] bool waitsForBody() const
    {
        return m_nHead > 0;
    }
    /** There is no more of it: next() meets the answer with what is there. */
    void endBody()
    {
        m_bBodyEnds = true;
    }

private:
    enum class Match { No, Perhaps, Response, Request };

    [[nodiscard]] std::size_t left() const
    {
        return m_nEnd - m_nBegin;
    }
    [[nodiscard]] const std::uint8_t *first() const
    {
        return m_buffer.data() + m_nBegin;
    }
    [[nodiscard]] bool looksLikePacket() const;
    [[nodiscard]] Met nextPacket();
    [[nodiscard]] Match matchMessage();
    [[nodiscard]] Match matchRequest();
    /** Finds the head's end, line by line; false while it is not there. */
    [[nodiscard]] bool findHeadEnd();
    /** Nothing at all where the head is none after all. */
    [[nodiscard]] std::optional<Met> nextMessage();
    [[nodiscard]] bool readHead(const std::string &head);
    void searchOpenBody();
    /** The line's end that is not left behind yet. */
    [[nodiscard]] std::size_t findLineEnd();
    void advance(std::size_t count, bool bInStep);
    void skipGarbage();

    Bytes m_buffer;
    std::size_t m_nBegin = 0; /**< what has not been taken yet */
    std::size_t m_nEnd = 0;
    // Of the message at m_nBegin, relative to it.
    Match m_match = Match::No;
    std::size_t m_nSearched = 0;  /**< no line ends before it, from m_nLineBegin on */
    std::size_t m_nLineBegin = 0; /**< of the line that is being searched */
    std::size_t m_nLines = 0;
    std::size_t m_nHead = 0; /**< its size; 0: not known yet */
    std::size_t m_nBody = 0;
    bool m_bOpenBody = false;
    bool m_bBodyEnds = false;

    bool m_bInStep = true; /**< m_nBegin is the end of a packet or message; false after garbage */
    bool m_bDescription = false;
    std::vector<int> m_channels;
    InterleavedPacket m_packet;
    RtspResponse m_response;
    RtspRequest m_request;
};

} // namespace selvik

#endif
