#ifndef DEVICE_TESTS_STATERECORDER_H
#define DEVICE_TESTS_STATERECORDER_H

#include "Selvikdcm.h"
#include "device/src/TimeSource.h"

#include <algorithm>
#include <map>
#include <thread>
#include <vector>

namespace selvik
{

/**
 * Takes the states of previews, as a host would.
 *
 * Threads: the callback from the library's thread, the rest from the test's.
 */
class StateRecorder
{
public:
    explicit StateRecorder(TimeSource &time) : m_time(time) {}

    static void callback(const SELVIK_DCM_STATE *pState, void *pUser)
    {
        auto &self = *static_cast<StateRecorder *>(pUser);
        {
            const std::lock_guard<std::mutex> lock(self.m_mutex);
            self.m_states.push_back(*pState);
            self.m_thread = std::this_thread::get_id();
            self.m_changed.notify_all();
        }
        if (self.onState) {
            self.onState(*pState);
        }
    }

    /** Called inside each callback, with nothing locked. */
    std::function<void(const SELVIK_DCM_STATE &)> onState;

    [[nodiscard]] bool waitFor(std::size_t states, Milliseconds most)
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        return m_time.wait(lock, m_changed, m_time.now() + most, [&] { return m_states.size() >= states; });
    }
    [[nodiscard]] std::vector<SELVIK_DCM_STATE> all() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_states;
    }
    /** The states alone, in the order in which they were told. */
    [[nodiscard]] std::vector<unsigned int> states() const
    {
        std::vector<unsigned int> numbers;
        for (const SELVIK_DCM_STATE &state : all()) {
            numbers.push_back(state.state);
        }
        return numbers;
    }
    [[nodiscard]] std::thread::id thread() const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        return m_thread;
    }

private:
    TimeSource &m_time;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::vector<SELVIK_DCM_STATE> m_states;
    std::thread::id m_thread;
};

} // namespace selvik

#endif
