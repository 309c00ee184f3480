#ifndef GDI_MEMORYDC_H
#define GDI_MEMORYDC_H

#include <windows.h>

namespace gdi
{

/** Owns a memory context. Declare it before what is selected into it. Errors: empty when the system made none. */
class MemoryDc
{
public:
    explicit MemoryDc(HDC hLike) noexcept : m_hDc(CreateCompatibleDC(hLike)) {}
    MemoryDc(const MemoryDc &) = delete;
    MemoryDc &operator=(const MemoryDc &) = delete;
    ~MemoryDc()
    {
        if (m_hDc != nullptr) {
            DeleteDC(m_hDc);
        }
    }

    [[nodiscard]] HDC get() const noexcept
    {
        return m_hDc;
    }

private:
    const HDC m_hDc;
};

} // namespace gdi

#endif
