#ifndef DEVICE_CAMERAINPUT_H
#define DEVICE_CAMERAINPUT_H

#include "device/src/MediaUnit.h"
#include "device/src/Patience.h"

#include <vector>

namespace selvik
{

/**
 * One connection to a camera, from its address to coded media.
 *
 * Threads: one.
 * Errors:  Failure where the camera cannot be reached, or is lost; Stopped where the preview was told to stop.
 */
class CameraInput
{
public:
    CameraInput() = default;
    virtual ~CameraInput() = default;
    CameraInput(const CameraInput &) = delete;
    CameraInput &operator=(const CameraInput &) = delete;

    /** Connects; the tracks are known when it returns. */
    virtual void open(const Patience &patience) = 0;
    /** What each track carries; extradata may be missing where it comes with the pictures only. */
    [[nodiscard]] virtual const std::vector<ParametersPtr> &tracks() const = 0;
    /** Whether a track has turned out to be nothing that can be carried. No unit of it comes any more. */
    [[nodiscard]] virtual bool isLeftOut(std::size_t /*track*/) const
    {
        return false;
    }
    /** The next unit; false where there is none in time. */
    [[nodiscard]] virtual bool next(MediaUnit &unit, const Patience &patience) = 0;
    /** Takes leave, as far as the patience allows; never throws. */
    virtual void close(const Patience &patience) noexcept = 0;
};

} // namespace selvik

#endif
