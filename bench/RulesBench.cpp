// What the rules cost on every picture, beside presenting the picture itself.

#include "rules/RuleFactory.h"
#include "rules/gdi/GdiObjects.h"
#include "rules/gdi/RuleDrawing.h"
#include "rules/gdi/Selection.h"

#include <benchmark/benchmark.h>
#include <libyuv.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <memory>
#include <vector>

namespace
{

using namespace pellora;

constexpr int kPictureWidth = 1920;
constexpr int kPictureHeight = 1080;
constexpr int kPaneWidth = 640;
constexpr int kPaneHeight = 360;

/** A memory context of the pane's size on a top-down bitmap of 32 bits a pixel. */
class Surface
{
public:
    Surface() : m_hDc(CreateCompatibleDC(nullptr))
    {
        BITMAPINFO info = {};
        info.bmiHeader.biSize = sizeof(info.bmiHeader);
        info.bmiHeader.biWidth = kPaneWidth;
        info.bmiHeader.biHeight = -kPaneHeight;
        info.bmiHeader.biPlanes = 1;
        info.bmiHeader.biBitCount = 32;
        m_bitmap = Bitmap(CreateDIBSection(m_hDc, &info, DIB_RGB_COLORS, &m_pBits, nullptr, 0));
        m_pSelection = std::make_unique<Selection>(m_hDc, m_bitmap.get());
    }
    Surface(const Surface &) = delete;
    Surface &operator=(const Surface &) = delete;
    ~Surface()
    {
        m_pSelection.reset();
        DeleteDC(m_hDc);
    }

    [[nodiscard]] HDC get() const
    {
        return m_hDc;
    }
    [[nodiscard]] std::uint8_t *bits() const
    {
        return static_cast<std::uint8_t *>(m_pBits);
    }

private:
    HDC m_hDc;
    void *m_pBits = nullptr;
    Bitmap m_bitmap;
    std::unique_ptr<Selection> m_pSelection;
};

void presentPicture(benchmark::State &state)
{
    const Surface memory;
    const Surface window;
    std::vector<std::uint8_t> y(kPictureWidth * kPictureHeight, 90);
    std::vector<std::uint8_t> u(y.size() / 4, 100);
    std::vector<std::uint8_t> v(y.size() / 4, 140);
    std::vector<std::uint8_t> scaledY(kPaneWidth * kPaneHeight);
    std::vector<std::uint8_t> scaledU(scaledY.size() / 4);
    std::vector<std::uint8_t> scaledV(scaledY.size() / 4);
    while (state.KeepRunning()) {
        libyuv::I420Scale(y.data(), kPictureWidth, u.data(), kPictureWidth / 2, v.data(), kPictureWidth / 2,
                          kPictureWidth, kPictureHeight, scaledY.data(), kPaneWidth, scaledU.data(), kPaneWidth / 2,
                          scaledV.data(), kPaneWidth / 2, kPaneWidth, kPaneHeight, libyuv::kFilterBilinear);
        libyuv::I420ToARGB(scaledY.data(), kPaneWidth, scaledU.data(), kPaneWidth / 2, scaledV.data(), kPaneWidth / 2,
                           memory.bits(), kPaneWidth * 4, kPaneWidth, kPaneHeight);
        BitBlt(window.get(), 0, 0, kPaneWidth, kPaneHeight, memory.get(), 0, 0, SRCCOPY);
        GdiFlush();
    }
}
BENCHMARK(presentPicture)->Unit(benchmark::kMicrosecond);

/** Rules of the types, one after the other, up to the table's room: figures of 60 by 40 pixels all over the pane. */
void fillWithRules(RuleTable &rules, const std::vector<RuleType> &types)
{
    rules.move(0, 0);
    rules.scale(static_cast<float>(kPaneWidth), static_cast<float>(kPaneHeight));
    for (std::int32_t i = 0; i < RuleTable::kCapacity; ++i) {
        const PixelPoint corner = {10 + (i % 8) * 78, 10 + (i / 8) * 43};
        const RuleType type = types[static_cast<std::size_t>(i) % types.size()];
        rules.add(makeRule(type, {kPaneWidth, kPaneHeight, {0, 0, kPaneWidth, kPaneHeight}, 0}, {{4, false}, "Zone"}));
        if (type == RuleType::LineWithArrow) {
            rules.editPoint(i, {kPaneWidth / 2, kPaneHeight / 4}, RuleAction::Grab);
            rules.editPoint(i, corner, RuleAction::Move);
        } else if (type == RuleType::Text) {
            RuleTextRecord record = {};
            std::memcpy(record.szText.data(), "Zone", 4);
            record.wAnchor = 1;
            record.struPoint = {100 + i, 10 * i};
            rules.write(i, &record);
        } else {
            rules.addPoint(i, corner, RuleAction::LeftPress);
            rules.addPoint(i, {corner.x + 60, corner.y}, RuleAction::Move);
            rules.addPoint(i, {corner.x + 60, corner.y + 40}, RuleAction::LeftPress);
        }
    }
}

void drawRulesOf(benchmark::State &state, const std::vector<RuleType> &types)
{
    const Surface memory;
    RuleTable rules;
    fillWithRules(rules, types);
    while (state.KeepRunning()) {
        drawRules(memory.get(), rules);
        GdiFlush();
    }
}

const std::vector<RuleType> kShapes = {RuleType::Point, RuleType::Line, RuleType::Rect, RuleType::Polygon};
const std::vector<RuleType> kMixed = {
    RuleType::Point,        RuleType::Line,          RuleType::Rect,         RuleType::Polygon,
    RuleType::Text,         RuleType::LineWithArrow, RuleType::RectWithText, RuleType::PolygonWithText,
    RuleType::LineWithText, RuleType::PointWithCross};

BENCHMARK_CAPTURE(drawRulesOf, sixtyFourShapes, kShapes)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(drawRulesOf, sixtyFourOfAllTypes, kMixed)->Unit(benchmark::kMicrosecond);
BENCHMARK_CAPTURE(drawRulesOf, sixtyFourTexts, std::vector<RuleType>{RuleType::Text})->Unit(benchmark::kMicrosecond);

} // namespace

BENCHMARK_MAIN();
