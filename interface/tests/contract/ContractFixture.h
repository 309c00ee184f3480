#ifndef INTERFACE_TESTS_CONTRACT_CONTRACTFIXTURE_H
#define INTERFACE_TESTS_CONTRACT_CONTRACTFIXTURE_H

#include "interface/tests/PelloraFixture.h"
#include "interface/tests/contract/ContractRow.h"

#include <memory>
#include <string>
#include <vector>

/**
 * Two video windows of one host, of which rows act on the second: its handle is 1, its panes show what a row asks for.
 *
 * Every test ends with no preview, no port and no window left.
 */
class ContractFixture : public PelloraFixture
{
protected:
    void SetUp() override;
    void TearDown() override;

    /** Brings the window into the state in which the row is asked; calls and log are empty afterwards. */
    void prepare(const contract::Row &row);
    void play(contract::Playing what);
    [[nodiscard]] contract::Target target(long lSubHandel = -1, unsigned nBroken = 0) const;

    /** Asks; what is called meanwhile is in m_calls. */
    long long ask(const contract::Row &row, const contract::Target &target);
    /** As ask(), and waits for what the pool does. Its calls come in the order of their texts. */
    long long askAndAwait(const contract::Row &row, const contract::Target &target);
    /** The row's calls for the pane that is acted on, without placeholders but {any}. */
    [[nodiscard]] Texts expectedCalls(const contract::Row &row, long lPane) const;
    [[nodiscard]] std::string expanded(std::string text, const contract::Target &target, long lPane = -1) const;
    /** The exports' own lines that are part of the contract: those of other levels are told besides. */
    [[nodiscard]] std::vector<support::LogLine> statedLines() const;
    /** What a row's reading says, of each pane or once. */
    [[nodiscard]] Texts readings(const contract::Row &row) const;

    std::unique_ptr<support::HostWindow> m_pSpareHost;
    contract::Scene m_scene;
    Texts m_calls;

private:
    void playFiles();
    void playLive();
    void giveRules(long lPane) const;

    // Spelled while they are there: a row may destroy them.
    Texts m_objects;
    Texts m_surfaces;
};

/** Whether a call reads as told, where "{any}" stands for an address. */
[[nodiscard]] bool readsAs(const std::string &call, const std::string &told);

#endif
