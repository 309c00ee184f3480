#include "interface/tests/contract/ContractFixture.h"

#include "VideoWindow/tests/RuleReports.h"

#include <QCoreApplication>

#include <algorithm>
#include <cstring>

using contract::ActsOn;
using contract::kCurrentPane;
using contract::Playing;
using contract::Row;
using contract::Target;

namespace
{

constexpr long kPanes = 9;
/** A long wait, on a machine that does much else. */
constexpr unsigned kPatience = 30000;

void replaceAll(std::string &text, const std::string &what, const std::string &by)
{
    for (std::size_t nAt = text.find(what); nAt != std::string::npos; nAt = text.find(what, nAt + by.size())) {
        text.replace(nAt, what.size(), by);
    }
}

std::size_t countOf(const Texts &calls, const std::string &beginning)
{
    return static_cast<std::size_t>(std::count_if(
        calls.begin(), calls.end(), [&](const std::string &call) { return call.rfind(beginning, 0) == 0; }));
}

} // namespace

void ContractFixture::SetUp()
{
    PelloraFixture::SetUp();
    rulereports::reset();
    m_pSpareHost = std::make_unique<support::HostWindow>();
    ASSERT_EQ(createWindow(), 0);
    const std::vector<QWidget *> others = videoWindows();
    m_scene.hSpareHost = m_pSpareHost->handle();
    m_scene.lHandle = createWindow();
    ASSERT_EQ(m_scene.lHandle, 1);
    for (QWidget *pWindow : videoWindows()) {
        if (std::find(others.begin(), others.end(), pWindow) == others.end()) {
            m_scene.pWindow = pWindow;
        }
    }
    ASSERT_NE(m_scene.pWindow, nullptr);
    m_scene.panes = panesOf(m_scene.pWindow);
    ASSERT_EQ(m_scene.panes.size(), static_cast<std::size_t>(kPanes));
    for (const QWidget *pPane : m_scene.panes) {
        m_objects.push_back(spelled(pPane));
        m_surfaces.push_back(pictureWindow(pPane));
    }
    EXPECT_EQ(PELLORA_SplitScreen(m_scene.lHandle, 9), 1);
    EXPECT_EQ(PELLORA_SetCurWnd(m_scene.lHandle, kCurrentPane), 1);
    support::pumpPosted();
    doubles::clearCalls();
    m_log.clear();
}

void ContractFixture::TearDown()
{
    for (long lHandle = 0; lHandle < kPanes; ++lHandle) {
        PELLORA_DestroyWindow(lHandle);
    }
    EXPECT_TRUE(support::pumpUntil(
        [] { return doubles::openPreviews().empty() && doubles::startedPreviews() == doubles::stoppedPreviews(); },
        kPatience));
    m_pSpareHost.reset();
    rulereports::reset();
    PelloraFixture::TearDown();
}

void ContractFixture::prepare(const Row &row)
{
    play(row.playing);
    if (row.prepare) {
        row.prepare(m_scene);
    }
    support::pumpPosted();
    doubles::clearCalls();
    m_log.clear();
}

void ContractFixture::play(Playing what)
{
    doubles::PlayerOutputs outputs;
    outputs.playedTime = 17;
    outputs.fileTime = 3600;
    outputs.volume = 50000;
    outputs.first = {2024, 2, 29, 23, 59, 58, 999};
    outputs.last = {2024, 3, 1, 0, 0, 1, 2};
    outputs.now = {2025, 12, 31, 1, 2, 3, 4};
    doubles::setPlayerOutputs(outputs);
    if (what == Playing::Files) {
        playFiles();
    } else if (what == Playing::Live) {
        playLive();
    }
    EXPECT_EQ(PELLORA_SetCurWnd(m_scene.lHandle, kCurrentPane), 1);
    support::pumpPosted();
    doubles::clearCalls();
    m_log.clear();
}

void ContractFixture::playFiles()
{
    std::string path = "a.mkv";
    for (long lPane = 0; lPane < kPanes; ++lPane) {
        EXPECT_EQ(PELLORA_SetCurWnd(m_scene.lHandle, lPane), 1);
        EXPECT_EQ(PELLORA_PreviewFile(m_scene.lHandle, path.data(), 0, 0), 1);
        EXPECT_EQ(doubles::openPorts().back(), lPane);
        EXPECT_TRUE(doubles::fireFileRef(lPane));
        giveRules(lPane);
    }
}

void ContractFixture::giveRules(long lPane) const
{
    const long h = m_scene.lHandle;
    EXPECT_EQ(PELLORA_CreateRule(h, PELLORA_RULE_LINE, 255, 0, 0, nullptr, 0, lPane), 0);
    EXPECT_EQ(PELLORA_CreateRule(h, PELLORA_RULE_LINE_WITH_ARROWS, 255, 0, 0, nullptr, 0, lPane), 1);
    EXPECT_EQ(PELLORA_CreateRule(h, PELLORA_RULE_TEXT, 255, 0, 0, nullptr, 0, lPane), 2);
    // Corners: no other coordinates come back the same from a pane of any size.
    tagPELLORA_RULE_LINE line = {{0, 0}, {1000, 1000}};
    EXPECT_EQ(PELLORA_SetRuleCoord(h, 0, &line, lPane), 1);
    EXPECT_EQ(PELLORA_SetRuleCoord(h, 1, &line, lPane), 1);
    tagPELLORA_RULE_TEXT text;
    std::memset(&text, 0, sizeof(text));
    std::strcpy(text.szText, ("text of pane " + std::to_string(lPane)).c_str());
    text.wAnchor = PELLORA_ANCHOR_TOP_LEFT;
    EXPECT_EQ(PELLORA_SetRuleCoord(h, 2, &text, lPane), 1);
}

void ContractFixture::playLive()
{
    tagPELLORA_BATCH_PREVIEW_PARAM batch = {};
    batch.wNum = kPanes;
    for (unsigned long i = 0; i < kPanes; ++i) {
        batch.struPreviewParam[i].userID = 7;
        batch.struPreviewParam[i].lChannel = i + 1;
    }
    EXPECT_EQ(PELLORA_BatchPreviewStream_Async(m_scene.lHandle, batch, nullptr), 1);
    m_scene.previews = doubles::openPreviews();
    ASSERT_EQ(m_scene.previews.size(), static_cast<std::size_t>(kPanes));
    for (const long lPreview : m_scene.previews) {
        EXPECT_TRUE(doubles::sendStream(lPreview, SELVIK_STREAM_HEADER, "header"));
        QCoreApplication::sendPostedEvents();
    }
    EXPECT_EQ(doubles::openPorts().size(), static_cast<std::size_t>(kPanes));
}

Target ContractFixture::target(long lSubHandel, unsigned nBroken) const
{
    return {&m_scene, m_scene.lHandle, lSubHandel, nBroken};
}

long long ContractFixture::ask(const Row &row, const Target &target)
{
    doubles::clearCalls();
    m_log.clear();
    const long long nResult = row.call(target);
    m_calls = newCalls();
    return nResult;
}

long long ContractFixture::askAndAwait(const Row &row, const Target &target)
{
    if (!row.bOnThePool) {
        return ask(row, target);
    }
    doubles::clearCalls();
    m_log.clear();
    const std::size_t nCalls = expectedCalls(row, kCurrentPane).size();
    const std::size_t nStarted = doubles::startedPreviews() + countOf(row.calls, "SELVIK_DCM_StartPreview");
    const long long nResult = row.call(target);
    EXPECT_TRUE(support::pumpUntil(
        [&] { return doubles::callTexts().size() >= nCalls && doubles::startedPreviews() >= nStarted; }, kPatience));
    QCoreApplication::sendPostedEvents();
    support::pumpPosted();
    m_calls = newCalls();
    std::sort(m_calls.begin(), m_calls.end());
    return nResult;
}

std::string ContractFixture::expanded(std::string text, const Target &target, long lPane) const
{
    replaceAll(text, "{handle}", std::to_string(target.lHandle));
    replaceAll(text, "{sub}", std::to_string(target.lSubHandel));
    replaceAll(text, "{hwnd}", contract::digits(m_scene.hSpareHost));
    for (std::size_t i = 0; i < m_objects.size(); ++i) {
        replaceAll(text, "{wnd:" + std::to_string(i) + "}", m_objects[i]);
    }
    if (lPane >= 0) {
        const auto nPane = static_cast<std::size_t>(lPane);
        replaceAll(text, "{pane}", std::to_string(lPane));
        replaceAll(text, "{port}", std::to_string(lPane));
        replaceAll(text, "{channel}", std::to_string(lPane + 1));
        replaceAll(text, "{wnd}", m_objects.at(nPane));
        replaceAll(text, "{surface}", m_surfaces.at(nPane));
        if (!m_scene.previews.empty()) {
            replaceAll(text, "{preview}", std::to_string(m_scene.previews[nPane]));
        }
    }
    return text;
}

Texts ContractFixture::expectedCalls(const Row &row, long lPane) const
{
    const bool bAll = row.actsOn == ActsOn::AllPanes;
    Texts calls;
    for (long i = bAll ? 0 : lPane; i <= (bAll ? kPanes - 1 : lPane); ++i) {
        for (const std::string &call : row.calls) {
            calls.push_back(expanded(call, target(), i));
        }
    }
    if (row.bOnThePool) {
        std::sort(calls.begin(), calls.end());
    }
    return calls;
}

std::vector<support::LogLine> ContractFixture::statedLines() const
{
    std::vector<support::LogLine> lines;
    for (const support::LogLine &line : m_log.lines()) {
        if (line.file == "Pellora" && line.level != "WARN" && line.level != "DEBUG") {
            lines.push_back(line);
        }
    }
    return lines;
}

Texts ContractFixture::readings(const Row &row) const
{
    Texts texts;
    if (row.reading) {
        for (long lPane = 0; lPane < (row.bOfPanes ? kPanes : 1); ++lPane) {
            texts.push_back(row.reading(m_scene, lPane));
        }
    }
    return texts;
}

bool readsAs(const std::string &call, const std::string &told)
{
    const std::string kAny = "{any}";
    std::size_t nAt = 0;
    std::size_t nTold = 0;
    for (std::size_t nAny = told.find(kAny); nAny != std::string::npos; nAny = told.find(kAny, nTold)) {
        const std::string part = told.substr(nTold, nAny - nTold) + "0x";
        if (call.compare(nAt, part.size(), part) != 0) {
            return false;
        }
        nAt = std::min(call.find_first_not_of("0123456789ABCDEF", nAt + part.size()), call.size());
        nTold = nAny + kAny.size();
    }
    return call.substr(nAt) == told.substr(nTold);
}
