#ifndef DEVICE_CONTAINERINPUT_H
#define DEVICE_CONTAINERINPUT_H

#include "device/src/Address.h"
#include "device/src/CameraInput.h"
#include "device/src/HttpStream.h"

#include <memory>
#include <string>
#include <vector>

namespace selvik
{

/**
 * A stream that libavformat reads: over HTTP, or a file, which is sent at its own pace and starts over at its end, as a
 * camera would go on. Only containers of pictures and sound are opened, and nothing that they name.
 *
 * See CameraInput.
 */
class ContainerInput : public CameraInput
{
public:
    ContainerInput(Address address, TimeSource &time);
    ~ContainerInput() override;

    void open(const Patience &patience) override;
    [[nodiscard]] const std::vector<ParametersPtr> &tracks() const override
    {
        return m_parameters;
    }
    [[nodiscard]] bool next(MediaUnit &unit, const Patience &patience) override;
    void close(const Patience &patience) noexcept override;

private:
    [[nodiscard]] bool isFile() const
    {
        return m_address.scheme() == Address::Scheme::File;
    }
    static int readHttp(void *pSelf, std::uint8_t *pBuffer, int size);
    void openHttp();
    void openFormat();
    void probe();
    [[noreturn]] void fail(int result);
    void chooseTracks();
    /** Its track; -1 where it is of none. */
    [[nodiscard]] int trackOf(const AVPacket &packet) const;
    /** Reads one packet of a chosen track; throws where time is up, since the container cannot be read on then. */
    void read(const Patience &patience);
    void startOver();
    void placeInTime();

    Address m_address;
    TimeSource &m_time;
    Patience m_patience; /**< of the call that runs now; FFmpeg's interrupt callback reads it */
    // Declared before the format, which uses them until it is destroyed.
    std::unique_ptr<HttpStream> m_http;
    IoPtr m_io;
    unsigned long m_nReadError = 0; /**< why the last read of HTTP failed */
    FormatPtr m_format;
    std::vector<ParametersPtr> m_parameters;
    std::vector<int> m_trackOfStream; /**< -1: not taken */

    PacketPtr m_packet;         /**< read and placed in time, waiting for its moment; null when there is none */
    std::int64_t m_nDue = 0;    /**< its moment, microseconds from the beginning */
    bool m_bStarted = false;    /**< the first packet has come */
    bool m_bAny = false;        /**< a packet came since the file's beginning */
    std::int64_t m_nOffset = 0; /**< from the container's time to the stream's */
    std::int64_t m_nEnd = 0;    /**< where the latest packet ends */
    Clock::time_point m_begin;
};

} // namespace selvik

#endif
