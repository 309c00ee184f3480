#include "interface/tests/PelloraFixture.h"
#include "tests/support/ExportNames.h"

#include <algorithm>
#include <iterator>

namespace
{

const char *const kHeader = "interface/Pellora.h";
const char *const kGuide = "docs/host-guide.md";

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

TEST_F(ExportsTest, ExportsExactlyTheFunctionsThatTheGuideTells)
{
    EXPECT_EQ(functionsOf(support::exportedNames(GetModuleHandleW(L"Pellora.dll"))),
              support::functionsInSection(kGuide, "All functions", "PELLORA_"));
}

TEST_F(ExportsTest, AreFiftyFour)
{
    EXPECT_EQ(support::definitionFileNames("interface/Pellora.def").size(), 54U);
}

/** Other names in running text would be misspelled ones. */
TEST_F(ExportsTest, AreAllThatTheDocumentsSpeakOf)
{
    const std::set<std::string> exported = functionsOf(support::exportedNames(GetModuleHandleW(L"Pellora.dll")));
    for (const char *pDocument : {kGuide, "docs/rules.md", "docs/compatibility.md", "README.md"}) {
        EXPECT_THAT(exported, testing::IsSupersetOf(support::functionsInSection(pDocument, "", "PELLORA_")))
            << pDocument;
    }
}

} // namespace
