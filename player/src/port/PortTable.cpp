#include "player/src/port/PortTable.h"

#include <algorithm>
#include <limits>

namespace player
{

std::shared_ptr<Port> PortTable::add()
{
    const std::lock_guard lock(m_mutex);
    const auto slot = std::find(m_slots.begin(), m_slots.end(), false);
    // Numbers that have run out are gone for good: starting over would bring a stale one back to life.
    if (slot == m_slots.end() || m_nNext == std::numeric_limits<std::int32_t>::max()) {
        return nullptr;
    }
    auto pPort = std::make_shared<Port>(m_platform, m_nNext, static_cast<int>(slot - m_slots.begin()));
    m_ports.emplace(m_nNext, pPort);
    *slot = true;
    ++m_nNext;
    return pPort;
}

std::shared_ptr<Port> PortTable::find(std::int64_t number) const
{
    const std::lock_guard lock(m_mutex);
    const auto entry =
        number < 0 || number >= m_nNext ? m_ports.end() : m_ports.find(static_cast<std::int32_t>(number));
    return entry == m_ports.end() ? nullptr : entry->second;
}

std::shared_ptr<Port> PortTable::remove(std::int64_t number)
{
    const std::lock_guard lock(m_mutex);
    const auto entry =
        number < 0 || number >= m_nNext ? m_ports.end() : m_ports.find(static_cast<std::int32_t>(number));
    if (entry == m_ports.end()) {
        return nullptr;
    }
    std::shared_ptr<Port> pPort = std::move(entry->second);
    m_ports.erase(entry);
    m_slots[static_cast<std::size_t>(pPort->slot())] = false;
    return pPort;
}

} // namespace player
