#ifndef DEVICE_PREVIEWTABLE_H
#define DEVICE_PREVIEWTABLE_H

#include "device/src/Preview.h"

#include <map>
#include <memory>
#include <mutex>
#include <vector>

namespace selvik
{

/**
 * The previews of the process. Handles count up from 0 and are never handed out twice.
 *
 * Threads: any. No lock is held while a preview starts or stops.
 */
class PreviewTable
{
public:
    [[nodiscard]] std::shared_ptr<Preview> add(long userID, Address address, Preview::Callback callback, long &handle)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        handle = m_lNext++;
        auto preview = std::make_shared<Preview>(handle, userID, std::move(address), callback);
        m_previews.emplace(handle, preview);
        return preview;
    }

    [[nodiscard]] std::shared_ptr<Preview> find(long handle) const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = m_previews.find(handle);
        return found == m_previews.end() ? nullptr : found->second;
    }

    void remove(long handle)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_previews.erase(handle);
    }

    /** Takes out the previews of one log-in. */
    [[nodiscard]] std::vector<std::shared_ptr<Preview>> takeOfLogin(long userID)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        std::vector<std::shared_ptr<Preview>> taken;
        for (auto it = m_previews.begin(); it != m_previews.end();) {
            if (it->second->userID() == userID) {
                taken.push_back(it->second);
                it = m_previews.erase(it);
            } else {
                ++it;
            }
        }
        return taken;
    }

private:
    mutable std::mutex m_mutex;
    std::map<long, std::shared_ptr<Preview>> m_previews;
    long m_lNext = 0;
};

} // namespace selvik

#endif
