#include "player/src/core/CodedUnits.h"

#include <gtest/gtest.h>

#include <vector>

namespace
{

using player::CodedUnits;
using Bytes = std::vector<std::uint8_t>;

/** Looks into units with start codes, or with lengths of four bytes where the extra data say so. */
CodedUnits look(AVCodecID codec, Bytes bytes, Bytes extradata = {})
{
    AVPacket packet{};
    packet.data = bytes.data();
    packet.size = static_cast<int>(bytes.size());
    AVCodecParameters parameters{};
    parameters.codec_id = codec;
    parameters.extradata = extradata.data();
    parameters.extradata_size = static_cast<int>(extradata.size());
    return CodedUnits::of(packet, parameters);
}

Bytes lengthsOfFour(std::size_t place)
{
    Bytes extradata(place + 2);
    extradata[0] = 1;
    extradata[place] = 0xFF;
    return extradata;
}

TEST(CodedUnitsTest, FindsThePictureBehindParameterSets)
{
    EXPECT_TRUE(look(AV_CODEC_ID_H264, {0, 0, 0, 1, 0x67, 1, 2, 0, 0, 1, 0x65, 3, 4}).picture);
    EXPECT_TRUE(look(AV_CODEC_ID_H264, {0, 0, 0, 3, 0x67, 1, 2, 0, 0, 0, 3, 0x41, 3, 4}, lengthsOfFour(4)).picture);
    EXPECT_TRUE(look(AV_CODEC_ID_HEVC, {0, 0, 1, 0x40, 1, 2, 0, 0, 1, 0x26, 1, 4}).picture);
}

TEST(CodedUnitsTest, FindsNoneInParameterSetsAlone)
{
    EXPECT_FALSE(look(AV_CODEC_ID_H264, {0, 0, 1, 0x67, 1, 2, 0, 0, 1, 0x68, 3, 4}).picture);
    EXPECT_FALSE(look(AV_CODEC_ID_HEVC, {0, 0, 1, 0x40, 1, 2, 0, 0, 1, 0x42, 1, 4}).picture);
    EXPECT_FALSE(look(AV_CODEC_ID_H264, {0, 0, 0, 0}, lengthsOfFour(4)).picture);
}

TEST(CodedUnitsTest, SurvivesLengthsThatLie)
{
    const CodedUnits torn = look(AV_CODEC_ID_H264, {0xFF, 0xFF, 0xFF, 0xFF, 0x65, 1, 2}, lengthsOfFour(4));
    EXPECT_TRUE(torn.picture) << "most likely";
    EXPECT_FALSE(torn.intra);
    EXPECT_FALSE(look(AV_CODEC_ID_HEVC, {0, 0, 1, 0x4E, 1, 0xFF, 0xFF, 0xFF}).recoversAfter);
    EXPECT_FALSE(look(AV_CODEC_ID_HEVC, {0, 0, 1, 0x4E, 1, 6, 9, 0x80}).recoversAfter);
}

TEST(CodedUnitsTest, ReadsTheRecoveryPointBehindOtherMessages)
{
    // Exp-Golomb 00110 is 6 - 1 = 5, which stands for +3.
    const Bytes packet{0, 0, 1, 0x4E, 1, 137, 1, 0xAA, 6, 1, 0x30, 0x80, 0, 0, 1, 0x02, 1, 4};
    const CodedUnits units = look(AV_CODEC_ID_HEVC, packet);
    EXPECT_TRUE(units.picture);
    EXPECT_EQ(units.recoversAfter, 3);
    EXPECT_EQ(look(AV_CODEC_ID_HEVC, {0, 0, 1, 0x4E, 1, 6, 1, 0x80, 0x80}).recoversAfter, 0);
}

TEST(CodedUnitsTest, ReadsTheRecoveryPointOfH264WhereverItStands)
{
    // Exp-Golomb 00110 is 5, and 1 is 0. The first message holds two zeros, which an encoder sends as 0 0 3.
    const Bytes packet{0, 0, 1, 6, 5, 4, 0, 0, 3, 1, 7, 6, 1, 0x30, 0x80, 0, 0, 1, 0x41, 0x9A, 4};
    EXPECT_EQ(look(AV_CODEC_ID_H264, packet).recoversAfter, 5);
    EXPECT_TRUE(look(AV_CODEC_ID_H264, packet).picture);
    EXPECT_EQ(look(AV_CODEC_ID_H264, {0, 0, 1, 6, 6, 1, 0xC0, 0x80}).recoversAfter, 0);
    EXPECT_FALSE(look(AV_CODEC_ID_H264, {0, 0, 1, 6, 5, 1, 0xC0, 0x80}).recoversAfter);
}

TEST(CodedUnitsTest, TellsPicturesThatAreMadeOfNothingButThemselves)
{
    // The first macroblock 0, then kind 7 or 2 (intra) or 5 (predicted); of two slices both have to be.
    const Bytes intra{0, 0, 1, 0x41, 0x88, 0x80, 4};
    const Bytes predicted{0, 0, 1, 0x41, 0x9A, 4, 4};
    EXPECT_TRUE(look(AV_CODEC_ID_H264, intra).intra);
    EXPECT_TRUE(look(AV_CODEC_ID_H264, {0, 0, 1, 0x41, 0xB0, 4, 4}).intra);
    EXPECT_FALSE(look(AV_CODEC_ID_H264, predicted).intra);
    Bytes both = intra;
    both.insert(both.end(), predicted.begin(), predicted.end());
    EXPECT_FALSE(look(AV_CODEC_ID_H264, both).intra);
    EXPECT_FALSE(look(AV_CODEC_ID_H264, {0, 0, 1, 0x67, 1, 2}).intra);
    // H.265: the first slice, parameter set 0, kind 2 (intra) or 1 (predicted).
    EXPECT_TRUE(look(AV_CODEC_ID_HEVC, {0, 0, 1, 0x02, 1, 0xD8, 0}).intra);
    EXPECT_FALSE(look(AV_CODEC_ID_HEVC, {0, 0, 1, 0x02, 1, 0xD0, 0}).intra);
}

TEST(CodedUnitsTest, TellsWhereNothingRefersBackOverThePicture)
{
    EXPECT_TRUE(look(AV_CODEC_ID_H264, {0, 0, 1, 0x67, 1, 2, 0, 0, 1, 0x65, 0x88, 4}).refresh);
    EXPECT_FALSE(look(AV_CODEC_ID_H264, {0, 0, 1, 0x41, 0xB0, 4}).refresh) << "intra, not IDR";
    for (const int type : {16, 19, 20, 21}) {
        EXPECT_TRUE(look(AV_CODEC_ID_HEVC, {0, 0, 1, static_cast<std::uint8_t>(type << 1), 1, 0xA0}).refresh) << type;
    }
    EXPECT_FALSE(look(AV_CODEC_ID_HEVC, {0, 0, 1, 1 << 1, 1, 0xA0}).refresh) << "trailing";
    EXPECT_FALSE(look(AV_CODEC_ID_HEVC, {0, 0, 1, 0x42, 1, 4}).refresh) << "no picture";
}

TEST(CodedUnitsTest, TakesOtherCodecsForPictures)
{
    EXPECT_TRUE(look(AV_CODEC_ID_MJPEG, {1, 2, 3}).picture);
    EXPECT_TRUE(look(AV_CODEC_ID_MJPEG, {1, 2, 3}).refresh);
}

} // namespace
