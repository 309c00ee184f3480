#include "device/src/onvif/Discovery.h"

#include "device/src/Address.h"
#include "device/src/Text.h"
#include "device/src/onvif/XmlDocument.h"

#include <algorithm>
#include <cstdio>
#include <random>

namespace selvik
{

namespace
{

constexpr Milliseconds kAskAgainAfter{500};
constexpr std::size_t kMaxDatagram = 65536;
constexpr std::size_t kMaxDevices = 1024;
constexpr std::size_t kMaxMatches = 16; // in one answer
constexpr std::size_t kMaxWords = 100;  // scopes or addresses of one device
constexpr std::size_t kMaxName = 128;

// The two types that ONVIF devices answer to: cameras and recorders have had the first from the beginning, and every
// newer device has the second.
constexpr const char *kTypes[][2] = {{"http://www.onvif.org/ver10/network/wsdl", "NetworkVideoTransmitter"},
                                     {"http://www.onvif.org/ver10/device/wsdl", "Device"}};
constexpr const char *kScope = "onvif://www.onvif.org/";

std::string messageId()
{
    std::random_device random;
    char text[48];
    // A UUID of random numbers, RFC 4122, version 4.
    std::snprintf(text, sizeof text, "%08x-%04x-4%03x-8%03x-%08x%04x", random(), random() & 0xFFFF, random() & 0xFFF,
                  random() & 0xFFF, random(), random() & 0xFFFF);
    return std::string("uuid:") + text;
}

/** Words between blanks of any kind. */
std::vector<std::string> wordsOf(const pugi::xml_node &node)
{
    std::string text = node.text().get();
    text.resize(std::min<std::size_t>(text.size(), kMaxDatagram));
    std::replace_if(
        text.begin(), text.end(), [](char letter) { return letter == '\t' || letter == '\r' || letter == '\n'; }, ' ');
    std::vector<std::string> words = split(text, ' ');
    words.resize(std::min(words.size(), kMaxWords));
    return words;
}

/** A scope's last part as a person reads it. */
std::string readable(const std::string &part)
{
    std::string text = percentDecoded(part);
    text.resize(std::min(text.size(), kMaxName));
    std::replace_if(
        text.begin(), text.end(),
        [](char letter) { return static_cast<unsigned char>(letter) < 0x20 || letter == 0x7F; }, '?');
    return text;
}

void readScopes(const std::vector<std::string> &scopes, FoundDevice &device)
{
    for (const std::string &scope : scopes) {
        if (!startsWith(scope, kScope)) {
            continue;
        }
        const std::string rest = scope.substr(std::string(kScope).size());
        const std::size_t slash = std::min(rest.find('/'), rest.size());
        const std::string kind = lowerCase(rest.substr(0, slash));
        const std::string value = readable(rest.substr(std::min(slash + 1, rest.size())));
        if (kind == "name") {
            device.name = value;
        } else if (kind == "hardware") {
            device.hardware = value;
        } else if (kind == "profile" && !value.empty()) {
            device.profiles.push_back(value);
        }
    }
}

/** The address of a log-in, on the host that the answer came from; nothing for a service by another scheme. */
std::optional<std::string> logInOf(const std::string &service, const std::string &from)
{
    const std::optional<Address> address = Address::parse(service, {});
    const bool bPlain = address && address->scheme() == Address::Scheme::Http;
    const bool bEncrypted = address && address->scheme() == Address::Scheme::Https && address->port() == 443;
    if (!bPlain && !bEncrypted) {
        return std::nullopt;
    }
    std::string text = "onvif://" + (from.find(':') == std::string::npos ? from : "[" + from + "]");
    text += address->port() == 80 ? std::string() : ":" + std::to_string(address->port());
    const bool bUsual = address->path().size() <= 1 || address->path() == "/onvif/device_service";
    return text + (bUsual ? std::string() : address->path());
}

} // namespace

std::string Discovery::probe(const std::string &nameSpace, const std::string &type, const std::string &messageId)
{
    return "<?xml version=\"1.0\" encoding=\"UTF-8\"?><s:Envelope xmlns:s=\"http://www.w3.org/2003/05/soap-envelope\" "
           "xmlns:a=\"http://schemas.xmlsoap.org/ws/2004/08/addressing\"><s:Header><a:Action s:mustUnderstand=\"1\">"
           "http://schemas.xmlsoap.org/ws/2005/04/discovery/Probe</a:Action><a:MessageID>" +
           messageId +
           "</a:MessageID><a:ReplyTo><a:Address>http://schemas.xmlsoap.org/ws/2004/08/addressing/role/anonymous"
           "</a:Address></a:ReplyTo><a:To s:mustUnderstand=\"1\">urn:schemas-xmlsoap-org:ws:2005:04:discovery</a:To>"
           "</s:Header><s:Body><d:Probe xmlns:d=\"http://schemas.xmlsoap.org/ws/2005/04/discovery\">"
           "<d:Types xmlns:t=\"" +
           nameSpace + "\">t:" + type + "</d:Types></d:Probe></s:Body></s:Envelope>";
}

std::vector<FoundDevice> Discovery::readAnswer(const std::string &datagram, const std::string &from)
{
    std::vector<FoundDevice> devices;
    try {
        const XmlDocument document(datagram);
        const pugi::xml_node matches = descendantOf(document.root(), {"Body", "ProbeMatches"});
        for (const pugi::xml_node &match : childrenOf(matches, "ProbeMatch", kMaxMatches)) {
            FoundDevice device;
            for (const std::string &service : wordsOf(childOf(match, "XAddrs"))) {
                const std::optional<std::string> address = logInOf(service, from);
                // Several are one device by several ways; plain ones are those that every device speaks.
                if (address && (device.address.empty() || startsWith(lowerCase(service), "http://"))) {
                    device.address = *address;
                }
            }
            readScopes(wordsOf(childOf(match, "Scopes")), device);
            if (!device.address.empty()) {
                devices.push_back(std::move(device));
            }
        }
    } catch (const Failure &) {
        // Anybody may send anything here.
        return {};
    }
    return devices;
}

void Discovery::open(const std::vector<std::string> &interfaces)
{
    m_sockets.clear();
    for (const std::string &address : interfaces.empty() ? std::vector<std::string>{""} : interfaces) {
        m_sockets.push_back(Socket::bindUdp(false, 0));
        if (!m_sockets.back().isValid()) {
            throw Failure(SELVIK_ERROR_RESOURCES);
        }
        if (!address.empty() && !m_sockets.back().sendGroupsThrough(address)) {
            throw Failure(SELVIK_ERROR_ADDRESS);
        }
    }
}

void Discovery::ask(const SocketAddress &group)
{
    for (Socket &socket : m_sockets) {
        for (const auto &[pNameSpace, pType] : kTypes) {
            const std::string question = probe(pNameSpace, pType, messageId());
            socket.sendTo(group, Bytes(question.begin(), question.end()));
        }
    }
}

void Discovery::gather(std::vector<FoundDevice> &found)
{
    for (Socket &socket : m_sockets) {
        Endpoint from;
        const std::size_t size = socket.receiveFrom(m_buffer.data(), m_buffer.size(), from);
        const std::string datagram(m_buffer.begin(), m_buffer.begin() + static_cast<std::ptrdiff_t>(size));
        for (FoundDevice &device : readAnswer(datagram, from.host)) {
            const bool bKnown = std::any_of(found.begin(), found.end(), [&device](const FoundDevice &known) {
                return known.address == device.address;
            });
            if (!bKnown && found.size() < kMaxDevices) {
                found.push_back(std::move(device));
            }
        }
    }
}

std::vector<FoundDevice> Discovery::search(const Reach &reach, const Patience &patience)
{
    const SocketAddress group(reach.group);
    open(reach.interfaces);
    m_buffer.resize(kMaxDatagram);
    std::vector<const Socket *> sockets;
    for (const Socket &socket : m_sockets) {
        sockets.push_back(&socket);
    }
    std::vector<FoundDevice> found;
    ask(group);
    Clock::time_point again = m_time.now() + kAskAgainAfter;
    while (!patience.isOver()) {
        if (m_time.now() >= again) {
            ask(group);
            again = TimeSource::kNoDeadline;
        }
        if (Socket::waitReadable(sockets,
                                 again == TimeSource::kNoDeadline ? patience : patience.atMost(kAskAgainAfter))) {
            gather(found);
        }
    }
    if (patience.isStopped()) {
        throw Stopped();
    }
    return found;
}

} // namespace selvik
