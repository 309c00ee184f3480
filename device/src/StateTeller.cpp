#include "device/src/StateTeller.h"

#include "device/src/Failure.h"

#include <algorithm>
#include <utility>

namespace selvik
{

namespace
{

// Of previews that ended while the host did not come back from a call. Nobody has so many previews at a time.
constexpr std::size_t kMostLines = 4096;

bool isLast(unsigned int state)
{
    return state == SELVIK_STATE_FAILED || state == SELVIK_STATE_STOPPED;
}

} // namespace

StateTeller::~StateTeller()
{
    {
        std::unique_lock<std::mutex> lock(m_mutex);
        m_bEnd = true;
        m_changed.notify_all();
        m_time.wait(lock, m_changed, TimeSource::kNoDeadline, [this] { return m_bEnded; });
        clear();
    }
    if (m_thread.joinable()) {
        m_thread.join();
    }
}

void StateTeller::start()
{
    if (!m_bEnded) {
        return;
    }
    m_thread = std::thread([this, presence = m_time.presence()] { run(); });
    m_teller = m_thread.get_id();
    m_bEnded = false;
}

void StateTeller::setCallback(SELVIK_DCM_STATE_CB pFunction, void *pUser)
{
    std::unique_lock<std::mutex> lock(m_mutex);
    if (pFunction != nullptr) {
        start();
    } else {
        clear();
    }
    m_pFunction = pFunction;
    m_pUser = pUser;
    const unsigned long nCalls = m_nCalls;
    if (m_bInCallback && m_teller != std::this_thread::get_id()) {
        const CallbackWaits::Wait wait(m_waits, m_teller);
        if (!wait.isCircle()) {
            m_time.wait(lock, m_changed, TimeSource::kNoDeadline, [&] { return !m_bInCallback || m_nCalls != nCalls; });
        }
    }
}

std::shared_ptr<StateTeller::Line> StateTeller::open(long userID, unsigned int channel, unsigned int streamType)
{
    auto line = std::make_shared<Line>(userID, channel, streamType);
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        if (m_nLines >= kMostLines) {
            throw Failure(SELVIK_ERROR_RESOURCES);
        }
    }
    tell(line, SELVIK_STATE_STARTING);
    return line;
}

void StateTeller::setHandle(Line &line, long handle)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    line.m_lHandle = handle;
}

void StateTeller::tell(const std::shared_ptr<Line> &line, unsigned int state, unsigned long error) noexcept
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const bool bRepeated = state == SELVIK_STATE_LOST && line->m_nLatest == state;
    if (isLast(line->m_nLatest) || bRepeated) {
        return;
    }
    line->m_nLatest = state;
    line->m_bPlayed = line->m_bPlayed || state == SELVIK_STATE_PLAYING;
    if (m_pFunction == nullptr) {
        return;
    }
    makeRoom(*line);
    line->m_untold[line->m_nUntold++] = {line->m_bPlayed ? line->m_lHandle : -1, state,
                                         static_cast<unsigned int>(error)};
    if (line->m_nUntold == 1) {
        append(line);
    }
    m_changed.notify_all();
}

void StateTeller::makeRoom(Line &line)
{
    if (line.m_nUntold < line.m_untold.size()) {
        return;
    }
    // The oldest loss that waits, and the header after it: what stays follows as it may.
    auto *const pEnd = line.m_untold.data() + line.m_nUntold;
    auto *pGone = std::find_if(line.m_untold.data(), pEnd,
                               [](const Line::News &news) { return news.state == SELVIK_STATE_LOST; });
    pGone = std::min(pGone, pEnd - 2);
    std::move(pGone + 2, pEnd, pGone);
    line.m_nUntold -= 2;
}

void StateTeller::append(const std::shared_ptr<Line> &line)
{
    if (m_pLast == nullptr) {
        m_first = line;
    } else {
        m_pLast->m_next = line;
    }
    m_pLast = line.get();
    ++m_nLines;
}

void StateTeller::clear()
{
    // One by one: a chain of owners would be destroyed recursively.
    while (m_first != nullptr) {
        m_first->m_nUntold = 0;
        m_first = std::exchange(m_first->m_next, nullptr);
    }
    m_pLast = nullptr;
    m_nLines = 0;
}

SELVIK_DCM_STATE StateTeller::take()
{
    const std::shared_ptr<Line> line = m_first;
    m_first = std::exchange(line->m_next, nullptr);
    m_pLast = m_first == nullptr ? nullptr : m_pLast;
    --m_nLines;
    const Line::News news = line->m_untold[0];
    std::move(line->m_untold.begin() + 1, line->m_untold.end(), line->m_untold.begin());
    if (--line->m_nUntold > 0) {
        append(line);
    }
    SELVIK_DCM_STATE record = line->m_record;
    record.previewHandle = news.handle;
    record.state = news.state;
    record.error = news.error;
    return record;
}

void StateTeller::run() noexcept
{
    std::unique_lock<std::mutex> lock(m_mutex);
    for (;;) {
        m_time.wait(lock, m_changed, TimeSource::kNoDeadline, [this] { return m_bEnd || m_first != nullptr; });
        if (m_bEnd) {
            break;
        }
        const SELVIK_DCM_STATE record = take();
        const SELVIK_DCM_STATE_CB pFunction = m_pFunction;
        void *const pUser = m_pUser;
        m_bInCallback = true;
        ++m_nCalls;
        lock.unlock();
        pFunction(&record, pUser);
        m_waits.hasReturned();
        lock.lock();
        m_bInCallback = false;
        m_changed.notify_all();
    }
    m_bEnded = true;
    m_changed.notify_all();
}

} // namespace selvik
