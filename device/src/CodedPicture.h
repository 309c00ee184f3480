#ifndef DEVICE_CODEDPICTURE_H
#define DEVICE_CODEDPICTURE_H

#include "device/src/Bytes.h"
#include "device/src/Ffmpeg.h"

namespace selvik
{

/** What the bytes of one coded picture tell without decoding it. */
struct PictureFacts {
    bool bPicture = false; /**< there is a picture, not only what describes one */
    bool bKey = false;     /**< decoding can begin here */
    Bytes parameterSets;   /**< of H.264 and H.265, with start codes; empty where there are none */
};

/**
 * Looks at one picture as it comes out of RTP packets; H.264 and H.265 have start codes. Removes what cameras leave
 * between them: empty units, doubled start codes, trailing zeros.
 */
[[nodiscard]] PictureFacts inspectPicture(AVCodecID codec, Bytes &bytes);

/** Width and height of a picture by decoding it; false where that fails. Parameters get both. */
[[nodiscard]] bool probeSize(AVCodecParameters &parameters, ByteView picture);

} // namespace selvik

#endif
