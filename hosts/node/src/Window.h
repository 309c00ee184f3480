#ifndef HOSTS_NODE_WINDOW_H
#define HOSTS_NODE_WINDOW_H

#include "hosts/node/src/ScriptQueue.h"
#include "hosts/node/src/WindowThread.h"

#include "PelloraTypes.h"

#include <memory>

namespace pellora::node
{

/** A video window of one JavaScript environment, shared with the jobs that wait for its thread. */
struct Window {
    unsigned nId = 0;
    HWND hHost = nullptr;
    std::shared_ptr<WindowThread> pThread;
    std::shared_ptr<ScriptQueue> pQueue;

    // The host window's thread.
    long lHandle = PELLORA_NO_WINDOW;
};

} // namespace pellora::node

#endif
