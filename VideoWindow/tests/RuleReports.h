#ifndef VIDEOWINDOW_TESTS_RULEREPORTS_H
#define VIDEOWINDOW_TESTS_RULEREPORTS_H

#include <functional>
#include <string>
#include <vector>

/**
 * What a host is told of its rules, written down.
 *
 * One report reads "rule 0 type 2 state 2 handle 7 pane 3 size 16: 10,20 30,40". Behind the colon stands the whole
 * record: points; a polygon's number of points before them; a text in quotes with its anchor, point and dock. Bytes
 * that should be zero and are not end the line with " and more".
 *
 * Threads: one; callbacks are plain functions, hence there is one list in the process.
 */
namespace rulereports
{

/** Forgets reports and hook. */
void reset();
/** The reports since the last look. */
[[nodiscard]] std::vector<std::string> take();
/** Runs inside each report, after it was written down; null ends it. */
void whenReported(std::function<void(unsigned char byState)> action);

/** The callback to hand to the library. */
void callback(long lRuleID, unsigned short wRuleType, void *pCoord, unsigned char byState, long lHandle,
              long lSubHandel, unsigned long dwSize);

/** A record of the type's family as it stands behind a report's colon. */
[[nodiscard]] std::string spellRecord(unsigned short wRuleType, const void *pCoord);

} // namespace rulereports

#endif
