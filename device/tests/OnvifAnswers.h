#ifndef DEVICE_TESTS_ONVIFANSWERS_H
#define DEVICE_TESTS_ONVIFANSWERS_H

#include "device/tests/OnvifScript.h"

#include <optional>
#include <string>

namespace selvik
{

/** What one request asks of a device, read with its namespaces as its schema wants them. */
struct OnvifQuestion {
    std::string nameSpace;
    std::string operation;
    std::string profile;  /**< ProfileToken */
    std::string protocol; /**< of GetStreamUri */
    bool bTypes = false;  /**< GetProfiles names the configurations that it wants */

    bool bToken = false; /**< a wsse:UsernameToken with all that the profile asks for */
    std::string user;
    std::string digest;
    std::string nonce;
    std::string created;
};

/** Reads a request; nothing where it is no SOAP 1.2 of the published form. */
[[nodiscard]] std::optional<OnvifQuestion> readQuestion(const std::string &envelope);

// What a device answers. The elements, their order, their namespaces and which of them must be there are those of
// devicemgmt.wsdl and media.wsdl (ver10), media.wsdl (ver20), onvif.xsd and common.xsd as ONVIF publishes them at
// www.onvif.org, and of SOAP 1.2 (www.w3.org/2003/05/soap-envelope).

[[nodiscard]] std::string soap(const std::string &body);
[[nodiscard]] std::string dateAndTime(const UtcDate &date);
/** `base` is "http://host:port". */
[[nodiscard]] std::string services(const OnvifScript &script, const std::string &base);
[[nodiscard]] std::string capabilities(const std::string &base);
[[nodiscard]] std::string profiles(const OnvifScript &script, bool bNewer, bool bConfigurations);
[[nodiscard]] std::string videoSources(const OnvifScript &script);
[[nodiscard]] std::string streamUri(const std::string &uri, bool bNewer);
[[nodiscard]] std::string soapFault(const std::string &code, const std::string &subcode);

} // namespace selvik

#endif
