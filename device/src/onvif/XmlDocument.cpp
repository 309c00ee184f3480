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
    if (!companion::loadXml(m_document, text, {kMaxSize, kMaxTags, kMaxDepth})) {
        throw Failure(SELVIK_ERROR_MEDIA);
    }
}

std::string localName(const std::string &name)
{
    const std::size_t colon = name.rfind(':');
    return colon == std::string::npos ? name : name.substr(colon + 1);
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
    companion::forEachChild(node, pName, most, [&found](const pugi::xml_node &child) { found.push_back(child); });
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
