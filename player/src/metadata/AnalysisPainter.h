#ifndef PLAYER_ANALYSISPAINTER_H
#define PLAYER_ANALYSISPAINTER_H

#include "player/src/metadata/AnalysisSource.h"
#include "player/src/metadata/AnalysisView.h"

#include <windows.h>

namespace player
{

/**
 * Draws what a camera has found in a picture over that picture: outlines, centres as small crosses, labels above them.
 *
 * Threads: one at a time. Borrows the context, and leaves its bitmap alone but for what it draws.
 * Units:   the context's pixels; it is as large as the bitmap in it.
 * Errors:  what the system has no object for is not drawn.
 */
class AnalysisPainter
{
public:
    /** Of all lines and texts. */
    static constexpr COLORREF kColour = RGB(0, 230, 255);

    explicit AnalysisPainter(HDC hDc) : m_hDc(hDc) {}

    /** The region is that part of the picture that fills the context. */
    void draw(const AnalysisFrames &frames, const PictureShape &shape, const PixelRect &region) const;

private:
    void drawOutline(const std::vector<AnalysisPoint> &outline, const AnalysisView &view) const;
    void drawCentre(AnalysisPoint centre, const AnalysisView &view) const;
    void drawLabel(const AnalysisObject &object, const AnalysisView &view) const;

    HDC m_hDc;
};

} // namespace player

#endif
