#ifndef DEVICE_TESTS_STREAMRECORDER_H
#define DEVICE_TESTS_STREAMRECORDER_H

#include "Selvikdcm.h"
#include "device/src/Bytes.h"
#include "device/src/TimeSource.h"

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <vector>

namespace selvik
{

/** What a reader finds in the bytes of one connection. */
struct StreamContents {
    std::vector<int> mediaTypes; /**< of the tracks, AVMEDIA_TYPE_ */
    std::string codec;           /**< of the pictures */
    int nWidth = 0;
    int nHeight = 0;
    int nPictures = 0;
    int nDecoded = 0;
    int nDecodeErrors = 0;
    int nSounds = 0;
    bool bFirstIsKey = false;
    std::vector<int> keyPictures;        /**< which of the pictures are key pictures */
    bool bTimesRise = true;              /**< in the order of decoding, by sound or by the pictures without B */
    std::vector<long long> pictureTimes; /**< milliseconds */
    std::vector<long long> captureTimes; /**< microseconds of UTC */
    std::vector<std::string> documents;  /**< metadata */
    std::string metadataTitle;
    std::string recordingTime;
};

/**
 * Takes a preview's stream, as a host would, and reads it afterwards.
 *
 * Threads: the callback from the preview's thread, the rest from the test's.
 */
class StreamRecorder
{
public:
    explicit StreamRecorder(TimeSource &time) : m_time(time) {}

    static void callback(long handle, const SELVIK_DCM_STREAM_DATA *pData, void *pUser);

    [[nodiscard]] SELVIK_DCM_PREVIEW_INFO request(const std::string &url);
    /** Called inside each callback, with nothing locked. */
    std::function<void(long handle, unsigned int type)> onData;

    [[nodiscard]] bool waitForRecords(std::size_t headers, std::size_t data, std::chrono::milliseconds most);
    [[nodiscard]] std::size_t headers() const;
    [[nodiscard]] std::size_t dataRecords() const;
    [[nodiscard]] int overlaps() const;
    /** Whether the very first record was a header. */
    [[nodiscard]] bool beganWithHeader() const;
    /** Each record's bytes of the connection, header first. */
    [[nodiscard]] std::vector<Bytes> connection(std::size_t number) const;
    [[nodiscard]] StreamContents read(std::size_t number) const;

private:
    TimeSource &m_time;
    mutable std::mutex m_mutex;
    std::condition_variable m_changed;
    std::string m_url;
    // Guarded by m_mutex.
    std::vector<std::vector<Bytes>> m_connections;
    std::size_t m_nData = 0;
    int m_nInside = 0;
    int m_nOverlaps = 0;
    bool m_bDataFirst = false;
};

} // namespace selvik

#endif
