#include "preview/StartTicket.h"

namespace pellora
{

bool StartTicket::begin()
{
    const std::lock_guard<ReentrantMutex> lock(m_mutex);
    return !m_bAbandoned;
}

std::optional<long> StartTicket::result() const
{
    const std::lock_guard<ReentrantMutex> lock(m_mutex);
    return m_result;
}

void StartTicket::awaitDelivery() const
{
    const std::lock_guard<ReentrantMutex> lock(m_mutex);
}

std::optional<long> StartTicket::abandon()
{
    const std::lock_guard<ReentrantMutex> lock(m_mutex);
    m_bAbandoned = true;
    return m_result;
}

} // namespace pellora
