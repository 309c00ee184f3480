#include "preview/StreamGate.h"

#include "preview/RetiredPreviews.h"

#include <utility>

namespace pellora
{

namespace
{

/** The device's number of a record that begins a stream. */
constexpr unsigned int kHeader = 1;

} // namespace

void StreamGate::open(bool othersUnderWay)
{
    close();
    m_bOpen = true;
    m_bOthersUnderWay = othersUnderWay;
}

std::vector<StreamRecord> StreamGate::bind(long lPreviewHandel)
{
    std::vector<StreamRecord> records = std::move(m_kept[lPreviewHandel].records);
    m_kept.clear();
    m_bOthersUnderWay = false;
    m_lHandle = lPreviewHandel;
    return records;
}

void StreamGate::close()
{
    m_bOpen = false;
    m_bOthersUnderWay = false;
    m_lHandle.reset();
    m_kept.clear();
}

StreamGate::Verdict StreamGate::admit(long lPreviewHandel)
{
    if (!m_bOpen) {
        return Verdict::Drop;
    }
    if (m_lHandle) {
        return *m_lHandle == lPreviewHandel ? Verdict::Pass : Verdict::Drop;
    }
    // The pane's earlier preview goes on sending until its stop has been carried out.
    if (RetiredPreviews::instance().contains(lPreviewHandel)) {
        return Verdict::Drop;
    }
    if (m_bOthersUnderWay) {
        return Verdict::Keep;
    }
    m_lHandle = lPreviewHandel;
    return Verdict::Pass;
}

void StreamGate::keep(long lPreviewHandel, unsigned int nType, const unsigned char *pBytes, unsigned int nLength)
{
    if (pBytes == nullptr || (m_kept.count(lPreviewHandel) == 0 && m_kept.size() >= kMostHandles)) {
        return;
    }
    Kept &kept = m_kept[lPreviewHandel];
    if (nType == kHeader) {
        // The stream begins anew. What came before would only open a port for the next header to close, on the thread
        // that binds.
        kept = {};
    }
    if (nLength > kMostKept - kept.nBytes) {
        return;
    }
    kept.records.push_back({nType, std::vector<unsigned char>(pBytes, pBytes + nLength)});
    kept.nBytes += nLength;
}

} // namespace pellora
