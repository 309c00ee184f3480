#ifndef BASE_CSINGLETON_H
#define BASE_CSINGLETON_H

#include <atomic>
#include <mutex>

namespace Base
{

/**
 * The process-wide instance of T, made on first use and kept until the process ends.
 *
 * Threads: getInstance may race with itself; one instance is made (double-checked locking under a mutex).
 * The instance is never destroyed: at the end of a process other threads may already be gone, so that nothing may
 * wait for them. For one instance across modules, T's library must export the instantiation; in a header-only use
 * each module has its own.
 */
template <typename T>
class CSingleton
{
public:
    [[nodiscard]] static T *getInstance()
    {
        T *pInstance = s_pInstance.load(std::memory_order_acquire);
        if (pInstance == nullptr) {
            const std::lock_guard<std::mutex> lock(mutex());
            pInstance = s_pInstance.load(std::memory_order_relaxed);
            if (pInstance == nullptr) {
                pInstance = new T;
                s_pInstance.store(pInstance, std::memory_order_release);
            }
        }
        return pInstance;
    }

    /** The instance, or null when nobody has asked for it yet. */
    [[nodiscard]] static T *existingInstance()
    {
        return s_pInstance.load(std::memory_order_acquire);
    }

    CSingleton() = delete;

private:
    // Leaked with the instance, for the same reason.
    static std::mutex &mutex()
    {
        static std::mutex *pMutex = new std::mutex;
        return *pMutex;
    }

    inline static std::atomic<T *> s_pInstance{nullptr};
};

} // namespace Base

#endif
