#ifndef PLAYER_COMPOINTER_H
#define PLAYER_COMPOINTER_H

#include <objbase.h>

#include <memory>

namespace player
{

/** Gives back one reference to a COM object. */
struct ComRelease {
    void operator()(IUnknown *p) const
    {
        p->Release();
    }
};

template <typename Interface>
using ComPointer = std::unique_ptr<Interface, ComRelease>;

/** What a COM function answers by way of a pointer; null when it failed. */
template <typename Interface, typename Call>
ComPointer<Interface> comResult(Call call)
{
    void *pResult = nullptr;
    return ComPointer<Interface>(SUCCEEDED(call(&pResult)) ? static_cast<Interface *>(pResult) : nullptr);
}

/** COM on the calling thread. Threads: made and destroyed on the same one. */
class ComApartment
{
public:
    ComApartment() : m_bOwn(SUCCEEDED(CoInitializeEx(nullptr, COINIT_MULTITHREADED))) {}

    ~ComApartment()
    {
        if (m_bOwn) {
            CoUninitialize();
        }
    }

    ComApartment(const ComApartment &) = delete;
    ComApartment &operator=(const ComApartment &) = delete;

private:
    /** Somebody else may have made it one of another kind, in which what is needed here works as well. */
    const bool m_bOwn;
};

} // namespace player

#endif
