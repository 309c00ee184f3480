#include "VideoWindow/tests/RuleReports.h"

#include "interface/Pellora.h"

#include <algorithm>
#include <cstring>
#include <utility>

namespace rulereports
{

namespace
{

std::vector<std::string> g_reports;
std::function<void(unsigned char)> g_action;

std::string spell(const tagPELLORA_POINT &point)
{
    return std::to_string(point.x) + ',' + std::to_string(point.y);
}

template <typename Record>
Record load(const void *pCoord)
{
    Record record;
    std::memcpy(&record, pCoord, sizeof(record));
    return record;
}

/** " and more" when a byte of the record differs from what was spelled. */
template <typename Record>
std::string rest(const void *pCoord, const Record &spelled)
{
    // NOLINTNEXTLINE(bugprone-suspicious-memory-comparison): padding counts, hosts see it.
    return std::memcmp(pCoord, &spelled, sizeof(spelled)) == 0 ? "" : " and more";
}

std::string spellPolygon(const void *pCoord)
{
    const auto record = load<tagPELLORA_RULE_POLYGON>(pCoord);
    tagPELLORA_RULE_POLYGON spelled;
    std::memset(&spelled, 0, sizeof(spelled));
    spelled.wPointNum = record.wPointNum;
    std::string text = std::to_string(record.wPointNum);
    const int nPoints = std::min<int>(record.wPointNum, 10);
    for (int i = 0; i < nPoints; ++i) {
        spelled.struPoints[i] = record.struPoints[i];
        text += ' ' + spell(record.struPoints[i]);
    }
    return text + rest(pCoord, spelled);
}

std::string spellText(const void *pCoord)
{
    const auto record = load<tagPELLORA_RULE_TEXT>(pCoord);
    tagPELLORA_RULE_TEXT spelled;
    std::memset(&spelled, 0, sizeof(spelled));
    const std::string text(record.szText, std::find(record.szText, record.szText + sizeof(record.szText), '\0'));
    std::memcpy(spelled.szText, text.data(), text.size());
    spelled.wAnchor = record.wAnchor;
    spelled.struPoint = record.struPoint;
    spelled.byDock = record.byDock;
    return '"' + text + "\" " + std::to_string(record.wAnchor) + ' ' + spell(record.struPoint) + ' ' +
           std::to_string(record.byDock) + rest(pCoord, spelled);
}

} // namespace

void reset()
{
    g_reports.clear();
    g_action = nullptr;
}

std::vector<std::string> take()
{
    return std::exchange(g_reports, {});
}

void whenReported(std::function<void(unsigned char byState)> action)
{
    g_action = std::move(action);
}

void callback(long lRuleID, unsigned short wRuleType, void *pCoord, unsigned char byState, long lHandle,
              long lSubHandel, unsigned long dwSize)
{
    g_reports.push_back("rule " + std::to_string(lRuleID) + " type " + std::to_string(wRuleType) + " state " +
                        std::to_string(byState) + " handle " + std::to_string(lHandle) + " pane " +
                        std::to_string(lSubHandel) + " size " + std::to_string(dwSize) + ": " +
                        spellRecord(wRuleType, pCoord));
    if (g_action) {
        g_action(byState);
    }
}

std::string spellRecord(unsigned short wRuleType, const void *pCoord)
{
    switch (wRuleType) {
    case 1:
    case 10:
        return spell(load<tagPELLORA_RULE_POINT>(pCoord).struPoint);
    case 4:
    case 8:
        return spellPolygon(pCoord);
    case 5:
        return spellText(pCoord);
    default: {
        const auto record = load<tagPELLORA_RULE_LINE>(pCoord);
        return spell(record.struStart) + ' ' + spell(record.struEnd);
    }
    }
}

} // namespace rulereports
