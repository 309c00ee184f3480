#ifndef DEVICE_ONVIF_ONVIFDEVICE_H
#define DEVICE_ONVIF_ONVIFDEVICE_H

#include "device/src/Address.h"
#include "device/src/onvif/MediaProfile.h"
#include "device/src/onvif/SoapClient.h"

#include <optional>
#include <string>
#include <vector>

namespace selvik
{

/**
 * A device that is asked by ONVIF which streams it has and where they are.
 *
 * The operations and their answers are those of the published service descriptions: devicemgmt.wsdl and media.wsdl in
 * version 1.0 (www.onvif.org/ver10), media.wsdl in version 2.0 (www.onvif.org/ver20), with the types of onvif.xsd. The
 * newer media service is asked where there is one and it knows what is asked, else the older one.
 *
 * Threads: one.
 * Errors:  Failure(SELVIK_ERROR_HOST) when it is not reached, SELVIK_ERROR_REFUSED, SELVIK_ERROR_CHANNEL for a channel
 * or stream that it has not, SELVIK_ERROR_MEDIA for one that does not speak ONVIF; Failure and Stopped as
 *          Patience::check().
 */
class OnvifDevice
{
public:
    /** An onvif address. On port 443 the device is spoken to by TLS. */
    OnvifDevice(Address address, TimeSource &time);

    /** Its video sources in the order of channels. */
    [[nodiscard]] std::vector<VideoSource> sources(const Patience &patience);
    /** Where the device sends a stream: of a channel, from 1, the streamType-th profile, from 0. */
    [[nodiscard]] Address streamOf(unsigned int channel, unsigned int streamType, const Patience &patience);

private:
    /** An operation that has to succeed. */
    [[nodiscard]] SoapAnswer require(HttpTarget &service, const SoapRequest &request, const Patience &patience);
    /** One that something else stands in for: an empty answer where the device does not know it, or hangs up at it. */
    [[nodiscard]] SoapAnswer attempt(HttpTarget &service, const SoapRequest &request, const Patience &patience);
    void readClock(const Patience &patience);
    void findServices(const Patience &patience);
    void readServices(const Patience &patience);
    void readCapabilities(const Patience &patience);
    [[nodiscard]] std::vector<MediaProfile> askProfiles(const Patience &patience);
    [[nodiscard]] std::vector<std::string> askSources(const Patience &patience);
    [[nodiscard]] std::string askStream(const MediaProfile &profile, const Patience &patience);

    const Address m_address;
    SoapClient m_soap;
    HttpTarget m_device;
    std::optional<HttpTarget> m_media1;
    std::optional<HttpTarget> m_media2;
    bool m_bNewer = false; /**< the profiles are those of the newer media service */
};

} // namespace selvik

#endif
