#include "device/src/onvif/XmlDocument.h"

#include "Selvikdcm.h"
#include "device/src/Failure.h"
#include "device/src/Text.h"

#include <algorithm>
#include <cstring>

namespace selvik
{

XmlDocument::XmlDocument(const std::string &text)
{
    // Counted before anything is made of them: a node takes some twenty times the memory of its shortest tag.
    const auto tags = static_cast<std::size_t>(std::count(text.begin(), text.end(), '<'));
    if (text.size() > kMaxSize || tags > kMaxTags) {
        throw Failure(SELVIK_ERROR_MEDIA);
    }
    // A document type becomes a node, which is then refused; its entities are not expanded in any case.
    const unsigned int options = pugi::parse_default | pugi::parse_doctype;
    if (!m_document.load_buffer(text.data(), text.size(), options) || !root()) {
        throw Failure(SELVIK_ERROR_MEDIA);
    }
    checkShape();
}

void XmlDocument::checkShape() const
{
    struct Walker : pugi::xml_tree_walker {
        bool for_each(pugi::xml_node &node) override
        {
            return node.type() != pugi::node_doctype && depth() <= kMaxDepth;
        }
    } walker;
    // traverse() takes no constant node, and changes none. It goes from node to node without recursion.
    pugi::xml_node top = m_document;
    if (!top.traverse(walker)) {
        throw Failure(SELVIK_ERROR_MEDIA);
    }
}

std::string localName(const std::string &name)
{
    const std::size_t colon = name.rfind(':');
    return colon == std::string::npos ? name : name.substr(colon + 1);
}

namespace
{

bool isNamed(const pugi::xml_node &node, const char *pName)
{
    const char *const pColon = std::strrchr(node.name(), ':');
    return std::strcmp(pColon == nullptr ? node.name() : pColon + 1, pName) == 0;
}

} // namespace

pugi::xml_node childOf(const pugi::xml_node &node, const char *pName)
{
    return node.find_child([pName](const pugi::xml_node &child) { return isNamed(child, pName); });
}

pugi::xml_node descendantOf(pugi::xml_node node, const std::vector<const char *> &path)
{
    for (const char *pName : path) {
        node = childOf(node, pName);
    }
    return node;
}

std::vector<pugi::xml_node> childrenOf(const pugi::xml_node &node, const char *pName, std::size_t most)
{
    std::vector<pugi::xml_node> found;
    for (const pugi::xml_node &child : node.children()) {
        if (found.size() < most && isNamed(child, pName)) {
            found.push_back(child);
        }
    }
    return found;
}

std::string textOf(const pugi::xml_node &node, std::size_t most)
{
    const char *const pText = node.text().get();
    // Bounded before it is copied.
    if (std::strlen(pText) > most + 256) {
        return {};
    }
    std::string text = trimmed(pText);
    const bool bControl = std::any_of(text.begin(), text.end(), [](char letter) {
        return static_cast<unsigned char>(letter) < 0x20 || letter == 0x7F;
    });
    return text.size() > most || bControl ? std::string() : text;
}

std::string xmlEscaped(const std::string &text)
{
    std::string escaped;
    for (const char letter : text) {
        switch (letter) {
        case '&':
            escaped += "&amp;";
            break;
        case '<':
            escaped += "&lt;";
            break;
        case '>':
            escaped += "&gt;";
            break;
        case '"':
            escaped += "&quot;";
            break;
        default:
            escaped += letter;
        }
    }
    return escaped;
}

} // namespace selvik
