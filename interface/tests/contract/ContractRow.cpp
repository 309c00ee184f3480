#include "interface/tests/contract/ContractRow.h"

#include <algorithm>
#include <cstdio>
#include <utility>

namespace contract
{

Row &Row::is(std::string text)
{
    variant = std::move(text);
    return *this;
}

Row &Row::acting(ActsOn on, Playing what)
{
    actsOn = on;
    playing = what;
    return *this;
}

Row &Row::prepared(std::function<void(const Scene &)> preparation)
{
    prepare = std::move(preparation);
    return *this;
}

Row &Row::asked(Call ask)
{
    call = std::move(ask);
    return *this;
}

Row &Row::logging(Texts lines)
{
    log = std::move(lines);
    return *this;
}

Row &Row::answering(long long result)
{
    answer = result;
    return *this;
}

Row &Row::calling(Texts texts)
{
    calls = std::move(texts);
    return *this;
}

Row &Row::callingOnThePool(Texts texts)
{
    bOnThePool = true;
    return calling(std::move(texts));
}

Row &Row::failingWith(std::string playersFunction, long long result)
{
    failing = std::move(playersFunction);
    failure = result;
    return *this;
}

Row &Row::failingFor(Call ask, std::string refusal)
{
    failingCall = std::move(ask);
    failingRefusal = std::move(refusal);
    return *this;
}

Row &Row::needingSource()
{
    bNeedsSource = true;
    return *this;
}

Row &Row::showing(Reading read, std::string text)
{
    reading = std::move(read);
    shown = std::move(text);
    return *this;
}

Row &Row::showingInThePane(Reading read, std::string text)
{
    bOfPanes = true;
    return showing(std::move(read), std::move(text));
}

Row &Row::refusing(std::vector<Check> refusals, long long result)
{
    checks = std::move(refusals);
    refused = result;
    return *this;
}

std::string Row::name() const
{
    const std::string prefix = "PELLORA_";
    return function.substr(prefix.size()) + (variant.empty() ? "" : "_" + variant);
}

bool Row::takesPane() const
{
    return actsOn == ActsOn::Pane || actsOn == ActsOn::PaneOrAll || actsOn == ActsOn::PaneByNumber;
}

void PrintTo(const Row &row, std::ostream *pStream)
{
    *pStream << row.name();
}

std::vector<Row> allRows()
{
    std::vector<Row> rows;
    for (const auto &part : {windowRows(), previewRows(), fileRows(), pictureRows(), ruleRows()}) {
        rows.insert(rows.end(), part.begin(), part.end());
    }
    return rows;
}

std::vector<Row> rowsWhere(const std::function<bool(const Row &)> &condition)
{
    std::vector<Row> rows;
    for (const Row &row : allRows()) {
        if (condition(row)) {
            rows.push_back(row);
        }
    }
    return rows;
}

std::string digits(const void *pPointer)
{
    char text[32];
    std::snprintf(text, sizeof(text), "%016llX", reinterpret_cast<unsigned long long>(pPointer));
    return text;
}

} // namespace contract
