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
 * A preview stays in it until its thread has ended, so that whoever stops it a second time still waits for its
 * callback, and a log-out for its leave-taking.
 *
 * Threads: any. No lock is held while a preview starts or stops.
 * Owns:    its previews; it outlives them, since it is never destroyed.
 */
class PreviewTable
{
public:
    [[nodiscard]] std::shared_ptr<Preview> add(long userID, Address address, Preview::Callback callback, long &handle)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        handle = m_lNext++;
        auto preview = std::make_shared<Preview>(handle, userID, std::move(address), callback,
                                                 [this](long ended) { remove(ended); });
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

    /** The previews of one log-in, those among them that are taking leave. */
    [[nodiscard]] std::vector<std::shared_ptr<Preview>> ofLogin(long userID) const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        std::vector<std::shared_ptr<Preview>> found;
        for (const auto &[handle, preview] : m_previews) {
            if (preview->userID() == userID) {
                found.push_back(preview);
            }
        }
        return found;
    }

private:
    mutable std::mutex m_mutex;
    std::map<long, std::shared_ptr<Preview>> m_previews;
    long m_lNext = 0;
};

} // namespace selvik

#endif
