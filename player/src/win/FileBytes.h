#pragma once

#include "player/src/core/ByteSource.h"

#include <windows.h>

#include <memory>
#include <string>

namespace player
{

/**
 * A file of any length of name.
 *
 * Threads: one at a time.
 * Owns:    the file handle. Others may go on writing, renaming and deleting the file.
 */
class FileBytes : public ByteSource
{
public:
    /** The path is UTF-8 or, if that names no file, in the system's code page. Null where there is no such file. */
    static std::unique_ptr<FileBytes> open(const char *path);
    ~FileBytes() override;

    int read(std::uint8_t *pBuffer, int size) override;
    bool seek(std::int64_t position) override;
    [[nodiscard]] std::int64_t size() const override;

private:
    explicit FileBytes(HANDLE hFile) : m_hFile(hFile) {}

    static std::unique_ptr<FileBytes> openIn(UINT codePage, const char *path);

    HANDLE m_hFile;
};

} // namespace player
