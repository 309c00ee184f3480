#include "device/src/onvif/SoapClient.h"

#include "device/src/onvif/AnsweredAddress.h"
#include "device/src/onvif/UserToken.h"

#include <algorithm>
#include <array>

namespace selvik
{

namespace
{

// A redirection, the question for credentials, a nonce that has expired, and each way to send them.
constexpr int kMaxAttempts = 6;
constexpr int kMaxRedirections = 2;
constexpr int kMaxSubcodes = 5;
constexpr std::size_t kMaxCode = 128;

// SOAP 1.2, which ONVIF's services are bound to.
constexpr const char *kSoap = "http://www.w3.org/2003/05/soap-envelope";

bool isSuccess(int nStatus)
{
    return nStatus >= 200 && nStatus < 300;
}

unsigned long errorOf(int nStatus)
{
    switch (nStatus) {
    case 401:
    case 403:
    case 407:
        return SELVIK_ERROR_REFUSED;
    case 408:
    case 504:
        return SELVIK_ERROR_TIMEOUT;
    case 503:
        return SELVIK_ERROR_RESOURCES;
    default:
        return nStatus >= 500 ? SELVIK_ERROR_HOST : SELVIK_ERROR_MEDIA;
    }
}

/** The codes of a fault: SOAP 1.2's code and subcodes, or the one of SOAP 1.1, which some devices answer. */
std::vector<std::string> codesOf(const pugi::xml_node &fault)
{
    std::vector<std::string> codes;
    pugi::xml_node code = childOf(fault, "Code");
    for (int i = 0; code && i < kMaxSubcodes; ++i) {
        codes.push_back(localName(textOf(childOf(code, "Value"), kMaxCode)));
        code = childOf(code, "Subcode");
    }
    if (codes.empty()) {
        codes.push_back(localName(textOf(childOf(fault, "faultcode"), kMaxCode)));
    }
    return codes;
}

SoapAnswer answerOf(const HttpResponse &response, const std::string &name)
{
    SoapAnswer answer;
    try {
        answer.document = std::make_shared<const XmlDocument>(response.body);
    } catch (const Failure &) {
        if (isSuccess(response.nStatus)) {
            throw;
        }
        throw Failure(errorOf(response.nStatus));
    }
    const pugi::xml_node body = childOf(answer.document->root(), "Body");
    answer.content = childOf(body, (name + "Response").c_str());
    const pugi::xml_node fault = childOf(body, "Fault");
    if (fault) {
        answer.faults = codesOf(fault);
    } else if (!answer.content || !isSuccess(response.nStatus)) {
        throw Failure(errorOf(response.nStatus));
    }
    return answer;
}

/** Whether a fault says that the credentials do not do; the first is ONVIF's, the others are WS-Security's. */
bool isRefusal(const SoapAnswer &answer)
{
    static constexpr std::array<const char *, 5> kCodes = {"NotAuthorized", "FailedAuthentication",
                                                           "InvalidSecurityToken", "InvalidSecurity", "FailedCheck"};
    return std::any_of(kCodes.begin(), kCodes.end(), [&answer](const char *pCode) { return answer.hasFault(pCode); });
}

bool isRedirection(const HttpResponse &response)
{
    return response.nStatus >= 301 && response.nStatus <= 308 && !response.header("location").empty();
}

} // namespace

bool SoapAnswer::hasFault(const std::string &code) const
{
    return std::find(faults.begin(), faults.end(), code) != faults.end();
}

SoapClient::SoapClient(std::string host, Credentials credentials, TimeSource &time)
    : m_http(std::move(host)),
      m_credentials(std::move(credentials)),
      m_authenticator(m_credentials),
      m_clock(time),
      m_way(m_credentials.empty() ? Way::Nowhere : Way::Token)
{
}

SoapAnswer SoapClient::call(HttpTarget &target, const SoapRequest &request, const Patience &patience)
{
    Way way = request.bCredentials || m_way != Way::Token ? m_way : Way::Nowhere;
    bool bAsked = false;
    int nRedirections = 0;
    for (int nAttempt = 0; nAttempt < kMaxAttempts; ++nAttempt) {
        const HttpResponse response = post(target, request, way, patience);
        if (isRedirection(response)) {
            const std::optional<HttpTarget> elsewhere = serviceTarget(response.header("location"), target);
            if (!elsewhere || ++nRedirections > kMaxRedirections) {
                break;
            }
            target = *elsewhere;
            continue;
        }
        if (response.nStatus == 401) {
            if (!bAsked) {
                // A question that was answered in an earlier request says nothing about this one: some devices ask with
                // a new nonce each time.
                m_authenticator = Authenticator(m_credentials);
            }
            if (m_authenticator.challenge(response.allOf("www-authenticate"), bAsked)) {
                bAsked = true;
                way = way == Way::Both ? Way::Both : Way::Http;
                m_way = way;
                continue;
            }
            if (bAsked || way == Way::Nowhere) {
                throw Failure(SELVIK_ERROR_REFUSED);
            }
        }
        SoapAnswer answer = answerOf(response, request.name);
        if (!isRefusal(answer)) {
            return answer;
        }
        if (way == Way::Token) {
            // Devices that know HTTP's digest alone may refuse the token. They ask for it where nothing is sent.
            way = Way::Nowhere;
        } else if (way == Way::Http) {
            // It went through on this level, and is wanted on the other one too.
            way = m_way = Way::Both;
        } else {
            throw Failure(SELVIK_ERROR_REFUSED);
        }
    }
    throw Failure(SELVIK_ERROR_MEDIA);
}

HttpResponse SoapClient::post(const HttpTarget &target, const SoapRequest &request, Way way, const Patience &patience)
{
    const bool bHttp = way == Way::Http || way == Way::Both;
    const std::string type =
        "application/soap+xml; charset=utf-8; action=\"" + request.nameSpace + "/" + request.name + "\"";
    return m_http.post(target, type, bHttp ? m_authenticator.authorization("POST", target.path) : std::string(),
                       envelope(request, way), patience);
}

std::string SoapClient::envelope(const SoapRequest &request, Way way) const
{
    std::string text = std::string("<?xml version=\"1.0\" encoding=\"UTF-8\"?><s:Envelope xmlns:s=\"") + kSoap + "\">";
    if (way == Way::Token || way == Way::Both) {
        text += "<s:Header>" + userToken(m_credentials, m_clock.stamp(), makeNonce()) + "</s:Header>";
    }
    // Devices that look for names without minding namespaces know them without a prefix.
    return text + "<s:Body><" + request.name + " xmlns=\"" + request.nameSpace + "\">" + request.content + "</" +
           request.name + "></s:Body></s:Envelope>";
}

} // namespace selvik
