#ifndef PLAYER_FILEOPENING_H
#define PLAYER_FILEOPENING_H

#include "player/src/core/Platform.h"

#include <memory>

namespace player
{

/**
 * The opening of a file, which can be ended however long the file's server is silent.
 *
 * The system is asked on a thread of its own: it may keep a caller for minutes where a share is gone, and nothing can
 * end that. After cancel() such a thread is left behind; it goes when the system has answered.
 *
 * Threads: any. Borrows the platform, which has to outlive every thread that was left behind.
 */
class FileOpening
{
public:
    explicit FileOpening(Platform &platform);
    FileOpening(const FileOpening &) = delete;
    FileOpening &operator=(const FileOpening &) = delete;

    /**
     * Waits until the file is open. Null when no file can be opened by that name, and after cancel(), which also ends
     * all waiting for what the answered source reads. Throws std::system_error without a thread.
     */
    [[nodiscard]] std::unique_ptr<ByteSource> open(const char *path);
    /** open() waits no longer, nor does whoever reads what it answered. */
    void cancel();

private:
    struct State;

    Platform &m_platform;
    const std::shared_ptr<State> m_pState;
};

} // namespace player

#endif
