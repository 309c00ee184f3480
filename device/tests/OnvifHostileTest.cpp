// Damaged answers of ONVIF devices, by the thousand: whatever they are, they are read or refused.

#include "Selvikdcm.h"
#include "device/src/ByteStream.h"
#include "device/src/onvif/Discovery.h"
#include "device/src/onvif/HttpReader.h"
#include "device/src/onvif/XmlDocument.h"
#include "device/tests/FakeTime.h"
#include "device/tests/OnvifAnswers.h"

#include <gtest/gtest.h>

#include <random>

namespace selvik
{
namespace
{

/** A connection that has sent everything already and is closed then. */
class EndedStream : public ByteStream
{
public:
    EndedStream(std::string text, std::size_t step) : m_text(std::move(text)), m_nStep(step) {}

    [[nodiscard]] std::size_t receive(std::uint8_t *pBuffer, std::size_t capacity, const Patience &) override
    {
        if (m_nAt == m_text.size()) {
            throw Failure(SELVIK_ERROR_HOST);
        }
        const std::size_t size = std::min({capacity, m_nStep, m_text.size() - m_nAt});
        std::copy_n(m_text.begin() + static_cast<std::ptrdiff_t>(m_nAt), size, pBuffer);
        m_nAt += size;
        return size;
    }
    void send(const std::uint8_t *, std::size_t, const Patience &) override {}
    [[nodiscard]] const Socket *socket() const override
    {
        return nullptr;
    }

private:
    const std::string m_text;
    const std::size_t m_nStep;
    std::size_t m_nAt = 0;
};

class OnvifDamage : public testing::Test
{
protected:
    /** The text with bytes changed, taken out, doubled, and pieces of others in it. */
    std::string damaged(std::string text)
    {
        static const char *const pPieces[] = {"<",
                                              "</",
                                              "<!DOCTYPE",
                                              "<![CDATA[",
                                              "&#0;",
                                              "\r\n\r\n",
                                              "ffffffff",
                                              "-1",
                                              "\"",
                                              "Content-Length: 99999999\r\n",
                                              "HTTP/1.1 100 C\r\n\r\n",
                                              "\0\0",
                                              "<?xml"};
        for (std::size_t i = 1 + m_random() % 6; i > 0 && !text.empty(); --i) {
            const std::size_t at = m_random() % text.size();
            switch (m_random() % 4) {
            case 0:
                text[at] = static_cast<char>(m_random());
                break;
            case 1:
                text.erase(at, m_random() % 40);
                break;
            case 2:
                text.insert(at, text.substr(m_random() % text.size(), m_random() % 60));
                break;
            default:
                text.insert(at, pPieces[m_random() % std::size(pPieces)]);
            }
        }
        return text;
    }

    /** How many of so many damaged texts could still be read. */
    template <typename Read>
    int readable(const std::string &text, int nRounds, Read read)
    {
        int nRead = 0;
        for (int i = 0; i < nRounds; ++i) {
            try {
                nRead += read(damaged(text)) ? 1 : 0;
            } catch (const Failure &) {
                // As well: it says why.
                continue;
            }
        }
        return nRead;
    }

    std::mt19937 m_random{7};
    FakeTime m_time;
    const std::atomic<bool> m_never{false};
};

TEST_F(OnvifDamage, ToHttpIsSurvived)
{
    const std::string body = soap(services({}, "http://10.0.0.1"));
    const std::string head = "HTTP/1.1 200 OK\r\nContent-Type: application/soap+xml\r\nServer: x\r\n";
    const std::string sized = head + "Content-Length: " + std::to_string(body.size()) + "\r\n\r\n" + body;
    const std::string chunked = head + "Transfer-Encoding: chunked\r\n\r\n20\r\n" + body.substr(0, 32) +
                                "\r\n10;a=b\r\n" + body.substr(32, 16) + "\r\n0\r\n\r\n";
    for (const std::string &text : {sized, chunked, head + "\r\n" + body}) {
        const int nRead = readable(text, 4000, [&](const std::string &answer) {
            HttpReader reader(std::make_unique<EndedStream>(answer, 1 + m_random() % 300));
            const HttpResponse response = reader.read({m_time, m_never, m_time.now() + std::chrono::seconds(1)});
            EXPECT_LE(response.body.size(), XmlDocument::kMaxSize);
            return response.nStatus == 200;
        });
        EXPECT_GT(nRead, 400);
        EXPECT_LT(nRead, 4000);
    }
}

TEST_F(OnvifDamage, ToDocumentsIsSurvived)
{
    OnvifScript script;
    const std::string text = soap(profiles(script, true, true) + streamUri("rtsp://10.0.0.1/a", false));
    const int nRead = readable(text, 8000, [](const std::string &answer) {
        const XmlDocument document(answer);
        const pugi::xml_node body = childOf(document.root(), "Body");
        return !textOf(descendantOf(body, {"GetStreamUriResponse", "MediaUri", "Uri"})).empty() &&
               !childrenOf(childOf(body, "GetProfilesResponse"), "Profiles", 10).empty();
    });
    EXPECT_GT(nRead, 200);
    EXPECT_LT(nRead, 8000);
}

TEST_F(OnvifDamage, ToSearchesAnswersIsSurvived)
{
    const std::string text =
        soap("<d:ProbeMatches xmlns:d='x'><d:ProbeMatch><d:Scopes>onvif://www.onvif.org/name/a%20b "
             "onvif://www.onvif.org/Profile/T</d:Scopes><d:XAddrs>http://10.0.0.1/x</d:XAddrs>"
             "</d:ProbeMatch></d:ProbeMatches>");
    const int nRead = readable(text, 8000, [](const std::string &answer) {
        const std::vector<FoundDevice> found = Discovery::readAnswer(answer, "192.0.2.7");
        return !found.empty();
    });
    EXPECT_GT(nRead, 200);
    EXPECT_LT(nRead, 8000);
}

} // namespace
} // namespace selvik
