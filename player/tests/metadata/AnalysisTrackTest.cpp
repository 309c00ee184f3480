// Which analysis belongs to which picture, and where it is in the window.

#include "player/src/metadata/AnalysisTrack.h"

#include "player/src/metadata/AnalysisDocument.h"
#include "player/src/metadata/AnalysisView.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace player
{
namespace
{

/** A frame with a time of day and one object with that label; without a label, of nothing. */
std::string frame(const std::string &utc, const std::string &label, const std::string &source = {})
{
    const std::string object = R"(<Object><Appearance><Shape><CenterOfGravity x="0" y="0"/></Shape><Class><Type>)" +
                               label + "</Type></Class></Appearance></Object>";
    return "<Frame UtcTime=\"2024-01-01T00:00:0" + utc + "Z\" Source=\"" + source + "\">" +
           (label.empty() ? "" : object) + "</Frame>";
}

std::string document(const std::string &frames)
{
    return "<MetadataStream><VideoAnalytics>" + frames + "</VideoAnalytics></MetadataStream>";
}

class AnalysisOfPictures : public testing::Test
{
protected:
    void add(std::int64_t milliseconds, const std::string &text)
    {
        m_track.add(milliseconds * 1000, text);
    }
    /** The labels that a picture has, by their sources. */
    std::string at(std::int64_t milliseconds)
    {
        std::string labels;
        for (const auto &pFrame : m_track.at(milliseconds * 1000)) {
            for (const AnalysisObject &object : pFrame->objects) {
                labels += (labels.empty() ? "" : " ") + object.label;
            }
        }
        return labels;
    }

    std::vector<std::string> m_told;
    AnalysisTrack m_track{[this](const char *pText) { m_told.emplace_back(pText); }};
};

TEST_F(AnalysisOfPictures, IsTheNewestThatIsNotAfterThem)
{
    add(0, document(frame("1.0", "a")));
    add(400, document(frame("1.4", "b")));
    EXPECT_EQ(at(-10), "");
    EXPECT_EQ(at(0), "a");
    EXPECT_EQ(at(360), "a");
    // Rounded times.
    EXPECT_EQ(at(399), "b");
    EXPECT_EQ(at(400), "b");
    EXPECT_EQ(at(1400), "b");
    EXPECT_EQ(at(1401), "");
}

TEST_F(AnalysisOfPictures, EndsWithAFrameThatHasNothing)
{
    add(0, document(frame("1.0", "a")));
    add(200, document(frame("1.2", "")));
    EXPECT_EQ(at(160), "a");
    EXPECT_EQ(at(200), "");
}

TEST_F(AnalysisOfPictures, OutlivesDocumentsOfEvents)
{
    add(0, document(frame("1.0", "a")));
    add(200, "<MetadataStream><Event/></MetadataStream>");
    EXPECT_EQ(at(240), "a");
}

TEST_F(AnalysisOfPictures, ComesFromSeveralFramesOfADocumentByTheirOwnTimes)
{
    add(1000, document(frame("1.0", "a") + frame("1.2", "b") + frame("1.4", "c")));
    EXPECT_EQ(at(600), "a");
    EXPECT_EQ(at(800), "b");
    EXPECT_EQ(at(1000), "c");
}

TEST_F(AnalysisOfPictures, ComesFromEachSourceOfTheCamera)
{
    add(0, document(frame("1.0", "a", "motion") + frame("1.0", "b", "faces")));
    add(200, document(frame("1.2", "c", "motion")));
    EXPECT_EQ(at(0), "a b");
    EXPECT_EQ(at(200), "c b");
}

TEST_F(AnalysisOfPictures, IsForgottenUpToATime)
{
    add(0, document(frame("1.0", "a")));
    add(200, document(frame("1.2", "b")));
    m_track.forgetBefore(200 * 1000);
    EXPECT_EQ(at(160), "");
    EXPECT_EQ(at(200), "b");
}

TEST_F(AnalysisOfPictures, TellsOnceThatItMakesNoSense)
{
    for (int i = 0; i < 20; ++i) {
        add(i * 10, i % 2 == 0 ? "<MetadataStream" : std::string(AnalysisBounds::kDocumentBytes / 8, '<'));
    }
    add(200, document(frame("1.0", "a")));
    EXPECT_EQ(at(200), "a");
    EXPECT_EQ(m_told.size(), 1U);
}

TEST_F(AnalysisOfPictures, CostsNothingThatIsNotAskedFor)
{
    add(0, "<MetadataStream");
    EXPECT_TRUE(m_told.empty()) << "it was read";
}

TEST_F(AnalysisOfPictures, KeepsOnlySoMuch)
{
    for (int i = 0; i < 300; ++i) {
        add(i * 10, document(frame("1.0", std::to_string(i))));
    }
    EXPECT_EQ(at(430), "") << "more than 256";
    EXPECT_EQ(at(440), "44");
    const std::string large = document(frame("1.0", "large") + std::string(200 * 1024, ' '));
    for (int i = 0; i < 12; ++i) {
        add(5000 + i * 100, large);
    }
    EXPECT_EQ(at(2990), "");
    EXPECT_EQ(at(5100), "");
    EXPECT_EQ(at(5200), "large");
}

TEST_F(AnalysisOfPictures, BearsAnyTime)
{
    add(0,
        document(frame("1.0", "a") + "<Frame UtcTime='0000-01-01T00:00:00Z'/><Frame UtcTime='9999-01-01T00:00:00Z'/>"));
    m_track.add(INT64_MAX, document(frame("1.0", "b")));
    m_track.add(INT64_MIN, document(frame("1.0", "c")));
    EXPECT_EQ(m_track.at(INT64_MAX).size(), 1U);
    EXPECT_EQ(m_track.at(INT64_MIN).size(), 1U);
    (void)at(0);
}

struct ViewCase {
    PixelRect region;
    AnalysisPoint point;
    int x;
    int y;
};

class Places : public testing::TestWithParam<ViewCase>
{
};

TEST_P(Places, AreThoseOfTheDisplayRegion)
{
    const AnalysisView view{{640, 360, 0, false}, GetParam().region, 320, 180};
    const AnalysisView::Pixel pixel = view.of(GetParam().point);
    EXPECT_EQ(pixel.x, GetParam().x);
    EXPECT_EQ(pixel.y, GetParam().y);
}

constexpr PixelRect kWhole{0, 0, 640, 360};

INSTANTIATE_TEST_SUITE_P(InTheWindow, Places,
                         testing::Values(ViewCase{kWhole, {-1, 1}, 0, 0}, ViewCase{kWhole, {1, -1}, 320, 180},
                                         ViewCase{kWhole, {0, 0}, 160, 90}, ViewCase{kWhole, {0.5F, 0.5F}, 240, 45},
                                         ViewCase{{320, 0, 640, 180}, {0, 1}, 0, 0},
                                         ViewCase{{320, 0, 640, 180}, {0.5F, 0.5F}, 160, 90},
                                         ViewCase{{320, 0, 640, 180}, {-1, -1}, -320, 360},
                                         ViewCase{{0, 0, 1, 1}, {16, -16}, 1 << 20, 550800}));

} // namespace
} // namespace player
