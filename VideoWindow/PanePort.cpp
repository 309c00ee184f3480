#include "VideoWindow/PanePort.h"

#include "VideoWindow/DisplayRegion.h"
#include "VideoWindow/SoundOwner.h"

namespace pellora
{

namespace
{

RECT partOfPicture(const RECT &thousandths, PixelSize picture)
{
    const PixelRect pixels = regionInPixels(thousandths, picture);
    return {pixels.left, pixels.top, pixels.right, pixels.bottom};
}

} // namespace

PanePort::PanePort(HWND hPlayWnd) : m_hPlayWnd(hPlayWnd) {}

bool PanePort::playFile(char *pPath)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_source = Source::File;
    m_drovel.setStreamOpenMode(KAVUN_MODE_FILE);
    return m_drovel.startPlayFile(pPath, m_hPlayWnd);
}

void PanePort::end(Source otherwise)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    if ((m_source != Source::None ? m_source : otherwise) == Source::File) {
        m_drovel.unRegisterFileEndCallback();
        m_drovel.stopPlayFile();
    } else {
        m_drovel.stopPlayStream();
    }
    m_source = Source::None;
    m_inForce = {};
    SoundOwner::instance().release(this);
}

PanePort::Source PanePort::source() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_source;
}

bool PanePort::isFile(long nPort) const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_source == Source::File && m_drovel.portNumber() == nPort;
}

void PanePort::forgetWindow()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_hPlayWnd = nullptr;
}

bool PanePort::openLive(unsigned char *pHeader, unsigned long nLength, bool bAgain)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_source = Source::Live;
    m_drovel.setStreamOpenMode(KAVUN_MODE_REAL_TIME);
    const bool bOpened = m_drovel.startPlayStream(pHeader, nLength, m_hPlayWnd);
    if (bAgain) {
        putInForce();
    }
    return bOpened;
}

void PanePort::feedLive(unsigned char *pBytes, unsigned long nLength)
{
    m_drovel.inputData(pBytes, nLength);
    const std::lock_guard<std::mutex> lock(m_mutex);
    renewRegion();
}

/** The port has been replaced by a new one. */
void PanePort::putInForce()
{
    if (m_inForce.volume) {
        m_drovel.setVolume(*m_inForce.volume);
    }
    SoundOwner::instance().renew(this, [this] { return m_drovel.openSound(); });
    if (m_inForce.region) {
        m_inForce.region->picture = {};
        renewRegion();
    }
    if (m_inForce.pfnDraw != nullptr) {
        m_drovel.registerDrawFunc(m_inForce.pfnDraw, m_inForce.pDrawUser);
    }
    if (m_inForce.bIntelData) {
        m_drovel.setIntelData(true);
    }
}

/** The picture has got another size, or one at all: the same thousandths are other pixels of it. */
void PanePort::renewRegion()
{
    long nWidth = 0;
    long nHeight = 0;
    if (!m_inForce.region || !m_drovel.hasPictureSize(nWidth, nHeight)) {
        return;
    }
    Region &region = *m_inForce.region;
    const PixelSize picture = {static_cast<int>(nWidth), static_cast<int>(nHeight)};
    if (picture.width == region.picture.width && picture.height == region.picture.height) {
        return;
    }
    region.picture = picture;
    region.part = partOfPicture(region.thousandths, picture);
    m_drovel.setDisplayRegion(&region.part);
}

bool PanePort::isOpened() const
{
    return m_drovel.isOpened();
}

bool PanePort::play()
{
    return m_drovel.play();
}

bool PanePort::pause()
{
    return m_drovel.pause();
}

bool PanePort::restore()
{
    return m_drovel.restore();
}

bool PanePort::fast()
{
    return m_drovel.fast();
}

bool PanePort::slow()
{
    return m_drovel.slow();
}

bool PanePort::oneByOne()
{
    return m_drovel.oneByOne();
}

bool PanePort::oneByOneBack()
{
    return m_drovel.oneByOneBack();
}

bool PanePort::setPlayedTime(unsigned long nSeconds)
{
    return m_drovel.setPlayedTime(nSeconds);
}

unsigned long PanePort::getPlayedTime()
{
    return m_drovel.getPlayedTime();
}

unsigned long PanePort::getFileTime()
{
    return m_drovel.getFileTime();
}

bool PanePort::getSystemFileTime(KAVUN_SYSTEM_TIME *pStart, KAVUN_SYSTEM_TIME *pEnd)
{
    if (pStart == nullptr || pEnd == nullptr) {
        return false;
    }
    KAVUN_SYSTEM_TIME start{};
    KAVUN_SYSTEM_TIME end{};
    if (m_drovel.getSystemFileTime(&start, &end)) {
        *pStart = start;
        *pEnd = end;
    }
    return false;
}

bool PanePort::getSystemTime(KAVUN_SYSTEM_TIME *pTime)
{
    if (pTime == nullptr) {
        return false;
    }
    KAVUN_SYSTEM_TIME time{};
    if (m_drovel.getSystemTime(&time)) {
        *pTime = time;
    }
    return false;
}

bool PanePort::getPictureSize(long &nWidth, long &nHeight)
{
    return m_drovel.getPictureSize(nWidth, nHeight);
}

bool PanePort::capture(unsigned char *pBuffer, unsigned long nBufferSize, unsigned long *pPictureSize)
{
    return m_drovel.capture(pBuffer, nBufferSize, pPictureSize);
}

bool PanePort::screenshot(CROP_PIC_INFO *pInfo)
{
    return m_drovel.screenshot(pInfo);
}

unsigned short PanePort::getVolume()
{
    return m_drovel.getVolume();
}

bool PanePort::registerFileEndCallback(void (*pfnCallback)(long nPort, void *pUser), void *pUser)
{
    return m_drovel.registerFileEndCallback(pfnCallback, pUser);
}

bool PanePort::unRegisterFileEndCallback()
{
    return m_drovel.unRegisterFileEndCallback();
}

bool PanePort::registerDraw(DrawCallback pfnCallback, void *pUser)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const bool bRegistered = m_drovel.registerDrawFunc(pfnCallback, pUser);
    m_inForce.pfnDraw = bRegistered ? pfnCallback : nullptr;
    m_inForce.pDrawUser = pUser;
    return bRegistered;
}

bool PanePort::unregisterDraw()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_inForce.pfnDraw = nullptr;
    return m_drovel.unRegisterDrawFunc();
}

bool PanePort::openSound()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return SoundOwner::instance().take(this, [this] { return m_drovel.openSound(); });
}

bool PanePort::closeSound()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return SoundOwner::instance().silence([this] { return m_drovel.closeSound(); });
}

bool PanePort::setVolume(unsigned short nVolume)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const bool bSet = m_drovel.setVolume(nVolume);
    if (bSet) {
        m_inForce.volume = nVolume;
    }
    return bSet;
}

PanePort::Region PanePort::partOf(const RECT &thousandths)
{
    Region region{thousandths, {}, {}};
    long nWidth = 0;
    long nHeight = 0;
    if (m_drovel.getPictureSize(nWidth, nHeight)) {
        region.picture = {static_cast<int>(nWidth), static_cast<int>(nHeight)};
        region.part = partOfPicture(thousandths, region.picture);
    }
    return region;
}

bool PanePort::showRegion(const Region &region)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    RECT part = region.part;
    const bool bSet = m_drovel.setDisplayRegion(&part);
    if (bSet) {
        m_inForce.region = region;
    }
    return bSet;
}

bool PanePort::showWhole()
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    const bool bSet = m_drovel.setDisplayRegion(nullptr);
    if (bSet) {
        m_inForce.region.reset();
    }
    return bSet;
}

bool PanePort::setIntelData(bool bEnable)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_inForce.bIntelData = bEnable && isOpened();
    // The wrapper's answer says nothing; see there.
    return m_drovel.setIntelData(bEnable);
}

} // namespace pellora
