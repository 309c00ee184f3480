#ifndef PLAYER_ANALYSISDOCUMENT_H
#define PLAYER_ANALYSISDOCUMENT_H

#include "player/src/metadata/AnalysisFrame.h"

#include <optional>
#include <string_view>
#include <vector>

namespace player
{

/** Bounds of one document. What is beyond the first three makes nothing of it, what is beyond the others is left out.
 */
struct AnalysisBounds {
    static constexpr std::size_t kDocumentBytes = 256 * 1024;
    static constexpr std::size_t kTags = 20000;
    static constexpr int kDepth = 32;
    static constexpr std::size_t kFrames = 64;
    static constexpr std::size_t kObjects = 256;
    static constexpr std::size_t kOutlines = 8;
    static constexpr std::size_t kPoints = 128;
    static constexpr std::size_t kTextBytes = 64;
};

/**
 * The frames of a document of ONVIF's metadata stream, in its order; empty for one that is of events alone.
 *
 * The form is that of ONVIF's schema (http://www.onvif.org/ver10/schema):
 * MetadataStream, VideoAnalytics, Frame, Object, Appearance, Shape with BoundingBox, CenterOfGravity and Polygon,
 * Class. A Transformation of the frame and of an appearance, first the inner one, multiplies by its Scale and adds its
 * Translate. Elements are found by their local names, whatever their prefixes.
 *
 * Errors: empty for what is no such document, for one beyond the bounds, and for one with a document type, so that
 *         nobody brings entities of their own. Throws nothing but std::bad_alloc. Threads: any.
 */
[[nodiscard]] std::optional<std::vector<AnalysisFrame>> readAnalysis(std::string_view text);

} // namespace player

#endif
