#include "preview/RetiredPreviews.h"

#include <algorithm>
#include <new>

namespace pellora
{

RetiredPreviews &RetiredPreviews::instance()
{
    // Never destroyed: the device library's threads may ask while the process ends.
    static auto *const pInstance = new RetiredPreviews;
    return *pInstance;
}

void RetiredPreviews::retire(long lPreviewHandel)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (std::find(m_handles.begin(), m_handles.end(), lPreviewHandel) != m_handles.end()) {
        return;
    }
    if (m_handles.size() >= kMost) {
        m_handles.pop_front();
    }
    try {
        m_handles.push_back(lPreviewHandel);
    } catch (const std::bad_alloc &) {
        // One that is older is forgotten instead; the stop that comes next must not fail for it.
        if (!m_handles.empty()) {
            m_handles.front() = lPreviewHandel;
        }
    }
}

void RetiredPreviews::forget(long lPreviewHandel)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_handles.erase(std::remove(m_handles.begin(), m_handles.end(), lPreviewHandel), m_handles.end());
}

bool RetiredPreviews::contains(long lPreviewHandel) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return std::find(m_handles.begin(), m_handles.end(), lPreviewHandel) != m_handles.end();
}

} // namespace pellora
