#ifndef DEVICE_PREVIEWTABLE_H
#define DEVICE_PREVIEWTABLE_H

#include "device/src/Preview.h"

#include <algorithm>
#include <map>
#include <memory>
#include <mutex>

namespace selvik
{

/**
 * The previews of the process. Handles count up from 0 and are never handed out twice.
 *
 * A preview stays in the table until its thread has ended. So whoever stops it a second time still waits for its
 * callback, and a log-out waits for the end of the camera's session.
 *
 * Threads: any. No lock is held while a preview starts or stops.
 * Owns:    its previews. It stops what is left and outlives all of them.
 */
class PreviewTable
{
public:
    explicit PreviewTable(PreviewServices services) : m_services(std::move(services)) {}

    ~PreviewTable()
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        for (auto entry = m_previews.begin(); entry != m_previews.end();) {
            const std::shared_ptr<Preview> preview = entry->second;
            lock.unlock();
            preview->stop();
            lock.lock();
            entry = m_previews.upper_bound(preview->handle());
        }
        m_services.pTime->wait(lock, m_removed, TimeSource::kNoDeadline, [this] { return m_previews.empty(); });
    }

    PreviewTable(const PreviewTable &) = delete;
    PreviewTable &operator=(const PreviewTable &) = delete;

    [[nodiscard]] std::shared_ptr<Preview> add(Preview::Request request, long &handle)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        handle = m_lNext++;
        m_services.pStates->setHandle(*request.states, handle);
        auto preview = std::make_shared<Preview>(
            handle, std::move(request), [this](long ended) { remove(ended); }, m_services);
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
        // Under the lock: the destructor may be what waits, and must not go on before this is done.
        m_removed.notify_all();
    }

    /**
     * The next preview of a log-in behind that handle, -1 for the first one, also where its thread is about to end;
     * null behind the last one. Allocates nothing, so that a log-out cannot fail half-way.
     */
    [[nodiscard]] std::shared_ptr<Preview> nextOfLogin(long userID, long behind) const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        const auto found = std::find_if(m_previews.upper_bound(behind), m_previews.end(),
                                        [userID](const auto &entry) { return entry.second->userID() == userID; });
        return found == m_previews.end() ? nullptr : found->second;
    }

private:
    const PreviewServices m_services;
    mutable std::mutex m_mutex;
    std::condition_variable m_removed;
    std::map<long, std::shared_ptr<Preview>> m_previews;
    long m_lNext = 0;
};

} // namespace selvik

#endif
