#ifndef PLAYER_PORT_H
#define PLAYER_PORT_H

#include "player/src/file/FilePlayback.h"
#include "player/src/live/LivePlayback.h"
#include "player/src/port/FileOpening.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace player
{

/**
 * One port: what the host has set on it, and what is open on it.
 *
 * Threads: any.
 * Owns:    the playback while a source is open. Borrows the platform.
 * Units:   milliseconds and seconds from the first picture; displayed pixels.
 * Errors:  each operation returns its error; values are left alone on failure. Only std::bad_alloc and
 *          std::system_error are thrown.
 */
class Port
{
public:
    Port(Platform &platform, std::int32_t number, int slot);
    ~Port();
    Port(const Port &) = delete;
    Port &operator=(const Port &) = delete;

    [[nodiscard]] std::int32_t number() const
    {
        return m_nNumber;
    }

    [[nodiscard]] int slot() const
    {
        return m_nSlot;
    }

    /** Error::Open once closeFile() or close() on another thread has ended it. */
    Error openFile(const char *path);
    /** Ends the opening of a file, too, and waits for neither it nor the file's server. */
    Error closeFile();
    /** Copies the header; that it makes no sense shows later. */
    Error openStream(const std::uint8_t *pHeader, std::size_t headerSize, std::size_t bufferSize);
    Error closeStream();
    Error inputData(const std::uint8_t *pData, std::size_t size);
    /** Whatever is open. */
    void close();
    Error setOpenMode(unsigned long mode);
    Error setDisplayBuffers(unsigned long pictures);

    Error play(WindowHandle window);
    Error stop();
    Error pause(unsigned long pause);
    Error changeSpeed(int steps);
    Error stepForward();
    Error stepBack();
    Error seek(unsigned long milliseconds);

    Error playedSeconds(unsigned long &seconds) const;
    Error lengthSeconds(unsigned long &seconds) const;
    /** Microseconds since 1970, UTC, of the first and the last picture. */
    Error recordingTimes(std::int64_t &first, std::int64_t &last) const;
    Error timeOnDisplay(std::int64_t &time) const;

    Error pictureSize(int &width, int &height) const;
    /** Without a region the whole picture. */
    Error jpeg(const std::optional<PixelRect> &region, int quality, std::vector<std::uint8_t> &file) const;
    Error setDisplayRegion(const std::optional<DisplayRegion> &region);

    /** This port's is the sound that is heard from now on, while something plays in it. */
    Error playSound() const;
    void setVolume(unsigned short volume);
    [[nodiscard]] unsigned short volume() const;
    void showPrivateData(long type, bool show);
    /** Told once for each file, though it be set when the index has been complete for long. */
    void setFileIndexCallback(std::function<void()> callback);

    [[nodiscard]] PortCallbacks &callbacks()
    {
        return *m_pCallbacks;
    }

private:
    [[nodiscard]] std::shared_ptr<FilePlayback> openPlayback(const char *path, FileOpening &opening);
    [[nodiscard]] std::shared_ptr<Playback> playback() const;
    [[nodiscard]] std::shared_ptr<FilePlayback> file() const;
    [[nodiscard]] std::shared_ptr<LivePlayback> stream() const;
    /** With m_mutex held: of what is open, null when nothing is. */
    [[nodiscard]] std::shared_ptr<SoundTrack> soundLocked() const;
    /** Lets a file's analysis be read when somebody wants to see it. */
    void addAnalysis(FilePlayback &file, const char *path) const;
    /** Lets a file's sound be read, and lead its clock while it is heard. */
    [[nodiscard]] std::shared_ptr<SoundTrack> addSound(FilePlayback &file) const;

    Platform &m_platform;
    const std::int32_t m_nNumber;
    const int m_nSlot;
    const std::shared_ptr<PortCallbacks> m_pCallbacks = std::make_shared<PortCallbacks>(m_platform.clock());
    std::atomic<unsigned short> m_nVolume{0xFFFF};
    /** 0 real time, 1 file; only a stream makes a difference between them. */
    std::atomic<unsigned long> m_nOpenMode{0};

    // Guarded by m_mutex, which is never held while anything else is waited for.
    mutable std::mutex m_mutex;
    /** One of the two at most. */
    std::shared_ptr<FilePlayback> m_pFile;
    std::shared_ptr<SoundTrack> m_pFileSound;
    std::shared_ptr<LivePlayback> m_pStream;
    /** While a file is being opened; whoever takes it away has cancelled that. */
    std::shared_ptr<FileOpening> m_pOpening;
    std::size_t m_nDisplayBuffers = 6;
};

} // namespace player

#endif
