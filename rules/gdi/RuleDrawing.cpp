#include "rules/gdi/RuleDrawing.h"

#include "gdi/MemoryDib.h"
#include "gdi/SavedDc.h"
#include "rules/RuleArithmetic.h"
#include "rules/gdi/DibPixels.h"
#include "rules/gdi/GdiCanvas.h"

#include <algorithm>
#include <array>
#include <string_view>
#include <vector>

namespace pellora
{

namespace
{

/** A layer of more parts than this would take too long to make. */
constexpr std::size_t kMaxParts = 8;

struct TextBox {
    RECT rect;
    RuleColor color;
};

/** Notes where a rule's texts come to lie on a surface, and draws nothing. */
class TextFinder : public RuleCanvas
{
public:
    TextFinder(HDC hDc, PixelSize surface) : m_measuring(hDc), m_surface({0, 0, surface.width, surface.height}) {}

    void setPen(RulePen /*pen*/) override {}
    void moveTo(PixelPoint /*point*/) override {}
    void lineTo(PixelPoint /*point*/) override {}
    void frame(const PixelRect & /*rect*/) override {}
    void disc(PixelPoint /*centre*/, std::int32_t /*nRadius*/, RuleColor /*fill*/) override {}
    [[nodiscard]] PixelSize measureText(const char16_t *pText) override
    {
        return m_measuring.measureText(pText);
    }
    void drawText(const char16_t *pText, const PixelRect &box, RuleColor color) override
    {
        // A caption's box may be a whole rectangle. Its letters are in the middle, and reach a little beyond their
        // extent. A text that is measured as several lines is drawn as one, whose width nobody knows.
        constexpr std::int32_t kOverhang = 8;
        const PixelSize extent = measureText(pText);
        const bool bOneLine = std::u16string_view(pText).find_first_of(u"\r\n") == std::u16string_view::npos;
        const PixelRect around = bOneLine ? boxAround(middle({box.left, box.top}, {box.right, box.bottom}),
                                                      extent.width / 2 + kOverhang, extent.height / 2 + kOverhang)
                                          : box;
        const RECT letters = {around.left, around.top, around.right, around.bottom};
        const RECT whole = {box.left, box.top, box.right, box.bottom};
        RECT rect = {};
        if (IntersectRect(&rect, &whole, &m_surface) != FALSE && IntersectRect(&rect, &rect, &letters) != FALSE) {
            m_found.push_back({rect, color});
        }
    }
    [[nodiscard]] const std::vector<TextBox> &found() const
    {
        return m_found;
    }

private:
    GdiCanvas m_measuring;
    const RECT m_surface;
    std::vector<TextBox> m_found;
};

/** Rules in a row of which no text covers another one's. */
struct LayerPart {
    std::vector<AbstractRule *> rules;
    std::vector<TextBox> texts;
};

bool overlap(const std::vector<TextBox> &some, const std::vector<TextBox> &others)
{
    return std::any_of(some.begin(), some.end(), [&others](const TextBox &one) {
        return std::any_of(others.begin(), others.end(), [&one](const TextBox &other) {
            RECT common = {};
            return IntersectRect(&common, &one.rect, &other.rect) != FALSE;
        });
    });
}

std::vector<LayerPart> partsOf(HDC hDc, const RuleTable::Slots &slots, PixelSize surface)
{
    std::vector<LayerPart> parts(1);
    for (const auto &pRule : slots) {
        if (!pRule) {
            continue;
        }
        TextFinder finder(hDc, surface);
        pRule->draw(finder);
        if (overlap(finder.found(), parts.back().texts)) {
            parts.emplace_back();
        }
        parts.back().rules.push_back(pRule.get());
        parts.back().texts.insert(parts.back().texts.end(), finder.found().begin(), finder.found().end());
    }
    return parts;
}

/** Each of them that is there, from the stock objects on. */
template <typename Rules>
void drawAll(HDC hDc, const Rules &rules)
{
    const gdi::SavedDc saved(hDc);
    for (const auto &pRule : rules) {
        if (pRule) {
            GdiCanvas canvas(hDc);
            pRule->draw(canvas);
        }
    }
}

/** False when it is not made: there is no room for it, or it would take too long. */
bool makeLayer(HDC hDc, const RuleTable::Slots &slots, PixelSize surface, RuleLayer &layer)
{
    const gdi::MemoryDib onBlack(hDc, surface.width, surface.height);
    const gdi::MemoryDib onWhite(hDc, surface.width, surface.height);
    const gdi::MemoryDib letters(hDc, surface.width, surface.height);
    if (!onBlack.isReady() || !onWhite.isReady() || !letters.isReady()) {
        return false;
    }
    const std::vector<LayerPart> parts = partsOf(letters.get(), slots, surface);
    layer.begin(parts.size() <= kMaxParts);
    if (parts.size() > kMaxParts) {
        return false;
    }
    for (const LayerPart &part : parts) {
        GdiFlush();
        std::fill(onBlack.row(0), onBlack.row(surface.height), 0U);
        std::fill(onWhite.row(0), onWhite.row(surface.height), 0xFFFFFFFFU);
        drawAll(onBlack.get(), part.rules);
        drawAll(onWhite.get(), part.rules);
        for (const TextBox &text : part.texts) {
            const gdi::Brush brush(CreateSolidBrush(text.color));
            FillRect(letters.get(), &text.rect, brush.get());
        }
        GdiFlush();
        layer.beginPart();
        for (std::int32_t y = 0; y < surface.height; ++y) {
            layer.takeRow(y, onBlack.row(y), onWhite.row(y), letters.row(y));
        }
    }
    layer.end();
    return true;
}

} // namespace

void drawRule(HDC hDc, AbstractRule &rule)
{
    drawAll(hDc, std::array<AbstractRule *, 1>{&rule});
}

void drawRules(HDC hDc, RuleTable &rules)
{
    rules.paint([hDc](const RuleTable::Slots &slots, std::uint64_t nChanges, RuleLayer &layer) {
        if (std::all_of(slots.begin(), slots.end(), [](const auto &pRule) { return pRule == nullptr; })) {
            layer = {};
            return;
        }
        const std::optional<PixelRows> pixels = pixelsOf(hDc);
        const RuleLayer::Way way = pixels ? layer.nextWay(nChanges, pixels->size) : RuleLayer::Way::Draw;
        if (way == RuleLayer::Way::Put || (way == RuleLayer::Way::Make && makeLayer(hDc, slots, pixels->size, layer))) {
            layer.putOn(*pixels);
        } else {
            drawAll(hDc, slots);
        }
    });
}

} // namespace pellora
