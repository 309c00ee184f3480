#include "VideoWindow/HostCalls.h"

#include <utility>

namespace pellora
{

bool HostCalls::isRunning() const
{
    return m_nDepth > 0;
}

void HostCalls::setWhenDone(std::function<void()> whenDone)
{
    m_whenDone = std::move(whenDone);
}

HostCalls::Scope::Scope(HostCalls &calls) : m_calls(calls)
{
    ++m_calls.m_nDepth;
}

HostCalls::Scope::~Scope()
{
    --m_calls.m_nDepth;
    if (m_calls.m_nDepth == 0 && m_calls.m_whenDone) {
        m_calls.m_whenDone();
    }
}

} // namespace pellora
