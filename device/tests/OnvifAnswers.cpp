#include "device/tests/OnvifAnswers.h"

#include <pugixml.hpp>

#include <cstring>

namespace selvik
{

namespace
{

constexpr const char *kDevice = "http://www.onvif.org/ver10/device/wsdl";
constexpr const char *kMedia1 = "http://www.onvif.org/ver10/media/wsdl";
constexpr const char *kMedia2 = "http://www.onvif.org/ver20/media/wsdl";
constexpr const char *kSchema = "http://www.onvif.org/ver10/schema";
constexpr const char *kSoap = "http://www.w3.org/2003/05/soap-envelope";
constexpr const char *kExtension = "http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-wssecurity-secext-1.0.xsd";
constexpr const char *kUtility = "http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-wssecurity-utility-1.0.xsd";
constexpr const char *kPasswordDigest =
    "http://docs.oasis-open.org/wss/2004/01/oasis-200401-wss-username-token-profile-1.0#PasswordDigest";

std::string nameOf(const pugi::xml_node &node)
{
    const char *const pColon = std::strchr(node.name(), ':');
    return pColon == nullptr ? node.name() : pColon + 1;
}

/** The namespace that an element is in, by the declarations in force. */
std::string nameSpaceOf(const pugi::xml_node &node)
{
    const std::string name = node.name();
    const std::size_t colon = name.find(':');
    const std::string declaration = colon == std::string::npos ? "xmlns" : "xmlns:" + name.substr(0, colon);
    for (pugi::xml_node scope = node; scope; scope = scope.parent()) {
        if (const pugi::xml_attribute found = scope.attribute(declaration.c_str())) {
            return found.value();
        }
    }
    return {};
}

pugi::xml_node child(const pugi::xml_node &parent, const char *pNameSpace, const char *pName)
{
    for (const pugi::xml_node &node : parent.children()) {
        if (nameOf(node) == pName && nameSpaceOf(node) == pNameSpace) {
            return node;
        }
    }
    return {};
}

void readToken(const pugi::xml_node &header, OnvifQuestion &question)
{
    const pugi::xml_node token = child(child(header, kExtension, "Security"), kExtension, "UsernameToken");
    const pugi::xml_node password = child(token, kExtension, "Password");
    question.user = child(token, kExtension, "Username").text().get();
    question.digest = password.text().get();
    question.nonce = child(token, kExtension, "Nonce").text().get();
    question.created = child(token, kUtility, "Created").text().get();
    question.bToken = std::strcmp(password.attribute("Type").value(), kPasswordDigest) == 0 &&
                      !question.nonce.empty() && !question.created.empty();
}

std::string number(int value)
{
    return std::to_string(value);
}

std::string moment(const UtcDate &date)
{
    return "<tt:Time><tt:Hour>" + number(date.nHour) + "</tt:Hour><tt:Minute>" + number(date.nMinute) +
           "</tt:Minute><tt:Second>" + number(date.nSecond) + "</tt:Second></tt:Time><tt:Date><tt:Year>" +
           number(date.nYear) + "</tt:Year><tt:Month>" + number(date.nMonth) + "</tt:Month><tt:Day>" +
           number(date.nDay) + "</tt:Day></tt:Date>";
}

std::string service(const char *pNameSpace, const std::string &address)
{
    return std::string("<tds:Service><tds:Namespace>") + pNameSpace + "</tds:Namespace><tds:XAddr>" + address +
           "</tds:XAddr><tds:Version><tt:Major>2</tt:Major><tt:Minor>60</tt:Minor></tds:Version></tds:Service>";
}

/** A tt:VideoSourceConfiguration and a tt:VideoEncoderConfiguration (or its second form) under the given names. */
std::string configurations(const OfferedProfile &profile, const std::string &source, const std::string &encoder,
                           bool bNewer)
{
    const std::string size = "<tt:Resolution><tt:Width>" + number(profile.nWidth) + "</tt:Width><tt:Height>" +
                             number(profile.nHeight) + "</tt:Height></tt:Resolution><tt:Quality>4</tt:Quality>";
    std::string text = "<" + source + " token=\"vs-" + profile.source + "\"><tt:Name>Input</tt:Name><tt:UseCount>2" +
                       "</tt:UseCount><tt:SourceToken>" + profile.source +
                       "</tt:SourceToken><tt:Bounds x=\"0\" y=\"0\" width=\"1920\" height=\"1080\"/></" + source + ">";
    text += "<" + encoder + " token=\"ve-" + profile.token + "\"><tt:Name>Encoder</tt:Name><tt:UseCount>1" +
            "</tt:UseCount><tt:Encoding>H264</tt:Encoding>" + size;
    if (!bNewer) {
        text += "<tt:Multicast><tt:Address><tt:Type>IPv4</tt:Type><tt:IPv4Address>0.0.0.0</tt:IPv4Address>"
                "</tt:Address><tt:Port>0</tt:Port><tt:TTL>1</tt:TTL><tt:AutoStart>false</tt:AutoStart>"
                "</tt:Multicast><tt:SessionTimeout>PT60S</tt:SessionTimeout>";
    }
    return text + "</" + encoder + ">";
}

} // namespace

std::optional<OnvifQuestion> readQuestion(const std::string &envelope)
{
    pugi::xml_document document;
    if (!document.load_buffer(envelope.data(), envelope.size())) {
        return std::nullopt;
    }
    const pugi::xml_node top = child(document, kSoap, "Envelope");
    const pugi::xml_node operation = child(top, kSoap, "Body").first_child();
    OnvifQuestion question;
    question.nameSpace = nameSpaceOf(operation);
    question.operation = nameOf(operation);
    const char *const pSpace = question.nameSpace.c_str();
    question.profile = child(operation, pSpace, "ProfileToken").text().get();
    const pugi::xml_node setup = child(operation, pSpace, "StreamSetup");
    const bool bUnicast = std::strcmp(child(setup, kSchema, "Stream").text().get(), "RTP-Unicast") == 0;
    question.protocol = setup ? child(child(setup, kSchema, "Transport"), kSchema, "Protocol").text().get()
                              : child(operation, pSpace, "Protocol").text().get();
    question.bTypes = !std::string(child(operation, pSpace, "Type").text().get()).empty();
    readToken(child(top, kSoap, "Header"), question);
    const bool bIncomplete =
        (question.operation == "GetServices" && !child(operation, pSpace, "IncludeCapability")) ||
        (question.operation == "GetStreamUri" && (question.profile.empty() || question.protocol.empty())) ||
        (setup && !bUnicast);
    return operation && !bIncomplete ? std::make_optional(question) : std::nullopt;
}

std::string soap(const std::string &body)
{
    return std::string("<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n<env:Envelope xmlns:env=\"") + kSoap +
           "\" xmlns:tds=\"" + kDevice + "\" xmlns:trt=\"" + kMedia1 + "\" xmlns:tr2=\"" + kMedia2 + "\" xmlns:tt=\"" +
           kSchema + "\" xmlns:ter=\"http://www.onvif.org/ver10/error\"><env:Body>" + body +
           "</env:Body></env:Envelope>\n";
}

std::string dateAndTime(const UtcDate &date)
{
    return "<tds:GetSystemDateAndTimeResponse><tds:SystemDateAndTime><tt:DateTimeType>Manual</tt:DateTimeType>"
           "<tt:DaylightSavings>false</tt:DaylightSavings><tt:TimeZone><tt:TZ>CET-1</tt:TZ></tt:TimeZone>"
           "<tt:UTCDateTime>" +
           moment(date) + "</tt:UTCDateTime></tds:SystemDateAndTime></tds:GetSystemDateAndTimeResponse>";
}

std::string services(const OnvifScript &script, const std::string &base)
{
    std::string text = "<tds:GetServicesResponse>" + service(kDevice, base + "/onvif/device_service");
    if (script.bMedia1) {
        text += service(kMedia1, base + "/onvif/media");
    }
    if (script.bMedia2) {
        text += service(kMedia2, base + "/onvif/media2");
    }
    return text + "</tds:GetServicesResponse>";
}

std::string capabilities(const std::string &base)
{
    return "<tds:GetCapabilitiesResponse><tds:Capabilities><tt:Media><tt:XAddr>" + base +
           "/onvif/media</tt:XAddr><tt:StreamingCapabilities><tt:RTPMulticast>false</tt:RTPMulticast>"
           "<tt:RTP_TCP>true</tt:RTP_TCP><tt:RTP_RTSP_TCP>true</tt:RTP_RTSP_TCP></tt:StreamingCapabilities>"
           "</tt:Media></tds:Capabilities></tds:GetCapabilitiesResponse>";
}

std::string profiles(const OnvifScript &script, bool bNewer, bool bConfigurations)
{
    const std::string space = bNewer ? "tr2" : "trt";
    std::string text = "<" + space + ":GetProfilesResponse>";
    for (const OfferedProfile &profile : script.profiles) {
        text += "<" + space + ":Profiles token=\"" + profile.token + "\" fixed=\"true\"><" +
                (bNewer ? "tr2:Name>P</tr2:Name>" : "tt:Name>P</tt:Name>");
        const bool bPicture = bConfigurations && !profile.source.empty();
        if (bNewer && bPicture) {
            text += "<tr2:Configurations>" + configurations(profile, "tr2:VideoSource", "tr2:VideoEncoder", true) +
                    "</tr2:Configurations>";
        } else if (bPicture) {
            text += configurations(profile, "tt:VideoSourceConfiguration", "tt:VideoEncoderConfiguration", false);
        }
        text += "</" + space + ":Profiles>";
    }
    return text + "</" + space + ":GetProfilesResponse>";
}

std::string videoSources(const OnvifScript &script)
{
    std::string text = "<trt:GetVideoSourcesResponse>";
    for (const std::string &source : script.sources) {
        text += "<trt:VideoSources token=\"" + source + "\"><tt:Framerate>25</tt:Framerate><tt:Resolution><tt:Width>" +
                "1920</tt:Width><tt:Height>1080</tt:Height></tt:Resolution></trt:VideoSources>";
    }
    return text + "</trt:GetVideoSourcesResponse>";
}

std::string streamUri(const std::string &uri, bool bNewer)
{
    if (bNewer) {
        return "<tr2:GetStreamUriResponse><tr2:Uri>" + uri + "</tr2:Uri></tr2:GetStreamUriResponse>";
    }
    return "<trt:GetStreamUriResponse><trt:MediaUri><tt:Uri>" + uri +
           "</tt:Uri><tt:InvalidAfterConnect>false</tt:InvalidAfterConnect><tt:InvalidAfterReboot>false"
           "</tt:InvalidAfterReboot><tt:Timeout>PT0S</tt:Timeout></trt:MediaUri></trt:GetStreamUriResponse>";
}

std::string soapFault(const std::string &code, const std::string &subcode)
{
    return "<env:Fault><env:Code><env:Value>env:" + code + "</env:Value><env:Subcode><env:Value>ter:" + subcode +
           "</env:Value></env:Subcode></env:Code><env:Reason><env:Text xml:lang=\"en\">No</env:Text></env:Reason>"
           "</env:Fault>";
}

} // namespace selvik
