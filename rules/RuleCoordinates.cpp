#include "rules/RuleCoordinates.h"

#include "rules/RuleLine.h"
#include "rules/RulePoint.h"
#include "rules/RulePolygon.h"
#include "rules/RuleRect.h"
#include "rules/RuleText.h"

#include <algorithm>
#include <cstring>
#include <string>
#include <utility>
#include <vector>

namespace pellora
{

namespace
{

template <typename Value>
Value load(const void *pRecord, std::size_t nOffset)
{
    Value value;
    std::memcpy(&value, static_cast<const unsigned char *>(pRecord) + nOffset, sizeof(value));
    return value;
}

template <typename Value>
void store(void *pRecord, std::size_t nOffset, const Value &value)
{
    std::memcpy(static_cast<unsigned char *>(pRecord) + nOffset, &value, sizeof(value));
}

void storePoint(void *pRecord, std::size_t nOffset, const PictureGeometry &geometry, PixelPoint point)
{
    if (geometry.converts()) {
        store(pRecord, nOffset, geometry.toNormalised(point));
    }
}

PixelPoint loadPoint(const void *pRecord, std::size_t nOffset, const PictureGeometry &geometry)
{
    return geometry.toPixels(load<NormalisedPoint>(pRecord, nOffset));
}

constexpr std::size_t pointOffset(std::size_t nIndex)
{
    return offsetof(RulePolygonRecord, struPoints) + nIndex * sizeof(NormalisedPoint);
}

void readPolygon(const RulePolygon &rule, const PictureGeometry &geometry, void *pRecord)
{
    const std::vector<PixelPoint> &points = rule.getPoints();
    const std::size_t nCount = std::min(points.size(), kMaxPolygonPoints);
    store(pRecord, offsetof(RulePolygonRecord, wPointNum), static_cast<std::uint16_t>(nCount));
    for (std::size_t i = 0; i < nCount; ++i) {
        storePoint(pRecord, pointOffset(i), geometry, points[i]);
    }
}

void writePolygon(RulePolygon &rule, const PictureGeometry &geometry, const void *pRecord)
{
    const auto nAsked = load<std::uint16_t>(pRecord, offsetof(RulePolygonRecord, wPointNum));
    const std::size_t nCount = std::min<std::size_t>(nAsked, kMaxPolygonPoints);
    std::vector<PixelPoint> points;
    points.reserve(nCount);
    for (std::size_t i = 0; i < nCount; ++i) {
        points.push_back(loadPoint(pRecord, pointOffset(i), geometry));
    }
    rule.setPoints(std::move(points));
}

void readText(const RuleText &rule, const PictureGeometry &geometry, void *pRecord)
{
    auto nAnchor = load<std::uint16_t>(pRecord, offsetof(RuleTextRecord, wAnchor));
    if (nAnchor == 0) {
        nAnchor = RuleText::kTopLeft;
        store(pRecord, offsetof(RuleTextRecord, wAnchor), nAnchor);
    }
    const std::string &text = rule.getText();
    auto *const pText = static_cast<char *>(pRecord) + offsetof(RuleTextRecord, szText);
    // No end is written behind a text that fits. docs/compatibility.md: text-without-end.
    std::memcpy(pText, text.data(), std::min(text.size(), kTextBytes - 1));
    if (text.size() >= kTextBytes) {
        pText[kTextBytes - 1] = '\0';
    }
    // The anchor, not the dock. docs/compatibility.md: dock-reads-anchor.
    store(pRecord, offsetof(RuleTextRecord, byDock), static_cast<std::uint8_t>(rule.getAnchorMode()));
    if (const std::optional<PixelPoint> point = rule.getPoint(nAnchor)) {
        storePoint(pRecord, offsetof(RuleTextRecord, struPoint), geometry, *point);
    }
}

void writeText(RuleText &rule, const PictureGeometry &geometry, const void *pRecord)
{
    const auto *const pText = static_cast<const char *>(pRecord) + offsetof(RuleTextRecord, szText);
    const char *const pEnd = std::find(pText, pText + kTextBytes, '\0');
    rule.setText(std::string(pText, pEnd), load<std::uint16_t>(pRecord, offsetof(RuleTextRecord, wAnchor)),
                 load<std::uint8_t>(pRecord, offsetof(RuleTextRecord, byDock)));
    if (geometry.converts()) {
        rule.setPoint(loadPoint(pRecord, offsetof(RuleTextRecord, struPoint), geometry));
    }
}

} // namespace

std::uint32_t recordSize(RuleFamily family)
{
    switch (family) {
    case RuleFamily::Point:
        return sizeof(RulePointRecord);
    case RuleFamily::Line:
        return sizeof(RuleLineRecord);
    case RuleFamily::Rect:
        return sizeof(RuleRectRecord);
    case RuleFamily::Polygon:
        return sizeof(RulePolygonRecord);
    case RuleFamily::Text:
        return sizeof(RuleTextRecord);
    case RuleFamily::None:
        break;
    }
    return 0;
}

void readCoordinates(const AbstractRule &rule, const PictureGeometry &geometry, void *pRecord)
{
    switch (familyOf(rule.getType())) {
    case RuleFamily::Point:
        storePoint(pRecord, offsetof(RulePointRecord, struPoint), geometry,
                   static_cast<const RulePoint &>(rule).getPoint());
        break;
    case RuleFamily::Line:
        storePoint(pRecord, offsetof(RuleLineRecord, struStart), geometry,
                   static_cast<const RuleLine &>(rule).getStart());
        storePoint(pRecord, offsetof(RuleLineRecord, struEnd), geometry, static_cast<const RuleLine &>(rule).getEnd());
        break;
    case RuleFamily::Rect: {
        const PixelRect &rect = static_cast<const RuleRect &>(rule).getRect();
        storePoint(pRecord, offsetof(RuleRectRecord, struTopLeft), geometry, {rect.left, rect.top});
        storePoint(pRecord, offsetof(RuleRectRecord, struBottomRight), geometry, {rect.right, rect.bottom});
        break;
    }
    case RuleFamily::Polygon:
        readPolygon(static_cast<const RulePolygon &>(rule), geometry, pRecord);
        break;
    case RuleFamily::Text:
        readText(static_cast<const RuleText &>(rule), geometry, pRecord);
        break;
    case RuleFamily::None:
        break;
    }
}

void writeCoordinates(AbstractRule &rule, const PictureGeometry &geometry, const void *pRecord)
{
    const RuleFamily family = familyOf(rule.getType());
    if (!geometry.converts() && family != RuleFamily::Text) {
        return;
    }
    const auto at = [&geometry, pRecord](std::size_t nOffset) { return loadPoint(pRecord, nOffset, geometry); };
    switch (family) {
    case RuleFamily::Point:
        static_cast<RulePoint &>(rule).setPoint(at(offsetof(RulePointRecord, struPoint)));
        break;
    case RuleFamily::Line:
        static_cast<RuleLine &>(rule).setPoints(at(offsetof(RuleLineRecord, struStart)),
                                                at(offsetof(RuleLineRecord, struEnd)));
        break;
    case RuleFamily::Rect:
        static_cast<RuleRect &>(rule).setRect(at(offsetof(RuleRectRecord, struTopLeft)),
                                              at(offsetof(RuleRectRecord, struBottomRight)));
        break;
    case RuleFamily::Polygon:
        writePolygon(static_cast<RulePolygon &>(rule), geometry, pRecord);
        break;
    case RuleFamily::Text:
        writeText(static_cast<RuleText &>(rule), geometry, pRecord);
        break;
    case RuleFamily::None:
        break;
    }
}

} // namespace pellora
