#ifndef RULES_RULECOORDINATES_H
#define RULES_RULECOORDINATES_H

#include "rules/AbstractRule.h"
#include "rules/CoordinateMapping.h"

namespace pellora
{

// A rule's geometry to and from the record of its family, which may lie at any address and is as long as
// recordSize says: nothing is read or written outside it. Where the geometry converts no coordinate, points stay as
// they are on the side that would have got them.

/** Bytes of the family's record; 0 for none. */
[[nodiscard]] std::uint32_t recordSize(RuleFamily family);

/**
 * Writes the coordinates. Of a polygon's record only as many points as there are; of a text's only the text's own
 * bytes, without an end unless it had to be cut, and the point for the anchor that the record asks for (0: 1).
 */
void readCoordinates(const AbstractRule &rule, const PictureGeometry &geometry, void *pRecord);

/** Gives the rule the coordinates, each kept within its limits. Counts beyond the record's room count as the room. */
void writeCoordinates(AbstractRule &rule, const PictureGeometry &geometry, const void *pRecord);

} // namespace pellora

#endif
