#ifndef RULES_RULERECORDS_H
#define RULES_RULERECORDS_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace pellora
{

// The coordinate records as hosts lay them out: little-endian, coordinates in thousandths of the picture. Hosts may
// place them anywhere, hence they are copied in and out, never pointed at.

struct NormalisedPoint {
    std::int32_t nX = 0;
    std::int32_t nY = 0;
};

struct RulePointRecord {
    NormalisedPoint struPoint;
};

struct RuleLineRecord {
    NormalisedPoint struStart;
    NormalisedPoint struEnd;
};

struct RuleRectRecord {
    NormalisedPoint struTopLeft;
    NormalisedPoint struBottomRight;
};

/** As many vertices as a polygon record holds, and thus a polygon has. */
constexpr std::size_t kMaxPolygonPoints = 10;

struct RulePolygonRecord {
    std::array<NormalisedPoint, kMaxPolygonPoints> struPoints;
    std::uint16_t wPointNum = 0;
    std::uint16_t wPadding = 0;
};

constexpr std::size_t kTextBytes = 1024;

struct RuleTextRecord {
    std::array<char, kTextBytes> szText;
    std::uint16_t wAnchor = 0; /**< 1: the point is the box's top-left corner, 2: its top-right one */
    std::uint16_t wPadding = 0;
    NormalisedPoint struPoint;
    std::uint8_t byDock = 0; /**< 0 free, 1 docked left, 2 docked right */
    std::array<std::uint8_t, 3> byPadding;
};

/** The extension of polygons: 3 bytes and a caption. docs/compatibility.md: three-byte-extension. */
struct RulePolygonExtension {
    static constexpr std::size_t kPointNumOffset = 0;    /**< uint16: vertices of the complete shape */
    static constexpr std::size_t kFinishEarlyOffset = 2; /**< uint8: non-zero lets the right button finish */
    static constexpr std::size_t kCaptionOffset = 3;     /**< zero-terminated, with a caption only */
};

/** Room for the largest record. */
using RuleRecord = std::array<unsigned char, sizeof(RuleTextRecord)>;

static_assert(sizeof(NormalisedPoint) == 8 && offsetof(NormalisedPoint, nY) == 4);
static_assert(sizeof(RulePointRecord) == 8);
static_assert(sizeof(RuleLineRecord) == 16 && offsetof(RuleLineRecord, struEnd) == 8);
static_assert(sizeof(RuleRectRecord) == 16 && offsetof(RuleRectRecord, struBottomRight) == 8);
static_assert(sizeof(RulePolygonRecord) == 84 && offsetof(RulePolygonRecord, wPointNum) == 80);
static_assert(sizeof(RuleTextRecord) == 1040 && offsetof(RuleTextRecord, wAnchor) == 1024 &&
              offsetof(RuleTextRecord, struPoint) == 1028 && offsetof(RuleTextRecord, byDock) == 1036);
static_assert(std::is_standard_layout_v<RulePolygonRecord> && std::is_trivially_copyable_v<RulePolygonRecord>);
static_assert(std::is_standard_layout_v<RuleTextRecord> && std::is_trivially_copyable_v<RuleTextRecord>);

} // namespace pellora

#endif
