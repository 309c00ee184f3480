#include "device/src/PictureParameters.h"
#include "Selvikdcm.h"
#include "device/src/Failure.h"
#include "device/src/ParameterSets.h"
#include "device/src/RtpDepacketizer.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace selvik
{
namespace
{

/** Writes what BitReader reads. */
class BitWriter
{
public:
    void bits(std::uint32_t value, int count)
    {
        for (int i = count - 1; i >= 0; --i) {
            if (m_nBits++ % 8 == 0) {
                m_bytes.push_back(0);
            }
            m_bytes.back() = static_cast<std::uint8_t>(m_bytes.back() | ((value >> i) & 1U) << (7 - (m_nBits - 1) % 8));
        }
    }
    void golomb(std::uint32_t value)
    {
        int nLength = 1;
        while ((value + 1) >> nLength != 0) {
            ++nLength;
        }
        bits(0, nLength - 1);
        bits(value + 1, nLength);
    }
    [[nodiscard]] Bytes unit()
    {
        bits(1, 1);
        // Without the bytes that prevent start codes a reader would end early.
        Bytes result;
        int nZeros = 0;
        for (const std::uint8_t byte : m_bytes) {
            if (nZeros >= 2 && byte <= 3) {
                result.push_back(3);
                nZeros = 0;
            }
            result.push_back(byte);
            nZeros = byte == 0 ? nZeros + 1 : 0;
        }
        return result;
    }

private:
    Bytes m_bytes;
    int m_nBits = 0;
};

/** A sequence parameter set of H.264's main profile, in macroblocks. */
Bytes h264Sequence(std::uint32_t nAcross, std::uint32_t nDown, bool bFrames)
{
    BitWriter writer;
    writer.bits(0x67, 8);
    writer.bits(77, 8);
    writer.bits(0, 8);
    writer.bits(51, 8);
    writer.golomb(0);
    writer.golomb(4);
    writer.golomb(2);
    writer.golomb(1);
    writer.bits(0, 1);
    writer.golomb(nAcross - 1);
    writer.golomb(nDown - 1);
    writer.bits(bFrames ? 1 : 0, 1);
    if (!bFrames) {
        writer.bits(0, 1);
    }
    writer.bits(1, 1);
    writer.bits(0, 1);
    writer.bits(0, 1);
    return writer.unit();
}

/** A sequence parameter set of H.265, in pixels. */
Bytes h265Sequence(std::uint32_t nWidth, std::uint32_t nHeight)
{
    BitWriter writer;
    writer.bits(0x4201, 16);
    writer.bits(0, 8);
    for (int i = 0; i < 12; ++i) {
        writer.bits(i == 0 ? 1 : 0, 8);
    }
    writer.golomb(0);
    writer.golomb(1);
    writer.golomb(nWidth);
    writer.golomb(nHeight);
    writer.bits(0, 1);
    return writer.unit();
}

Bytes withStartCode(const Bytes &unit)
{
    Bytes bytes = {0, 0, 0, 1};
    bytes.insert(bytes.end(), unit.begin(), unit.end());
    return bytes;
}

ParametersPtr parametersOf(AVCodecID codec)
{
    ParametersPtr parameters(required(avcodec_parameters_alloc()));
    parameters->codec_id = codec;
    return parameters;
}

TEST(PictureParameters, TellTheSizeOfRealStreams)
{
    struct Described {
        const char *pEncoding;
        const char *pParameters;
        int nWidth;
        int nHeight;
    };
    // Of pictures that were coded with these sizes.
    const Described streams[] = {
        {"H264", "sprop-parameter-sets=Z2QADKzZQUH7ARAAAAMAEAAAAwPA8UKZYA==,aOvjyyLA", 320, 240},
        {"H265",
         "sprop-vps=QAEMAf//AWAAAAMAkAAAAwAAAwA8lZAJ; "
         "sprop-sps=QgEBAWAAAAMAkAAAAwAAAwA8oAoIDxZZWRKTC8BaAgAAAwACAAADADIQ;"
         "sprop-pps=RAHAc8CJ",
         320, 240}};
    for (const Described &stream : streams) {
        const std::string text = std::string("m=video 0 RTP/AVP 96\na=rtpmap:96 ") + stream.pEncoding +
                                 "/90000\na=fmtp:96 " + stream.pParameters + "\n";
        const auto reader = makeDepacketizer(Sdp::parse(text).media.front());
        const AVCodecParameters &described = reader->parameters();
        ASSERT_GT(described.extradata_size, 0) << stream.pEncoding;
        const ParametersPtr parameters = parametersOf(described.codec_id);
        readSize(*parameters, {described.extradata, static_cast<std::size_t>(described.extradata_size)});
        EXPECT_EQ(parameters->width, stream.nWidth) << stream.pEncoding;
        EXPECT_EQ(parameters->height, stream.nHeight) << stream.pEncoding;
    }
}

TEST(PictureParameters, TellFieldsFromFrames)
{
    const Bytes fields = h264Sequence(45, 18, false);
    const std::optional<H264Sequence> sequence = readH264Sequence({fields.data(), fields.size()});
    ASSERT_TRUE(sequence);
    EXPECT_EQ(sequence->nWidth, 720);
    EXPECT_EQ(sequence->nHeight, 576);
    EXPECT_FALSE(sequence->bFramesOnly);
    EXPECT_EQ(sequence->nFrameNumberBits, 8);
}

TEST(PictureParameters, ThatAreTornTellNothing)
{
    const Bytes h264 = h264Sequence(120, 68, true);
    const Bytes h265 = h265Sequence(1920, 1080);
    for (std::size_t size = 1; size + 2 < h264.size(); ++size) {
        const Bytes torn(h264.begin(), h264.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_FALSE(readH264Sequence({torn.data(), torn.size()})) << size;
    }
    for (std::size_t size = 1; size + 2 < h265.size(); ++size) {
        const Bytes torn(h265.begin(), h265.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_FALSE(readH265Sequence({torn.data(), torn.size()})) << size;
    }
}

struct Size {
    const char *pName;
    AVCodecID codec;
    Bytes sequence;
    bool bAllowed;
};

void PrintTo(const Size &size, std::ostream *pStream)
{
    *pStream << size.pName;
}

class PictureSize : public testing::TestWithParam<Size>
{
};

TEST_P(PictureSize, IsRefusedWithOneLineWhereItIsTooLarge)
{
    const ParametersPtr parameters = parametersOf(GetParam().codec);
    const Bytes sets = withStartCode(GetParam().sequence);
    testing::internal::CaptureStderr();
    bool bRefused = false;
    try {
        readSize(*parameters, {sets.data(), sets.size()});
    } catch (const Failure &failure) {
        bRefused = failure.error() == SELVIK_ERROR_MEDIA;
    }
    const std::string told = testing::internal::GetCapturedStderr();
    EXPECT_EQ(bRefused, !GetParam().bAllowed);
    EXPECT_EQ(parameters->width > 0, GetParam().bAllowed);
    EXPECT_EQ(std::count(told.begin(), told.end(), '\n'), GetParam().bAllowed ? 0 : 1) << told;
}

const Size kSizes[] = {
    {"Ordinary", AV_CODEC_ID_H264, h264Sequence(120, 68, true), true},
    {"OrdinaryOfH265", AV_CODEC_ID_HEVC, h265Sequence(3840, 2160), true},
    {"AsWideAsAllowed", AV_CODEC_ID_H264, h264Sequence(1024, 16, true), true},
    {"TooWide", AV_CODEC_ID_H264, h264Sequence(1025, 1, true), false},
    {"TooHigh", AV_CODEC_ID_HEVC, h265Sequence(16, 16400), false},
    {"TooManyPixels", AV_CODEC_ID_HEVC, h265Sequence(16384, 8192), false},
    {"TooManyPixelsInFields", AV_CODEC_ID_H264, h264Sequence(512, 270, false), false},
    {"BeyondAllNumbers", AV_CODEC_ID_H264, h264Sequence(0x7FFFFFFF, 0x7FFFFFFF, true), false},
};

INSTANTIATE_TEST_SUITE_P(Sizes, PictureSize, testing::ValuesIn(kSizes),
                         [](const testing::TestParamInfo<Size> &size) { return std::string(size.param.pName); });

} // namespace
} // namespace selvik
