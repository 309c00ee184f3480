#ifndef PLAYER_FILEBYTES_H
#define PLAYER_FILEBYTES_H

#include "player/src/core/ByteSource.h"

#include <windows.h>

#include <memory>
#include <string>

namespace player
{

/**
 * A file of any length of name.
 *
 * Threads: one at a time, but for interrupt().
 * Owns:    the file handle and two events. Others may go on writing, renaming and deleting the file.
 */
class FileBytes : public ByteSource
{
public:
    /** The path is UTF-8 or, if that names no file, in the system's code page. Null where there is no such file. */
    static std::unique_ptr<FileBytes> open(const char *path);
    /** Takes a handle that was opened for overlapped reading. */
    explicit FileBytes(HANDLE hFile);
    ~FileBytes() override;

    int read(std::uint8_t *pBuffer, int size) override;
    bool seek(std::int64_t position) override;
    [[nodiscard]] std::int64_t size() const override;
    void interrupt() override;

private:
    int awaitRead(OVERLAPPED &request);

    static std::unique_ptr<FileBytes> openIn(UINT codePage, const char *path);

    HANDLE m_hFile;
    HANDLE m_hDone;
    HANDLE m_hInterrupted;
    std::int64_t m_nPosition = 0;
};

} // namespace player

#endif
