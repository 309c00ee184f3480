#ifndef DEVICE_SETTINGS_H
#define DEVICE_SETTINGS_H

#include "device/src/Bytes.h"

#include <string>
#include <vector>

namespace selvik
{

/**
 * What the optional settings file, Pellora.ini beside the library, says in its section [device].
 *
 * Lines of "key = value", ";" and "#" before a remark. Other sections are others' business. What is wrong in this one
 * leaves the default in place.
 * Threads: a value.
 */
struct Settings {
    bool bVerifyCertificates = false; /**< verify_certificates = yes or no (true, on, 1; false, off, 0) */

    /** One line for each thing that is wrong, with the number of its line; only so many. */
    std::vector<std::string> complaints;

    [[nodiscard]] static Settings parse(ByteView bytes);
    /** Of a file, UTF-8; one that is not there is as good as an empty one. */
    [[nodiscard]] static Settings read(const std::string &fileName);
};

/** Whether rtsps and https are to check the camera's certificate. The file is read once; any thread. */
[[nodiscard]] bool verifyCertificates();

} // namespace selvik

#endif
