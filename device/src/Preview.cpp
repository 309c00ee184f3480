#include "device/src/Preview.h"

#include "device/src/Backoff.h"
#include "device/src/ContainerInput.h"
#include "device/src/LiveStream.h"
#include "device/src/RtspInput.h"
#include "device/src/onvif/OnvifInput.h"

#include <random>

namespace selvik
{

namespace
{

// A start answers within five seconds. The connection gives up a little earlier, so that the start tells its reason.
constexpr Milliseconds kStartLimit{5000};
constexpr Milliseconds kConnectLimit{4800};
// How long the camera may take to answer the request that ends its session.
constexpr Milliseconds kLeaveLimit{700};

std::unique_ptr<CameraInput> makeStreamInput(const Address &address, TimeSource &time)
{
    if (address.isRtsp()) {
        return std::make_unique<RtspInput>(address, time);
    }
    return std::make_unique<ContainerInput>(address, time);
}

std::unique_ptr<CameraInput> makeInput(const CameraSource &source, TimeSource &time)
{
    if (source.address.scheme() != Address::Scheme::Onvif) {
        return makeStreamInput(source.address, time);
    }
    return std::make_unique<OnvifInput>(source, time,
                                        [&time](const Address &address) { return makeStreamInput(address, time); });
}

} // namespace

Preview::Preview(long handle, long userID, CameraSource source, Callback callback, std::function<void(long)> ended,
                 TimeSource &time)
    : m_lHandle(handle),
      m_lUserID(userID),
      m_source(std::move(source)),
      m_callback(callback),
      m_ended(std::move(ended)),
      m_time(time)
{
}

Preview::~Preview() = default;

Patience Preview::patienceFor(Milliseconds duration) const
{
    return {m_time, m_bStop, m_time.now() + duration};
}

unsigned long Preview::start()
{
    const Clock::time_point deadline = m_time.now() + kStartLimit;
    std::unique_lock<std::mutex> lock(m_mutex);
    std::thread worker([self = shared_from_this(), presence = m_time.presence()] { self->run(); });
    m_worker = worker.get_id();
    // The thread keeps the preview alive and ends by itself.
    worker.detach();
    m_time.wait(lock, m_changed, deadline, [this] { return m_opening != Opening::Running || m_bStop; });
    if (m_opening == Opening::Running) {
        m_opening = Opening::Failed;
        m_nError = SELVIK_ERROR_TIMEOUT;
    }
    if (m_opening == Opening::Failed) {
        m_bStop = true;
        m_changed.notify_all();
    }
    return m_nError;
}

bool Preview::stop()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    const bool bFirst = !m_bStop;
    m_bStop = true;
    m_changed.notify_all();
    if (m_worker != std::this_thread::get_id()) {
        m_time.wait(lock, m_changed, TimeSource::kNoDeadline, [this] { return !m_bInCallback; });
    }
    return bFirst;
}

void Preview::awaitEnd()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (m_worker != std::this_thread::get_id()) {
        m_time.wait(lock, m_changed, TimeSource::kNoDeadline, [this] { return m_bEnded; });
    }
}

void Preview::settle(Opening opening, unsigned long error)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (m_opening == Opening::Running) {
        m_opening = opening;
        m_nError = error;
        m_changed.notify_all();
    }
}

void Preview::run() noexcept
{
    {
        // start() holds the lock until it has noted the identity of this thread.
        const std::lock_guard<std::mutex> lock(m_mutex);
    }
    try {
        runConnections();
    } catch (const Failure &failure) {
        settle(Opening::Failed, failure.error());
    } catch (const Stopped &) {
        settle(Opening::Failed, SELVIK_ERROR_TIMEOUT);
    } catch (...) {
        settle(Opening::Failed, SELVIK_ERROR_RESOURCES);
    }
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        m_bStop = true;
        m_bEnded = true;
        m_changed.notify_all();
    }
    m_ended(m_lHandle);
}

void Preview::runConnections()
{
    Backoff backoff(std::random_device{}());
    for (bool bFirst = true;; bFirst = false) {
        bool bHeaderSent = false;
        try {
            runOneConnection(bFirst, bHeaderSent);
        } catch (const Failure &) {
            if (bFirst && !bHeaderSent) {
                throw;
            }
        } catch (const std::bad_alloc &) {
            // There may be memory again at the next attempt.
            if (bFirst && !bHeaderSent) {
                throw;
            }
        }
        if (bHeaderSent) {
            backoff.reset();
        }
        if (!waitBeforeNextAttempt(backoff.next())) {
            return;
        }
    }
}

void Preview::runOneConnection(bool bFirst, bool &bHeaderSent)
{
    LiveStream stream(makeInput(m_source, m_time));
    // The camera's session is ended however the connection ends, also after the preview was told to stop: this wait has
    // a stop flag that is never set.
    static const std::atomic<bool> never{false};
    struct Leaver {
        LiveStream &stream;
        TimeSource &time;
        ~Leaver()
        {
            stream.close({time, never, time.now() + kLeaveLimit});
        }
    } const leaver{stream, m_time};

    Bytes header = stream.open(patienceFor(kConnectLimit));
    if (bFirst) {
        settle(Opening::Done, SELVIK_ERROR_NONE);
    }
    bHeaderSent = true;
    if (!deliver(SELVIK_STREAM_HEADER, header)) {
        return;
    }
    while (!m_bStop) {
        Bytes data = stream.next(patienceFor(Milliseconds(1000)));
        if (!data.empty() && !deliver(SELVIK_STREAM_DATA, data)) {
            return;
        }
    }
}

bool Preview::waitBeforeNextAttempt(Milliseconds duration)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    return !m_time.wait(lock, m_changed, m_time.now() + duration, [this] { return m_bStop.load(); });
}

bool Preview::deliver(unsigned int type, Bytes &bytes)
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_bStop) {
            return false;
        }
        m_bInCallback = true;
    }
    struct Leaver {
        Preview &preview;
        ~Leaver()
        {
            const std::lock_guard<std::mutex> lock(preview.m_mutex);
            preview.m_bInCallback = false;
            preview.m_changed.notify_all();
        }
    } const leaver{*this};
    const SELVIK_DCM_STREAM_DATA data = {type, static_cast<unsigned int>(bytes.size()), bytes.data()};
    m_callback.pFunction(m_lHandle, &data, m_callback.pUser);
    return true;
}

} // namespace selvik
