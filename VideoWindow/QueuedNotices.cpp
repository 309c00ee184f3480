#include "VideoWindow/QueuedNotices.h"

namespace pellora
{

void QueuedNotices::sent()
{
    ++m_nUnderWay;
}

bool QueuedNotices::received()
{
    --m_nUnderWay;
    if (m_nOutdated > 0) {
        --m_nOutdated;
        return false;
    }
    return true;
}

void QueuedNotices::beginGeneration()
{
    m_nOutdated = m_nUnderWay;
    ++m_nGeneration;
}

unsigned int QueuedNotices::generation() const
{
    return m_nGeneration;
}

} // namespace pellora
