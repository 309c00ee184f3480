#ifndef GDI_GDIOBJECTS_H
#define GDI_GDIOBJECTS_H

#include <windows.h>

#include <utility>

namespace gdi
{

/**
 * Owns one GDI object. It must not be selected into a context when it goes: declare it before its Selection.
 *
 * Threads: as GDI objects, one at a time. Errors: empty when the system made none.
 */
template <typename Handle>
class GdiObject
{
public:
    GdiObject() = default;
    explicit GdiObject(Handle hObject) noexcept : m_hObject(hObject) {}
    GdiObject(GdiObject &&other) noexcept : m_hObject(std::exchange(other.m_hObject, nullptr)) {}
    GdiObject &operator=(GdiObject &&other) noexcept
    {
        std::swap(m_hObject, other.m_hObject);
        return *this;
    }
    ~GdiObject()
    {
        if (m_hObject != nullptr) {
            DeleteObject(m_hObject);
        }
    }

    [[nodiscard]] Handle get() const noexcept
    {
        return m_hObject;
    }

private:
    Handle m_hObject = nullptr;
};

using Pen = GdiObject<HPEN>;
using Brush = GdiObject<HBRUSH>;
using Font = GdiObject<HFONT>;
using Bitmap = GdiObject<HBITMAP>;

} // namespace gdi

#endif
