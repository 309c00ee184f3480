#ifndef INTERFACE_TESTS_CONTRACT_READINGS_H
#define INTERFACE_TESTS_CONTRACT_READINGS_H

#include "interface/tests/contract/ContractRow.h"

#include <string>

/** What can be seen of a scene, in words. Those of panes may call the library; they leave it as they found it. */
namespace contract
{

// ---- of the process and the window ----

/** How many video windows there are, and whether one is in the spare host: "2", "3, one in the spare host". */
[[nodiscard]] std::string windows(const Scene &scene, long lPane);
/** What the spare host's paint says of the child window that its video windows' mode needs. */
[[nodiscard]] std::string missingChild(const Scene &scene, long lPane);
/** The plain window that a test of embedding puts into the spare host: its place, or "none". */
[[nodiscard]] std::string testChild(const Scene &scene, long lPane);
[[nodiscard]] std::string visibility(const Scene &scene, long lPane);
/** "x,y width x height". */
[[nodiscard]] std::string geometry(const Scene &scene, long lPane);
/** Which of a few points are cut out; clipPoints() tells them. */
[[nodiscard]] std::string holes(const Scene &scene, long lPane);
/** How many panes are shown. */
[[nodiscard]] std::string split(const Scene &scene, long lPane);
/** "all of the screen" or "in the host". */
[[nodiscard]] std::string extent(const Scene &scene, long lPane);

// ---- of a pane ----

/** "framed" or "plain". */
[[nodiscard]] std::string frame(const Scene &scene, long lPane);
/** What a click on the pane brings to noteStatus: "user 7 channel 2 playing 1 of 1 1", or "nothing". */
[[nodiscard]] std::string toldStatus(const Scene &scene, long lPane);
void noteStatus(tagPELLORA_PREVIEW_STATUS status);
/** What the end of the pane's file brings to noteFileEnd: "end in window 1", or "nothing". */
[[nodiscard]] std::string toldFileEnd(const Scene &scene, long lPane);
void noteFileEnd(long lHandle);
/** What a drawn rule brings to rulereports::callback: "handle 1 pane 3", or "nothing". */
[[nodiscard]] std::string toldRule(const Scene &scene, long lPane);
/** Which of the rules 0 to 3 there are. */
[[nodiscard]] std::string ruleNumbers(const Scene &scene, long lPane);
/** Coordinates of rules 0 and 1. */
[[nodiscard]] std::string firstRule(const Scene &scene, long lPane);
[[nodiscard]] std::string secondRule(const Scene &scene, long lPane);
/** Which arrows rule 1 shows: "A", "B", "A and B", "none". */
[[nodiscard]] std::string arrows(const Scene &scene, long lPane);

} // namespace contract

#endif
