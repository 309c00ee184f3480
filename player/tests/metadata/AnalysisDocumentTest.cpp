// ONVIF's metadata documents: what is made of them, and that nothing is made of hostile ones.

#include "player/src/metadata/AnalysisDocument.h"

#include <gtest/gtest.h>

#include <string>

namespace player
{
namespace
{

std::string document(const std::string &inside)
{
    return R"(<?xml version="1.0" encoding="UTF-8"?><tt:MetadataStream xmlns:tt="http://www.onvif.org/ver10/schema">)" +
           inside + "</tt:MetadataStream>";
}

std::string framed(const std::string &inside)
{
    return document(R"(<tt:VideoAnalytics><tt:Frame UtcTime="2024-05-06T07:08:09.250Z">)" + inside +
                    "</tt:Frame></tt:VideoAnalytics>");
}

std::string object(const std::string &shape, const std::string &more = {})
{
    return R"(<tt:Object ObjectId="12"><tt:Appearance>)" + more + "<tt:Shape>" + shape +
           "</tt:Shape></tt:Appearance></tt:Object>";
}

const char *const kBox = R"(<tt:BoundingBox left="-0.5" top="0.5" right="0.25" bottom="-0.75"/>)";

/** The one object of the one frame. */
AnalysisObject onlyObject(const std::string &text)
{
    const auto frames = readAnalysis(text);
    if (!frames || frames->size() != 1 || frames->front().objects.size() != 1) {
        ADD_FAILURE() << text;
        return {};
    }
    return frames->front().objects.front();
}

void expectPoint(const AnalysisPoint &point, float x, float y)
{
    EXPECT_NEAR(point.x, x, 1e-4);
    EXPECT_NEAR(point.y, y, 1e-4);
}

TEST(AnalysisDocument, TellsBoxPolygonCentreAndClass)
{
    const AnalysisObject found = onlyObject(framed(object(
        std::string(kBox) + R"(<tt:CenterOfGravity x="0.125" y="-0.25"/><tt:Polygon><tt:Point x="0" y="0"/>)"
                            R"(<tt:Point x="0.5" y="0"/><tt:Point x="0" y="1"/></tt:Polygon>)",
        R"(<tt:Class><tt:Type Likelihood="0.2">Animal</tt:Type><tt:Type Likelihood="0.7">Human</tt:Type></tt:Class>)")));
    ASSERT_EQ(found.outlines.size(), 2U);
    ASSERT_EQ(found.outlines[0].size(), 4U);
    expectPoint(found.outlines[0][0], -0.5F, 0.5F);
    expectPoint(found.outlines[0][1], 0.25F, 0.5F);
    expectPoint(found.outlines[0][2], 0.25F, -0.75F);
    expectPoint(found.outlines[0][3], -0.5F, -0.75F);
    ASSERT_EQ(found.outlines[1].size(), 3U);
    expectPoint(found.outlines[1][2], 0, 1);
    ASSERT_TRUE(found.centre);
    expectPoint(*found.centre, 0.125F, -0.25F);
    EXPECT_EQ(found.label, "Human");
}

TEST(AnalysisDocument, TellsTheTimeAndTheSourceOfAFrame)
{
    const auto frames =
        readAnalysis(document(R"(<tt:VideoAnalytics><tt:Frame UtcTime="1970-01-01T00:00:01.5Z" Source="motion"/>)"
                              R"(<tt:Frame UtcTime="soon"/></tt:VideoAnalytics>)"));
    ASSERT_TRUE(frames);
    ASSERT_EQ(frames->size(), 2U);
    EXPECT_EQ((*frames)[0].utc, 1500000);
    EXPECT_EQ((*frames)[0].source, "motion");
    EXPECT_TRUE((*frames)[0].objects.empty());
    EXPECT_FALSE((*frames)[1].utc);
}

TEST(AnalysisDocument, TransformsFirstByTheAppearanceThenByTheFrame)
{
    const std::string transformation =
        R"(<tt:Transformation><tt:Translate x="-1.0" y="1.0"/><tt:Scale x="0.01" y="-0.02"/></tt:Transformation>)";
    const std::string inner =
        R"(<tt:Transformation><tt:Translate x="10" y="20"/><tt:Scale x="2" y="3"/></tt:Transformation>)";
    const std::string box = R"(<tt:BoundingBox left="0" top="0" right="45" bottom="10"/>)";
    const AnalysisObject found = onlyObject(framed(transformation + object(box, inner)));
    ASSERT_EQ(found.outlines.size(), 1U);
    expectPoint(found.outlines[0][0], -0.9F, 0.6F);
    expectPoint(found.outlines[0][2], 0, 0);
    const AnalysisObject outerAlone = onlyObject(framed(transformation + object(box)));
    expectPoint(outerAlone.outlines[0][2], -0.55F, 0.8F);
}

TEST(AnalysisDocument, TakesTheLikeliestOfCandidatesToo)
{
    const AnalysisObject found = onlyObject(framed(object(
        kBox,
        "<tt:Class><tt:ClassCandidate><tt:Type>Face</tt:Type><tt:Likelihood>0.4</tt:Likelihood></tt:ClassCandidate>"
        "<tt:ClassCandidate><tt:Type>Vehicle</tt:Type><tt:Likelihood>0.9</tt:Likelihood></tt:ClassCandidate>"
        "</tt:Class>")));
    EXPECT_EQ(found.label, "Vehicle");
}

TEST(AnalysisDocument, DoesNotCareForPrefixes)
{
    const auto frames = readAnalysis("<MetadataStream><VideoAnalytics><Frame><x:Object><Appearance><y:Shape>"
                                     "<BoundingBox left='0' top='0' right='1' bottom='1'/></y:Shape></Appearance>"
                                     "</x:Object></Frame></VideoAnalytics></MetadataStream>");
    ASSERT_TRUE(frames);
    EXPECT_EQ(frames->at(0).objects.size(), 1U);
}

TEST(AnalysisDocument, OfEventsAloneHasNoFrames)
{
    const auto frames = readAnalysis(document("<tt:Event><x/></tt:Event>"));
    ASSERT_TRUE(frames);
    EXPECT_TRUE(frames->empty());
}

TEST(AnalysisDocument, LeavesOutWhatHasNoPlace)
{
    for (const char *pShape :
         {R"(<tt:BoundingBox left="nan" top="0" right="1" bottom="1"/>)", R"(<tt:BoundingBox left="0" top="0"/>)",
          R"(<tt:BoundingBox left="1e999" top="0" right="1" bottom="1"/>)", "<tt:CenterOfGravity/>",
          R"(<tt:Polygon><tt:Point x="0" y="0"/></tt:Polygon>)", ""}) {
        const auto frames = readAnalysis(framed(object(pShape)));
        ASSERT_TRUE(frames);
        EXPECT_TRUE(frames->at(0).objects.empty()) << pShape;
    }
    const AnalysisObject far =
        onlyObject(framed(object(R"(<tt:BoundingBox left="-1e30" top="1e30" right="1e30" bottom="-1e30"/>)")));
    ASSERT_FALSE(far.outlines.empty());
    expectPoint(far.outlines[0][0], -16, 16);
}

TEST(AnalysisDocument, IsRefusedWhereItIsNone)
{
    for (const std::string &text :
         {std::string(), std::string("<"), std::string("no document"), std::string("<a/>"), framed("<tt:Object"),
          std::string("<!DOCTYPE x [<!ENTITY a \"b\">]>") + framed(object(kBox)), std::string(1000, '\0')}) {
        EXPECT_FALSE(readAnalysis(text)) << text.substr(0, 60);
    }
}

TEST(AnalysisDocument, IsRefusedBeyondItsBounds)
{
    using Bounds = AnalysisBounds;
    const std::string good = framed(object(kBox));
    EXPECT_TRUE(readAnalysis(good + std::string(Bounds::kDocumentBytes - good.size(), ' ')));
    EXPECT_FALSE(readAnalysis(good + std::string(Bounds::kDocumentBytes - good.size() + 1, ' ')));
    std::string tags;
    for (std::size_t i = 0; i < Bounds::kTags; ++i) {
        tags += "<a/>";
    }
    EXPECT_FALSE(readAnalysis(document(tags)));
    std::string opening;
    std::string closing;
    for (int i = 0; i < Bounds::kDepth; ++i) {
        opening += "<a>";
        closing += "</a>";
    }
    EXPECT_FALSE(readAnalysis(framed(opening + closing)));
    EXPECT_FALSE(readAnalysis(std::string(80000, '<')));
}

TEST(AnalysisDocument, LeavesOutWhatIsTooMuch)
{
    using Bounds = AnalysisBounds;
    std::string objects;
    for (std::size_t i = 0; i < Bounds::kObjects + 50; ++i) {
        objects += object(kBox);
    }
    EXPECT_EQ(readAnalysis(framed(objects)).value().at(0).objects.size(), Bounds::kObjects);
    std::string points;
    for (std::size_t i = 0; i < 1000; ++i) {
        points += R"(<tt:Point x="0" y="0"/>)";
    }
    const AnalysisObject found = onlyObject(framed(object("<tt:Polygon>" + points + "</tt:Polygon>")));
    EXPECT_EQ(found.outlines.at(0).size(), Bounds::kPoints);
    std::string frames;
    for (std::size_t i = 0; i < Bounds::kFrames + 10; ++i) {
        frames += "<tt:VideoAnalytics><tt:Frame/><tt:Frame/></tt:VideoAnalytics>";
    }
    EXPECT_EQ(readAnalysis(document(frames)).value().size(), Bounds::kFrames);
}

TEST(AnalysisDocument, ShortensLabelsBetweenCharacters)
{
    std::string type;
    for (int i = 0; i < 100; ++i) {
        type += "\xE4\xB8\xAD";
    }
    const AnalysisObject found =
        onlyObject(framed(object(kBox, "<tt:Class><tt:Type>a\x07&#10;" + type + "</tt:Type></tt:Class>")));
    ASSERT_GT(found.label.size(), 3U);
    EXPECT_EQ(found.label.front(), 'a');
    EXPECT_LE(found.label.size(), AnalysisBounds::kTextBytes);
    EXPECT_EQ(found.label.substr(found.label.size() - 3), "\xE4\xB8\xAD");
    EXPECT_EQ(found.label.find_first_of("\n\x07"), std::string::npos);
}

} // namespace
} // namespace player
