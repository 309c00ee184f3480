#ifndef BENCH_FILEPORT_H
#define BENCH_FILEPORT_H

#include <windows.h>

#include <atomic>
#include <string>

namespace bench
{

/** A clip of the test media; the folder is PELLORA_TEST_MEDIA. */
std::string clipPath(const std::string &name);

/** What there is to say where one cannot be played. */
inline constexpr const char *kNoClip = "the clip could not be played; run tests/media/make-media.sh";

/** A window of that size that shows. Threads: the one that made it. */
class ShownWindow
{
public:
    ShownWindow(int nWidth, int nHeight, int nLeft = 0, int nTop = 0);
    ~ShownWindow();
    ShownWindow(const ShownWindow &) = delete;
    ShownWindow &operator=(const ShownWindow &) = delete;

    [[nodiscard]] HWND handle() const
    {
        return m_hWnd;
    }

private:
    HWND m_hWnd;
};

/**
 * A port of the player with a file in it, which counts what it presents.
 *
 * Threads: one; the player's own call back.
 * Errors:  isOpen() is false where the file does not open; waits give up after a minute.
 */
class FilePort
{
public:
    explicit FilePort(const std::string &path);
    ~FilePort();
    FilePort(const FilePort &) = delete;
    FilePort &operator=(const FilePort &) = delete;

    [[nodiscard]] bool isOpen() const
    {
        return m_bOpen;
    }
    [[nodiscard]] long number() const
    {
        return m_lPort;
    }
    bool play(HWND hWnd);
    bool waitForFirstPicture();
    bool waitForIndex();
    bool waitForEnd();
    /** Until the latest seek has been made: no cost but the decoding's and that of a few pixels. */
    bool waitForSeek();
    [[nodiscard]] int presented() const
    {
        return m_nPresented;
    }

private:
    long m_lPort = -1;
    bool m_bOpen = false;
    HANDLE m_hFirst;
    HANDLE m_hIndex;
    HANDLE m_hEnd;
    std::atomic<int> m_nPresented{0};
};

} // namespace bench

#endif
