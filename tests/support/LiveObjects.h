#ifndef TESTS_SUPPORT_LIVEOBJECTS_H
#define TESTS_SUPPORT_LIVEOBJECTS_H

namespace support
{

/**
 * Qt objects that were made and not destroyed since the first call, in the whole process: windows, panes, tasks.
 *
 * Threads: the first call on the GUI thread; objects come and go on any.
 */
[[nodiscard]] int liveObjects();

} // namespace support

#endif
