#include "rules/gdi/GdiCanvas.h"

#include "rules/RuleArithmetic.h"

#include <cwchar>

namespace pellora
{

namespace
{

constexpr wchar_t kCaptionFace[] = L"Microsoft YaHei UI";

static_assert(sizeof(wchar_t) == sizeof(char16_t));

const wchar_t *asWide(const char16_t *pText)
{
    // The same units under another name, as the system's functions want it.
    return reinterpret_cast<const wchar_t *>(pText);
}

RECT asRect(const PixelRect &rect)
{
    return {rect.left, rect.top, rect.right, rect.bottom};
}

HFONT makeCaptionFont()
{
    // All zero but the face: the device's default size and weight.
    LOGFONTW font = {};
    static_assert(sizeof(kCaptionFace) <= sizeof(font.lfFaceName));
    std::wmemcpy(font.lfFaceName, kCaptionFace, sizeof(kCaptionFace) / sizeof(kCaptionFace[0]));
    return CreateFontIndirectW(&font);
}

} // namespace

GdiCanvas::GdiCanvas(HDC hDc)
    : m_hDc(hDc),
      m_penSelection(hDc, GetStockObject(BLACK_PEN)),
      m_brushSelection(hDc, GetStockObject(WHITE_BRUSH)),
      m_fontSelection(hDc, GetStockObject(SYSTEM_FONT))
{
}

void GdiCanvas::setPen(RulePen pen)
{
    if (m_pen.get() == nullptr) {
        m_nPenWidth = pen.width;
        m_pen = gdi::Pen(CreatePen(PS_SOLID, pen.width, pen.color));
        SelectObject(m_hDc, m_pen.get());
    }
}

void GdiCanvas::moveTo(PixelPoint point)
{
    m_position = point;
    MoveToEx(m_hDc, point.x, point.y, nullptr);
}

void GdiCanvas::lineTo(PixelPoint point)
{
    if (m_nPenWidth > 1 && (isFar(m_position) || isFar(point))) {
        drawFarLine({m_position, point});
    } else {
        LineTo(m_hDc, point.x, point.y);
    }
    m_position = point;
}

void GdiCanvas::drawFarLine(const PixelSegment &line)
{
    // Wine (8) fills a wide line row by row wherever it leads: 170 ms for one of 4,000,000 pixels.
    if (!m_surface) {
        RECT surface = {};
        GetClipBox(m_hDc, &surface);
        m_surface = {surface.left, surface.top, surface.right, surface.bottom};
    }
    if (const std::optional<PixelSegment> part = clipped(line, *m_surface)) {
        MoveToEx(m_hDc, part->start.x, part->start.y, nullptr);
        LineTo(m_hDc, part->end.x, part->end.y);
    }
    MoveToEx(m_hDc, line.end.x, line.end.y, nullptr);
}

void GdiCanvas::frame(const PixelRect &rect)
{
    const gdi::Selection hollow(m_hDc, GetStockObject(NULL_BRUSH));
    Rectangle(m_hDc, rect.left, rect.top, rect.right, rect.bottom);
}

void GdiCanvas::disc(PixelPoint centre, std::int32_t nRadius, RuleColor fill)
{
    if (m_brush.get() == nullptr) {
        m_brush = gdi::Brush(CreateSolidBrush(fill));
        SelectObject(m_hDc, m_brush.get());
    }
    const PixelRect box = boxAround(centre, nRadius, nRadius);
    Ellipse(m_hDc, box.left, box.top, box.right, box.bottom);
}

PixelSize GdiCanvas::measureText(const char16_t *pText)
{
    needFont();
    RECT extent = {};
    DrawTextW(m_hDc, asWide(pText), -1, &extent, DT_CALCRECT);
    return {static_cast<std::int32_t>(extent.right - extent.left),
            static_cast<std::int32_t>(extent.bottom - extent.top)};
}

void GdiCanvas::drawText(const char16_t *pText, const PixelRect &box, RuleColor color)
{
    needFont();
    SetTextColor(m_hDc, color);
    SetBkMode(m_hDc, TRANSPARENT);
    RECT rect = asRect(box);
    DrawTextW(m_hDc, asWide(pText), -1, &rect, DT_CENTER | DT_VCENTER | DT_SINGLELINE);
}

void GdiCanvas::needFont()
{
    if (m_font.get() == nullptr) {
        m_font = gdi::Font(makeCaptionFont());
        SelectObject(m_hDc, m_font.get());
    }
}

} // namespace pellora
