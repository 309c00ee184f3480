#include "VideoWindow/PaneStream.h"

#include "Selvikdcm.h"
#include "VideoWindow/SoundOwner.h"

namespace pellora
{

PaneStream::PaneStream(Drovel &drovel, Listener &listener, HWND hPlayWnd)
    : m_drovel(drovel), m_listener(listener), m_hPlayWnd(hPlayWnd)
{
}

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
    if (m_bFile) {
        return;
    }
    if (nType == SELVIK_STREAM_HEADER) {
        openPort(pBytes, nLength);
    } else if (nType == SELVIK_STREAM_DATA) {
        m_drovel.inputData(pBytes, nLength);
    }
}

void PaneStream::openPort(unsigned char *pBytes, unsigned long nLength)
{
    // Before the player is opened, and whatever it answers: the surface must be the player's by then.
    m_listener.headerArrived();
    m_drovel.setStreamOpenMode(KAVUN_MODE_REAL_TIME);
    const bool bOpened = m_drovel.startPlayStream(pBytes, nLength, m_hPlayWnd);
    if (m_bHeaderSeen) {
        restore();
        return;
    }
    m_bHeaderSeen = true;
    if (m_bOpenDraw) {
        m_listener.overlayWanted();
    }
    m_listener.streamOpened(bOpened);
}

void PaneStream::restore()
{
    if (m_inForce.volume) {
        m_drovel.setVolume(*m_inForce.volume);
    }
    SoundOwner::instance().renew(this, [this] { return m_drovel.openSound(); });
    if (m_inForce.region) {
        m_drovel.setDisplayRegion(&*m_inForce.region);
    }
    if (m_inForce.pfnDraw != nullptr) {
        m_drovel.registerDrawFunc(m_inForce.pfnDraw, m_inForce.pDrawUser);
    }
    if (m_inForce.bIntelData) {
        m_drovel.setIntelData(true);
    }
}

void PaneStream::forgetSettings()
{
    m_inForce = {};
    SoundOwner::instance().release(this);
}

void PaneStream::open(bool bOpenDraw, bool bOthersUnderWay)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_gate.open(bOthersUnderWay);
    m_bOpenDraw = bOpenDraw;
    m_bHeaderSeen = false;
    m_bFile = false;
}

void PaneStream::bind(long lPreviewHandel)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    for (StreamRecord &record : m_gate.bind(lPreviewHandel)) {
        feed(record.nType, record.bytes.data(), static_cast<unsigned long>(record.bytes.size()));
    }
}

void PaneStream::giveUp()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_gate.close();
}

void PaneStream::close()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_gate.close();
    m_bFile = false;
    forgetSettings();
}

void PaneStream::leave()
{
    // The gate opens only at the pane's request, so that a closed one stays closed.
    close();
}

void PaneStream::forgetWindow()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_hPlayWnd = nullptr;
}

void PaneStream::beginFile()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_bFile = true;
}

bool PaneStream::isForFile() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_bFile;
}

void PaneStream::stopFile()
{
    // Under the lock, since a preview of the pane may go on and open the port with its next header.
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_drovel.stopPlayFile();
    m_bFile = false;
    forgetSettings();
}

bool PaneStream::registerDraw(DrawCallback pfnCallback, void *pUser)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const bool bRegistered = m_drovel.registerDrawFunc(pfnCallback, pUser);
    m_inForce.pfnDraw = bRegistered ? pfnCallback : nullptr;
    m_inForce.pDrawUser = pUser;
    return bRegistered;
}

bool PaneStream::unregisterDraw()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_inForce.pfnDraw = nullptr;
    return m_drovel.unRegisterDrawFunc();
}

bool PaneStream::openSound()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return SoundOwner::instance().take(this, [this] { return m_drovel.openSound(); });
}

bool PaneStream::closeSound()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return SoundOwner::instance().silence([this] { return m_drovel.closeSound(); });
}

bool PaneStream::setVolume(unsigned short nVolume)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const bool bSet = m_drovel.setVolume(nVolume);
    if (bSet) {
        m_inForce.volume = nVolume;
    }
    return bSet;
}

bool PaneStream::setDisplayRegion(RECT *pRect)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const bool bSet = m_drovel.setDisplayRegion(pRect);
    if (bSet) {
        m_inForce.region = pRect != nullptr ? std::optional<RECT>(*pRect) : std::nullopt;
    }
    return bSet;
}

bool PaneStream::setIntelData(bool bEnable)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_inForce.bIntelData = bEnable && m_drovel.isOpened();
    // The wrapper's answer says nothing; see there.
    return m_drovel.setIntelData(bEnable);
}

} // namespace pellora
