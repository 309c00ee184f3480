#ifndef DEVICE_PREVIEW_H
#define DEVICE_PREVIEW_H

#include "Selvikdcm.h"
#include "device/src/Bytes.h"
#include "device/src/CameraSource.h"
#include "device/src/LossWatch.h"
#include "device/src/Patience.h"
#include "device/src/PreviewServices.h"

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace selvik
{

class LiveStream;

/**
 * One live preview: a thread that connects, hands the stream to the callback, and connects again when the camera is
 * lost, until it is stopped.
 *
 * Threads: every function from any thread. The callback runs on the preview's own; no lock is held meanwhile.
 * Owns:    itself, as long as its thread runs; that ends at most a second after stop().
 * Errors:  start() answers one of the SELVIK_ERROR_ codes.
 */
class Preview : public std::enable_shared_from_this<Preview>
{
public:
    struct Callback {
        SELVIK_DCM_STREAM_CB pFunction = nullptr;
        void *pUser = nullptr;
    };

    /** Who watches what. */
    struct Request {
        long userID = -1;
        CameraSource source;
        Callback callback;
        std::shared_ptr<StateTeller::Line> states;
    };

    /** `ended` is called with the handle, as the last thing of the preview. The services must outlive it. */
    Preview(long handle, Request request, std::function<void(long)> ended, const PreviewServices &services);
    ~Preview();
    Preview(const Preview &) = delete;
    Preview &operator=(const Preview &) = delete;

    [[nodiscard]] long handle() const
    {
        return m_lHandle;
    }

    [[nodiscard]] long userID() const
    {
        return m_request.userID;
    }

    /** Once. Waits until the header is known, or the camera refused, or five seconds are over. */
    [[nodiscard]] unsigned long start();
    /**
     * When it returns, the callback is not running, unless it is the one that calls or waits for the one that calls,
     * and is not called again. Waits for the callback, for nothing else. False when it was stopped before.
     */
    bool stop();
    /** Waits until the thread has ended, which stop() has made it do; see stop() for calls from inside a callback. */
    void awaitEnd();

private:
    enum class Opening { Running, Done, Failed };

    void run() noexcept;
    void runConnections();
    [[nodiscard]] std::unique_ptr<CameraInput> connect();
    void runOneConnection(bool bFirst, bool &bHeaderSent);
    void settle(Opening opening, unsigned long error);
    void noteLost(unsigned long error);
    [[nodiscard]] bool waitBeforeNextAttempt(Milliseconds duration);
    /** False when the preview was stopped, and the callback was not called. */
    bool deliver(unsigned int type, Bytes &bytes);
    [[nodiscard]] Patience patienceFor(Milliseconds duration) const;
    void end();
    /** Once it was stopped and its callback has returned, that is told. The lock is held. */
    void noteStopped();
    /** Waits for the preview's thread, unless that would be for ever. */
    void await(std::unique_lock<std::mutex> &lock, const std::function<bool()> &condition);

    const long m_lHandle;
    const Request m_request;
    const std::function<void(long)> m_ended;
    const PreviewServices m_services;
    TimeSource &m_time;
    LossWatch m_loss; /**< of the preview's thread */

    StopFlag m_bStop; /**< written under the mutex, read everywhere */

    std::mutex m_mutex;
    std::condition_variable m_changed;
    // Guarded by m_mutex.
    Opening m_opening = Opening::Running;
    unsigned long m_nError = SELVIK_ERROR_NONE;
    bool m_bInCallback = false;
    bool m_bEnded = false;
    std::thread::id m_worker;
};

} // namespace selvik

#endif
