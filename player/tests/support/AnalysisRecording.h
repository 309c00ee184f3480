#ifndef PLAYER_TESTS_SUPPORT_ANALYSISRECORDING_H
#define PLAYER_TESTS_SUPPORT_ANALYSISRECORDING_H

#include "player/tests/support/PushedStream.h"

#include <functional>
#include <string>

namespace player::test
{

/** The document of the picture with a number, in the order of showing; empty for none. */
using DocumentOfPicture = std::function<std::string(int number)>;

/** A metadata document with one object, whose label is a picture's number. */
[[nodiscard]] std::string analysisDocument(int number);

/** All of a pushed stream, as somebody has saved it. */
[[nodiscard]] Bytes saved(const PushedStream &stream);
/** A clip with the device library's metadata track, as that would stream it, saved to a file. */
[[nodiscard]] Bytes savedWithAnalysis(const std::string &file, const DocumentOfPicture &document);
/** A clip as an MP4 with a timed metadata track of text (ISO 14496-12, "mett"), and a subtitle track ahead of that. */
[[nodiscard]] Bytes mp4WithAnalysis(const std::string &file, const DocumentOfPicture &document);

} // namespace player::test

#endif
