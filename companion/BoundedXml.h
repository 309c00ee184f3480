#ifndef COMPANION_BOUNDEDXML_H
#define COMPANION_BOUNDEDXML_H

#include <pugixml.hpp>

#include <cstddef>
#include <string_view>

namespace companion
{

/** What a document may have. Tags are counted by their opening brackets. */
struct XmlBounds {
    std::size_t bytes;
    std::size_t tags;
    int depth;
};

/**
 * Reads a document that a device sent. False for what is none, for one beyond the bounds, and for one with a document
 * type, so that nobody brings entities of their own; those that XML itself knows are decoded.
 */
[[nodiscard]] bool loadXml(pugi::xml_document &document, std::string_view text, const XmlBounds &bounds);

// Elements are found by their local names: which prefix stands for which namespace is each device's own choice, and
// some declare their namespaces wrongly.

[[nodiscard]] bool isNamed(const pugi::xml_node &node, const char *pName);
/** The first child of that local name; none of a null node. */
[[nodiscard]] pugi::xml_node childOf(const pugi::xml_node &node, const char *pName);

/** Calls `take` for the children of that local name, `most` of them at most. */
template <typename Take>
void forEachChild(const pugi::xml_node &node, const char *pName, std::size_t most, Take take)
{
    for (const pugi::xml_node &child : node.children()) {
        if (isNamed(child, pName)) {
            if (most-- == 0) {
                return;
            }
            take(child);
        }
    }
}

} // namespace companion

#endif
