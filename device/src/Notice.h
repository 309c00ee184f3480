#ifndef DEVICE_NOTICE_H
#define DEVICE_NOTICE_H

#include "companion/Notice.h"

#include <string>

namespace selvik
{

/** One line for whoever looks into why something does not play; see companion::notice(). */
inline void notice(const std::string &text) noexcept
{
    companion::notice("Selvikdcm", text);
}

} // namespace selvik

#endif
