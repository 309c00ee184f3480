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
    Bytes parameterSets;   /**< with start codes; empty where there are none */
};

/** The codings that have a row in the library's table, which the functions below read. */
[[nodiscard]] std::vector<AVCodecID> knownPictureCodings();

/** Whether decoding needs parameter sets (H.264, H.265), which come in the description or before key pictures. */
[[nodiscard]] bool hasParameterSets(AVCodecID codec);

/** Whether an RTP payload cannot be the last one of a picture, whatever its marker says. */
[[nodiscard]] bool isUnfinishedPayload(AVCodecID codec, ByteView payload);

/**
 * Looks at one picture as it comes out of RTP packets. Where the coding has start codes, it removes what cameras leave
 * between them: empty units, doubled start codes, trailing zeros.
 */
[[nodiscard]] PictureFacts inspectPicture(AVCodecID codec, Bytes &bytes);

/** Width and height of a picture by decoding it; false where that fails. Parameters get both. */
[[nodiscard]] bool probeSize(AVCodecParameters &parameters, ByteView picture);

} // namespace selvik

#endif
