#ifndef PLAYER_LATEBYTES_H
#define PLAYER_LATEBYTES_H

#include "player/src/port/FileOpening.h"

#include <memory>
#include <string>

namespace player
{

/**
 * A file that is opened when it is first asked for anything, by whoever asks, who may have to wait for its server.
 *
 * Threads: one at a time, but for interrupt(), which ends the opening, too.
 * Owns:    the file. Borrows the platform, which has to outlive every thread that FileOpening leaves behind.
 * Errors:  a file that cannot be opened has no size and nothing in it.
 */
class LateBytes : public ByteSource
{
public:
    LateBytes(Platform &platform, std::string path) : m_path(std::move(path)), m_opening(platform) {}

    int read(std::uint8_t *pBuffer, int size) override;
    bool seek(std::int64_t position) override;
    [[nodiscard]] std::int64_t size() const override;
    void interrupt() override
    {
        m_opening.cancel();
    }

private:
    [[nodiscard]] ByteSource *opened() const;

    const std::string m_path;
    mutable FileOpening m_opening;
    mutable bool m_bAsked = false;
    mutable std::unique_ptr<ByteSource> m_pBytes;
};

} // namespace player

#endif
