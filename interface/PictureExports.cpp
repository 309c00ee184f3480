#include "interface/Pellora.h"

#include "interface/PaneChoice.h"

#include <algorithm>
#include <cstring>

using namespace pellora;

static_assert(sizeof(tagPELLORA_CROP_PIC_INFO) == sizeof(CROP_PIC_INFO), "the player's record is the host's");

namespace
{

/** Thousandths of an extent as pixels, truncated; the largest value where that is more than fits. */
unsigned long pixels(unsigned long nThousandths, long nExtent)
{
    const double fPixels = static_cast<double>(nThousandths) * static_cast<double>(nExtent) / 1000.0;
    return static_cast<unsigned long>(std::clamp(fPixels, 0.0, static_cast<double>(MAXDWORD)));
}

bool takeScreenshot(PanePort &port, tagPELLORA_CROP_PIC_INFO &info)
{
    // Without a picture both stay 0, and the player says what is wrong.
    long nWidth = 0;
    long nHeight = 0;
    port.getPictureSize(nWidth, nHeight);
    unsigned long *pRect = info.pCropRect;
    // In the host's own rectangle; docs/compatibility.md: screenshot-in-place.
    pRect[0] = pixels(pRect[0], nWidth);
    pRect[1] = pixels(pRect[1], nHeight);
    pRect[2] = pixels(pRect[2], nWidth);
    pRect[3] = pixels(pRect[3], nHeight);
    CROP_PIC_INFO request{};
    std::memcpy(&request, &info, sizeof(request));
    const bool bDone = port.screenshot(&request);
    std::memcpy(&info, &request, sizeof(request));
    return bDone;
}

} // namespace

int PELLORA_GetPictureSize(long lHandle, tagPELLORA_POINT *pSize) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_GetPictureSize(long,struct tagPELLORA_POINT *)");
    logCall(where, "PELLORA_GetPictureSize: lHandle: %d.", lHandle);
    if (pSize == nullptr) {
        return refuse(where, "pSize is null");
    }
    return onCurrentPort<int>(where, lHandle, [&](PanePort &port) { return port.getPictureSize(pSize->x, pSize->y); });
}

int PELLORA_Capture(long lHandle, unsigned char *pJpeg, unsigned long dwBufSize, unsigned long *pJpegSize) noexcept
{
    const LogLocation where =
        exportAt("int __cdecl PELLORA_Capture(long,unsigned char *,unsigned long,unsigned long *)");
    logCall(where, "PELLORA_Capture: lHandle: %d, pJpeg: %p, dwBufSize: %d, pJpegSize: %p.", lHandle, pJpeg, dwBufSize,
            pJpegSize);
    return onCurrentPort<int>(where, lHandle, &PanePort::capture, pJpeg, dwBufSize, pJpegSize);
}

int PELLORA_Screenshot(long lHandle, tagPELLORA_CROP_PIC_INFO *pInfo) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_Screenshot(long,struct tagPELLORA_CROP_PIC_INFO *)");
    logCall(where, "PELLORA_Screenshot: lHandle: %d", lHandle);
    if (pInfo == nullptr || pInfo->pCropRect == nullptr) {
        return refuse(where, pInfo == nullptr ? "pInfo is null" : "pCropRect is null");
    }
    return onCurrentPort<int>(where, lHandle, [&](PanePort &port) { return takeScreenshot(port, *pInfo); });
}

int PELLORA_SetDisplayRegion(long lHandle, const tagPELLORA_RECT *pRect, long lSubHandel) noexcept
{
    const LogLocation where = exportAt("int __cdecl PELLORA_SetDisplayRegion(long,struct tagPELLORA_RECT *,long)");
    logCall(where, "PELLORA_SetDisplayRegion: lHandle: %d, lSubHandel: %d", lHandle, lSubHandel);
    return onSource<int>(where, lHandle, lSubHandel, [&](VideoWnd &pane) {
        if (pRect == nullptr) {
            return pane.setDisplayRegion(nullptr);
        }
        const RECT region{pRect->left, pRect->top, pRect->right, pRect->bottom};
        return pane.setDisplayRegion(&region);
    });
}
