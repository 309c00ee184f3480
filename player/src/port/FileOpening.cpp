#include "player/src/port/FileOpening.h"

#include "player/src/core/Condition.h"

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace player
{

namespace
{

/** Bytes of a source that somebody else may have to interrupt. */
class SharedBytes : public ByteSource
{
public:
    explicit SharedBytes(std::shared_ptr<ByteSource> pBytes) : m_pBytes(std::move(pBytes)) {}

    int read(std::uint8_t *pBuffer, int size) override
    {
        return m_pBytes->read(pBuffer, size);
    }

    bool seek(std::int64_t position) override
    {
        return m_pBytes->seek(position);
    }

    [[nodiscard]] std::int64_t size() const override
    {
        return m_pBytes->size();
    }

    void interrupt() override
    {
        m_pBytes->interrupt();
    }

private:
    const std::shared_ptr<ByteSource> m_pBytes;
};

} // namespace

/** What the caller, the thread that asks the system, and whoever cancels have in common. */
struct FileOpening::State {
    explicit State(Clock &clock) : changed(clock) {}

    /** One question to the system. */
    struct Question {
        bool bAnswered = false;
        std::shared_ptr<ByteSource> pBytes;
    };

    // Guarded by mutex.
    std::mutex mutex;
    Condition changed;
    bool bCancelled = false;
    std::vector<std::weak_ptr<ByteSource>> opened;
};

FileOpening::FileOpening(Platform &platform) : m_platform(platform), m_pState(std::make_shared<State>(platform.clock()))
{
}

std::unique_ptr<ByteSource> FileOpening::open(const char *path)
{
    auto pQuestion = std::make_shared<State::Question>();
    {
        // Nothing may be thrown between the start of the thread and its end.
        const std::lock_guard lock(m_pState->mutex);
        m_pState->opened.reserve(m_pState->opened.size() + 1);
    }
    std::thread thread = m_platform.clock().startThread(
        [&platform = m_platform, pState = m_pState, pQuestion, name = std::string(path)] {
            std::shared_ptr<ByteSource> pBytes;
            try {
                pBytes = platform.openFile(name.c_str());
            } catch (...) {
                // Thread entry: without memory the file is not opened.
            }
            {
                const std::lock_guard lock(pState->mutex);
                pQuestion->bAnswered = true;
                pQuestion->pBytes = std::move(pBytes);
            }
            pState->changed.notifyAll();
        });
    std::unique_lock lock(m_pState->mutex);
    m_pState->changed.wait(lock, [&] { return pQuestion->bAnswered || m_pState->bCancelled; });
    const bool bAnswered = pQuestion->bAnswered;
    const auto pBytes = m_pState->bCancelled ? nullptr : pQuestion->pBytes;
    if (pBytes) {
        m_pState->opened.push_back(pBytes);
    }
    lock.unlock();
    if (bAnswered) {
        m_platform.clock().join(thread);
    } else {
        m_platform.keepCode();
        thread.detach();
    }
    return pBytes ? std::make_unique<SharedBytes>(pBytes) : nullptr;
}

void FileOpening::cancel()
{
    std::vector<std::weak_ptr<ByteSource>> opened;
    {
        const std::lock_guard lock(m_pState->mutex);
        m_pState->bCancelled = true;
        // Nothing comes behind them, and a copy could fail.
        opened.swap(m_pState->opened);
    }
    m_pState->changed.notifyAll();
    for (const auto &pWeak : opened) {
        if (const auto pBytes = pWeak.lock()) {
            pBytes->interrupt();
        }
    }
}

} // namespace player
