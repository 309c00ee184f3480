#include "preview/LivePanes.h"

#include <utility>

namespace pellora
{

LivePanes &LivePanes::instance()
{
    // Never destroyed: the device library's threads may ask while the process ends.
    static auto *const pInstance = new LivePanes;
    return *pInstance;
}

void LivePanes::add(const void *pPane, std::shared_ptr<StreamSink> pSink)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_sinks[pPane] = std::move(pSink);
}

void LivePanes::remove(const void *pPane)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_sinks.erase(pPane);
}

std::shared_ptr<StreamSink> LivePanes::find(const void *pPane) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_sinks.find(pPane);
    return found != m_sinks.end() ? found->second : nullptr;
}

LivePanes::UnclaimedStart LivePanes::unclaimedStart(const void *pPane)
{
    std::multiset<const void *> starts;
    return starts.extract(starts.insert(pPane));
}

void LivePanes::addUnclaimedStart(UnclaimedStart start) noexcept
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_unclaimedStarts.insert(std::move(start));
}

void LivePanes::removeUnclaimedStart(const void *pPane)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const auto found = m_unclaimedStarts.find(pPane);
    if (found != m_unclaimedStarts.end()) {
        m_unclaimedStarts.erase(found);
    }
}

bool LivePanes::hasUnclaimedStart(const void *pPane) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_unclaimedStarts.count(pPane) != 0;
}

} // namespace pellora
