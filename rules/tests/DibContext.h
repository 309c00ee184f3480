#ifndef RULES_TESTS_DIBCONTEXT_H
#define RULES_TESTS_DIBCONTEXT_H

#include "gdi/GdiObjects.h"
#include "gdi/Selection.h"
#include "rules/RuleTypes.h"

#include <windows.h>

#include <algorithm>
#include <cstdint>
#include <memory>
#include <optional>
#include <vector>

namespace pellora
{

/** A memory context on a top-down bitmap of 32 bits a pixel, filled with one colour that no rule here has. */
class DibContext
{
public:
    static constexpr std::int32_t kWidth = 400;
    static constexpr std::int32_t kHeight = 300;
    static constexpr std::uint32_t kGround = 0x00204060;

    DibContext() : m_hDc(CreateCompatibleDC(nullptr))
    {
        BITMAPINFO info = {};
        info.bmiHeader.biSize = sizeof(info.bmiHeader);
        info.bmiHeader.biWidth = kWidth;
        info.bmiHeader.biHeight = -kHeight;
        info.bmiHeader.biPlanes = 1;
        info.bmiHeader.biBitCount = 32;
        void *pBits = nullptr;
        m_bitmap = gdi::Bitmap(CreateDIBSection(m_hDc, &info, DIB_RGB_COLORS, &pBits, nullptr, 0));
        m_pBits = static_cast<std::uint32_t *>(pBits);
        m_pSelection = std::make_unique<gdi::Selection>(m_hDc, m_bitmap.get());
        clear();
    }
    DibContext(const DibContext &) = delete;
    DibContext &operator=(const DibContext &) = delete;
    ~DibContext()
    {
        m_pSelection.reset();
        DeleteDC(m_hDc);
    }

    [[nodiscard]] HDC get() const
    {
        return m_hDc;
    }
    void clear()
    {
        GdiFlush();
        std::fill_n(m_pBits, kWidth * kHeight, kGround);
    }
    /** 0x00RRGGBB, as the bitmap has it. */
    [[nodiscard]] std::uint32_t pixel(std::int32_t x, std::int32_t y) const
    {
        GdiFlush();
        return m_pBits[y * kWidth + x] & 0x00FFFFFFU;
    }
    [[nodiscard]] std::vector<std::uint32_t> all() const
    {
        GdiFlush();
        return {m_pBits, m_pBits + kWidth * kHeight};
    }
    [[nodiscard]] bool isInk(std::int32_t x, std::int32_t y) const
    {
        return pixel(x, y) != kGround;
    }
    /** The smallest rectangle around all that is not ground, right and bottom included; none when nothing is. */
    [[nodiscard]] std::optional<PixelRect> inkBounds() const
    {
        PixelRect bounds = {kWidth, kHeight, -1, -1};
        for (std::int32_t y = 0; y < kHeight; ++y) {
            for (std::int32_t x = 0; x < kWidth; ++x) {
                if (isInk(x, y)) {
                    bounds = {std::min(bounds.left, x), std::min(bounds.top, y), std::max(bounds.right, x),
                              std::max(bounds.bottom, y)};
                }
            }
        }
        return bounds.right < 0 ? std::nullopt : std::optional(bounds);
    }

private:
    HDC m_hDc;
    gdi::Bitmap m_bitmap;
    std::uint32_t *m_pBits = nullptr;
    std::unique_ptr<gdi::Selection> m_pSelection;
};

} // namespace pellora

#endif
