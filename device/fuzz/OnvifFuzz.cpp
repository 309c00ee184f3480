// The HTTP answers of an ONVIF device to all that it is asked on the way to a stream, one after another. Only the
// connecting is a double.
#include "Selvikdcm.h"
#include "device/fuzz/FuzzedStream.h"
#include "device/src/onvif/HttpClient.h"
#include "device/src/onvif/OnvifDevice.h"
#include "tests/support/FuzzTarget.h"

#include <array>

namespace selvik
{
namespace
{

/** What the present run's connections give out. Libraries' classes cannot be handed it, so it stands here. */
FuzzedBytes *g_pInput = nullptr;
SteppedTime *g_pTime = nullptr;
std::atomic<bool> *g_pStop = nullptr;

} // namespace

// In the place of the one that connects.
HttpResponse HttpClient::post(const HttpTarget &target, const std::string & /*contentType*/,
                              const std::string &authorization, const std::string &body, const Patience &patience)
{
    using pellora::test::mustHold;
    mustHold(target.port != 0 && !target.path.empty() && target.path.front() == '/', "a request goes to a place");
    mustHold((target.path + authorization).find_first_of("\r\n") == std::string::npos,
             "what a device has said cannot end a line of a request");
    mustHold(body.size() < 100000, "a question is bounded");
    if (!m_connection) {
        m_connection = std::make_unique<HttpReader>(std::make_unique<FuzzedStream>(*g_pInput, *g_pTime, *g_pStop));
    }
    m_connection->send(body, patience);
    HttpResponse response = m_connection->read(patience);
    if (!response.bGoesOn) {
        m_connection.reset();
    }
    return response;
}

} // namespace selvik

void pellora::test::fuzz(FuzzInput &input)
{
    static constexpr std::array<std::size_t, 4> kPieces = {16 * 1024, 1, 7, 1460};
    const std::uint8_t how = input.choose();
    if ((how & 0xC0) == 0xC0) {
        input.repeatUpTo(64 * 1024);
    }
    const FuzzTime limit(3000);
    selvik::SteppedTime time;
    std::atomic<bool> stop{false};
    selvik::FuzzedBytes bytes{input.bytes(), kPieces[how & 3], (how & 4) != 0};
    selvik::g_pInput = &bytes;
    selvik::g_pTime = &time;
    selvik::g_pStop = &stop;
    const selvik::Patience patience(time, stop, time.now() + std::chrono::hours(1));
    const selvik::Credentials credentials =
        (how & 8) != 0 ? selvik::Credentials{} : selvik::Credentials{"viewer", "secret"};
    try {
        selvik::OnvifDevice device(*selvik::Address::parse("onvif://192.0.2.7", credentials), time);
        const selvik::Address stream = device.streamOf(1, 0, patience);
        mustHold(stream.host() == "192.0.2.7", "a stream is where the device is");
        mustHold(stream.scheme() != selvik::Address::Scheme::File && stream.scheme() != selvik::Address::Scheme::Onvif,
                 "a stream is on the network");
        mustHold(stream.credentials().user == credentials.user, "no credentials but the user's are used");
    } catch (const selvik::Failure &failure) {
        mustHold(failure.error() != SELVIK_ERROR_NONE, "a failure has a reason");
    } catch (const selvik::Stopped &) {
        mustHold(stop, "stopped only where somebody said so");
    }
}
