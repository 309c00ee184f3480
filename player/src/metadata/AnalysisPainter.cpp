#include "player/src/metadata/AnalysisPainter.h"

#include "gdi/GdiObjects.h"
#include "gdi/SavedDc.h"
#include "gdi/Selection.h"

#include <algorithm>
#include <climits>
#include <string>

namespace player
{

namespace
{

constexpr int kLineWidth = 2;
constexpr int kCrossArm = 4;
// Letters of a 24th of the window's height, where these can be read and do not hide the picture.
constexpr int kLettersInHeight = 24;
constexpr int kLeastLetter = 11;
constexpr int kMostLetter = 28;

std::wstring wide(const std::string &text)
{
    std::wstring result(text.size(), L'\0');
    const int length = MultiByteToWideChar(CP_UTF8, 0, text.data(), static_cast<int>(text.size()), result.data(),
                                           static_cast<int>(result.size()));
    result.resize(static_cast<std::size_t>(length));
    return result;
}

} // namespace

void AnalysisPainter::draw(const AnalysisFrames &frames, const PictureShape &shape, const PixelRect &region) const
{
    BITMAP bitmap = {};
    if (region.isEmpty() || GetObjectW(GetCurrentObject(m_hDc, OBJ_BITMAP), sizeof bitmap, &bitmap) == 0) {
        return;
    }
    const AnalysisView view{shape, region, bitmap.bmWidth, bitmap.bmHeight};
    const gdi::Pen pen(CreatePen(PS_SOLID, kLineWidth, kColour));
    const int nLetter = std::clamp(view.height / kLettersInHeight, kLeastLetter, kMostLetter);
    const gdi::Font font(CreateFontW(-nLetter, 0, 0, 0, FW_BOLD, FALSE, FALSE, FALSE, DEFAULT_CHARSET,
                                     OUT_DEFAULT_PRECIS, CLIP_DEFAULT_PRECIS, DEFAULT_QUALITY, DEFAULT_PITCH,
                                     L"Segoe UI"));
    if (pen.get() == nullptr || font.get() == nullptr) {
        return;
    }
    const gdi::SavedDc saved(m_hDc);
    const gdi::Selection penSelected(m_hDc, pen.get());
    const gdi::Selection fontSelected(m_hDc, font.get());
    SetBkMode(m_hDc, TRANSPARENT);
    SetTextColor(m_hDc, kColour);
    for (const auto &pFrame : frames) {
        for (const AnalysisObject &object : pFrame->objects) {
            for (const auto &outline : object.outlines) {
                drawOutline(outline, view);
            }
            if (object.centre) {
                drawCentre(*object.centre, view);
            }
            drawLabel(object, view);
        }
    }
}

void AnalysisPainter::drawOutline(const std::vector<AnalysisPoint> &outline, const AnalysisView &view) const
{
    std::vector<POINT> points;
    points.reserve(outline.size() + 1);
    for (const AnalysisPoint &point : outline) {
        const AnalysisView::Pixel pixel = view.of(point);
        points.push_back({pixel.x, pixel.y});
    }
    points.push_back(points.front());
    Polyline(m_hDc, points.data(), static_cast<int>(points.size()));
}

void AnalysisPainter::drawCentre(AnalysisPoint centre, const AnalysisView &view) const
{
    const AnalysisView::Pixel pixel = view.of(centre);
    MoveToEx(m_hDc, pixel.x - kCrossArm, pixel.y, nullptr);
    LineTo(m_hDc, pixel.x + kCrossArm + 1, pixel.y);
    MoveToEx(m_hDc, pixel.x, pixel.y - kCrossArm, nullptr);
    LineTo(m_hDc, pixel.x, pixel.y + kCrossArm + 1);
}

void AnalysisPainter::drawLabel(const AnalysisObject &object, const AnalysisView &view) const
{
    const std::wstring label = wide(object.label);
    if (label.empty()) {
        return;
    }
    // Above the upper left corner of what is drawn.
    int nLeft = INT_MAX;
    int nTop = INT_MAX;
    const auto consider = [&](AnalysisPoint point) {
        const AnalysisView::Pixel pixel = view.of(point);
        nLeft = std::min(nLeft, pixel.x);
        nTop = std::min(nTop, pixel.y);
    };
    if (object.centre) {
        consider(*object.centre);
    }
    for (const auto &outline : object.outlines) {
        std::for_each(outline.begin(), outline.end(), consider);
    }
    SetTextAlign(m_hDc, TA_LEFT | TA_BOTTOM);
    // Readable over anything: a dark letter one pixel off.
    SetTextColor(m_hDc, RGB(0, 0, 0));
    TextOutW(m_hDc, nLeft + 1, nTop, label.c_str(), static_cast<int>(label.size()));
    SetTextColor(m_hDc, kColour);
    TextOutW(m_hDc, nLeft, nTop - 1, label.c_str(), static_cast<int>(label.size()));
}

} // namespace player
