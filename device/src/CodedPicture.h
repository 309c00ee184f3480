#ifndef DEVICE_CODEDPICTURE_H
#define DEVICE_CODEDPICTURE_H

#include "device/src/Bytes.h"
#include "device/src/Ffmpeg.h"

namespace selvik
{

/** What the bytes of one coded picture tell without decoding it. */
struct PictureFacts {
    bool bPicture = false;       /**< there is a picture, not only what describes one */
    bool bKey = false;           /**< decoding can begin here */
    bool bRecoveryPoint = false; /**< decoding can begin here for whoever has the parameter sets */
    bool bIntra = false;         /**< needs no other picture, though ones behind it may look further back */
    bool bLeading = false;       /**< sent behind a key picture, but made of pictures before that one */
    Bytes parameterSets;         /**< with start codes; empty where there are none */
};

/** What a unit is for the bounds of pictures. */
enum class UnitRole {
    Opaque,  /**< of a coding whose bytes tell nothing of that */
    Slice,   /**< of a picture */
    Opening, /**< goes before a picture's slices: parameter sets, messages, delimiters */
    Closing, /**< goes behind them */
    Nothing  /**< empty, or filled up for the rate's sake */
};

struct UnitHead {
    UnitRole role = UnitRole::Opaque;
    bool bFirst = false;        /**< of a slice: the first one of its picture; Opaque: may begin a picture */
    bool bParameterSet = false; /**< an opening one without which the pictures cannot be decoded */
};

/** The codings that have a row in the library's table, which the functions below read. */
[[nodiscard]] std::vector<AVCodecID> knownPictureCodings();

/** Whether decoding needs parameter sets (H.264, H.265), which come in the description or before key pictures. */
[[nodiscard]] bool hasParameterSets(AVCodecID codec);

/** What a unit's first bytes tell, whether or not a start code is before them. */
[[nodiscard]] UnitHead headOf(AVCodecID codec, ByteView unit);

/** Whether there is a picture in these bytes. */
[[nodiscard]] bool containsPicture(AVCodecID codec, ByteView bytes);

/**
 * Looks at one picture as it comes out of RTP packets. Where the coding has start codes, it removes what cameras leave
 * between them: empty units, doubled start codes, trailing zeros. All start codes have four bytes afterwards.
 */
[[nodiscard]] PictureFacts inspectPicture(AVCodecID codec, Bytes &bytes);

} // namespace selvik

#endif
