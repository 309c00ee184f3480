// What answers a search for ONVIF devices, and what is read from it.

#include "Selvikdcm.h"
#include "device/src/onvif/Discovery.h"
#include "device/tests/FakeTime.h"
#include "device/tests/TestSocket.h"

#include <gtest/gtest.h>
#include <pugixml.hpp>

#include <atomic>
#include <mutex>
#include <stdexcept>
#include <thread>

namespace selvik
{
namespace
{

using namespace std::chrono_literals;

const char *const kScopes = "onvif://www.onvif.org/type/video_encoder onvif://www.onvif.org/name/North%20gate\n"
                            "onvif://www.onvif.org/hardware/D1 onvif://www.onvif.org/Profile/Streaming "
                            "onvif://www.onvif.org/Profile/T http://elsewhere/name/other";

/** A ProbeMatches message as WS-Discovery's schema of 2005/04 has it. */
std::string answer(const std::string &addresses, const std::string &scopes = kScopes)
{
    return "<?xml version=\"1.0\"?><e:Envelope xmlns:e=\"http://www.w3.org/2003/05/soap-envelope\" "
           "xmlns:w=\"http://schemas.xmlsoap.org/ws/2004/08/addressing\" "
           "xmlns:d=\"http://schemas.xmlsoap.org/ws/2005/04/discovery\" "
           "xmlns:dn=\"http://www.onvif.org/ver10/network/wsdl\"><e:Header>"
           "<w:MessageID>uuid:84ede3de-7dec-11d0-c360-f01234567890</w:MessageID>"
           "<w:RelatesTo>uuid:1</w:RelatesTo>"
           "<w:To>http://schemas.xmlsoap.org/ws/2004/08/addressing/role/anonymous</w:To>"
           "<w:Action>http://schemas.xmlsoap.org/ws/2005/04/discovery/ProbeMatches</w:Action></e:Header><e:Body>"
           "<d:ProbeMatches><d:ProbeMatch><w:EndpointReference><w:Address>urn:uuid:1</w:Address>"
           "</w:EndpointReference><d:Types>dn:NetworkVideoTransmitter</d:Types><d:Scopes>" +
           scopes + "</d:Scopes><d:XAddrs>" + addresses +
           "</d:XAddrs><d:MetadataVersion>10</d:MetadataVersion></d:ProbeMatch></d:ProbeMatches></e:Body></e:Envelope>";
}

/** Hears datagrams on loopback and answers each, but for the first ones that it is told to miss. */
class Responder
{
public:
    Responder(TimeSource &time, std::string reply, int nMisses = 0)
        : m_time(time), m_reply(std::move(reply)), m_nMisses(nMisses)
    {
        startSockets();
        m_socket = ::socket(AF_INET, SOCK_DGRAM, 0);
        sockaddr_in address = loopback(0);
        socklen_t size = sizeof address;
        if (bind(m_socket, reinterpret_cast<const sockaddr *>(&address), size) != 0) {
            throw std::runtime_error("no port");
        }
        getsockname(m_socket, reinterpret_cast<sockaddr *>(&address), &size);
        m_nPort = ntohs(address.sin_port);
        m_thread = std::thread([this, presence = m_time.presence()] { run(); });
    }
    ~Responder()
    {
        {
            std::unique_lock<std::mutex> lock(m_mutex);
            m_bStop = true;
            m_time.wait(lock, m_changed, TimeSource::kNoDeadline, [this] { return m_bEnded; });
        }
        m_thread.join();
        closeSocket(m_socket);
    }
    Responder(const Responder &) = delete;
    Responder &operator=(const Responder &) = delete;

    [[nodiscard]] Discovery::Reach reach() const
    {
        return {{"127.0.0.1", m_nPort}, {}};
    }
    [[nodiscard]] std::vector<std::string> questions() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_questions;
    }

private:
    void run()
    {
        while (!m_bStop) {
            if (!waitReadable(m_time, m_bStop, m_socket, 1s)) {
                continue;
            }
            char buffer[8192];
            sockaddr_in from = {};
            socklen_t size = sizeof from;
            const auto received =
                recvfrom(m_socket, buffer, sizeof buffer, 0, reinterpret_cast<sockaddr *>(&from), &size);
            const std::lock_guard<std::mutex> lock(m_mutex);
            m_questions.emplace_back(buffer, static_cast<std::size_t>(std::max<long long>(received, 0)));
            if (m_questions.size() > static_cast<std::size_t>(m_nMisses)) {
                (void)sendto(m_socket, m_reply.data(), static_cast<int>(m_reply.size()), 0,
                             reinterpret_cast<const sockaddr *>(&from), size);
            }
        }
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_bEnded = true;
        m_changed.notify_all();
    }

    TimeSource &m_time;
    const std::string m_reply;
    const int m_nMisses;
    TestSocket m_socket;
    unsigned short m_nPort = 0;
    std::atomic<bool> m_bStop{false};
    std::thread m_thread;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    bool m_bEnded = false;
    std::vector<std::string> m_questions;
};

class OnvifSearch : public testing::Test
{
protected:
    std::vector<FoundDevice> search(const Responder &responder)
    {
        return Discovery(m_time).search(responder.reach(), {m_time, m_stop, m_time.now() + 3s});
    }

    FakeTime m_time;
    std::atomic<bool> m_stop{false};
};

TEST_F(OnvifSearch, ListsWhatAnswersOnceWithNameAddressAndProfiles)
{
    const Responder responder(m_time, answer("http://127.0.0.1/onvif/device_service"));
    const Clock::time_point begin = m_time.now();
    const std::vector<FoundDevice> found = search(responder);
    EXPECT_EQ(m_time.now() - begin, 3s);
    // It answers each question, by two types and twice.
    EXPECT_EQ(responder.questions().size(), 4U);
    ASSERT_EQ(found.size(), 1U);
    EXPECT_EQ(found[0].name, "North gate");
    EXPECT_EQ(found[0].hardware, "D1");
    EXPECT_EQ(found[0].address, "onvif://127.0.0.1");
    EXPECT_EQ(found[0].profiles, (std::vector<std::string>{"Streaming", "T"}));
}

TEST_F(OnvifSearch, FindsADeviceThatTheFirstQuestionDidNotReach)
{
    const Responder responder(m_time, answer("http://127.0.0.1/onvif/device_service"), 2);
    EXPECT_EQ(search(responder).size(), 1U);
}

TEST_F(OnvifSearch, AsksAsThePublishedSchemaWants)
{
    const Responder responder(m_time, "nothing that can be read");
    EXPECT_TRUE(search(responder).empty());
    std::vector<std::string> messages;
    for (const std::string &question : responder.questions()) {
        pugi::xml_document document;
        ASSERT_TRUE(document.load_string(question.c_str()));
        const pugi::xml_node header = document.child("s:Envelope").child("s:Header");
        EXPECT_STREQ(header.child("a:Action").text().get(), "http://schemas.xmlsoap.org/ws/2005/04/discovery/Probe");
        EXPECT_STREQ(header.child("a:To").text().get(), "urn:schemas-xmlsoap-org:ws:2005:04:discovery");
        const pugi::xml_node types = document.child("s:Envelope").child("s:Body").child("d:Probe").child("d:Types");
        const bool bTransmitter = std::string(types.text().get()) == "t:NetworkVideoTransmitter";
        EXPECT_STREQ(types.attribute("xmlns:t").value(), bTransmitter ? "http://www.onvif.org/ver10/network/wsdl"
                                                                      : "http://www.onvif.org/ver10/device/wsdl");
        messages.emplace_back(header.child("a:MessageID").text().get());
        EXPECT_EQ(messages.back().size(), 41U) << messages.back();
    }
    ASSERT_EQ(messages.size(), 4U);
    EXPECT_NE(messages[0], messages[1]);
}

TEST_F(OnvifSearch, EndsAtOnceWhenItIsStoppedAndSaysWhatIsNoInterface)
{
    Discovery discovery(m_time);
    m_stop = true;
    EXPECT_THROW((void)discovery.search({{"127.0.0.1", 9}, {}}, {m_time, m_stop, m_time.now() + 3s}), Stopped);
    try {
        (void)discovery.search({{"127.0.0.1", 9}, {"192.0.2.77"}}, {m_time, m_stop, m_time.now() + 3s});
        ADD_FAILURE();
    } catch (const Failure &failure) {
        EXPECT_EQ(failure.error(), static_cast<unsigned long>(SELVIK_ERROR_ADDRESS));
    }
}

std::string addressIn(const std::string &addresses)
{
    const std::vector<FoundDevice> found = Discovery::readAnswer(answer(addresses), "192.0.2.7");
    return found.empty() ? std::string() : found.front().address;
}

TEST(OnvifSearchAnswer, IsOnTheHostThatItCameFrom)
{
    EXPECT_EQ(addressIn("http://10.0.0.1/onvif/device_service"), "onvif://192.0.2.7");
    EXPECT_EQ(addressIn("http://camera.local:8080/onvif/device_service"), "onvif://192.0.2.7:8080");
    EXPECT_EQ(addressIn("http://10.0.0.1/other"), "onvif://192.0.2.7/other");
    EXPECT_EQ(addressIn("https://10.0.0.1/onvif/device_service"), "onvif://192.0.2.7:443");
    EXPECT_EQ(addressIn("https://10.0.0.1/onvif/device_service\n\thttp://10.0.0.1:81/"), "onvif://192.0.2.7:81");
    EXPECT_EQ(addressIn("https://10.0.0.1:8443/x ftp://10.0.0.1/ nonsense"), "");
    EXPECT_EQ(addressIn(""), "");
    EXPECT_EQ(Discovery::readAnswer(answer("http://[fe80::1]/"), "fe80::1%2").front().address, "onvif://[fe80::1%2]");
}

TEST(OnvifSearchAnswer, IsJudgedLikeAnythingFromTheNetwork)
{
    EXPECT_TRUE(Discovery::readAnswer("", "192.0.2.7").empty());
    EXPECT_TRUE(Discovery::readAnswer("<!DOCTYPE a>" + answer("http://10.0.0.1/"), "192.0.2.7").empty());
    const FoundDevice device =
        Discovery::readAnswer(answer("http://10.0.0.1/", "onvif://www.onvif.org/name/" + std::string(500, 'x') +
                                                             "%1b%5b2J onvif://www.onvif.org/"
                                                             "hardware/%1b onvif://www.onvif.org/name"),
                              "192.0.2.7")
            .front();
    EXPECT_LE(device.name.size(), 128U);
    EXPECT_EQ(device.hardware, "?");
}

} // namespace
} // namespace selvik
