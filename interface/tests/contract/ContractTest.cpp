// What the rows say, asked of every exported function.

#include "base/CLog.h"
#include "corvane/CorvaneMgr.h"
#include "interface/tests/InstalledLog.h"
#include "interface/tests/contract/ContractFixture.h"
#include "tests/support/ExportNames.h"

#include <algorithm>
#include <climits>
#include <set>
#include <sstream>
#include <thread>

using contract::ActsOn;
using contract::kCurrentPane;
using contract::Lookup;
using contract::Playing;
using contract::Row;
using contract::Target;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

namespace
{

const std::vector<std::string> kSilent = {"PELLORA_CreateWindow2", "PELLORA_SetGeometry", "PELLORA_SetClipArea"};

bool isOfTheLibrary(const Row &row)
{
    return row.actsOn == ActsOn::Library;
}

bool takesWindow(const Row &row)
{
    return row.actsOn != ActsOn::NoWindow && !isOfTheLibrary(row);
}

bool isQuestion(const Row &row)
{
    return row.function.rfind("PELLORA_Get", 0) == 0 && takesWindow(row);
}

bool isStop(const Row &row)
{
    return row.function.rfind("PELLORA_Stop", 0) == 0;
}

/** A warning of any text. */
const char *const kWhatever = "*";

/** Numbers that name no window in a scene whose windows are 0 and 1. */
const std::vector<long> kNoWindows = {-1, 2, 8, 9, 99, INT_MAX, INT_MIN};

std::vector<long> noPanes(const Row &row)
{
    std::vector<long> numbers = {-2, 9, 10, 254, 256, INT_MAX, INT_MIN};
    if (row.actsOn != ActsOn::PaneOrAll) {
        numbers.push_back(255);
    }
    if (row.actsOn == ActsOn::PaneByNumber) {
        numbers.push_back(-1);
    }
    return numbers;
}

std::string callOf(const Row &row, const Target &target)
{
    std::ostringstream text;
    text << row.name() << " of window " << target.lHandle << ", pane " << target.lSubHandel << ", failing checks "
         << target.nBroken;
    return text.str();
}

// ---- the table itself ----

TEST(ContractTableTest, HasEveryExportedFunction)
{
    std::set<std::string> functions;
    for (const Row &row : contract::allRows()) {
        functions.insert(row.function);
    }

    EXPECT_EQ(functions, support::definitionFileNames("interface/Pellora.def"));
    EXPECT_EQ(functions.size(), 54U);
}

TEST(ContractTableTest, SpellsTheSignaturesThatTheHeaderDeclares)
{
    for (const Row &row : contract::allRows()) {
        EXPECT_EQ(row.declared, row.signature);
    }
}

TEST(ContractTableTest, HasALineOfEveryFunctionButThree)
{
    std::set<std::string> silent;
    for (const Row &row : contract::allRows()) {
        if (row.log.empty() && row.function != "PELLORA_CreateRule") {
            silent.insert(row.function);
        }
    }

    EXPECT_EQ(silent, std::set<std::string>(kSilent.begin(), kSilent.end()));
}

// ---- calls that are as they should be ----

class ContractTest : public ContractFixture, public testing::WithParamInterface<Row>
{
protected:
    void SetUp() override
    {
        ContractFixture::SetUp();
        prepare(GetParam());
    }

    [[nodiscard]] static long chosenPane(const Target &target)
    {
        return target.lSubHandel == -1 ? kCurrentPane : target.lSubHandel;
    }

    void expectCalls(const Target &target) const
    {
        const Texts expected = expectedCalls(GetParam(), chosenPane(target));
        ASSERT_EQ(m_calls.size(), expected.size()) << testing::PrintToString(m_calls);
        for (std::size_t i = 0; i < expected.size(); ++i) {
            EXPECT_TRUE(readsAs(m_calls[i], expected[i])) << m_calls[i] << "\nshould be " << expected[i];
        }
    }

    /** The call comes to be seen where it acts and nowhere else. */
    void expectShown(const Target &target, const Texts &before) const
    {
        const Texts after = readings(GetParam());
        const bool bAll = GetParam().actsOn == ActsOn::AllPanes || target.lSubHandel == 255;
        for (std::size_t i = 0; i < after.size(); ++i) {
            const long lPane = GetParam().bOfPanes ? static_cast<long>(i) : chosenPane(target);
            const std::string shown = expanded(GetParam().shown, target, lPane == 255 ? kCurrentPane : lPane);
            if (!GetParam().bOfPanes || bAll || lPane == chosenPane(target)) {
                EXPECT_NE(before[i], shown) << "pane " << lPane;
                EXPECT_EQ(after[i], shown) << "pane " << lPane;
            } else {
                EXPECT_TRUE(before[i] == shown || after[i] != shown) << "pane " << lPane;
            }
        }
    }

    void expectLines(const Target &target) const
    {
        const std::vector<support::LogLine> lines = statedLines();
        ASSERT_EQ(lines.size(), GetParam().log.size()) << testing::PrintToString(m_log.texts());
        for (std::size_t i = 0; i < lines.size(); ++i) {
            EXPECT_THAT(lines[i], IsExportLine(expanded(GetParam().log[i], target), GetParam().signature));
        }
        if (!lines.empty()) {
            EXPECT_EQ(m_log.first().message, lines.front().message) << "something was said before";
        }
    }
};

TEST_P(ContractTest, LogsForwardsAndAnswers)
{
    const Target target = this->target();
    const Texts before = readings(GetParam());

    EXPECT_EQ(askAndAwait(GetParam(), target), GetParam().answer);

    expectLines(target);
    if (GetParam().answer >= 0) {
        EXPECT_THAT(m_log.texts(), testing::Each(StartsWith("INFO ")));
    }
    expectCalls(target);
    expectShown(target, before);
}

INSTANTIATE_TEST_SUITE_P(Every, ContractTest, testing::ValuesIn(contract::rowsWhere([](const Row &row) {
                             return !isOfTheLibrary(row) && !row.takesPane();
                         })),
                         [](const auto &row) { return row.param.name(); });

class ChosenPaneTest : public ContractTest
{
};

TEST_P(ChosenPaneTest, IsTheOneThatTheNumberNames)
{
    for (const long lSubHandel : {-1L, 0L, 1L, 2L, 3L, 5L, 6L, 7L, 8L}) {
        if (lSubHandel == -1 && GetParam().actsOn == ActsOn::PaneByNumber) {
            continue;
        }
        const Target target = this->target(lSubHandel);
        SCOPED_TRACE(callOf(GetParam(), target));
        const Texts before = readings(GetParam());

        EXPECT_EQ(ask(GetParam(), target), GetParam().answer);

        expectLines(target);
        expectCalls(target);
        expectShown(target, before);
    }
}

INSTANTIATE_TEST_SUITE_P(Every, ChosenPaneTest,
                         testing::ValuesIn(contract::rowsWhere([](const Row &row) { return row.takesPane(); })),
                         [](const auto &row) { return row.param.name(); });

class AllPanesTest : public ContractTest
{
};

TEST_P(AllPanesTest, AreMeantBy255)
{
    const Target target = this->target(255);
    const Texts before = readings(GetParam());

    EXPECT_EQ(ask(GetParam(), target), 1);

    expectLines(target);
    expectShown(target, before);
}

INSTANTIATE_TEST_SUITE_P(Every, AllPanesTest, testing::ValuesIn(contract::rowsWhere([](const Row &row) {
                             return row.actsOn == ActsOn::PaneOrAll;
                         })),
                         [](const auto &row) { return row.param.name(); });

// ---- calls that are refused: all of them in one scene, which they leave as it is ----

class RefusedCallTest : public ContractFixture
{
protected:
    void SetUp() override
    {
        ContractFixture::SetUp();
        play(Playing::Files);
    }

    [[nodiscard]] std::vector<support::LogLine> warnings() const
    {
        std::vector<support::LogLine> lines;
        for (const support::LogLine &line : m_log.lines()) {
            if (line.level == "WARN") {
                lines.push_back(line);
            }
        }
        return lines;
    }

    /** One warning, behind everything else that is said; kWhatever: its text is not looked at. Empty: none. */
    void expectRefusal(const Row &row, const std::string &refusal, const Target &target) const
    {
        if (refusal.empty()) {
            EXPECT_THAT(warnings(), IsEmpty());
        } else if (refusal == kWhatever) {
            EXPECT_LE(warnings().size(), 1U);
        } else {
            EXPECT_THAT(warnings(), ElementsAre(IsRefusal(expanded(refusal, target), row.signature)));
            EXPECT_EQ(m_log.lines().back().level, "WARN");
        }
    }

    /** Only the function's own lines are written, first and of level INFO; nothing is asked of anybody. */
    void expectRefused(const Row &row, const Target &target, long long nAnswer, const std::string &refusal)
    {
        SCOPED_TRACE(callOf(row, target));
        const Texts before = readings(row);

        EXPECT_EQ(ask(row, target), nAnswer);

        EXPECT_THAT(m_calls, IsEmpty());
        const std::vector<support::LogLine> lines = statedLines();
        ASSERT_EQ(lines.size(), row.log.size()) << testing::PrintToString(m_log.texts());
        for (std::size_t i = 0; i < lines.size(); ++i) {
            // Arguments that fail a check are logged as they are.
            const std::string text = expanded(row.log[i], target);
            const std::string told = target.nBroken == 0 ? text : lines[i].message;
            EXPECT_THAT(lines[i], IsExportLine(told, row.signature));
            EXPECT_THAT(lines[i].message, StartsWith(row.function));
            EXPECT_EQ(m_log.lines()[i].message, lines[i].message) << "something was said before";
        }
        expectRefusal(row, refusal, target);
        EXPECT_EQ(readings(row), before);
    }

    void prepareRefusal(const Row &row)
    {
        if (row.prepare) {
            row.prepare(m_scene);
        }
    }

    /** Asks on another thread; the number of error lines. */
    std::size_t errorsElsewhere(const Row &row, const Target &target, long long nAnswer)
    {
        SCOPED_TRACE(callOf(row, target));
        const Texts before = readings(row);
        m_log.clear();
        doubles::clearCalls();
        long long nResult = 7;

        std::thread([&] { nResult = row.call(target); }).join();

        EXPECT_EQ(nResult, nAnswer);
        EXPECT_THAT(newCalls(), IsEmpty());
        const std::vector<support::LogLine> lines = statedLines();
        EXPECT_GE(lines.size(), row.log.size());
        std::size_t nErrors = 0;
        for (std::size_t i = 0; i < lines.size(); ++i) {
            EXPECT_EQ(lines[i].function, row.signature);
            EXPECT_EQ(lines[i].level, i < row.log.size() ? "INFO" : "ERROR");
            nErrors += lines[i].level == "ERROR" ? 1 : 0;
        }
        EXPECT_EQ(readings(row), before);
        return nErrors;
    }
};

// docs/compatibility.md: unknown-window-unlogged.
TEST_F(RefusedCallTest, NamesAWindowThatIsNot)
{
    for (const Row &row : contract::rowsWhere(takesWindow)) {
        prepareRefusal(row);
        for (const long lHandle : kNoWindows) {
            Target target = this->target();
            target.lHandle = lHandle;
            expectRefused(row, target, row.withoutWindow(lHandle), "");
        }
    }
}

TEST_F(RefusedCallTest, NamesAPaneThatIsNot)
{
    for (const Row &row : contract::rowsWhere([](const Row &row) { return row.takesPane(); })) {
        prepareRefusal(row);
        for (const long lSubHandel : noPanes(row)) {
            expectRefused(row, target(lSubHandel), 0, "window {handle} has no pane {sub}");
        }
    }
}

TEST_F(RefusedCallTest, NamesAllPanesOfAWindowThatIsNot)
{
    for (const Row &row : contract::rowsWhere([](const Row &row) { return row.actsOn == ActsOn::PaneOrAll; })) {
        prepareRefusal(row);
        Target target = this->target(255);
        target.lHandle = 2;
        expectRefused(row, target, 0, "");
    }
}

TEST_F(RefusedCallTest, FailsOneCheck)
{
    for (const Row &row : contract::allRows()) {
        for (std::size_t i = 0; i < row.checks.size(); ++i) {
            prepareRefusal(row);
            expectRefused(row, target(-1, 1U << i), row.refused, row.checks[i].refusal);
        }
    }
}

TEST_F(RefusedCallTest, FailsTheFirstOfTwoChecks)
{
    for (const Row &row : contract::allRows()) {
        for (std::size_t i = 0; i < row.checks.size(); ++i) {
            for (std::size_t j = i + 1; j < row.checks.size(); ++j) {
                prepareRefusal(row);
                expectRefused(row, target(-1, 1U << i | 1U << j), row.refused, row.checks[i].refusal);
            }
        }
    }
}

TEST_F(RefusedCallTest, FailsACheckWithoutAWindow)
{
    for (const Row &row : contract::allRows()) {
        for (std::size_t i = 0; i < row.checks.size(); ++i) {
            prepareRefusal(row);
            Target target = this->target(-1, 1U << i);
            target.lHandle = 99;
            const std::string refusals[] = {"", row.checks[i].refusal, kWhatever};
            expectRefused(row, target, 0, refusals[static_cast<std::size_t>(row.checks[i].lookup)]);
        }
    }
}

TEST_F(RefusedCallTest, ComesOnAnotherThread)
{
    for (const Row &row : contract::rowsWhere([](const Row &row) { return !isOfTheLibrary(row); })) {
        prepareRefusal(row);
        EXPECT_EQ(errorsElsewhere(row, target(), row.elsewhere), 1U) << row.name();
    }
}

/** Hosts ask many times a second, also where nothing plays any more. */
TEST_F(RefusedCallTest, IsAQuestionAndWarnedOfOnceUntilTheHostDoesSomething)
{
    Target nowhere = target();
    nowhere.lHandle = 0; // where nothing plays
    for (const Row &row : contract::rowsWhere(isQuestion)) {
        for (const std::size_t nWarnings : {1U, 0U, 0U}) {
            ask(row, nowhere);
            EXPECT_EQ(warnings().size(), nWarnings) << row.name();
        }
        PELLORA_SetCurWnd(m_scene.lHandle, kCurrentPane);
        ask(row, nowhere);
        EXPECT_EQ(warnings().size(), 1U) << row.name();
        EXPECT_EQ(statedLines().size(), 1U) << row.name();
    }
}

/** Which shows what comes first: only a function that goes as far as to look for its window says that it must not. */
TEST_F(RefusedCallTest, FailsACheckBeforeItsWindowIsLookedFor)
{
    for (const Row &row : contract::allRows()) {
        for (std::size_t i = 0; i < row.checks.size(); ++i) {
            prepareRefusal(row);
            const std::size_t nErrors = errorsElsewhere(row, target(-1, 1U << i), 0);
            if (row.checks[i].lookup != Lookup::Any) {
                EXPECT_EQ(nErrors, row.checks[i].lookup == Lookup::Later ? 0U : 1U)
                    << row.name() << " " << row.checks[i].name;
            }
        }
    }
}

// ---- calls that fail ----

class FailingCallTest : public ContractFixture
{
};

TEST_F(FailingCallTest, IsAnsweredAsThePlayerFails)
{
    // Files first: one that cannot be opened ends the one before.
    for (const Playing playing : {Playing::Files, Playing::Nothing}) {
        play(playing);
        for (const Row &row : contract::rowsWhere([&](const Row &row) { return row.playing == playing; })) {
            if (row.failing.empty()) {
                continue;
            }
            SCOPED_TRACE(row.name());
            doubles::script(row.failing, {2});

            EXPECT_EQ(ask(row, target()), row.failure);

            const std::vector<std::string> texts = m_log.texts();
            ASSERT_GE(texts.size(), 2U);
            EXPECT_EQ(texts.front(), "INFO " + expanded(row.log.front(), target()));
            EXPECT_THAT(texts, testing::Contains("ERROR " + row.failing + " error: 2."));
        }
    }
}

TEST_F(FailingCallTest, IsAnsweredAsThePaneFails)
{
    play(Playing::Files);
    for (const Row &row : contract::rowsWhere([](const Row &row) { return row.failingCall != nullptr; })) {
        m_log.clear();

        EXPECT_EQ(row.failingCall(target()), row.failure) << row.name();

        EXPECT_THAT(m_log.lines().back(), IsRefusal(expanded(row.failingRefusal, target()), row.signature));
    }
}

class DeadWindowTest : public RefusedCallTest
{
};

TEST_F(DeadWindowTest, TakesNoCallButItsDestruction)
{
    m_pHost->destroy();
    for (const Row &row : contract::rowsWhere(takesWindow)) {
        SCOPED_TRACE(row.name());
        if (row.function == "PELLORA_DestroyWindow") {
            continue;
        }

        EXPECT_EQ(ask(row, target()), 0);

        EXPECT_THAT(m_calls, IsEmpty());
        EXPECT_EQ(statedLines().size(), row.log.size());
        expectRefusal(
            row, "window {handle} is dead, since its host window was destroyed: only PELLORA_DestroyWindow takes it",
            target());
    }
    EXPECT_EQ(PELLORA_DestroyWindow(m_scene.lHandle), 1);
}

class IdlePaneTest : public ContractFixture
{
};

TEST_F(IdlePaneTest, HasNoPlayerToAsk)
{
    for (const Row &row : contract::rowsWhere([](const Row &row) { return row.playing == Playing::Files; })) {
        SCOPED_TRACE(row.name());

        const long long nResult = ask(row, target());

        EXPECT_THAT(m_calls, IsEmpty());
        if (!row.failing.empty()) {
            EXPECT_EQ(nResult, row.failure);
        }
        if (row.bNeedsSource) {
            EXPECT_THAT(m_log.lines().back(), IsRefusal("nothing plays in pane 4 of window 1", row.signature));
        }
    }
}

TEST_F(IdlePaneTest, IsStoppedWithoutAWord)
{
    for (const Row &row : contract::rowsWhere(isStop)) {
        SCOPED_TRACE(row.name());

        EXPECT_EQ(ask(row, target()), 1);

        EXPECT_THAT(m_calls, IsEmpty());
        EXPECT_THAT(m_log.texts(), ElementsAre("INFO " + expanded(row.log.front(), target())));
    }
}

// ---- the library's beginning and end ----

class LibraryContractTest : public PelloraFixture
{
protected:
    static Row rowOf(const std::string &function)
    {
        return contract::rowsWhere([&](const Row &row) { return row.function == function; }).front();
    }
};

TEST_F(LibraryContractTest, EndsWithItsLine)
{
    const Row row = rowOf("PELLORA_Fini");

    EXPECT_EQ(row.call({}), row.answer);

    EXPECT_THAT(m_log.lines(), ElementsAre(IsExportLine(row.log.front(), row.signature)));
    EXPECT_FALSE(Base::CLog::getInstance()->isStarted());
    EXPECT_FALSE(corvane::CorvaneMgr::getInstance()->isInit());
    PELLORA_Init();
    support::stopLogger();
    support::startLogger();
}

TEST_F(LibraryContractTest, BeginsWithItsLinesInTheInstallationsLog)
{
    PELLORA_Fini();
    const Row row = rowOf("PELLORA_Init");

    std::istringstream added(addedToInstalledLog([&row] { EXPECT_EQ(row.call({}), row.answer); }));

    std::string line;
    for (const std::string &text : row.log) {
        ASSERT_TRUE(std::getline(added, line));
        EXPECT_THAT(line, testing::HasSubstr("INFO  " + text + " (Pellora: "));
    }
    EXPECT_TRUE(corvane::CorvaneMgr::getInstance()->isInit());
    support::stopLogger();
    support::startLogger();
}

} // namespace
