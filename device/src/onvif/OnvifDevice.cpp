#include "device/src/onvif/OnvifDevice.h"

#include "device/src/Text.h"
#include "device/src/onvif/AnsweredAddress.h"

#include <algorithm>

namespace selvik
{

namespace
{

constexpr const char *kDevice = "http://www.onvif.org/ver10/device/wsdl";
constexpr const char *kMedia1 = "http://www.onvif.org/ver10/media/wsdl";
constexpr const char *kMedia2 = "http://www.onvif.org/ver20/media/wsdl";
// The entry point, the same on every ONVIF device.
constexpr const char *kDevicePath = "/onvif/device_service";
constexpr unsigned short kEncryptedPort = 443;

// More than any device has; what comes behind them is left out. Tokens have at most 64 characters by the schema.
constexpr std::size_t kMaxServices = 64;
constexpr std::size_t kMaxProfiles = 2048;
constexpr std::size_t kMaxSources = 512;
constexpr std::size_t kMaxToken = 256;
constexpr int kMaxSide = 65535;

int numberIn(const pugi::xml_node &parent, const char *pName)
{
    const std::string text = textOf(childOf(parent, pName), 16);
    const bool bNumber = !text.empty() && text.find_first_not_of("0123456789") == std::string::npos;
    return bNumber ? leadingNumber(text) : -1;
}

/** An attribute that names something, to be sent back as it is. */
std::string tokenOf(const pugi::xml_node &node)
{
    const std::string token = node.attribute("token").value();
    return token.size() > kMaxToken ? std::string() : token;
}

/** A profile of either media service; its token is empty where it has no picture. */
MediaProfile profileOf(const pugi::xml_node &node, bool bNewer)
{
    const pugi::xml_node configurations = bNewer ? childOf(node, "Configurations") : node;
    const pugi::xml_node source = childOf(configurations, bNewer ? "VideoSource" : "VideoSourceConfiguration");
    const pugi::xml_node encoder = childOf(configurations, bNewer ? "VideoEncoder" : "VideoEncoderConfiguration");
    MediaProfile profile;
    if (source && encoder) {
        const pugi::xml_node resolution = childOf(encoder, "Resolution");
        profile.token = tokenOf(node);
        profile.source = textOf(childOf(source, "SourceToken"), kMaxToken);
        profile.nWidth = std::clamp(numberIn(resolution, "Width"), 0, kMaxSide);
        profile.nHeight = std::clamp(numberIn(resolution, "Height"), 0, kMaxSide);
        profile.coding = textOf(childOf(encoder, "Encoding"), 64);
    }
    return profile;
}

std::vector<MediaProfile> profilesOf(const SoapAnswer &answer, bool bNewer)
{
    std::vector<MediaProfile> profiles;
    for (const pugi::xml_node &node : childrenOf(answer.content, "Profiles", kMaxProfiles)) {
        MediaProfile profile = profileOf(node, bNewer);
        if (!profile.token.empty()) {
            profiles.push_back(std::move(profile));
        }
    }
    return profiles;
}

/** Why an operation that must succeed has not: a fault that names what was asked for, or one of another kind. */
unsigned long errorOf(const SoapAnswer &answer)
{
    const bool bWrongName = answer.hasFault("NoProfile") || answer.hasFault("InvalidArgVal");
    return bWrongName ? SELVIK_ERROR_CHANNEL : SELVIK_ERROR_MEDIA;
}

} // namespace

OnvifDevice::OnvifDevice(Address address, TimeSource &time)
    : m_address(std::move(address)), m_soap(m_address.host(), m_address.credentials(), time)
{
    m_device.bEncrypted = m_address.port() == kEncryptedPort;
    m_device.port = m_address.port();
    const bool bOwnPath = m_address.path().size() > 1 && m_address.path().front() == '/';
    m_device.path = bOwnPath ? m_address.path() : kDevicePath;
}

SoapAnswer OnvifDevice::require(HttpTarget &service, const SoapRequest &request, const Patience &patience)
{
    SoapAnswer answer = m_soap.call(service, request, patience);
    if (answer.isFault()) {
        throw Failure(errorOf(answer));
    }
    return answer;
}

SoapAnswer OnvifDevice::attempt(HttpTarget &service, const SoapRequest &request, const Patience &patience)
{
    try {
        return m_soap.call(service, request, patience);
    } catch (const Failure &failure) {
        if (failure.error() != SELVIK_ERROR_MEDIA && failure.error() != SELVIK_ERROR_HOST) {
            throw;
        }
        return {};
    }
}

void OnvifDevice::readClock(const Patience &patience)
{
    try {
        const SoapAnswer answer = m_soap.call(m_device, {kDevice, "GetSystemDateAndTime", {}, false}, patience);
        const pugi::xml_node date = descendantOf(answer.content, {"SystemDateAndTime", "UTCDateTime", "Date"});
        const pugi::xml_node time = descendantOf(answer.content, {"SystemDateAndTime", "UTCDateTime", "Time"});
        m_soap.clock().set({numberIn(date, "Year"), numberIn(date, "Month"), numberIn(date, "Day"),
                            numberIn(time, "Hour"), numberIn(time, "Minute"), numberIn(time, "Second")});
    } catch (const Failure &failure) {
        // Everybody may ask for the time. Some devices keep it to themselves; their clock is taken for right then.
        if (failure.error() != SELVIK_ERROR_REFUSED) {
            throw;
        }
    }
}

void OnvifDevice::findServices(const Patience &patience)
{
    readServices(patience);
    if (!m_media1 && !m_media2) {
        readCapabilities(patience);
    }
    if (!m_media1 && !m_media2) {
        throw Failure(SELVIK_ERROR_MEDIA);
    }
}

void OnvifDevice::readServices(const Patience &patience)
{
    const std::string content = "<IncludeCapability>false</IncludeCapability>";
    const SoapAnswer answer = attempt(m_device, {kDevice, "GetServices", content}, patience);
    for (const pugi::xml_node &service : childrenOf(answer.content, "Service", kMaxServices)) {
        const std::string name = textOf(childOf(service, "Namespace"));
        const std::optional<HttpTarget> target = serviceTarget(textOf(childOf(service, "XAddr")), m_device);
        if (name == kMedia1) {
            m_media1 = target;
        } else if (name == kMedia2) {
            m_media2 = target;
        }
    }
}

void OnvifDevice::readCapabilities(const Patience &patience)
{
    const SoapAnswer answer = require(m_device, {kDevice, "GetCapabilities", "<Category>Media</Category>"}, patience);
    m_media1 = serviceTarget(textOf(descendantOf(answer.content, {"Capabilities", "Media", "XAddr"})), m_device);
}

std::vector<MediaProfile> OnvifDevice::askProfiles(const Patience &patience)
{
    // The newer service tells of a profile only what is asked for.
    const SoapRequest newer = {kMedia2, "GetProfiles", "<Type>VideoSource</Type><Type>VideoEncoder</Type>"};
    std::vector<MediaProfile> profiles;
    if (m_media2) {
        profiles = profilesOf(attempt(*m_media2, newer, patience), true);
    }
    m_bNewer = !profiles.empty();
    if (!m_bNewer && m_media1) {
        profiles = profilesOf(require(*m_media1, {kMedia1, "GetProfiles"}, patience), false);
    }
    return profiles;
}

std::vector<std::string> OnvifDevice::askSources(const Patience &patience)
{
    std::vector<std::string> tokens;
    if (m_media1) {
        const SoapAnswer answer = attempt(*m_media1, {kMedia1, "GetVideoSources"}, patience);
        for (const pugi::xml_node &source : childrenOf(answer.content, "VideoSources", kMaxSources)) {
            tokens.push_back(tokenOf(source));
        }
    }
    return tokens;
}

std::vector<VideoSource> OnvifDevice::sources(const Patience &patience)
{
    readClock(patience);
    findServices(patience);
    const std::vector<MediaProfile> profiles = askProfiles(patience);
    // Sources without a profile count as channels too. Where nobody tells, the profiles' order is that of the channels.
    return bySource(askSources(patience), profiles);
}

std::string OnvifDevice::askStream(const MediaProfile &profile, const Patience &patience)
{
    const std::string token = "<ProfileToken>" + xmlEscaped(profile.token) + "</ProfileToken>";
    if (!m_bNewer) {
        const std::string setup =
            "<StreamSetup><Stream xmlns=\"http://www.onvif.org/ver10/schema\">RTP-Unicast</Stream>"
            "<Transport xmlns=\"http://www.onvif.org/ver10/schema\"><Protocol>RTSP</Protocol>"
            "</Transport></StreamSetup>";
        const SoapAnswer answer = require(*m_media1, {kMedia1, "GetStreamUri", setup + token}, patience);
        return textOf(descendantOf(answer.content, {"MediaUri", "Uri"}));
    }
    // By TCP first, which is what the stream is then asked for; not every device knows both words.
    SoapAnswer answer = attempt(*m_media2, {kMedia2, "GetStreamUri", "<Protocol>RTSP</Protocol>" + token}, patience);
    if (!answer.content) {
        answer = require(*m_media2, {kMedia2, "GetStreamUri", "<Protocol>RtspUnicast</Protocol>" + token}, patience);
    }
    return textOf(childOf(answer.content, "Uri"));
}

Address OnvifDevice::streamOf(unsigned int channel, unsigned int streamType, const Patience &patience)
{
    const std::vector<VideoSource> all = sources(patience);
    if (channel < 1 || channel > all.size() || streamType >= all[channel - 1].profiles.size()) {
        throw Failure(SELVIK_ERROR_CHANNEL);
    }
    const std::string uri = askStream(all[channel - 1].profiles[streamType], patience);
    std::optional<Address> address = streamAddress(uri, m_address);
    if (!address) {
        throw Failure(SELVIK_ERROR_MEDIA);
    }
    return *std::move(address);
}

} // namespace selvik
