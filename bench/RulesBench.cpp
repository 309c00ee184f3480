// What the rules cost on every picture, beside presenting the picture itself.
//
// A 1080p picture is scaled and converted into a memory context of the pane's size, rules are painted there, and it is
// copied to another context, as a window's is too. Both parts are timed in the same loop: the rules find the caches as
// a picture leaves them.

#include "gdi/MemoryDib.h"
#include "rules/RuleFactory.h"
#include "rules/gdi/RuleDrawing.h"

#include <benchmark/benchmark.h>
#include <libyuv.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <cstring>
#include <functional>
#include <utility>
#include <vector>

namespace
{

using namespace pellora;
using Clock = std::chrono::steady_clock;

constexpr int kPictureWidth = 1920;
constexpr int kPictureHeight = 1080;

/** Microseconds. */
double since(Clock::time_point start)
{
    return std::chrono::duration<double, std::micro>(Clock::now() - start).count();
}

/** A picture on its way to a pane. */
class Presentation
{
public:
    Presentation(int nWidth, int nHeight)
        : m_nWidth(nWidth),
          m_nHeight(nHeight),
          m_memory(nullptr, nWidth, nHeight),
          m_window(nullptr, nWidth, nHeight),
          m_y(kPictureWidth * kPictureHeight, 90),
          m_u(m_y.size() / 4, 100),
          m_v(m_y.size() / 4, 140),
          m_scaledY(static_cast<std::size_t>(nWidth * nHeight)),
          m_scaledU(m_scaledY.size() / 4),
          m_scaledV(m_scaledY.size() / 4)
    {
    }

    [[nodiscard]] HDC dc() const
    {
        return m_memory.get();
    }
    void convert()
    {
        const std::uint8_t *pY = m_y.data();
        const std::uint8_t *pU = m_u.data();
        const std::uint8_t *pV = m_v.data();
        if (m_nWidth != kPictureWidth) {
            libyuv::I420Scale(m_y.data(), kPictureWidth, m_u.data(), kPictureWidth / 2, m_v.data(), kPictureWidth / 2,
                              kPictureWidth, kPictureHeight, m_scaledY.data(), m_nWidth, m_scaledU.data(), m_nWidth / 2,
                              m_scaledV.data(), m_nWidth / 2, m_nWidth, m_nHeight, libyuv::kFilterBilinear);
            pY = m_scaledY.data();
            pU = m_scaledU.data();
            pV = m_scaledV.data();
        }
        libyuv::I420ToARGB(pY, m_nWidth, pU, m_nWidth / 2, pV, m_nWidth / 2,
                           reinterpret_cast<std::uint8_t *>(m_memory.row(0)), m_nWidth * 4, m_nWidth, m_nHeight);
    }
    void show()
    {
        BitBlt(m_window.get(), 0, 0, m_nWidth, m_nHeight, m_memory.get(), 0, 0, SRCCOPY);
        GdiFlush();
    }

private:
    const int m_nWidth;
    const int m_nHeight;
    gdi::MemoryDib m_memory;
    gdi::MemoryDib m_window;
    std::vector<std::uint8_t> m_y;
    std::vector<std::uint8_t> m_u;
    std::vector<std::uint8_t> m_v;
    std::vector<std::uint8_t> m_scaledY;
    std::vector<std::uint8_t> m_scaledU;
    std::vector<std::uint8_t> m_scaledV;
};

/** Rules of the types, one after the other, up to the table's room: figures of 60 by 40 pixels all over the pane. */
void fillWithRules(RuleTable &rules, const std::vector<RuleType> &types, int nWidth, int nHeight)
{
    rules.move(0, 0);
    rules.scale(static_cast<float>(nWidth), static_cast<float>(nHeight));
    for (std::int32_t i = 0; i < RuleTable::kCapacity; ++i) {
        const PixelPoint corner = {10 + (i % 8) * (nWidth - 16) / 8, 10 + (i / 8) * (nHeight - 16) / 8};
        const RuleType type = types[static_cast<std::size_t>(i) % types.size()];
        rules.add(makeRule(type, {nWidth, nHeight, {0, 0, nWidth, nHeight}, 0}, {{4, false}, "Zone"}));
        if (type == RuleType::LineWithArrow) {
            rules.editPoint(i, {nWidth / 2, nHeight / 4}, RuleAction::Grab);
            rules.editPoint(i, corner, RuleAction::Move);
            rules.editPoint(i, {nWidth / 2, nHeight / 2 + nHeight / 4}, RuleAction::Grab);
            rules.editPoint(i, {corner.x + 60, corner.y + 40}, RuleAction::Move);
        } else if (type == RuleType::Text) {
            RuleTextRecord record = {};
            std::memcpy(record.szText.data(), "Zone", 4);
            record.wAnchor = 1;
            record.struPoint = rules.geometry().toNormalised(corner);
            rules.write(i, &record);
        } else {
            const std::array<PixelPoint, 3> others = {
                {{corner.x + 60, corner.y}, {corner.x + 60, corner.y + 40}, {corner.x, corner.y + 40}}};
            rules.addPoint(i, corner, RuleAction::LeftPress);
            if (familyOf(type) == RuleFamily::Polygon) {
                for (const PixelPoint point : others) {
                    rules.addPoint(i, point, RuleAction::Move);
                    rules.addPoint(i, point, RuleAction::LeftPress);
                }
            } else if (familyOf(type) != RuleFamily::Point) {
                rules.addPoint(i, others[1], RuleAction::LeftPress);
            }
        }
    }
}

/** Polygons so large that their sides pass the pane, some far away and some across it. */
void fillWithFarPolygons(RuleTable &rules, int nWidth, int nHeight)
{
    constexpr std::int32_t kFar = 500000;
    rules.move(0, 0);
    rules.scale(static_cast<float>(nWidth), static_cast<float>(nHeight));
    for (std::int32_t i = 0; i < RuleTable::kCapacity; ++i) {
        auto pRule = makeRule(RuleType::Polygon, {nWidth, nHeight, {0, 0, nWidth, nHeight}, 0}, {});
        static_cast<RulePolygon &>(*pRule).setPoints(
            {{-kFar, -kFar + 100 * i}, {kFar, -kFar}, {kFar + i, kFar}, {-kFar, kFar - 10 * i}});
        rules.add(std::move(pRule));
    }
}

/** What becomes of the rules between two pictures. */
enum class Life { Rest, OneIsDragged, AllAreDragged, AllChangeNowAndThen };

constexpr int kPicturesBetweenChanges = 30;

void changeSome(RuleTable &rules, Life life, int nPicture)
{
    const int nWay = nPicture % 2 == 0 ? 1 : -1;
    const auto drag = [&rules, nWay](std::int32_t nId) {
        rules.change(nId, [nWay](AbstractRule &rule) { return rule.translate(nWay, 0); });
    };
    if (life == Life::OneIsDragged) {
        drag(31);
    } else if (life == Life::AllAreDragged ||
               (life == Life::AllChangeNowAndThen && nPicture % kPicturesBetweenChanges == 0)) {
        for (std::int32_t nId = 0; nId < RuleTable::kCapacity; ++nId) {
            drag(nId);
        }
    }
}

using Fill = std::function<void(RuleTable &, int nWidth, int nHeight)>;

void presentWithRules(benchmark::State &state, const Fill &fill, Life life)
{
    const auto nWidth = static_cast<int>(state.range(0));
    const auto nHeight = static_cast<int>(state.range(1));
    Presentation presentation(nWidth, nHeight);
    RuleTable rules;
    fill(rules, nWidth, nHeight);
    double fPresenting = 0;
    double fRules = 0;
    std::array<double, kPicturesBetweenChanges> rulesSinceChange = {};
    int nPicture = 0;
    const auto nextPicture = [&] {
        changeSome(rules, life, nPicture);
        const auto start = Clock::now();
        presentation.convert();
        const auto converted = Clock::now();
        drawRules(presentation.dc(), rules);
        GdiFlush();
        const double fPass = since(converted);
        presentation.show();
        fRules += fPass;
        rulesSinceChange[static_cast<std::size_t>(nPicture++ % kPicturesBetweenChanges)] += fPass;
        fPresenting += since(start) - fPass;
    };
    for (int i = 0; i < 2 * kPicturesBetweenChanges; ++i) {
        nextPicture();
    }
    fPresenting = fRules = 0;
    rulesSinceChange = {};
    while (state.KeepRunning()) {
        nextPicture();
    }
    const auto fPictures = static_cast<double>(state.iterations());
    state.counters["presenting_us"] = fPresenting / fPictures;
    state.counters["rules_us"] = fRules / fPictures;
    // The mean of the most expensive of the pictures after a change.
    state.counters["worst_us"] =
        *std::max_element(rulesSinceChange.begin(), rulesSinceChange.end()) * kPicturesBetweenChanges / fPictures;
    state.counters["ratio"] = fRules / fPresenting;
}

Fill rulesOf(const std::vector<RuleType> &types)
{
    return [types](RuleTable &rules, int nWidth, int nHeight) { fillWithRules(rules, types, nWidth, nHeight); };
}

const Fill kShapes = rulesOf({RuleType::Point, RuleType::Line, RuleType::Rect, RuleType::Polygon});
const Fill kTexts = rulesOf({RuleType::Text});
const Fill kMixed = rulesOf({RuleType::Point, RuleType::Line, RuleType::Rect, RuleType::Polygon, RuleType::Text,
                             RuleType::LineWithArrow, RuleType::RectWithText, RuleType::PolygonWithText,
                             RuleType::LineWithText, RuleType::PointWithCross});
const Fill kFarPolygons = fillWithFarPolygons;

void panes(benchmark::internal::Benchmark *pBenchmark)
{
    pBenchmark->Args({640, 360})->Args({1920, 1080})->Unit(benchmark::kMicrosecond);
}

BENCHMARK_CAPTURE(presentWithRules, shapes, kShapes, Life::Rest)->Apply(panes);
BENCHMARK_CAPTURE(presentWithRules, texts, kTexts, Life::Rest)->Apply(panes);
BENCHMARK_CAPTURE(presentWithRules, mixed, kMixed, Life::Rest)->Apply(panes);
BENCHMARK_CAPTURE(presentWithRules, mixedOneDragged, kMixed, Life::OneIsDragged)->Apply(panes);
BENCHMARK_CAPTURE(presentWithRules, mixedAllDragged, kMixed, Life::AllAreDragged)->Apply(panes);
BENCHMARK_CAPTURE(presentWithRules, mixedAllChangedEach30Pictures, kMixed, Life::AllChangeNowAndThen)->Apply(panes);
BENCHMARK_CAPTURE(presentWithRules, farPolygons, kFarPolygons, Life::Rest)->Apply(panes);
BENCHMARK_CAPTURE(presentWithRules, farPolygonsAllDragged, kFarPolygons, Life::AllAreDragged)->Apply(panes);

} // namespace

BENCHMARK_MAIN();
