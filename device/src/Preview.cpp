#include "device/src/Preview.h"

#include "device/src/Backoff.h"
#include "device/src/LiveStream.h"
#include "device/src/WatchedInput.h"

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

} // namespace

Preview::Preview(long handle, Request request, std::function<void(long)> ended, const PreviewServices &services)
    : m_lHandle(handle),
      m_request(std::move(request)),
      m_ended(std::move(ended)),
      m_services(services),
      m_time(*services.pTime)
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
    if (m_bStop) {
        // Its log-in has ended meanwhile, and waits for the end of this one.
        lock.unlock();
        end();
        return SELVIK_ERROR_HANDLE;
    }
    try {
        std::thread worker([self = shared_from_this(), presence = m_time.presence()] { self->run(); });
        m_worker = worker.get_id();
        // The thread keeps the preview alive and ends by itself.
        worker.detach();
    } catch (...) {
        // Somebody may wait for the end already.
        lock.unlock();
        end();
        throw;
    }
    m_time.wait(lock, m_changed, deadline, [this] { return m_opening != Opening::Running || m_bStop; });
    if (m_opening == Opening::Running) {
        m_opening = Opening::Failed;
        m_nError = m_bStop ? SELVIK_ERROR_HANDLE : SELVIK_ERROR_TIMEOUT;
    }
    if (m_opening == Opening::Failed) {
        m_bStop = true;
        m_changed.notify_all();
    }
    return m_nError;
}

void Preview::await(std::unique_lock<std::mutex> &lock, const std::function<bool()> &condition)
{
    const CallbackWaits::Wait wait(*m_services.pWaits, m_worker);
    if (!wait.isCircle()) {
        m_time.wait(lock, m_changed, TimeSource::kNoDeadline, condition);
    }
}

bool Preview::stop()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    const bool bFirst = !m_bStop;
    m_bStop = true;
    m_changed.notify_all();
    await(lock, [this] { return !m_bInCallback; });
    noteStopped();
    return bFirst;
}

void Preview::awaitEnd()
{
    std::unique_lock<std::mutex> lock(m_mutex);
    await(lock, [this] { return m_bEnded; });
}

void Preview::noteStopped()
{
    // A start that was stopped before it succeeded has failed, and tells that itself.
    if (m_bStop && !m_bInCallback && m_opening == Opening::Done) {
        m_services.pStates->tell(m_request.states, SELVIK_STATE_STOPPED);
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
        settle(Opening::Failed, SELVIK_ERROR_HANDLE);
    } catch (...) {
        settle(Opening::Failed, SELVIK_ERROR_RESOURCES);
    }
    end();
}

void Preview::end()
{
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (!m_bStop && m_opening == Opening::Done) {
            // Only a lack of memory ends a preview that was not stopped.
            m_services.pStates->tell(m_request.states, SELVIK_STATE_FAILED, SELVIK_ERROR_RESOURCES);
        }
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
        unsigned long error = SELVIK_ERROR_HOST;
        try {
            runOneConnection(bFirst, bHeaderSent);
        } catch (const Failure &failure) {
            if (bFirst && !bHeaderSent) {
                throw;
            }
            error = failure.error();
        } catch (const std::bad_alloc &) {
            // There may be memory again at the next attempt.
            if (bFirst && !bHeaderSent) {
                throw;
            }
            error = SELVIK_ERROR_RESOURCES;
        }
        noteLost(error);
        if (bHeaderSent) {
            backoff.reset();
        }
        if (!waitBeforeNextAttempt(backoff.next())) {
            return;
        }
    }
}

void Preview::noteLost(unsigned long error)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if (!m_bStop) {
        m_services.pStates->tell(m_request.states, SELVIK_STATE_LOST, error);
    }
}

std::unique_ptr<CameraInput> Preview::connect()
{
    std::unique_ptr<CameraInput> input = m_services.makeInput(m_request.source, m_time);
    if (m_request.source.address.scheme() == Address::Scheme::File) {
        // A file's pauses are its own.
        return input;
    }
    return std::make_unique<WatchedInput>(std::move(input), m_loss);
}

void Preview::runOneConnection(bool bFirst, bool &bHeaderSent)
{
    LiveStream stream(connect());
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
        // The watch ends the waiting, or a stop.
        Bytes data = stream.next(patienceFor(std::chrono::hours(1)));
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
        if (type == SELVIK_STREAM_HEADER) {
            m_services.pStates->tell(m_request.states, SELVIK_STATE_PLAYING);
        }
    }
    struct Leaver {
        Preview &preview;
        ~Leaver()
        {
            preview.m_services.pWaits->hasReturned();
            const std::lock_guard<std::mutex> lock(preview.m_mutex);
            preview.m_bInCallback = false;
            preview.m_changed.notify_all();
            preview.noteStopped();
        }
    } const leaver{*this};
    const SELVIK_DCM_STREAM_DATA data = {type, static_cast<unsigned int>(bytes.size()), bytes.data()};
    m_request.callback.pFunction(m_lHandle, &data, m_request.callback.pUser);
    return true;
}

} // namespace selvik
