#include "preview/PaneStream.h"

#include "Selvikdcm.h"

namespace pellora
{

PaneStream::PaneStream(LivePort &port, PreviewListener &listener) : m_port(port), m_listener(listener) {}

void PaneStream::input(long lPreviewHandel, unsigned int nType, unsigned char *pBytes, unsigned int nLength)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    switch (m_gate.admit(lPreviewHandel)) {
    case StreamGate::Verdict::Pass:
        feed(nType, pBytes, nLength);
        break;
    case StreamGate::Verdict::Keep:
        m_gate.keep(lPreviewHandel, nType, pBytes, nLength);
        break;
    case StreamGate::Verdict::Drop:
        break;
    }
}

void PaneStream::feed(unsigned int nType, unsigned char *pBytes, unsigned long nLength)
{
    if (nType == SELVIK_STREAM_HEADER) {
        begin(pBytes, nLength);
    } else if (nType == SELVIK_STREAM_DATA) {
        m_port.feedLive(pBytes, nLength);
    }
}

void PaneStream::begin(unsigned char *pBytes, unsigned long nLength)
{
    const bool bAgain = m_bHeaderSeen;
    m_bHeaderSeen = true;
    // Before the port is opened, and whatever the player answers: the surface must be the player's by then.
    notify(PreviewNotice::Kind::Header);
    const bool bOpened = m_port.openLive(pBytes, nLength, bAgain);
    if (bAgain) {
        return;
    }
    if (m_bOpenDraw) {
        notify(PreviewNotice::Kind::Overlay);
    }
    notify(bOpened ? PreviewNotice::Kind::Opened : PreviewNotice::Kind::NotOpened);
}

void PaneStream::notify(PreviewNotice::Kind kind)
{
    PreviewNotice notice{};
    notice.kind = kind;
    notice.nGeneration = m_nGeneration;
    m_listener.notify(notice);
}

void PaneStream::open(unsigned int nGeneration, bool bOpenDraw, bool bOthersUnderWay)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_gate.open(bOthersUnderWay);
    m_nGeneration = nGeneration;
    m_bOpenDraw = bOpenDraw;
    m_bHeaderSeen = false;
}

void PaneStream::bind(long lPreviewHandel)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (StreamRecord &record : m_gate.bind(lPreviewHandel)) {
        feed(record.nType, record.bytes.data(), static_cast<unsigned long>(record.bytes.size()));
    }
}

void PaneStream::close()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_gate.close();
}

void PaneStream::forgetOverlay()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_bOpenDraw = false;
}

} // namespace pellora
