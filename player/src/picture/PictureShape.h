#ifndef PLAYER_PICTURESHAPE_H
#define PLAYER_PICTURESHAPE_H

struct AVFrame;
struct AVStream;

namespace player
{

/**
 * How a decoded picture is meant to be looked at: its size on display and what turns it there.
 *
 * Units: width and height in displayed pixels, that is after the pixel aspect and the rotation have been applied.
 *        The pixel aspect only ever enlarges a side, so that no decoded pixel is lost.
 */
struct PictureShape {
    int width = 0;
    int height = 0;
    /** Clockwise: 0, 90, 180 or 270. */
    int rotation = 0;
    /** Left and right change places, before the rotation. */
    bool mirrored = false;
};

/**
 * The shape of a decoded picture.
 *
 * A display matrix of the frame goes before one of the stream, a pixel aspect of the stream before one of the frame.
 * The stream may be null. A matrix that is no multiple of a quarter turn is rounded to one; an aspect of 16 : 1 or
 * more either way counts as unknown, hence as square.
 */
[[nodiscard]] PictureShape shapeOf(const AVFrame &frame, const AVStream *pStream);

} // namespace player

#endif
