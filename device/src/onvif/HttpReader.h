#ifndef DEVICE_ONVIF_HTTPREADER_H
#define DEVICE_ONVIF_HTTPREADER_H

#include "device/src/ByteStream.h"
#include "device/src/onvif/HttpResponse.h"

#include <memory>
#include <string>

namespace selvik
{

/**
 * Reads answers off one connection, by RFC 9112: a body with its length, in chunks, or up to the end of the connection.
 * Lines, headers and bodies are bounded.
 *
 * Threads: one. Owns: the connection.
 * Errors:  Failure(SELVIK_ERROR_HOST) when the connection ends too early, SELVIK_ERROR_MEDIA for what is no answer or
 *          passes a bound; Failure and Stopped as Patience::check().
 */
class HttpReader
{
public:
    explicit HttpReader(std::unique_ptr<ByteStream> stream) : m_stream(std::move(stream)) {}

    void send(const std::string &request, const Patience &patience);
    [[nodiscard]] HttpResponse read(const Patience &patience);
    /** Whether anything has come since send(). */
    [[nodiscard]] bool hasBegun() const
    {
        return m_bBegun;
    }

private:
    [[nodiscard]] std::string line(const Patience &patience);
    void readHead(HttpResponse &response, const Patience &patience);
    void readBody(HttpResponse &response, const Patience &patience);
    void readChunks(HttpResponse &response, const Patience &patience);
    void readToEnd(HttpResponse &response, const Patience &patience);
    /** Moves so many bytes to the body. */
    void take(HttpResponse &response, std::size_t size, const Patience &patience);
    void fill(const Patience &patience);

    std::unique_ptr<ByteStream> m_stream;
    std::string m_buffer; /**< received and not read yet */
    bool m_bBegun = false;
    bool m_bOldVersion = false; /**< HTTP/1.0: the connection ends with the answer unless it says otherwise */
};

} // namespace selvik

#endif
