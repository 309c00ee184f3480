#include "tests/soak/Failure.h"

#include <windows.h>

#include <array>
#include <cstdio>
#include <cstring>
#include <exception>
#include <string>
#include <thread>

namespace soak
{

namespace
{

// Fixed memory: it is read while anything may be broken.
std::array<char, 512> g_doing{};
std::atomic<ULONGLONG> g_nAlive{0};

/** Code as "Pellora.dll+0x1234", which addr2line takes once the image's base is added. */
std::string placeOf(const void *pAddress)
{
    HMODULE hModule = nullptr;
    constexpr DWORD kByAddress = GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT;
    std::array<char, MAX_PATH> path{};
    std::array<char, 64> offset{};
    if (GetModuleHandleExA(kByAddress, static_cast<const char *>(pAddress), &hModule) == 0) {
        std::snprintf(offset.data(), offset.size(), "%p", pAddress);
        return offset.data();
    }
    GetModuleFileNameA(hModule, path.data(), static_cast<DWORD>(path.size() - 1));
    const char *const pName = std::strrchr(path.data(), '\\');
    std::snprintf(
        offset.data(), offset.size(), "+0x%llx",
        static_cast<unsigned long long>(static_cast<const char *>(pAddress) - reinterpret_cast<const char *>(hModule)));
    return (pName != nullptr ? pName + 1 : path.data()) + std::string(offset.data());
}

/** The callers, innermost first. */
std::string placesFrom(CONTEXT context)
{
    constexpr int kMostFrames = 24;
    std::string places;
    for (int i = 0; i < kMostFrames && context.Rip != 0; ++i) {
        places += ' ' + placeOf(reinterpret_cast<const void *>(context.Rip));
        DWORD64 nBase = 0;
        const PRUNTIME_FUNCTION pFunction = RtlLookupFunctionEntry(context.Rip, &nBase, nullptr);
        if (pFunction == nullptr) {
            context.Rip = *reinterpret_cast<const DWORD64 *>(context.Rsp);
            context.Rsp += sizeof(DWORD64);
            continue;
        }
        void *pHandlerData = nullptr;
        DWORD64 nFrame = 0;
        RtlVirtualUnwind(UNW_FLAG_NHANDLER, nBase, context.Rip, pFunction, &context, &pHandlerData, &nFrame, nullptr);
    }
    return places;
}

LONG WINAPI onCrash(EXCEPTION_POINTERS *pException)
{
    std::array<char, 32> code{};
    std::snprintf(code.data(), code.size(), "0x%08lx at", pException->ExceptionRecord->ExceptionCode);
    fail(Outcome::Crash, code.data() + placesFrom(*pException->ContextRecord));
}

} // namespace

void setDoing(const std::string &what)
{
    std::snprintf(g_doing.data(), g_doing.size(), "%s", what.c_str());
}

void fail(Outcome outcome, const std::string &what)
{
    std::printf("FAILURE %d in %s: %s\n", static_cast<int>(outcome), g_doing.data(), what.c_str());
    std::fflush(stdout);
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(outcome));
    std::abort();
}

void reportCrashes()
{
    SetUnhandledExceptionFilter(&onCrash);
    std::set_terminate([] { fail(Outcome::Crash, "std::terminate"); });
}

void watch(unsigned seconds)
{
    alive();
    HANDLE hMain = nullptr;
    DuplicateHandle(GetCurrentProcess(), GetCurrentThread(), GetCurrentProcess(), &hMain, 0, FALSE,
                    DUPLICATE_SAME_ACCESS);
    std::thread([seconds, hMain] {
        for (;;) {
            Sleep(200);
            if (GetTickCount64() - g_nAlive > seconds * 1000ULL) {
                SuspendThread(hMain);
                CONTEXT context{};
                context.ContextFlags = CONTEXT_FULL;
                GetThreadContext(hMain, &context);
                fail(Outcome::Hang, "nothing for " + std::to_string(seconds) + " s at" + placesFrom(context));
            }
        }
    }).detach();
}

void alive()
{
    g_nAlive = GetTickCount64();
}

} // namespace soak
