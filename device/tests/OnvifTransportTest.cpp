// Why ONVIF's documents do not travel by FFmpeg's HTTP client. Should this fail with a later FFmpeg, it can take over.

#include "device/src/Ffmpeg.h"
#include "device/tests/SimulatedOnvif.h"

#include <gtest/gtest.h>

namespace selvik
{
namespace
{

TEST(FfmpegsHttpClient, KeepsTheBodyOfARefusedRequestToItself)
{
    OnvifScript script;
    script.credentials = OnvifScript::Credentials::None;
    // A request that is no SOAP is answered by a fault, which says so.
    for (const auto &[nStatus, nError] : {std::pair{400, AVERROR_HTTP_BAD_REQUEST}, {500, AVERROR_HTTP_SERVER_ERROR}}) {
        script.nFaultStatus = nStatus;
        const SimulatedOnvif device(realTime(), script);
        const std::string url = "http://127.0.0.1:" + std::to_string(device.port()) + "/onvif/device_service";
        Options options;
        options.set("method", "POST");
        options.set("headers", "Content-Type: application/soap+xml\r\n");
        options.set("post_data", "3c612f3e"); // "<a/>" in hexadecimal digits, as FFmpeg wants it
        AVIOContext *pIo = nullptr;
        EXPECT_EQ(avio_open2(&pIo, url.c_str(), AVIO_FLAG_READ, nullptr, options.get()), nError);
        EXPECT_EQ(pIo, nullptr) << "there would be something to read the fault from";
        avio_closep(&pIo);
        EXPECT_EQ(device.requests(), 1);
        EXPECT_NE(device.received().find("<a/>"), std::string::npos);
    }
}

} // namespace
} // namespace selvik
