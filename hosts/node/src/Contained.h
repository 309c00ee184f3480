#ifndef HOSTS_NODE_CONTAINED_H
#define HOSTS_NODE_CONTAINED_H

#include <exception>
#include <utility>
#include <windows.h>

namespace pellora::node
{

/** Runs what the system, the engine or the library has called: no exception leaves for code that knows none. Any
 * thread. */
template <class Function>
void contained(Function &&function) noexcept
{
    try {
        std::forward<Function>(function)();
    } catch (const std::exception &error) {
        OutputDebugStringA(error.what());
    }
}

} // namespace pellora::node

#endif
