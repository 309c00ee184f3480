#ifndef VIDEOWINDOW_SOUNDOWNER_H
#define VIDEOWINDOW_SOUNDOWNER_H

#include <mutex>

namespace pellora
{

/**
 * Which pane sounds: the player lets one port of the process sound at a time, and a port that replaces another one
 * must neither lose the sound nor take it from a pane that got it meanwhile.
 *
 * Threads: any.
 * Locks:   its own, held while the player is called so that the last call wins in both places.
 */
class SoundOwner
{
public:
    [[nodiscard]] static SoundOwner &instance();

    /** Calls `open`; if that succeeds, the pane is the one that sounds. */
    template <typename Open>
    bool take(const void *pPane, Open open)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!open()) {
            return false;
        }
        m_pOwner = pPane;
        return true;
    }

    /** Calls `close`, which silences whoever sounds. */
    template <typename Close>
    bool silence(Close close)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!close()) {
            return false;
        }
        m_pOwner = nullptr;
        return true;
    }

    /** Calls `open` if the pane is the one that sounds. */
    template <typename Open>
    void renew(const void *pPane, Open open)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_pOwner == pPane) {
            open();
        }
    }

    /** The pane's port is closed, and its sound with it. */
    void release(const void *pPane);

private:
    SoundOwner() = default;

    // Guarded by m_mutex.
    std::mutex m_mutex;
    const void *m_pOwner = nullptr;
};

} // namespace pellora

#endif
