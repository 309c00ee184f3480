// The layer against drawing the rules: the same pixels, whatever changes.

#include "gdi/GdiObjects.h"
#include "gdi/MemoryDc.h"
#include "gdi/Selection.h"
#include "rules/gdi/DibPixels.h"
#include "rules/gdi/RuleDrawing.h"
#include "rules/tests/RuleTestSupport.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <functional>
#include <optional>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace pellora
{
namespace
{

/** Smoothed letters are mixed with their ground by two roundings instead of GDI's own; each may be off by one. */
constexpr int kTextTolerance = 2;

/** A memory context on a bitmap, plain unless said otherwise, whose pixels can be set and read as a whole. */
class Picture
{
public:
    struct Format {
        std::int32_t width = 400;
        std::int32_t height = 300;
        bool bBottomUp = false;
        WORD bits = 32;
    };

    explicit Picture(Format format) : m_format(format), m_dc(nullptr)
    {
        BITMAPINFO info = {};
        info.bmiHeader.biSize = sizeof(info.bmiHeader);
        info.bmiHeader.biWidth = format.width;
        info.bmiHeader.biHeight = format.bBottomUp ? format.height : -format.height;
        info.bmiHeader.biPlanes = 1;
        info.bmiHeader.biBitCount = format.bits;
        void *pBits = nullptr;
        m_bitmap = gdi::Bitmap(CreateDIBSection(m_dc.get(), &info, DIB_RGB_COLORS, &pBits, nullptr, 0));
        m_pBits = static_cast<unsigned char *>(pBits);
        const std::int32_t nRowBytes = (format.width * format.bits + 31) / 32 * 4;
        m_nBytes = static_cast<std::size_t>(nRowBytes) * static_cast<std::size_t>(format.height);
        SelectObject(m_dc.get(), m_bitmap.get());
    }
    Picture(const Picture &) = delete;
    Picture &operator=(const Picture &) = delete;
    ~Picture()
    {
        SelectObject(m_dc.get(), m_hBefore);
    }

    [[nodiscard]] HDC get() const
    {
        return m_dc.get();
    }
    [[nodiscard]] std::vector<unsigned char> bytes() const
    {
        GdiFlush();
        return {m_pBits, m_pBits + m_nBytes};
    }
    void setBytes(const std::vector<unsigned char> &bytes)
    {
        GdiFlush();
        std::copy(bytes.begin(), bytes.end(), m_pBits);
    }
    void fill(unsigned char byValue)
    {
        setBytes(std::vector<unsigned char>(m_nBytes, byValue));
    }
    /** As a picture of a camera is: no two pixels alike. */
    void fillWithNoise(unsigned int nSeed)
    {
        std::mt19937 random(nSeed);
        std::vector<unsigned char> noise(m_nBytes);
        std::generate(noise.begin(), noise.end(), [&random] { return static_cast<unsigned char>(random()); });
        setBytes(noise);
    }

private:
    const Format m_format;
    const gdi::MemoryDc m_dc;
    const HGDIOBJ m_hBefore = GetCurrentObject(m_dc.get(), OBJ_BITMAP);
    gdi::Bitmap m_bitmap;
    unsigned char *m_pBits = nullptr;
    std::size_t m_nBytes = 0;
};

int largestDifference(const std::vector<unsigned char> &a, const std::vector<unsigned char> &b)
{
    int nLargest = a.size() == b.size() ? 0 : 256;
    for (std::size_t i = 0; i < std::min(a.size(), b.size()); ++i) {
        nLargest = std::max(nLargest, std::abs(int{a[i]} - int{b[i]}));
    }
    return nLargest;
}

/** What GDI alone makes of the rules on the picture as it is; the picture is then as before. */
std::vector<unsigned char> drawnByGdi(Picture &picture, RuleTable &rules)
{
    const std::vector<unsigned char> before = picture.bytes();
    rules.paint([&picture](const RuleTable::Slots &slots, std::uint64_t /*nChanges*/, RuleLayer & /*layer*/) {
        for (const auto &pRule : slots) {
            if (pRule) {
                drawRule(picture.get(), *pRule);
            }
        }
    });
    std::vector<unsigned char> result = picture.bytes();
    picture.setBytes(before);
    return result;
}

/** What a pass makes of it; the picture is then as before. */
std::vector<unsigned char> drawnByAPass(Picture &picture, RuleTable &rules)
{
    const std::vector<unsigned char> before = picture.bytes();
    drawRules(picture.get(), rules);
    std::vector<unsigned char> result = picture.bytes();
    picture.setBytes(before);
    return result;
}

/** Whether the next pass on a plain picture would put the layer instead of drawing. */
bool isKept(RuleTable &rules, PixelSize surface)
{
    bool bKept = false;
    rules.paint([&bKept, surface](const RuleTable::Slots & /*slots*/, std::uint64_t nChanges, RuleLayer &layer) {
        bKept = layer.nextWay(nChanges, surface) == RuleLayer::Way::Put;
    });
    return bKept;
}

void setColor(RuleTable &rules, std::int32_t nId, RuleColor color)
{
    rules.change(nId, [color](AbstractRule &rule) {
        rule.setColor(color);
        return true;
    });
}

void setSelected(RuleTable &rules, std::int32_t nId, bool bSelected)
{
    rules.change(nId, [bSelected](AbstractRule &rule) {
        rule.setSelected(bSelected);
        return true;
    });
}

void makeATable(RuleTable &rules, std::int32_t nWidth = 400, std::int32_t nHeight = 300)
{
    rules.move(0, 0);
    rules.scale(static_cast<float>(nWidth), static_cast<float>(nHeight));
}

constexpr RuleColor kOrange = 0x002080FF;

/** A rule about 60 by 40 pixels large at the place. */
std::int32_t addRule(RuleTable &rules, RuleType type, PixelPoint at, const std::string &caption = "Zone 1",
                     RuleColor color = kOrange)
{
    auto pRule = makeRule(type, placementWith(0), {{4, false}, caption});
    pRule->setColor(color);
    const std::int32_t nId = rules.add(std::move(pRule));
    if (type == RuleType::Text) {
        RuleTextRecord record = {};
        std::copy(caption.begin(), caption.end(), record.szText.begin());
        record.wAnchor = 1;
        const PictureGeometry geometry = rules.geometry();
        record.struPoint = geometry.toNormalised(at);
        rules.write(nId, &record);
        return nId;
    }
    if (type == RuleType::LineWithArrow) {
        // It stands at x = 200 from y = 75 to y = 225.
        rules.editPoint(nId, {200, 75}, RuleAction::Grab);
        rules.editPoint(nId, at, RuleAction::Move);
        rules.editPoint(nId, {200, 225}, RuleAction::Grab);
        rules.editPoint(nId, {at.x + 60, at.y + 40}, RuleAction::Move);
        return nId;
    }
    const RuleFamily family = familyOf(type);
    const std::vector<PixelPoint> corners = {at,
                                             {at.x + 60, family == RuleFamily::Polygon ? at.y : at.y + 40},
                                             {at.x + 55, at.y + 40},
                                             {at.x - 7, at.y + 33}};
    const std::size_t nCorners = family == RuleFamily::Polygon ? 4 : (family == RuleFamily::Point ? 1 : 2);
    for (std::size_t i = 0; i < nCorners; ++i) {
        if (i > 0) {
            rules.addPoint(nId, corners[i], RuleAction::Move);
        }
        rules.addPoint(nId, corners[i], RuleAction::LeftPress);
    }
    return nId;
}

bool hasText(RuleType type)
{
    return type != RuleType::Point && type != RuleType::Line && type != RuleType::Rect && type != RuleType::Polygon;
}

// ---- the same pixels ----

struct Row {
    RuleType type;
    bool bSelected;
    bool bBottomUp;
};

class RulePicture : public ::testing::TestWithParam<Row>
{
};

TEST_P(RulePicture, IsWhatGdiDraws)
{
    Picture picture({400, 300, GetParam().bBottomUp, 32});
    // Inside, over each edge, over a corner, on two bands and three tiles, outside.
    for (const PixelPoint at :
         {PixelPoint{100, 100}, PixelPoint{-30, 50}, PixelPoint{370, 50}, PixelPoint{150, -20}, PixelPoint{150, 280},
          PixelPoint{380, 285}, PixelPoint{20, 110}, PixelPoint{900, 900}}) {
        RuleTable rules;
        makeATable(rules);
        addRule(rules, GetParam().type, at);
        setSelected(rules, 0, GetParam().bSelected);
        for (int nPass = 0; nPass < 2; ++nPass) {
            drawnByAPass(picture, rules);
        }
        ASSERT_TRUE(isKept(rules, {400, 300}));
        for (int nGround = 0; nGround < 5; ++nGround) {
            if (nGround < 3) {
                picture.fill(std::array<unsigned char, 3>{0, 0xFF, 0x80}[static_cast<std::size_t>(nGround)]);
            } else {
                picture.fillWithNoise(static_cast<unsigned int>(nGround));
            }
            EXPECT_LE(largestDifference(drawnByAPass(picture, rules), drawnByGdi(picture, rules)),
                      hasText(GetParam().type) ? kTextTolerance : 0)
                << at.x << ' ' << at.y << " ground " << nGround;
        }
    }
}

std::vector<Row> allRows()
{
    std::vector<Row> rows;
    for (const RuleType type : kAllTypes) {
        for (const bool bSelected : {false, true}) {
            for (const bool bBottomUp : {false, true}) {
                rows.push_back({type, bSelected, bBottomUp});
            }
        }
    }
    return rows;
}

INSTANTIATE_TEST_SUITE_P(Every, RulePicture, ::testing::ValuesIn(allRows()), [](const auto &row) {
    return "Type" + std::to_string(static_cast<int>(row.param.type)) + (row.param.bSelected ? "Selected" : "") +
           (row.param.bBottomUp ? "BottomUp" : "");
});

TEST(RulePicturePixels, AreExactWithoutLetters)
{
    // The shapes of the types that have captions.
    Picture picture({});
    RuleTable rules;
    makeATable(rules);
    for (std::int32_t i = 0; i < 4; ++i) {
        const RuleType type =
            std::array<RuleType, 4>{RuleType::RectWithText, RuleType::PolygonWithText, RuleType::LineWithText,
                                    RuleType::PointWithCross}[static_cast<std::size_t>(i)];
        addRule(rules, type, {50 + i * 80, 100}, "", 0x00FFFFFF);
        setSelected(rules, i, true);
    }
    picture.fillWithNoise(1);
    for (int nPass = 0; nPass < 4; ++nPass) {
        EXPECT_EQ(largestDifference(drawnByAPass(picture, rules), drawnByGdi(picture, rules)), 0) << nPass;
    }
    EXPECT_TRUE(isKept(rules, {400, 300}));
}

TEST(RulePicturePixels, AreThoseOfGdiInEveryPassOfAFullTable)
{
    Picture picture({640, 360, false, 32});
    RuleTable rules;
    makeATable(rules, 640, 360);
    std::mt19937 random(8);
    for (std::int32_t i = 0; i < RuleTable::kCapacity; ++i) {
        addRule(rules, kAllTypes[static_cast<std::size_t>(i) % 10],
                {static_cast<std::int32_t>(random() % 640), static_cast<std::int32_t>(random() % 360)}, "Zone",
                static_cast<RuleColor>(random() & 0xFFFFFFU));
    }
    // Letters lie over letters here, whose roundings add up.
    constexpr int kTolerance = 3 * kTextTolerance;
    picture.fillWithNoise(3);
    const std::vector<unsigned char> expected = drawnByGdi(picture, rules);
    for (int nPass = 0; nPass < 4; ++nPass) {
        EXPECT_LE(largestDifference(drawnByAPass(picture, rules), expected), kTolerance) << nPass;
        EXPECT_EQ(isKept(rules, {640, 360}), nPass > 0) << nPass;
    }
}

TEST(RulePicturePixels, AreThoseOfGdiWhereTextsLieOverTexts)
{
    Picture picture({});
    RuleTable rules;
    makeATable(rules);
    for (std::int32_t i = 0; i < 7; ++i) {
        addRule(rules, RuleType::Text, {100 + 3 * i, 100 + 2 * i}, "Zone", static_cast<RuleColor>(0x00305070 + i));
    }
    picture.fillWithNoise(9);
    const std::vector<unsigned char> expected = drawnByGdi(picture, rules);
    for (int nPass = 0; nPass < 3; ++nPass) {
        EXPECT_LE(largestDifference(drawnByAPass(picture, rules), expected), 3 * kTextTolerance) << nPass;
    }
    EXPECT_TRUE(isKept(rules, {400, 300}));
    // Many more of them would take too long to make a layer of: they are drawn.
    for (std::int32_t i = 0; i < 20; ++i) {
        addRule(rules, RuleType::Text, {100 + 3 * i, 100 + 2 * i}, "Zone", kOrange);
    }
    const std::vector<unsigned char> expectedOfMany = drawnByGdi(picture, rules);
    for (int nPass = 0; nPass < 4; ++nPass) {
        EXPECT_EQ(drawnByAPass(picture, rules), expectedOfMany) << nPass;
        EXPECT_FALSE(isKept(rules, {400, 300}));
    }
}

TEST(RulePicturePixels, ComeOutOfLongTextsAndRulesAcrossTheWholePicture)
{
    Picture picture({1920, 1080, false, 32});
    RuleTable rules;
    makeATable(rules, 1920, 1080);
    const std::int32_t nLine = addRule(rules, RuleType::Line, {0, 0});
    rules.editPoint(nLine, {60, 40}, RuleAction::Grab);
    rules.editPoint(nLine, {1919, 1079}, RuleAction::Move);
    const std::int32_t nRect = addRule(rules, RuleType::Rect, {5, 5});
    rules.editPoint(nRect, {65, 45}, RuleAction::Grab);
    rules.editPoint(nRect, {1900, 1000}, RuleAction::Move);
    addRule(rules, RuleType::Text, {3, 500}, std::string(1000, 'W'));
    addRule(rules, RuleType::LineWithText, {500, 700},
            "\xE4\xB8\xAD\xE6\x96\x87\xE5\x8C\xBA\xE5\x9F\x9F and more than the line is long");
    picture.fillWithNoise(4);
    const std::vector<unsigned char> expected = drawnByGdi(picture, rules);
    for (int nPass = 0; nPass < 5; ++nPass) {
        EXPECT_LE(largestDifference(drawnByAPass(picture, rules), expected), kTextTolerance) << nPass;
    }
    EXPECT_TRUE(isKept(rules, {1920, 1080}));
}

// ---- changes ----

struct Change {
    const char *name;
    std::function<void(RuleTable &)> make;
};

class RulePictureChange : public ::testing::TestWithParam<Change>
{
};

TEST_P(RulePictureChange, ShowsInTheNextPass)
{
    Picture picture({});
    RuleTable rules;
    makeATable(rules);
    for (std::int32_t i = 0; i < 10; ++i) {
        addRule(rules, kAllTypes[static_cast<std::size_t>(i)], {20 + (i % 5) * 78, 60 + (i / 5) * 130});
    }
    picture.fillWithNoise(6);
    for (int nPass = 0; nPass < 8; ++nPass) {
        drawnByAPass(picture, rules);
    }
    ASSERT_TRUE(isKept(rules, {400, 300}));
    const std::vector<unsigned char> before = drawnByAPass(picture, rules);

    GetParam().make(rules);

    const std::vector<unsigned char> expected = drawnByGdi(picture, rules);
    EXPECT_GT(largestDifference(expected, before), kTextTolerance);
    for (int nPass = 0; nPass < 6; ++nPass) {
        EXPECT_LE(largestDifference(drawnByAPass(picture, rules), expected), kTextTolerance) << nPass;
    }
}

INSTANTIATE_TEST_SUITE_P(Every, RulePictureChange,
                         ::testing::Values(Change{"Addition",
                                                  [](RuleTable &rules) {
                                                      addRule(rules, RuleType::Rect, {150, 120});
                                                  }},
                                           Change{"Removal", [](RuleTable &rules) { rules.remove(2); }},
                                           Change{"Replacement",
                                                  [](RuleTable &rules) {
                                                      rules.remove(2);
                                                      addRule(rules, RuleType::Rect, {170, 63});
                                                  }},
                                           Change{"Colour", [](RuleTable &rules) { setColor(rules, 1, 0x0000FF00); }},
                                           Change{"Selection",
                                                  [](RuleTable &rules) {
                                                      EXPECT_NE(rules.selectAt({98, 60}), nullptr);
                                                  }},
                                           Change{"ArrowType",
                                                  [](RuleTable &rules) { EXPECT_TRUE(rules.setArrowType(5, 3)); }},
                                           Change{"Move", [](RuleTable &rules) { rules.move(3, 2); }},
                                           Change{"Scale", [](RuleTable &rules) { rules.scale(0.5F, 0.75F); }},
                                           Change{"Drag",
                                                  [](RuleTable &rules) {
                                                      rules.editPoint(1, {98, 60}, RuleAction::Grab);
                                                      rules.editPoint(1, {120, 90}, RuleAction::Move);
                                                  }},
                                           Change{"MoreOfAShape",
                                                  [](RuleTable &rules) {
                                                      const std::int32_t nId =
                                                          rules.add(makeRule(RuleType::Line, placementWith(0), {}));
                                                      rules.addPoint(nId, {200, 150}, RuleAction::LeftPress);
                                                      rules.addPoint(nId, {300, 130}, RuleAction::Move);
                                                  }},
                                           Change{"Coordinates",
                                                  [](RuleTable &rules) {
                                                      const RuleLineRecord record = {{100, 100}, {900, 900}};
                                                      EXPECT_TRUE(rules.write(1, &record));
                                                  }},
                                           Change{"Text",
                                                  [](RuleTable &rules) {
                                                      RuleTextRecord record = {};
                                                      EXPECT_TRUE(rules.read(4, &record));
                                                      record.szText[0] = 'Z';
                                                      record.szText[1] = 'Z';
                                                      EXPECT_TRUE(rules.write(4, &record));
                                                  }}),
                         [](const auto &change) { return std::string(change.param.name); });

TEST(RulePictureSize, MayChangeAtAnyTime)
{
    Picture small({400, 300, false, 32});
    Picture large({640, 360, true, 32});
    small.fillWithNoise(1);
    large.fillWithNoise(2);
    RuleTable rules;
    makeATable(rules);
    addRule(rules, RuleType::Rect, {370, 270}); // beyond the small one
    addRule(rules, RuleType::RectWithText, {100, 100});
    const std::vector<unsigned char> onSmall = drawnByGdi(small, rules);
    const std::vector<unsigned char> onLarge = drawnByGdi(large, rules);
    for (int nPass = 0; nPass < 12; ++nPass) {
        const bool bSmall = nPass < 4 || nPass > 8;
        EXPECT_LE(largestDifference(drawnByAPass(bSmall ? small : large, rules), bSmall ? onSmall : onLarge),
                  kTextTolerance)
            << nPass;
        EXPECT_EQ(isKept(rules, {bSmall ? 400 : 640, bSmall ? 300 : 360}), nPass != 0 && nPass != 4 && nPass != 9)
            << nPass;
    }
}

// ---- contexts of other kinds ----

struct Oddity {
    const char *name;
    std::function<void(HDC)> set;
    WORD bits = 32;
};

class RulePictureOddity : public ::testing::TestWithParam<Oddity>
{
};

TEST_P(RulePictureOddity, IsLeftToGdi)
{
    RuleTable rules;
    makeATable(rules);
    for (std::int32_t i = 0; i < 10; ++i) {
        addRule(rules, kAllTypes[static_cast<std::size_t>(i)], {20 + (i % 5) * 78, 60 + (i / 5) * 130});
    }
    Picture plain({});
    for (int nPass = 0; nPass < 8; ++nPass) {
        drawnByAPass(plain, rules);
    }
    ASSERT_TRUE(isKept(rules, {400, 300}));
    Picture picture({400, 300, false, GetParam().bits});
    picture.fillWithNoise(5);
    GetParam().set(picture.get());

    EXPECT_FALSE(pixelsOf(picture.get()).has_value());
    EXPECT_EQ(drawnByAPass(picture, rules), drawnByGdi(picture, rules));

    // What was kept of the plain surface is still good there.
    EXPECT_TRUE(isKept(rules, {400, 300}));
}

INSTANTIATE_TEST_SUITE_P(
    Every, RulePictureOddity,
    ::testing::Values(Oddity{"ClippingRegion", [](HDC hDc) { IntersectClipRect(hDc, 30, 30, 200, 200); }},
                      Oddity{"RegionOfTwo", [](HDC hDc) { ExcludeClipRect(hDc, 100, 100, 120, 120); }},
                      Oddity{"EmptyClip", [](HDC hDc) { IntersectClipRect(hDc, 0, 0, 0, 0); }},
                      Oddity{"ViewportOrigin", [](HDC hDc) { SetViewportOrgEx(hDc, 7, 5, nullptr); }},
                      Oddity{"WindowOrigin", [](HDC hDc) { SetWindowOrgEx(hDc, 0, 9, nullptr); }},
                      Oddity{"MappingMode", [](HDC hDc) { SetMapMode(hDc, MM_LOMETRIC); }},
                      Oddity{"Scale",
                             [](HDC hDc) {
                                 SetMapMode(hDc, MM_ANISOTROPIC);
                                 SetWindowExtEx(hDc, 1000, 1000, nullptr);
                                 SetViewportExtEx(hDc, 1001, 1000, nullptr);
                             }},
                      Oddity{"Transform",
                             [](HDC hDc) {
                                 SetGraphicsMode(hDc, GM_ADVANCED);
                                 const XFORM turn = {0, 1, -1, 0, 300, 0};
                                 SetWorldTransform(hDc, &turn);
                             }},
                      // In this mode rectangles have their right and bottom edges, too.
                      Oddity{"AdvancedMode", [](HDC hDc) { SetGraphicsMode(hDc, GM_ADVANCED); }},
                      Oddity{"RasterOperation", [](HDC hDc) { SetROP2(hDc, R2_XORPEN); }},
                      Oddity{"TextAlignment", [](HDC hDc) { SetTextAlign(hDc, TA_RIGHT); }},
                      Oddity{"LetterSpacing", [](HDC hDc) { SetTextCharacterExtra(hDc, 5); }},
                      Oddity{"Mirror", [](HDC hDc) { SetLayout(hDc, LAYOUT_RTL); }},
                      Oddity{"TwentyFourBits", [](HDC) {}, 24}, Oddity{"SixteenBits", [](HDC) {}, 16}),
    [](const auto &oddity) { return std::string(oddity.param.name); });

TEST(RulePictureContext, MayHaveABitmapOfTheDevice)
{
    RuleTable rules;
    makeATable(rules);
    addRule(rules, RuleType::Rect, {10, 10});
    const gdi::MemoryDc dc(nullptr);
    const gdi::Bitmap bitmap(CreateBitmap(100, 100, 1, 32, nullptr));
    const gdi::Selection selection(dc.get(), bitmap.get());
    EXPECT_FALSE(pixelsOf(dc.get()).has_value());
    for (int nPass = 0; nPass < 3; ++nPass) {
        drawRules(dc.get(), rules);
    }
    EXPECT_EQ(GetPixel(dc.get(), 30, 10), kOrange);
}

TEST(RulePictureContext, MayBeNone)
{
    RuleTable rules;
    makeATable(rules);
    addRule(rules, RuleType::Rect, {10, 10});
    EXPECT_FALSE(pixelsOf(nullptr).has_value());
    drawRules(nullptr, rules);
}

TEST(RulePictureContext, IsFoundOutWithoutATrace)
{
    for (const bool bBottomUp : {false, true}) {
        for (const unsigned char byGround : {0x00, 0x7F, 0x80, 0xFF}) {
            for (const std::int32_t nHeight : {1, 2, 7}) {
                Picture picture({5, nHeight, bBottomUp, 32});
                picture.fill(byGround);
                const std::vector<unsigned char> before = picture.bytes();
                const std::optional<PixelRows> rows = pixelsOf(picture.get());
                EXPECT_EQ(picture.bytes(), before);
                ASSERT_TRUE(rows.has_value());
                EXPECT_EQ(rows->size.width, 5);
                EXPECT_EQ(rows->size.height, nHeight);
                *(rows->pTop + rows->nStep * (nHeight - 1) + 4) = 0x00112233;
                EXPECT_EQ(GetPixel(picture.get(), 4, nHeight - 1), static_cast<COLORREF>(RGB(0x11, 0x22, 0x33)));
            }
        }
    }
}

TEST(RulePictureContext, IsLeftAsItWasFound)
{
    Picture picture({});
    const gdi::Pen pen(CreatePen(PS_DASH, 1, RGB(1, 2, 3)));
    const gdi::Selection selection(picture.get(), pen.get());
    SetTextColor(picture.get(), RGB(9, 8, 7));
    SetBkMode(picture.get(), OPAQUE);
    MoveToEx(picture.get(), 11, 22, nullptr);
    const HGDIOBJ hFont = GetCurrentObject(picture.get(), OBJ_FONT);
    const HGDIOBJ hBrush = GetCurrentObject(picture.get(), OBJ_BRUSH);
    RuleTable rules;
    makeATable(rules);
    addRule(rules, RuleType::RectWithText, {100, 100});
    for (int nPass = 0; nPass < 4; ++nPass) {
        drawRules(picture.get(), rules);
        EXPECT_EQ(GetCurrentObject(picture.get(), OBJ_PEN), pen.get());
        EXPECT_EQ(GetCurrentObject(picture.get(), OBJ_FONT), hFont);
        EXPECT_EQ(GetCurrentObject(picture.get(), OBJ_BRUSH), hBrush);
        EXPECT_EQ(GetTextColor(picture.get()), static_cast<COLORREF>(RGB(9, 8, 7)));
        EXPECT_EQ(GetBkMode(picture.get()), OPAQUE);
        POINT position = {};
        GetCurrentPositionEx(picture.get(), &position);
        EXPECT_EQ(position.x, 11);
        EXPECT_EQ(position.y, 22);
    }
}

TEST(RulePictureContext, LosesNoHandleInSeventeenThousandChanges)
{
    // Each round makes three contexts and three bitmaps; a process has 65,536 handles at most.
    Picture picture({40, 40, false, 32});
    RuleTable rules;
    makeATable(rules, 40, 40);
    addRule(rules, RuleType::Rect, {3, 3});
    std::vector<unsigned char> first;
    for (int nRound = 0; nRound < 17000; ++nRound) {
        setColor(rules, 0, nRound % 2 == 0 ? kOrange : RuleColor{0});
        for (int nPass = 0; nPass < 2; ++nPass) {
            drawRules(picture.get(), rules);
        }
        ASSERT_TRUE(isKept(rules, {40, 40})) << nRound;
    }
    setColor(rules, 0, kOrange);
    picture.fill(0x55);
    EXPECT_EQ(drawnByAPass(picture, rules), drawnByGdi(picture, rules));
}

} // namespace
} // namespace pellora
