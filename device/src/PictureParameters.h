#ifndef DEVICE_PICTUREPARAMETERS_H
#define DEVICE_PICTUREPARAMETERS_H

#include "device/src/Bytes.h"
#include "device/src/Ffmpeg.h"
#include "device/src/Sdp.h"

#include <vector>

namespace selvik
{

/** Throws Failure(SELVIK_ERROR_MEDIA), and says why, where pictures of that size are too large to be shown. */
void requireSizeAllowed(std::int64_t nWidth, std::int64_t nHeight);

/** A copy of these bytes becomes the track's extradata. */
void setExtradata(AVCodecParameters &parameters, const Bytes &bytes);

/**
 * Pictures of H.264 or H.265 as a description has them: with the parameter sets, in base64, of the format parameters
 * that are named. What cannot be read is left out: cameras repeat the sets between the pictures.
 */
[[nodiscard]] ParametersPtr describedPictures(AVCodecID codec, const SdpMedia &media,
                                              const std::vector<const char *> &names);

/**
 * Width and height from parameter sets with start codes; both stay where there are none. Throws
 * Failure(SELVIK_ERROR_MEDIA), and says why, where the pictures are too large.
 */
void readSize(AVCodecParameters &parameters, ByteView sets);

/** The same by decoding a picture; false where that fails. */
[[nodiscard]] bool probeSize(AVCodecParameters &parameters, ByteView picture);

} // namespace selvik

#endif
