// Pellora_load.h, in a program that links neither library and lies beside them.
#include "interface/tests/LoadDeclarations.h"
#include "tests/support/ExportNames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

extern "C" int canLoadFromC(void);

namespace
{

const char *const kFunctions[] = {PELLORA_FUNCTIONS(PELLORA_LOAD_NAME)};
const char *const kDeviceFunctions[] = {SELVIK_FUNCTIONS(PELLORA_LOAD_NAME)};

template <typename Names>
std::set<std::string> setOf(const Names &names)
{
    return {std::begin(names), std::end(names)};
}

std::wstring pathOf(const wchar_t *pName)
{
    std::wstring path(PELLORA_LOAD_PATH, L'\0');
    EXPECT_EQ(pellora_path_beside(nullptr, pName, path.data()), 1);
    return path.c_str();
}

template <typename Function>
FARPROC address(Function *pfnFunction)
{
    return reinterpret_cast<FARPROC>(reinterpret_cast<void *>(pfnFunction));
}

class LoadTest : public testing::Test
{
protected:
    void TearDown() override
    {
        if (m_hLibrary != nullptr) {
            FreeLibrary(m_hLibrary);
        }
        EXPECT_EQ(GetModuleHandleW(L"Pellora.dll"), nullptr);
    }

    void expectAllFound() const
    {
        ASSERT_NE(m_hLibrary, nullptr) << GetLastError();
        EXPECT_EQ(m_pMissing, nullptr);
#define EXPECT_FOUND(result, name, parameters) EXPECT_EQ(address(m_video.name), GetProcAddress(m_hLibrary, #name));
        PELLORA_FUNCTIONS(EXPECT_FOUND)
    }

    PelloraFunctions m_video{};
    const char *m_pMissing = "not written";
    HMODULE m_hLibrary = nullptr;
};

TEST_F(LoadTest, NamesTheFunctionsThatTheDefinitionFilesName)
{
    EXPECT_EQ(setOf(kFunctions), support::definitionFileNames("interface/Pellora.def"));
    EXPECT_EQ(setOf(kDeviceFunctions), support::definitionFileNames("device/src/Selvikdcm.def"));
}

TEST_F(LoadTest, FindsEveryFunctionOfTheLibraryBesideTheProgram)
{
    m_hLibrary = pellora_load(&m_video, nullptr, &m_pMissing);

    expectAllFound();
    EXPECT_EQ(m_video.PELLORA_SplitScreen(99, 4), 0);
}

TEST_F(LoadTest, TakesAPathThatCountsFromTheCurrentFolder)
{
    std::wstring folder = pathOf(L"");
    wchar_t before[MAX_PATH];
    GetCurrentDirectoryW(MAX_PATH, before);
    ASSERT_TRUE(SetCurrentDirectoryW(folder.c_str()));
    m_hLibrary = pellora_load(&m_video, L"./Pellora.dll", &m_pMissing);
    SetCurrentDirectoryW(before);

    expectAllFound();
}

TEST_F(LoadTest, FindsTheDevicesThatTheLibraryItselfUses)
{
    m_hLibrary = pellora_load(&m_video, pathOf(L"Pellora.dll").c_str(), &m_pMissing);
    expectAllFound();
    const HMODULE hUsed = GetModuleHandleW(L"Selvikdcm.dll");
    ASSERT_NE(hUsed, nullptr);

    SelvikFunctions devices{};
    const HMODULE hDevices = pellora_load_devices(&devices, m_hLibrary, &m_pMissing);

    EXPECT_EQ(hDevices, hUsed);
    EXPECT_EQ(m_pMissing, nullptr);
#define EXPECT_DEVICE_FOUND(result, name, parameters) EXPECT_EQ(address(devices.name), GetProcAddress(hUsed, #name));
    SELVIK_FUNCTIONS(EXPECT_DEVICE_FOUND)
    EXPECT_STRNE(devices.SELVIK_DCM_GetErrorText(SELVIK_ERROR_TIMEOUT), "");
    FreeLibrary(hDevices);
}

TEST_F(LoadTest, NamesTheFirstFunctionThatIsMissing)
{
    EXPECT_EQ(pellora_load(&m_video, pathOf(L"Selvikdcm.dll").c_str(), &m_pMissing), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_PROC_NOT_FOUND));
    EXPECT_STREQ(m_pMissing, kFunctions[0]);
    // It has not stayed in the process.
    EXPECT_EQ(GetModuleHandleW(L"Selvikdcm.dll"), nullptr);
}

TEST_F(LoadTest, NamesNoFunctionWhenThereIsNoLibrary)
{
    EXPECT_EQ(pellora_load(&m_video, pathOf(L"no such library.dll").c_str(), &m_pMissing), nullptr);
    EXPECT_EQ(GetLastError(), static_cast<DWORD>(ERROR_MOD_NOT_FOUND));
    EXPECT_EQ(m_pMissing, nullptr);
}

TEST_F(LoadTest, RefusesAPathThatIsTooLong)
{
    const std::wstring path = L"C:\\" + std::wstring(PELLORA_LOAD_PATH, L'a');
    EXPECT_EQ(pellora_load(&m_video, path.c_str(), &m_pMissing), nullptr);
    EXPECT_EQ(m_pMissing, nullptr);
}

TEST_F(LoadTest, WorksFromC)
{
    EXPECT_EQ(canLoadFromC(), 1);
}

} // namespace
