#include "tests/soak/FailingMemory.h"

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>

#include <dlfcn.h>

namespace soak
{

namespace
{

void *allocate(std::size_t size, std::size_t alignment = 0)
{
    if (runsOut()) {
        throw std::bad_alloc();
    }
    void *const pBytes = alignment > alignof(std::max_align_t)
                             ? std::aligned_alloc(alignment, (size + alignment - 1) / alignment * alignment)
                             : std::malloc(size != 0 ? size : 1);
    if (pBytes == nullptr) {
        throw std::bad_alloc();
    }
    return pBytes;
}

bool isFfmpeg(const void *pCaller)
{
    Dl_info module{};
    return dladdr(pCaller, &module) != 0 && module.dli_fname != nullptr &&
           (std::strstr(module.dli_fname, "libav") != nullptr || std::strstr(module.dli_fname, "libsw") != nullptr);
}

} // namespace

} // namespace soak

// The program's own stand before those of the C++ library, for all that is linked.

void *operator new(std::size_t size)
{
    return soak::allocate(size);
}

void *operator new[](std::size_t size)
{
    return soak::allocate(size);
}

void *operator new(std::size_t size, std::align_val_t alignment)
{
    return soak::allocate(size, static_cast<std::size_t>(alignment));
}

void *operator new(std::size_t size, const std::nothrow_t & /*tag*/) noexcept
{
    return soak::runsOut() ? nullptr : std::malloc(size != 0 ? size : 1);
}

void *operator new[](std::size_t size, const std::nothrow_t & /*tag*/) noexcept
{
    return soak::runsOut() ? nullptr : std::malloc(size != 0 ? size : 1);
}

void operator delete(void *pBytes) noexcept
{
    std::free(pBytes);
}

void operator delete[](void *pBytes) noexcept
{
    std::free(pBytes);
}

void operator delete(void *pBytes, std::size_t /*size*/) noexcept
{
    std::free(pBytes);
}

void operator delete[](void *pBytes, std::size_t /*size*/) noexcept
{
    std::free(pBytes);
}

void operator delete(void *pBytes, std::align_val_t /*alignment*/) noexcept
{
    std::free(pBytes);
}

void operator delete(void *pBytes, std::size_t /*size*/, std::align_val_t /*alignment*/) noexcept
{
    std::free(pBytes);
}

// FFmpeg's libraries take their memory from these two.

extern "C" __attribute__((visibility("default"))) int posix_memalign(void **ppBytes, std::size_t alignment,
                                                                     std::size_t size)
{
    using Function = int (*)(void **, std::size_t, std::size_t);
    static const auto pfnReal = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "posix_memalign"));
    if (soak::isCounting() && soak::isFfmpeg(__builtin_return_address(0)) && soak::runsOut()) {
        return ENOMEM;
    }
    return pfnReal(ppBytes, alignment, size);
}

extern "C" __attribute__((visibility("default"))) void *realloc(void *pBytes, std::size_t size)
{
    using Function = void *(*)(void *, std::size_t);
    static const auto pfnReal = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "realloc"));
    if (soak::isCounting() && soak::isFfmpeg(__builtin_return_address(0)) && soak::runsOut()) {
        return nullptr;
    }
    return pfnReal(pBytes, size);
}

// FFmpeg 7.1's av_tx_init() keeps the memory of a part when the next part gets none. Its libraries have no frame
// pointers, so that a leak cannot be told from that one: only the project's own are looked for here.
extern "C" __attribute__((visibility("default"))) const char *
__lsan_default_suppressions() // NOLINT: the sanitizer's name
{
    return "leak:libavutil.so\n";
}
