// Analysis metadata: documents, and which picture has what of them.
#include "player/src/metadata/AnalysisDocument.h"
#include "player/src/metadata/AnalysisTrack.h"
#include "player/src/metadata/AnalysisView.h"
#include "tests/support/FuzzTarget.h"

#include <cmath>
#include <string>

using pellora::test::mustHold;
using Bounds = player::AnalysisBounds;

namespace
{

void check(const player::AnalysisFrame &frame)
{
    mustHold(frame.objects.size() <= Bounds::kObjects, "objects are bounded");
    const player::AnalysisView view{{640, 360, 0, false}, {0, 0, 1, 1}, 4096, 4096};
    for (const player::AnalysisObject &object : frame.objects) {
        mustHold(!object.outlines.empty() || object.centre, "an object is somewhere");
        mustHold(object.outlines.size() <= Bounds::kOutlines && object.label.size() <= Bounds::kTextBytes,
                 "outlines and labels are bounded");
        for (const auto &outline : object.outlines) {
            mustHold(outline.size() > 1 && outline.size() <= Bounds::kPoints, "an outline has a bounded way to go");
            for (const player::AnalysisPoint &point : outline) {
                mustHold(std::isfinite(point.x) && std::isfinite(point.y), "a place is a number");
                const auto pixel = view.of(point);
                mustHold(std::abs(pixel.x) <= 1 << 20 && std::abs(pixel.y) <= 1 << 20, "pixels are in reach");
            }
        }
    }
}

} // namespace

void pellora::test::fuzz(FuzzInput &input)
{
    const FuzzTime time(1000);
    const std::int64_t shift = input.choose() * std::int64_t{10000};
    const std::string text(input.bytes().begin(), input.bytes().end());
    const auto frames = player::readAnalysis(text);
    if (frames) {
        mustHold(frames->size() <= Bounds::kFrames, "frames are bounded");
        for (const player::AnalysisFrame &frame : *frames) {
            check(frame);
        }
    }
    int nTold = 0;
    player::AnalysisTrack track([&nTold](const char *) { ++nTold; });
    track.add(0, text);
    track.add(shift, text);
    for (const std::int64_t at : {std::int64_t{0}, shift, shift + 500000}) {
        for (const auto &pFrame : track.at(at)) {
            mustHold(frames && !pFrame->objects.empty(), "what is shown was found");
        }
    }
    mustHold(nTold == (frames ? 0 : 1), "what makes no sense is told once");
}
