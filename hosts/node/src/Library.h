#ifndef HOSTS_NODE_LIBRARY_H
#define HOSTS_NODE_LIBRARY_H

#include "hosts/node/src/LogReason.h"
#include "hosts/node/src/ScriptQueue.h"

#include "Pellora_load.h"

#include <array>
#include <memory>
#include <mutex>
#include <stdexcept>
#include <string>
#include <vector>

namespace pellora::node
{

/** A call that the library has refused, or that could not be made. */
class CallError : public std::runtime_error
{
public:
    CallError(std::string calledFunction, const std::string &why)
        : std::runtime_error(why), function(std::move(calledFunction))
    {
    }

    std::string function;
};

/** Who is told what happens in a video window. */
struct Route {
    std::weak_ptr<ScriptQueue> pQueue;
    unsigned nWindow = 0;
};

/**
 * Pellora.dll and its device library, once in a process, for all JavaScript environments in it.
 *
 * Threads: load and listen on any thread; functions of the video on the host window's thread, as the library wants it;
 *          those of the devices on any.
 * Life:    until the process ends, as the library's own.
 */
class Library
{
public:
    /** Throws CallError: why it cannot be loaded. The first call's path holds. */
    static Library &load(const std::wstring &path);

    Library(const Library &) = delete;
    Library &operator=(const Library &) = delete;

    [[nodiscard]] const PelloraFunctions &video() const
    {
        return m_video;
    }

    [[nodiscard]] const SelvikFunctions &devices() const
    {
        return m_devices;
    }

    /** Why the last call of this function has failed. On the host window's thread. */
    [[nodiscard]] CallError failure(const std::string &function) const;

    /** Tells an environment how cameras are, until its queue is gone. */
    void listen(const std::shared_ptr<ScriptQueue> &pQueue);

    // On the host window's thread.
    void begin();
    [[nodiscard]] bool isFull() const;
    void follow(long lHandle, Route route);
    void followFileEnd(long lHandle, int nPane);
    void forget(long lHandle);

private:
    explicit Library(const std::wstring &path);

    static void onState(const SELVIK_DCM_STATE *pState, void *pSelf);

    PelloraFunctions m_video{};
    SelvikFunctions m_devices{};
    std::unique_ptr<LogReason> m_pLog;

    // The host window's thread.
    bool m_bBegun = false;

    std::mutex m_mutex; // what follows
    std::vector<std::weak_ptr<ScriptQueue>> m_listeners;
};

} // namespace pellora::node

#endif
