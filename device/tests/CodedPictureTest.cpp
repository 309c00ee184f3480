#include "device/src/CodedPicture.h"

#include <gtest/gtest.h>

namespace selvik
{
namespace
{

TEST(CodedPicture, ReadsParameterSetsAndAKeyPicture)
{
    Bytes bytes = {0, 0, 0, 1, 0x67, 1, 2, 0, 0, 1, 0x68, 3, 0, 0, 0, 1, 0x65, 4, 5};
    const PictureFacts facts = inspectPicture(AV_CODEC_ID_H264, bytes);
    EXPECT_TRUE(facts.bPicture);
    EXPECT_TRUE(facts.bKey);
    EXPECT_EQ(facts.parameterSets, (Bytes{0, 0, 0, 1, 0x67, 1, 2, 0, 0, 0, 1, 0x68, 3}));
    EXPECT_EQ(bytes, (Bytes{0, 0, 0, 1, 0x67, 1, 2, 0, 0, 0, 1, 0x68, 3, 0, 0, 0, 1, 0x65, 4, 5}));
}

TEST(CodedPicture, LeavesOutWhatStartCodesInsidePacketsLeaveBehind)
{
    Bytes bytes = {0, 0, 0, 1, 0, 0, 0, 1, 0x41, 7, 0, 0, 0, 0, 0, 1, 0x09, 0, 0, 1, 0, 0, 1, 0x41, 8};
    const PictureFacts facts = inspectPicture(AV_CODEC_ID_H264, bytes);
    EXPECT_TRUE(facts.bPicture);
    EXPECT_FALSE(facts.bKey);
    EXPECT_EQ(bytes, (Bytes{0, 0, 0, 1, 0x41, 7, 0, 0, 0, 1, 0x41, 8}));
}

TEST(CodedPicture, KnowsH265)
{
    Bytes sets = {0, 0, 0, 1, 0x40, 1, 9, 0, 0, 0, 1, 0x42, 1, 9, 0, 0, 0, 1, 0x44, 1, 9};
    EXPECT_FALSE(inspectPicture(AV_CODEC_ID_HEVC, sets).bPicture);
    EXPECT_EQ(inspectPicture(AV_CODEC_ID_HEVC, sets).parameterSets, sets);
    Bytes key = {0, 0, 0, 1, 0x26, 1, 9};
    EXPECT_TRUE(inspectPicture(AV_CODEC_ID_HEVC, key).bKey);
    Bytes other = {0, 0, 0, 1, 0x02, 1, 9};
    EXPECT_TRUE(inspectPicture(AV_CODEC_ID_HEVC, other).bPicture);
    EXPECT_FALSE(inspectPicture(AV_CODEC_ID_HEVC, other).bKey);
}

TEST(CodedPicture, ARecoveryPointWithParameterSetsIsABeginning)
{
    Bytes bytes = {0, 0, 1, 0x67, 1, 0, 0, 1, 0x68, 1, 0, 0, 1, 0x06, 6, 1, 0, 0, 1, 0x41, 7};
    EXPECT_TRUE(inspectPicture(AV_CODEC_ID_H264, bytes).bKey);
    Bytes without = {0, 0, 1, 0x06, 6, 1, 0, 0, 1, 0x41, 7};
    EXPECT_FALSE(inspectPicture(AV_CODEC_ID_H264, without).bKey);
}

TEST(CodedPicture, SurvivesTornBytes)
{
    const Bytes whole = {0, 0, 0, 1, 0x67, 1, 0, 0, 1, 0, 0, 1, 0, 0, 0, 0, 1, 0x65};
    for (const AVCodecID codec : {AV_CODEC_ID_H264, AV_CODEC_ID_HEVC, AV_CODEC_ID_MPEG4, AV_CODEC_ID_MPEG2VIDEO,
                                  AV_CODEC_ID_VP8, AV_CODEC_ID_VP9, AV_CODEC_ID_MJPEG}) {
        for (std::size_t size = 0; size <= whole.size(); ++size) {
            Bytes torn(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
            const PictureFacts facts = inspectPicture(codec, torn);
            EXPECT_TRUE(!facts.bKey || facts.bPicture || codec == AV_CODEC_ID_MPEG4);
        }
    }
}

TEST(CodedPicture, TellsKeyPicturesOfOtherCodecs)
{
    Bytes mpeg4Key = {0, 0, 1, 0xB6, 0x10, 0, 0};
    Bytes mpeg4Other = {0, 0, 1, 0xB6, 0x50, 0, 0};
    EXPECT_TRUE(inspectPicture(AV_CODEC_ID_MPEG4, mpeg4Key).bKey);
    EXPECT_FALSE(inspectPicture(AV_CODEC_ID_MPEG4, mpeg4Other).bKey);
    Bytes jpeg = {0xFF, 0xD8};
    EXPECT_TRUE(inspectPicture(AV_CODEC_ID_MJPEG, jpeg).bKey);
}

} // namespace
} // namespace selvik
