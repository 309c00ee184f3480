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

struct Message {
    const char *pName;
    AVCodecID codec;
    Bytes unit;
    bool bRecoveryPoint;
};

TEST(CodedPicture, FindsARecoveryPointWhereverItStandsAmongTheMessages)
{
    Bytes behindALongOne = {0x06, 5, 0xFF, 45};
    behindALongOne.resize(4 + 300, 9);
    behindALongOne.insert(behindALongOne.end(), {6, 1, 0xC4, 0x80});
    Bytes behindALargeNumber = {0x06, 0xFF, 1, 2, 6, 1};
    behindALargeNumber.insert(behindALargeNumber.end(), {6, 1, 0xC4, 0x80});
    const Message messages[] = {
        {"the first", AV_CODEC_ID_H264, {0x06, 6, 1, 0xC4, 0x80}, true},
        {"the second", AV_CODEC_ID_H264, {0x06, 1, 2, 7, 7, 6, 1, 0xC4, 0x80}, true},
        {"behind one of 300 bytes", AV_CODEC_ID_H264, behindALongOne, true},
        {"behind one of type 256", AV_CODEC_ID_H264, behindALargeNumber, true},
        {"behind one with bytes that prevent start codes",
         AV_CODEC_ID_H264,
         {0x06, 5, 3, 0, 0, 3, 1, 6, 1, 0xC4, 0x80},
         true},
        {"H.265", AV_CODEC_ID_HEVC, {78, 1, 1, 2, 7, 7, 6, 1, 0xC4, 0x80}, true},
        {"H.265, behind the picture", AV_CODEC_ID_HEVC, {80, 1, 6, 1, 0xC4, 0x80}, false},
        {"bytes of another message that look like one", AV_CODEC_ID_H264, {0x06, 5, 2, 6, 1, 0x80}, false},
        {"torn", AV_CODEC_ID_H264, {0x06, 5, 0xFF, 0xFF, 0xFF}, false},
    };
    for (const Message &message : messages) {
        Bytes bytes = {0, 0, 0, 1};
        bytes.insert(bytes.end(), message.unit.begin(), message.unit.end());
        const Bytes slice =
            message.codec == AV_CODEC_ID_H264 ? Bytes{0, 0, 0, 1, 0x41, 0x9A, 7} : Bytes{0, 0, 0, 1, 2, 1, 0xD0, 7};
        bytes.insert(bytes.end(), slice.begin(), slice.end());
        const PictureFacts facts = inspectPicture(message.codec, bytes);
        EXPECT_EQ(facts.bRecoveryPoint, message.bRecoveryPoint) << message.pName;
        EXPECT_TRUE(facts.bPicture) << message.pName;
        EXPECT_FALSE(facts.bKey) << message.pName;
    }
}

TEST(CodedPicture, TellsWhichPicturesNeedNoOther)
{
    Bytes intra = {0, 0, 0, 1, 0x41, 0x88, 1, 0, 0, 0, 1, 0x41, 0x42, 1};
    Bytes mixed = {0, 0, 0, 1, 0x41, 0x88, 1, 0, 0, 0, 1, 0x41, 0x46, 1};
    EXPECT_TRUE(inspectPicture(AV_CODEC_ID_H264, intra).bIntra);
    EXPECT_FALSE(inspectPicture(AV_CODEC_ID_H264, mixed).bIntra);
    // First slice, picture parameter set 0, then the kind: 2 for I, 1 for P.
    Bytes intraH265 = {0, 0, 0, 1, 2, 1, 0xD8, 1};
    Bytes otherH265 = {0, 0, 0, 1, 2, 1, 0xD0, 1};
    EXPECT_TRUE(inspectPicture(AV_CODEC_ID_HEVC, intraH265).bIntra);
    EXPECT_FALSE(inspectPicture(AV_CODEC_ID_HEVC, otherH265).bIntra);
}

TEST(CodedPicture, TellsWhichPicturesOfH265LookAcrossARandomAccess)
{
    for (int nType = 0; nType <= 21; ++nType) {
        Bytes bytes = {0, 0, 0, 1, static_cast<std::uint8_t>(nType << 1), 1, 0xD0, 1};
        const PictureFacts facts = inspectPicture(AV_CODEC_ID_HEVC, bytes);
        EXPECT_TRUE(facts.bPicture) << nType;
        EXPECT_EQ(facts.bLeading, nType == 8 || nType == 9) << nType;
    }
}

TEST(CodedPicture, BeginsAnywhereWhereH265AllowsIt)
{
    // IDR, CRA and BLA.
    for (const int nType : {16, 17, 18, 19, 20, 21}) {
        Bytes bytes = {0, 0, 0, 1, static_cast<std::uint8_t>(nType << 1), 1, 0x90};
        EXPECT_TRUE(inspectPicture(AV_CODEC_ID_HEVC, bytes).bKey) << nType;
    }
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
