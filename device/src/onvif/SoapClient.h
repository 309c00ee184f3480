#ifndef DEVICE_ONVIF_SOAPCLIENT_H
#define DEVICE_ONVIF_SOAPCLIENT_H

#include "device/src/Authenticator.h"
#include "device/src/onvif/DeviceClock.h"
#include "device/src/onvif/HttpClient.h"
#include "device/src/onvif/XmlDocument.h"

#include <memory>
#include <string>
#include <vector>

namespace selvik
{

/** One operation of a service. */
struct SoapRequest {
    std::string nameSpace;
    std::string name;
    std::string content = {}; /**< XML inside of the operation's element, whose namespace is the default one there */
    bool bCredentials = true; /**< false: ONVIF opens the operation to everybody */
};

/** What a device answered: the response's element, or a fault. Threads: a value. Owns: the document. */
struct SoapAnswer {
    std::shared_ptr<const XmlDocument> document;
    pugi::xml_node content;          /**< NAMEResponse; null with a fault */
    std::vector<std::string> faults; /**< codes from the general to the particular, without their prefixes */

    [[nodiscard]] bool isFault() const
    {
        return !faults.empty();
    }
    [[nodiscard]] bool hasFault(const std::string &code) const;
};

/**
 * Operations by SOAP 1.2 over HTTP, with credentials in the way that the device takes them: first WS-Security's user
 * token, then HTTP's digest, then both. ONVIF lets a device choose between the first two.
 *
 * Threads: one.
 * Errors:  Failure(SELVIK_ERROR_REFUSED) for credentials that are not enough; as HttpClient; SELVIK_ERROR_MEDIA for
 *          answers that are neither a response nor a fault. Faults for other reasons are returned.
 */
class SoapClient
{
public:
    SoapClient(std::string host, Credentials credentials, TimeSource &time);

    /** `target` follows a redirection of the device's to another port or path, and to TLS. */
    [[nodiscard]] SoapAnswer call(HttpTarget &target, const SoapRequest &request, const Patience &patience);
    [[nodiscard]] DeviceClock &clock()
    {
        return m_clock;
    }

private:
    /** Where the credentials stand. */
    enum class Way { Nowhere, Token, Http, Both };

    [[nodiscard]] HttpResponse post(const HttpTarget &target, const SoapRequest &request, Way way,
                                    const Patience &patience);
    [[nodiscard]] std::string envelope(const SoapRequest &request, Way way) const;

    HttpClient m_http;
    const Credentials m_credentials;
    Authenticator m_authenticator;
    DeviceClock m_clock;
    Way m_way;
};

} // namespace selvik

#endif
