#ifndef PLAYER_CALLBACKSLOT_H
#define PLAYER_CALLBACKSLOT_H

#include "player/src/core/Condition.h"

#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>

namespace player
{

/**
 * A callback of the host's that can be exchanged while it may be running.
 *
 * Threads: set() from any thread, call() from one player thread at a time. No lock is held during the call.
 *          set() waits until the callback that was there before has returned, unless it is called from inside it.
 */
template <typename... Arguments>
class CallbackSlot
{
public:
    using Function = std::function<void(Arguments...)>;

    explicit CallbackSlot(Clock &clock) : m_returned(clock) {}

    void set(Function function)
    {
        auto pNew = function ? std::make_shared<const Function>(std::move(function)) : nullptr;
        std::unique_lock lock(m_mutex);
        m_pFunction.swap(pNew);
        if (m_caller == std::this_thread::get_id()) {
            return;
        }
        // Only the call that is running now: a later one runs the new function, however soon it begins.
        const auto running = m_nCall;
        m_returned.wait(lock, [&] { return m_caller == std::thread::id() || m_nCall != running; });
    }

    [[nodiscard]] bool isSet() const
    {
        const std::lock_guard lock(m_mutex);
        return m_pFunction != nullptr;
    }

    /** Throws what the function throws. */
    void call(Arguments... arguments)
    {
        std::shared_ptr<const Function> pFunction;
        {
            const std::lock_guard lock(m_mutex);
            if (!m_pFunction) {
                return;
            }
            pFunction = m_pFunction;
            m_caller = std::this_thread::get_id();
            ++m_nCall;
        }
        const Call call(*this);
        (*pFunction)(arguments...);
    }

private:
    /** A call that runs; it ends however the function is left. */
    class Call
    {
    public:
        explicit Call(CallbackSlot &slot) : m_slot(slot) {}

        ~Call()
        {
            {
                const std::lock_guard lock(m_slot.m_mutex);
                m_slot.m_caller = std::thread::id();
            }
            m_slot.m_returned.notifyAll();
        }

        Call(const Call &) = delete;
        Call &operator=(const Call &) = delete;

    private:
        CallbackSlot &m_slot;
    };

    mutable std::mutex m_mutex;
    Condition m_returned;
    std::shared_ptr<const Function> m_pFunction;
    std::thread::id m_caller;
    unsigned long m_nCall = 0;
};

} // namespace player

#endif
