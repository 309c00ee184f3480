#ifndef DEVICE_NOTICE_H
#define DEVICE_NOTICE_H

#include <string>

namespace selvik
{

/**
 * One line for whoever looks into why something does not play: to the debugger's output and to standard error. It must
 * hold no address and no secret. Any thread; never throws.
 */
void notice(const std::string &text) noexcept;

} // namespace selvik

#endif
