// A host that loads the library by name and lets it go again.

#include <gtest/gtest.h>

#include <windows.h>

namespace
{

using NoArguments = int (*)(void);
using WithHandle = int (*)(long);

NoArguments function(HMODULE hModule, const char *name)
{
    return reinterpret_cast<NoArguments>(reinterpret_cast<void *>(GetProcAddress(hModule, name)));
}

TEST(UnloadTest, GoesAtTheHostsWishBeforeItWasStarted)
{
    const HMODULE hModule = LoadLibraryW(L"Pellora.dll");
    ASSERT_NE(hModule, nullptr);

    FreeLibrary(hModule);

    EXPECT_EQ(GetModuleHandleW(L"Pellora.dll"), nullptr);
}

TEST(UnloadTest, StaysInTheProcessOnceItWasStarted)
{
    const HMODULE hModule = LoadLibraryW(L"Pellora.dll");
    ASSERT_NE(hModule, nullptr);
    ASSERT_EQ(function(hModule, "PELLORA_Init")(), 1);
    EXPECT_EQ(function(hModule, "PELLORA_Fini")(), 1);

    FreeLibrary(hModule);
    FreeLibrary(hModule);
    FreeLibrary(hModule);

    ASSERT_EQ(GetModuleHandleW(L"Pellora.dll"), hModule);
    const auto destroyWindow =
        reinterpret_cast<WithHandle>(reinterpret_cast<void *>(GetProcAddress(hModule, "PELLORA_DestroyWindow")));
    EXPECT_EQ(destroyWindow(3), 1);
    EXPECT_EQ(destroyWindow(9), 0);
}

} // namespace
