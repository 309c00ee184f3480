#ifndef DEVICE_STATETELLER_H
#define DEVICE_STATETELLER_H

#include "Selvikdcm.h"
#include "device/src/CallbackWaits.h"
#include "device/src/TimeSource.h"

#include <array>
#include <memory>

namespace selvik
{

/**
 * Tells the host the states of all previews, on a thread of its own, so that no preview waits for the host.
 *
 * What is to be told waits in one line for each preview, which has a fixed room: while the host does not come back from
 * a call, losses that are over are left out, and the first and the last state never are. Of ended previews only so many
 * lines may wait; then no further preview is opened.
 *
 * Threads: any. The thread begins with the first callback. No lock is held while the host is called.
 */
class StateTeller
{
public:
    /** The states of one preview. All but its creation is the teller's business. */
    class Line
    {
    public:
        Line(long userID, unsigned int channel, unsigned int streamType)
        {
            m_record.userID = userID;
            m_record.channel = channel;
            m_record.streamType = streamType;
        }

    private:
        friend class StateTeller;
        struct News {
            long handle = -1;
            unsigned int state = 0;
            unsigned int error = 0;
        };

        SELVIK_DCM_STATE m_record = {}; /**< all but the news */
        // Guarded by the teller's mutex.
        long m_lHandle = -1;
        bool m_bPlayed = false;
        unsigned int m_nLatest = 0; /**< the latest state, told or not */
        std::array<News, 8> m_untold;
        std::size_t m_nUntold = 0;
        std::shared_ptr<Line> m_next; /**< behind this one, while it has something to tell */
    };

    StateTeller(TimeSource &time, CallbackWaits &waits) : m_time(time), m_waits(waits) {}
    /** Ends the thread; what was not told yet is not told any more. */
    ~StateTeller();
    StateTeller(const StateTeller &) = delete;
    StateTeller &operator=(const StateTeller &) = delete;

    /** See SELVIK_DCM_SetStateCallback(). */
    void setCallback(SELVIK_DCM_STATE_CB pFunction, void *pUser);

    /** A line for a new preview, which is starting. Failure(SELVIK_ERROR_RESOURCES) while too much is untold. */
    [[nodiscard]] std::shared_ptr<Line> open(long userID, unsigned int channel, unsigned int streamType);
    /** From the first header on the states tell the handle. */
    void setHandle(Line &line, long handle);
    /** Nothing follows a last state, and no loss a loss. Waits for nobody and cannot fail. */
    void tell(const std::shared_ptr<Line> &line, unsigned int state, unsigned long error = SELVIK_ERROR_NONE) noexcept;

private:
    static void makeRoom(Line &line);
    void clear();
    void start();
    void run() noexcept;
    /** The next record to tell; its line goes to the end if it has more. */
    [[nodiscard]] SELVIK_DCM_STATE take();
    void append(const std::shared_ptr<Line> &line);

    TimeSource &m_time;
    CallbackWaits &m_waits;

    std::mutex m_mutex;
    std::condition_variable m_changed;
    // Guarded by m_mutex.
    SELVIK_DCM_STATE_CB m_pFunction = nullptr;
    void *m_pUser = nullptr;
    std::shared_ptr<Line> m_first; /**< lines with something to tell */
    Line *m_pLast = nullptr;
    std::size_t m_nLines = 0;
    bool m_bInCallback = false;
    unsigned long m_nCalls = 0;
    bool m_bEnd = false;
    bool m_bEnded = true; /**< no thread, or it is about to leave */
    std::thread m_thread;
    std::thread::id m_teller;
};

} // namespace selvik

#endif
