#include "VideoWindow/SoundOwner.h"

namespace pellora
{

SoundOwner &SoundOwner::instance()
{
    // Never destroyed: the device library's threads may ask while the process ends.
    static auto *const pInstance = new SoundOwner;
    return *pInstance;
}

void SoundOwner::release(const void *pPane)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_pOwner == pPane) {
        m_pOwner = nullptr;
    }
}

} // namespace pellora
