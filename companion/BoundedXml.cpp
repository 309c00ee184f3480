#include "companion/BoundedXml.h"

#include <algorithm>
#include <cstring>

namespace companion
{

namespace
{

/** No document type, and no deeper than allowed. */
bool hasGoodShape(pugi::xml_document &document, int mostDepth)
{
    struct Walker : pugi::xml_tree_walker {
        explicit Walker(int most) : nMost(most) {}

        bool for_each(pugi::xml_node &node) override
        {
            return node.type() != pugi::node_doctype && depth() <= nMost;
        }

        const int nMost;
    } walker(mostDepth);
    // From node to node, without recursion.
    return document.traverse(walker);
}

} // namespace

bool loadXml(pugi::xml_document &document, std::string_view text, const XmlBounds &bounds)
{
    // Counted before anything is made of them: a node takes some twenty times the memory of its shortest tag.
    const auto tags = static_cast<std::size_t>(std::count(text.begin(), text.end(), '<'));
    if (text.size() > bounds.bytes || tags > bounds.tags) {
        return false;
    }
    // A document type becomes a node, which is then refused; its entities are not expanded in any case.
    const unsigned options = pugi::parse_default | pugi::parse_doctype;
    return document.load_buffer(text.data(), text.size(), options) && document.document_element() &&
           hasGoodShape(document, bounds.depth);
}

bool isNamed(const pugi::xml_node &node, const char *pName)
{
    const char *const pColon = std::strrchr(node.name(), ':');
    return std::strcmp(pColon == nullptr ? node.name() : pColon + 1, pName) == 0;
}

pugi::xml_node childOf(const pugi::xml_node &node, const char *pName)
{
    return node.find_child([pName](const pugi::xml_node &child) { return isNamed(child, pName); });
}

} // namespace companion
