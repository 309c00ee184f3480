#include "player/src/metadata/AnalysisDocument.h"

#include "companion/BoundedXml.h"
#include "player/src/core/Ffmpeg.h"

#include <algorithm>
#include <cmath>
#include <cstring>

extern "C" {
#include <libavutil/parseutils.h>
}

namespace player
{

namespace
{

using Bounds = AnalysisBounds;
using companion::childOf;
using companion::forEachChild;

/** Nothing is drawn so far outside the picture, and what is computed from it stays small. */
constexpr float kFarthest = 16;

/** Whole characters of UTF-8, none of which controls anything. */
std::string shortText(const char *pText)
{
    std::string text(pText, std::min(std::strlen(pText), Bounds::kTextBytes + 1));
    if (text.size() > Bounds::kTextBytes) {
        constexpr unsigned kContinues = 0x80;
        std::size_t end = Bounds::kTextBytes;
        while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0U) == kContinues) {
            --end;
        }
        text.resize(end);
    }
    text.erase(
        std::remove_if(text.begin(), text.end(), [](unsigned char letter) { return letter < 0x20 || letter == 0x7F; }),
        text.end());
    return text;
}

/** Multiplies, then adds. */
struct Transformation {
    float scaleX = 1;
    float scaleY = 1;
    float addX = 0;
    float addY = 0;

    static Transformation of(const pugi::xml_node &parent)
    {
        const pugi::xml_node node = childOf(parent, "Transformation");
        const pugi::xml_node scale = childOf(node, "Scale");
        const pugi::xml_node translate = childOf(node, "Translate");
        return {scale.attribute("x").as_float(1), scale.attribute("y").as_float(1), translate.attribute("x").as_float(),
                translate.attribute("y").as_float()};
    }

    [[nodiscard]] AnalysisPoint apply(AnalysisPoint point) const
    {
        return {point.x * scaleX + addX, point.y * scaleY + addY};
    }
};

/** What an appearance's numbers mean. */
struct Place {
    Transformation inner;
    Transformation outer;

    /** Empty for what is no number, also after the transformation. */
    [[nodiscard]] std::optional<AnalysisPoint> of(float x, float y) const
    {
        const AnalysisPoint point = outer.apply(inner.apply({x, y}));
        if (!std::isfinite(point.x) || !std::isfinite(point.y)) {
            return std::nullopt;
        }
        return AnalysisPoint{std::clamp(point.x, -kFarthest, kFarthest), std::clamp(point.y, -kFarthest, kFarthest)};
    }
    [[nodiscard]] std::optional<AnalysisPoint> of(const pugi::xml_node &node) const
    {
        const pugi::xml_attribute x = node.attribute("x");
        const pugi::xml_attribute y = node.attribute("y");
        return x && y ? of(x.as_float(), y.as_float()) : std::nullopt;
    }
};

void readBox(const pugi::xml_node &box, const Place &place, AnalysisObject &object)
{
    const auto side = [&box](const char *pName) { return box.attribute(pName).as_float(NAN); };
    const auto first = place.of(side("left"), side("top"));
    const auto second = place.of(side("right"), side("bottom"));
    if (first && second) {
        object.outlines.push_back({*first, {second->x, first->y}, *second, {first->x, second->y}});
    }
}

void readShape(const pugi::xml_node &shape, const Place &place, AnalysisObject &object)
{
    readBox(childOf(shape, "BoundingBox"), place, object);
    forEachChild(shape, "Polygon", Bounds::kOutlines - 1, [&](const pugi::xml_node &polygon) {
        std::vector<AnalysisPoint> points;
        forEachChild(polygon, "Point", Bounds::kPoints, [&](const pugi::xml_node &node) {
            if (const auto point = place.of(node)) {
                points.push_back(*point);
            }
        });
        if (points.size() > 1) {
            object.outlines.push_back(std::move(points));
        }
    });
    object.centre = place.of(childOf(shape, "CenterOfGravity"));
}

/** The likeliest of the types: each with a likelihood of its own, or candidates of an earlier form. */
std::string readClass(const pugi::xml_node &node)
{
    const char *pBest = "";
    float best = -1;
    const auto consider = [&](const pugi::xml_node &type, float likelihood) {
        if (*type.text().get() != '\0' && likelihood > best) {
            best = likelihood;
            pBest = type.text().get();
        }
    };
    forEachChild(node, "Type", Bounds::kObjects,
                 [&](const pugi::xml_node &type) { consider(type, type.attribute("Likelihood").as_float()); });
    forEachChild(node, "ClassCandidate", Bounds::kObjects, [&](const pugi::xml_node &candidate) {
        consider(childOf(candidate, "Type"), childOf(candidate, "Likelihood").text().as_float());
    });
    return shortText(pBest);
}

void readObject(const pugi::xml_node &node, const Transformation &ofFrame, AnalysisFrame &frame)
{
    const pugi::xml_node appearance = childOf(node, "Appearance");
    AnalysisObject object;
    readShape(childOf(appearance, "Shape"), {Transformation::of(appearance), ofFrame}, object);
    if (object.outlines.empty() && !object.centre) {
        return;
    }
    object.label = readClass(childOf(appearance, "Class"));
    frame.objects.push_back(std::move(object));
}

AnalysisFrame readFrame(const pugi::xml_node &node)
{
    AnalysisFrame frame;
    std::int64_t utc = 0;
    const std::string text = shortText(node.attribute("UtcTime").value());
    if (!text.empty() && av_parse_time(&utc, text.c_str(), 0) >= 0) {
        frame.utc = utc;
    }
    frame.source = shortText(node.attribute("Source").value());
    const Transformation transformation = Transformation::of(node);
    forEachChild(node, "Object", Bounds::kObjects,
                 [&](const pugi::xml_node &object) { readObject(object, transformation, frame); });
    return frame;
}

} // namespace

std::optional<std::vector<AnalysisFrame>> readAnalysis(std::string_view text)
{
    pugi::xml_document document;
    if (!companion::loadXml(document, text, {Bounds::kDocumentBytes, Bounds::kTags, Bounds::kDepth}) ||
        !companion::isNamed(document.document_element(), "MetadataStream")) {
        return std::nullopt;
    }
    std::vector<AnalysisFrame> frames;
    forEachChild(document.document_element(), "VideoAnalytics", Bounds::kFrames, [&](const pugi::xml_node &analytics) {
        forEachChild(analytics, "Frame", Bounds::kFrames - frames.size(),
                     [&](const pugi::xml_node &frame) { frames.push_back(readFrame(frame)); });
    });
    return frames;
}

} // namespace player
