#ifndef PLAYER_ANALYSISFRAME_H
#define PLAYER_ANALYSISFRAME_H

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace player
{

/** A place in the picture, as ONVIF counts: x to the right, y upwards, each from -1 to 1 over the whole picture. */
struct AnalysisPoint {
    float x = 0;
    float y = 0;
};

/** One thing that a camera has found in a picture. */
struct AnalysisObject {
    /** Closed lines: its box, its polygons. */
    std::vector<std::vector<AnalysisPoint>> outlines;
    std::optional<AnalysisPoint> centre;
    /** What it is taken for, UTF-8; empty where nobody says. */
    std::string label;
};

/** What a camera has found in one picture. */
struct AnalysisFrame {
    /** Microseconds since 1970, UTC, by the camera's clock; empty where it does not tell. */
    std::optional<std::int64_t> utc;
    /** Which of the camera's analytics says so; empty where there is one alone. */
    std::string source;
    std::vector<AnalysisObject> objects;
};

} // namespace player

#endif
