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
 * A preview stays in the table until its thread has ended. So whoever stops it a second time still waits for its
 * callback, and a log-out waits for the end of the camera's session.
 *
 * Threads: any. No lock is held while a preview starts or stops.
 * Owns:    its previews. It stops what is left and outlives all of them.
 */
class PreviewTable
{
public:
    explicit PreviewTable(TimeSource &time) : m_time(time) {}

    ~PreviewTable()
    {
        for (const std::shared_ptr<Preview> &preview : all([](const Preview &) { return true; })) {
            preview->stop();
        }
        std::unique_lock<std::mutex> lock(m_mutex);
        m_time.wait(lock, m_removed, TimeSource::kNoDeadline, [this] { return m_previews.empty(); });
    }

    PreviewTable(const PreviewTable &) = delete;
    PreviewTable &operator=(const PreviewTable &) = delete;

    [[nodiscard]] std::shared_ptr<Preview> add(long userID, CameraSource source, Preview::Callback callback, long &handle)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        handle = m_lNext++;
        auto preview = std::make_shared<Preview>(
            handle, userID, std::move(source), callback, [this](long ended) { remove(ended); }, m_time);
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

    /** The previews of one log-in, also those whose thread is about to end. */
    [[nodiscard]] std::vector<std::shared_ptr<Preview>> ofLogin(long userID) const
    {
        return all([userID](const Preview &preview) { return preview.userID() == userID; });
    }

private:
    template <typename Predicate>
    [[nodiscard]] std::vector<std::shared_ptr<Preview>> all(Predicate isMeant) const
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        std::vector<std::shared_ptr<Preview>> found;
        for (const auto &[handle, preview] : m_previews) {
            if (isMeant(*preview)) {
                found.push_back(preview);
            }
        }
        return found;
    }

    TimeSource &m_time;
    mutable std::mutex m_mutex;
    std::condition_variable m_removed;
    std::map<long, std::shared_ptr<Preview>> m_previews;
    long m_lNext = 0;
};

} // namespace selvik

#endif
