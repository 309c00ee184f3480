#include "interface/tests/PelloraFixture.h"
#include "tests/support/ExportNames.h"

#include <algorithm>
#include <iterator>

namespace
{

const char *const kHeader = "interface/Pellora.h";

class ExportsTest : public PelloraFixture
{
};

std::set<std::string> functionsOf(const std::set<std::string> &names)
{
    std::set<std::string> functions;
    for (const std::string &name : names) {
        if (name.rfind("PELLORA_", 0) == 0) {
            functions.insert(name);
        }
    }
    return functions;
}

/** What the library exports besides its functions: C++ names, as the compiler spells them. */
std::set<std::string> otherNames()
{
    const std::set<std::string> names = support::exportedNames(GetModuleHandleW(L"Pellora.dll"));
    const std::set<std::string> functions = functionsOf(names);
    std::set<std::string> others;
    std::set_difference(names.begin(), names.end(), functions.begin(), functions.end(),
                        std::inserter(others, others.end()));
    return others;
}

TEST_F(ExportsTest, ExportsExactlyTheFunctionsThatTheDefinitionFileNames)
{
    EXPECT_EQ(functionsOf(support::exportedNames(GetModuleHandleW(L"Pellora.dll"))),
              support::definitionFileNames("interface/Pellora.def"));
}

TEST_F(ExportsTest, ExportsTheClassesOfTheWorkerPoolAndNothingElse)
{
    const std::set<std::string> names = otherNames();
    for (const std::string &name : names) {
        EXPECT_THAT(name, testing::HasSubstr("publicdatacontroller"));
    }
    const auto exportsMember = [&names](const char *pMember) {
        return std::any_of(names.begin(), names.end(),
                           [pMember](const std::string &name) { return name.find(pMember) != std::string::npos; });
    };
    for (const char *pMember : {"ThreadPool7AddTask", "ThreadPool11AddTaskList", "ThreadPool4Stop",
                                "ThreadTask10needDelete", "ThreadTask11donotDelete", "ThreadTaskC2", "ThreadTaskD2"}) {
        EXPECT_TRUE(exportsMember(pMember)) << pMember;
    }
}

TEST_F(ExportsTest, ExportsExactlyTheFunctionsThatTheHeaderDeclares)
{
    auto declared = support::declaredFunctions(kHeader, "PELLORA_");
    declared.erase("PELLORA_STATIC_ASSERT");
    EXPECT_EQ(functionsOf(support::exportedNames(GetModuleHandleW(L"Pellora.dll"))), declared);
}

TEST_F(ExportsTest, ExportsEveryFunctionAboutWindowsFilesAndSound)
{
    EXPECT_THAT(support::exportedNames(GetModuleHandleW(L"Pellora.dll")),
                testing::IsSupersetOf({"PELLORA_Init",
                                       "PELLORA_Fini",
                                       "PELLORA_CreateWindow",
                                       "PELLORA_CreateWindow2",
                                       "PELLORA_DestroyWindow",
                                       "PELLORA_SetVisible",
                                       "PELLORA_SetGeometry",
                                       "PELLORA_SetClipArea",
                                       "PELLORA_PreviewFile",
                                       "PELLORA_StopPreviewFile",
                                       "PELLORA_Play",
                                       "PELLORA_Pause",
                                       "PELLORA_Restore",
                                       "PELLORA_Fast",
                                       "PELLORA_Slow",
                                       "PELLORA_OneByOne",
                                       "PELLORA_OneByOneBack",
                                       "PELLORA_SetPlayPos",
                                       "PELLORA_GetPlayPos",
                                       "PELLORA_GetFileTime",
                                       "PELLORA_GetFileTimeNoPriview",
                                       "PELLORA_GetSystemFileTime",
                                       "PELLORA_GetSystemTime",
                                       "PELLORA_GetPictureSize",
                                       "PELLORA_Capture",
                                       "PELLORA_Screenshot",
                                       "PELLORA_SetFileEndCallback",
                                       "PELLORA_SplitScreen",
                                       "PELLORA_FullScreen",
                                       "PELLORA_NormalScreen",
                                       "PELLORA_SetCurWnd",
                                       "PELLORA_SetDisplayRegion",
                                       "PELLORA_OpenSound",
                                       "PELLORA_CloseSound",
                                       "PELLORA_SetVolume",
                                       "PELLORA_GetVolume"}));
}

} // namespace
