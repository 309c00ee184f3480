#ifndef PREVIEW_STREAMGATE_H
#define PREVIEW_STREAMGATE_H

#include <map>
#include <optional>
#include <vector>

namespace pellora
{

/** A copy of one record of a preview's byte stream. */
struct StreamRecord {
    unsigned int nType = 0;
    std::vector<unsigned char> bytes;
};

/**
 * Which of the records that the device sends to a pane belong to the preview that the pane wants.
 *
 * A start's handle is known only when the start has come back, and its data may come before. While nobody else can be
 * sending, the first new handle is the start's. While an abandoned start is under way too, records are kept by handle
 * until it is known whose they are: those since the last header, which begins a stream anew.
 *
 * Threads: none of its own; guarded by its owner.
 * Units:   bytes; what is kept is bounded by kMostKept a handle and kMostHandles of them.
 */
class StreamGate
{
public:
    /** As much as the player would take: 5 MiB. */
    static constexpr std::size_t kMostKept = 0x500000;
    static constexpr std::size_t kMostHandles = 4;

    enum class Verdict { Drop, Pass, Keep };

    /** A start is being made. `othersUnderWay`: an abandoned start may send records to the same pane. */
    void open(bool othersUnderWay);
    /** The start came back with this handle. What was kept for it, oldest first. */
    [[nodiscard]] std::vector<StreamRecord> bind(long lPreviewHandel);
    /** Nothing gets in until the next open. */
    void close();

    [[nodiscard]] Verdict admit(long lPreviewHandel);
    /** After the verdict Keep; what exceeds the bounds is dropped. */
    void keep(long lPreviewHandel, unsigned int nType, const unsigned char *pBytes, unsigned int nLength);

private:
    struct Kept {
        std::vector<StreamRecord> records;
        std::size_t nBytes = 0;
    };

    bool m_bOpen = false;
    bool m_bOthersUnderWay = false;
    /** The one whose records pass. */
    std::optional<long> m_lHandle;
    std::map<long, Kept> m_kept;
};

} // namespace pellora

#endif
