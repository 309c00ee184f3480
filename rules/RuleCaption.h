#ifndef RULES_RULECAPTION_H
#define RULES_RULECAPTION_H

#include "rules/RuleCanvas.h"

#include <string>

namespace pellora
{

/** Draws the caption with its middle at the point; at (0, 0), the place of shapes without geometry, nothing. */
void drawCaptionAround(RuleCanvas &canvas, const std::string &text, PixelPoint centre, RuleColor color);

} // namespace pellora

#endif
