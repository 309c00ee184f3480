#ifndef DEVICE_PARAMETERSETS_H
#define DEVICE_PARAMETERSETS_H

#include "device/src/Bytes.h"

#include <cstdint>
#include <optional>

namespace selvik
{

/** What a sequence parameter set of H.264 tells (ITU-T H.264, 7.3.2.1.1). Pixels; the size is cropped. */
struct H264Sequence {
    std::int64_t nWidth = 0;
    std::int64_t nHeight = 0;
    bool bFramesOnly = true;
    bool bSeparateColours = false;
    int nFrameNumberBits = 4;
};

/** Which field of which frame a slice of H.264 belongs to. */
struct H264Field {
    bool bField = false; /**< of a field; else of a whole frame */
    bool bBottom = false;
    std::uint32_t nFrame = 0;
};

/** What a sequence parameter set of H.265 tells (ITU-T H.265, 7.3.2.2.1). */
struct H265Sequence {
    std::int64_t nWidth = 0;
    std::int64_t nHeight = 0;
};

// All take the unit with its header, and answer nothing where its bytes end too early.
[[nodiscard]] std::optional<H264Sequence> readH264Sequence(ByteView unit);
[[nodiscard]] std::optional<H265Sequence> readH265Sequence(ByteView unit);
/** Needs only the first bytes of a slice. */
[[nodiscard]] std::optional<H264Field> readH264Field(ByteView slice, const H264Sequence &sequence);

} // namespace selvik

#endif
