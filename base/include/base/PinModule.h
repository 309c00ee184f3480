#ifndef BASE_PINMODULE_H
#define BASE_PINMODULE_H

#include "base/CorvaneExport.h"

namespace Base
{

/**
 * Keeps the module that holds this function in the process until the process ends, whatever the host unloads.
 *
 * For whoever installs a window procedure, a window class or a hook: the system would call code that is gone.
 * Threads: any.
 */
CORVANE_API void pinModule(const void *pFunction);

} // namespace Base

#endif
