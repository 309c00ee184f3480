#ifndef VIDEOWINDOW_RULEMOUSE_H
#define VIDEOWINDOW_RULEMOUSE_H

#include "VideoWindow/RuleEditor.h"

#include <optional>

class QEvent;

namespace pellora
{

/**
 * What an event of Qt's is for the rule editor; none for what neither presses, releases nor moves.
 *
 * The press of a double click is no press here. GUI thread.
 */
[[nodiscard]] std::optional<RuleMouseEvent> ruleMouseEvent(const QEvent &event);

} // namespace pellora

#endif
