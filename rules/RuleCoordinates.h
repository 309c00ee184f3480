#ifndef RULES_RULECOORDINATES_H
#define RULES_RULECOORDINATES_H

#include "rules/AbstractRule.h"
#include "rules/CoordinateMapping.h"

namespace pellora
{

// A rule's geometry to and from the record of its family. A record may lie at any address. It is as long as recordSize
// says, and nothing is read or written outside of it. Where the geometry converts no coordinate, the points that would
// have been written stay as they are.

/** Bytes of the family's record; 0 for none. */
[[nodiscard]] std::uint32_t recordSize(RuleFamily family);

/**
 * Writes the coordinates. A polygon writes as many points as it has. A text writes its own bytes, an end only if it had
 * to be cut, and the point of the anchor that the record asks for (0 counts as 1).
 */
void readCoordinates(const AbstractRule &rule, const PictureGeometry &geometry, void *pRecord);

/** Gives the rule the coordinates, each kept within its limits. A count beyond the record's room counts as the room. */
void writeCoordinates(AbstractRule &rule, const PictureGeometry &geometry, const void *pRecord);

} // namespace pellora

#endif
