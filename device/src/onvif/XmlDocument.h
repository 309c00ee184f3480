#ifndef DEVICE_ONVIF_XMLDOCUMENT_H
#define DEVICE_ONVIF_XMLDOCUMENT_H

#include "companion/BoundedXml.h"

#include <string>
#include <vector>

namespace selvik
{

/**
 * A document that a device sent, read within bounds: size, number of tags and depth. One with a document type is
 * refused, so that it brings no entities of its own; those that XML itself knows are decoded.
 *
 * Threads: one at a time. Owns: what it was read from.
 * Errors:  the constructor throws Failure(SELVIK_ERROR_MEDIA) for anything else than a document within the bounds.
 */
class XmlDocument
{
public:
    static constexpr std::size_t kMaxSize = std::size_t{2} << 20;
    static constexpr std::size_t kMaxTags = 100000;
    static constexpr int kMaxDepth = 64;

    explicit XmlDocument(const std::string &text);

    [[nodiscard]] pugi::xml_node root() const
    {
        return m_document.document_element();
    }

private:
    pugi::xml_document m_document;
};

// Elements are found by their local names. Within one answer none means two things at the same place.

using companion::childOf;
/** The node that a path of local names leads to. */
[[nodiscard]] pugi::xml_node descendantOf(pugi::xml_node node, const std::vector<const char *> &path);
/** All children of that local name, `most` of them at most. */
[[nodiscard]] std::vector<pugi::xml_node> childrenOf(const pugi::xml_node &node, const char *pName, std::size_t most);
/** A name without its prefix. */
[[nodiscard]] std::string localName(const std::string &name);
/** The trimmed text inside a node; empty where it is longer than `most` or holds a control character. */
[[nodiscard]] std::string textOf(const pugi::xml_node &node, std::size_t most = 2048);
/** A text as it stands inside an element or an attribute. */
[[nodiscard]] std::string xmlEscaped(const std::string &text);

} // namespace selvik

#endif
