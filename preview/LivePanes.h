#ifndef PREVIEW_LIVEPANES_H
#define PREVIEW_LIVEPANES_H

#include <map>
#include <memory>
#include <mutex>
#include <set>

namespace pellora
{

/** Where the device's data for one pane go. Called on the device library's threads. */
class StreamSink
{
public:
    StreamSink() = default;
    virtual ~StreamSink() = default;
    StreamSink(const StreamSink &) = delete;
    StreamSink &operator=(const StreamSink &) = delete;

    /** One record of a preview's byte stream; the bytes are valid during the call. */
    virtual void input(long lPreviewHandel, unsigned int nType, unsigned char *pBytes, unsigned int nLength) = 0;
};

/**
 * The panes of the process, by the address under which the device library knows them.
 *
 * The device's user context is a pane's address, which may be that of a pane that is gone, or of a new one in the same
 * place. Data for an address that is not listed go nowhere. Starts that outlive their pane are counted here, so that
 * a new pane at the address knows that data may come which are not its own.
 *
 * Threads: any.
 * Owns:    a share in each sink; who has found one may use it after the pane is gone.
 * Locks:   its own, in which nothing else is taken.
 */
class LivePanes
{
public:
    using UnclaimedStart = std::multiset<const void *>::node_type;

    LivePanes() = default;
    LivePanes(const LivePanes &) = delete;
    LivePanes &operator=(const LivePanes &) = delete;

    /** Those of the process. Lives as long as the process. */
    [[nodiscard]] static LivePanes &instance();

    void add(const void *pPane, std::shared_ptr<StreamSink> pSink);
    void remove(const void *pPane);
    /** Null for an address at which no pane is. */
    [[nodiscard]] std::shared_ptr<StreamSink> find(const void *pPane) const;

    /** The memory that one unclaimed start takes, for the pane at this address. */
    [[nodiscard]] static UnclaimedStart unclaimedStart(const void *pPane);
    /** A start for this address goes on without its pane. Takes no memory, since nothing may throw there. */
    void addUnclaimedStart(UnclaimedStart start) noexcept;
    /** That start has come back and is stopped. */
    void removeUnclaimedStart(const void *pPane);
    [[nodiscard]] bool hasUnclaimedStart(const void *pPane) const;

private:
    // Guarded by m_mutex.
    mutable std::mutex m_mutex;
    std::map<const void *, std::shared_ptr<StreamSink>> m_sinks;
    std::multiset<const void *> m_unclaimedStarts;
};

} // namespace pellora

#endif
