#ifndef PLAYER_SILENTBYTES_H
#define PLAYER_SILENTBYTES_H

#include "player/src/core/ByteSource.h"
#include "player/src/core/Condition.h"

#include <atomic>
#include <memory>
#include <mutex>
#include <utility>

namespace player::test
{

/** A server of files that a test makes silent. Threads: any. */
class SilentServer
{
public:
    explicit SilentServer(Clock &clock) : m_changed(clock) {}

    void setSilent(bool silent)
    {
        {
            const std::lock_guard lock(m_mutex);
            m_bSilent = silent;
        }
        m_changed.notifyAll();
    }

    /** Somebody waits for it, or has done so. */
    void awaitCaller()
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [this] { return m_nCallers > 0; });
    }

    /** Waits while the server is silent and `interrupted` is false. */
    void answer(const std::atomic<bool> &interrupted)
    {
        std::unique_lock lock(m_mutex);
        if (m_bSilent) {
            ++m_nCallers;
            m_changed.notifyAll();
        }
        m_changed.wait(lock, [&] { return !m_bSilent || interrupted; });
    }

    void interrupt(std::atomic<bool> &interrupted)
    {
        {
            const std::lock_guard lock(m_mutex);
            interrupted = true;
        }
        m_changed.notifyAll();
    }

private:
    // Guarded by m_mutex.
    std::mutex m_mutex;
    Condition m_changed;
    bool m_bSilent = false;
    int m_nCallers = 0;
};

/** A file on it. */
class SilentBytes : public ByteSource
{
public:
    SilentBytes(std::shared_ptr<SilentServer> pServer, std::unique_ptr<ByteSource> pBytes)
        : m_pServer(std::move(pServer)), m_pBytes(std::move(pBytes))
    {
    }

    int read(std::uint8_t *pBuffer, int size) override
    {
        m_pServer->answer(m_bInterrupted);
        return m_bInterrupted ? -1 : m_pBytes->read(pBuffer, size);
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
        m_pServer->interrupt(m_bInterrupted);
    }

private:
    const std::shared_ptr<SilentServer> m_pServer;
    const std::unique_ptr<ByteSource> m_pBytes;
    std::atomic<bool> m_bInterrupted{false};
};

} // namespace player::test

#endif
