#include "tests/doubles/CallGates.h"

#include "tests/doubles/DoubleControl.h"

#include <chrono>
#include <condition_variable>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <random>
#include <thread>

namespace doubles
{

namespace
{

struct Gate {
    bool closed = false;
    /** One entry a call that waits, oldest first; true lets it go. */
    std::list<std::shared_ptr<bool>> waiting;
};

struct Gates {
    std::mutex mutex;
    std::condition_variable changed;
    // All guarded by the mutex.
    std::map<std::string, Gate> gates;
    std::mt19937 random;
    /** Milliseconds; nothing shorter can be slept. */
    unsigned int longest = 0;
};

/** Never destroyed: threads that send may outlive the static objects. */
Gates &gates()
{
    static auto *const pGates = new Gates;
    return *pGates;
}

unsigned int pickLocked(Gates &all, unsigned int most)
{
    return std::uniform_int_distribution<unsigned int>(0, most)(all.random);
}

unsigned int delayOf(Gates &all)
{
    const std::lock_guard<std::mutex> lock(all.mutex);
    return all.longest == 0 || pickLocked(all, 2) != 0 ? 0 : 1 + pickLocked(all, all.longest - 1);
}

void open(Gate &gate)
{
    gate.closed = false;
    for (const std::shared_ptr<bool> &go : gate.waiting) {
        *go = true;
    }
}

} // namespace

void hold(const std::string &function)
{
    Gates &all = gates();
    const std::lock_guard<std::mutex> lock(all.mutex);
    all.gates[function].closed = true;
}

std::size_t heldCalls(const std::string &function)
{
    Gates &all = gates();
    const std::lock_guard<std::mutex> lock(all.mutex);
    return all.gates[function].waiting.size();
}

bool letThrough(const std::string &function, std::size_t position)
{
    Gates &all = gates();
    const std::lock_guard<std::mutex> lock(all.mutex);
    std::list<std::shared_ptr<bool>> &waiting = all.gates[function].waiting;
    if (position >= waiting.size()) {
        return false;
    }
    const auto call = std::next(waiting.begin(), static_cast<std::ptrdiff_t>(position));
    **call = true;
    waiting.erase(call);
    all.changed.notify_all();
    return true;
}

void letAllThrough(const std::string &function)
{
    Gates &all = gates();
    const std::lock_guard<std::mutex> lock(all.mutex);
    for (auto &entry : all.gates) {
        if (function.empty() || entry.first == function) {
            open(entry.second);
        }
    }
    all.changed.notify_all();
}

void delayCalls(unsigned int seed, unsigned int longest)
{
    Gates &all = gates();
    const std::lock_guard<std::mutex> lock(all.mutex);
    all.random.seed(seed);
    all.longest = longest;
}

unsigned int chance(unsigned int most)
{
    Gates &all = gates();
    const std::lock_guard<std::mutex> lock(all.mutex);
    return pickLocked(all, most);
}

void passGate(const std::string &function)
{
    Gates &all = gates();
    {
        std::unique_lock<std::mutex> lock(all.mutex);
        Gate &gate = all.gates[function];
        if (gate.closed) {
            const auto go = std::make_shared<bool>(false);
            gate.waiting.push_back(go);
            all.changed.wait(lock, [&go] { return *go; });
            gate.waiting.remove(go);
        }
    }
    const unsigned int delay = delayOf(all);
    if (delay > 0) {
        std::this_thread::sleep_for(std::chrono::milliseconds(delay));
    }
}

void resetGates()
{
    letAllThrough();
    delayCalls(0, 0);
}

} // namespace doubles
