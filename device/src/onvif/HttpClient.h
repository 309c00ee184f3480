#ifndef DEVICE_ONVIF_HTTPCLIENT_H
#define DEVICE_ONVIF_HTTPCLIENT_H

#include "device/src/onvif/HttpReader.h"

#include <memory>
#include <string>

namespace selvik
{

/** Where on a device a request goes. */
struct HttpTarget {
    bool bEncrypted = false;
    unsigned short port = 80;
    std::string path = "/"; /**< with the query */
};

/**
 * Posts documents to one host and hands out its answers, those to refused requests with their bodies too, which is
 * where SOAP says why. FFmpeg's HTTP client drops these bodies, and Windows's is neither there for native tests nor
 * waits by our time: docs/decisions/0008-onvif.md.
 *
 * Threads: one.
 * Owns:    a connection, which is used again as long as the device keeps it open.
 * Errors:  as HttpReader, and Failure(SELVIK_ERROR_HOST) where nobody is reached.
 */
class HttpClient
{
public:
    explicit HttpClient(std::string host) : m_host(std::move(host)) {}

    /** `authorization` may be empty. */
    [[nodiscard]] HttpResponse post(const HttpTarget &target, const std::string &contentType,
                                    const std::string &authorization, const std::string &body,
                                    const Patience &patience);

private:
    void connect(const HttpTarget &target, const Patience &patience);
    [[nodiscard]] std::string format(const HttpTarget &target, const std::string &contentType,
                                     const std::string &authorization, const std::string &body) const;

    std::string m_host;    /**< as the user wrote it, without brackets */
    std::string m_reached; /**< the numeric address that answered first; empty before */
    std::unique_ptr<HttpReader> m_connection;
    HttpTarget m_connectedTo;
};

} // namespace selvik

#endif
