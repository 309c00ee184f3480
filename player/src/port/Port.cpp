#include "player/src/port/Port.h"

#include "player/src/metadata/FileAnalysis.h"
#include "player/src/picture/JpegEncoder.h"
#include "player/src/port/LateBytes.h"
#include "player/src/sound/FileSound.h"
#include "player/src/sound/SoundPlayer.h"

#include <algorithm>
#include <string>
#include <utility>

namespace player
{

namespace
{

constexpr unsigned long kMostDisplayBuffers = 50;
constexpr long kAnalysisData = 1;
constexpr long kEveryType = 0xff;

/** Containers round: a length of ten seconds may be told as a few microseconds less. */
unsigned long wholeSeconds(std::int64_t microseconds)
{
    return static_cast<unsigned long>((std::max<std::int64_t>(microseconds, 0) + 500) / 1000000);
}

} // namespace

Port::Port(Platform &platform, std::int32_t number, int slot) : m_platform(platform), m_nNumber(number), m_nSlot(slot)
{
}

Port::~Port()
{
    close();
}

std::shared_ptr<Playback> Port::playback() const
{
    const std::lock_guard lock(m_mutex);
    return m_pStream ? std::shared_ptr<Playback>(m_pStream) : m_pFile;
}

std::shared_ptr<FilePlayback> Port::file() const
{
    const std::lock_guard lock(m_mutex);
    return m_pFile;
}

std::shared_ptr<LivePlayback> Port::stream() const
{
    const std::lock_guard lock(m_mutex);
    return m_pStream;
}

Error Port::openFile(const char *path)
{
    if (!path) {
        return Error::Argument;
    }
    const auto pOpening = std::make_shared<FileOpening>(m_platform);
    {
        const std::lock_guard lock(m_mutex);
        if (m_pFile || m_pStream || m_pOpening) {
            return Error::Order;
        }
        m_pOpening = pOpening;
    }
    const auto isStillWanted = [&] {
        const bool bWanted = m_pOpening == pOpening;
        m_pOpening = bWanted ? nullptr : m_pOpening;
        return bWanted;
    };
    try {
        auto pPlayback = openPlayback(path, *pOpening);
        auto pSound = addSound(*pPlayback);
        const std::lock_guard lock(m_mutex);
        if (!isStillWanted()) {
            return Error::Open;
        }
        pPlayback->setCapacity(m_nDisplayBuffers);
        pSound->setVolume(m_nVolume);
        m_pFileSound = std::move(pSound);
        m_pFile = std::move(pPlayback);
    } catch (const OpenFailure &failure) {
        const std::lock_guard lock(m_mutex);
        return isStillWanted() ? failure.error : Error::Open;
    } catch (...) {
        const std::lock_guard lock(m_mutex);
        static_cast<void>(isStillWanted());
        throw;
    }
    return Error::None;
}

std::shared_ptr<FilePlayback> Port::openPlayback(const char *path, FileOpening &opening)
{
    std::unique_ptr<ByteSource> pBytes = opening.open(path);
    if (!pBytes) {
        throw OpenFailure{Error::Open};
    }
    auto pDecoder = std::make_unique<FileDecoder>(m_platform.clock(), std::move(pBytes), [this](int width, int height) {
        return m_platform.decoderThreads(width, height);
    });
    auto pPlayback = std::make_shared<FilePlayback>(m_platform, std::move(pDecoder), m_pCallbacks);
    // The index opens the file once more, where nobody waits for it.
    pPlayback->buildIndex(std::make_unique<LateBytes>(m_platform, path));
    addAnalysis(*pPlayback, path);
    return pPlayback;
}

void Port::addAnalysis(FilePlayback &file, const char *path) const
{
    // No container whose times may start over carries any.
    if (!file.has(SideStream::Metadata) || file.facts().mayLeap) {
        return;
    }
    const auto pOpening = std::make_shared<FileOpening>(m_platform);
    FileAnalysis::Opening opening{[pOpening, name = std::string(path)] { return pOpening->open(name.c_str()); },
                                  [pOpening] { pOpening->cancel(); }};
    file.setAnalysis(
        std::make_shared<FileAnalysis>(m_platform.clock(), std::move(opening), file.facts().firstTick, file.index()));
}

Error Port::closeFile()
{
    std::shared_ptr<FilePlayback> pFile;
    std::shared_ptr<FileOpening> pOpening;
    std::shared_ptr<SoundTrack> pSound;
    {
        const std::lock_guard lock(m_mutex);
        pFile.swap(m_pFile);
        pSound.swap(m_pFileSound);
        pOpening.swap(m_pOpening);
    }
    if (pOpening) {
        pOpening->cancel();
        return Error::None;
    }
    if (!pFile) {
        return Error::Order;
    }
    m_platform.sound().stop(*pSound);
    pFile->close();
    return Error::None;
}

Error Port::openStream(const std::uint8_t *pHeader, std::size_t headerSize, std::size_t bufferSize)
{
    if (!pHeader || headerSize == 0) {
        return Error::Argument;
    }
    const StreamMode mode = m_nOpenMode == 0 ? StreamMode::RealTime : StreamMode::File;
    auto pStream = std::make_shared<LivePlayback>(m_platform, std::vector<std::uint8_t>(pHeader, pHeader + headerSize),
                                                  bufferSize, mode, m_pCallbacks);
    const std::lock_guard lock(m_mutex);
    if (m_pFile || m_pStream || m_pOpening) {
        return Error::Order;
    }
    pStream->setCapacity(m_nDisplayBuffers);
    pStream->sound()->setVolume(m_nVolume);
    pStream->start();
    m_pStream = std::move(pStream);
    return Error::None;
}

Error Port::closeStream()
{
    std::shared_ptr<LivePlayback> pStream;
    {
        const std::lock_guard lock(m_mutex);
        pStream.swap(m_pStream);
    }
    if (!pStream) {
        return Error::Order;
    }
    m_platform.sound().stop(*pStream->sound());
    pStream->close();
    return Error::None;
}

Error Port::inputData(const std::uint8_t *pData, std::size_t size)
{
    if (!pData || size == 0) {
        return Error::Argument;
    }
    const auto pStream = stream();
    return pStream ? pStream->push(pData, size) : Error::Order;
}

void Port::close()
{
    closeFile();
    closeStream();
}

Error Port::setOpenMode(unsigned long mode)
{
    if (mode > 1) {
        return Error::Argument;
    }
    m_nOpenMode = mode;
    return Error::None;
}

Error Port::setDisplayBuffers(unsigned long pictures)
{
    if (pictures < 1 || pictures > kMostDisplayBuffers) {
        return Error::Argument;
    }
    {
        const std::lock_guard lock(m_mutex);
        m_nDisplayBuffers = pictures;
    }
    const auto pPlayback = playback();
    if (pPlayback) {
        pPlayback->setCapacity(pictures);
    }
    return Error::None;
}

Error Port::play(WindowHandle window)
{
    const auto pPlayback = playback();
    return pPlayback ? pPlayback->play(window) : Error::Order;
}

Error Port::stop()
{
    const auto pPlayback = playback();
    return pPlayback ? pPlayback->stop() : Error::Order;
}

Error Port::pause(unsigned long pause)
{
    if (pause > 1) {
        return Error::Argument;
    }
    const auto pPlayback = playback();
    return pPlayback ? pPlayback->pause(pause == 1) : Error::Order;
}

Error Port::changeSpeed(int steps)
{
    const auto pFile = file();
    return pFile ? pFile->changeSpeed(steps) : Error::Order;
}

Error Port::stepForward()
{
    const auto pFile = file();
    return pFile ? pFile->stepForward() : Error::Order;
}

Error Port::stepBack()
{
    const auto pFile = file();
    return pFile ? pFile->stepBack() : Error::Order;
}

Error Port::seek(unsigned long milliseconds)
{
    const auto pFile = file();
    return pFile ? pFile->seek(std::int64_t{1000} * milliseconds) : Error::Order;
}

Error Port::playedSeconds(unsigned long &seconds) const
{
    const auto pPlayback = playback();
    if (!pPlayback) {
        return Error::Order;
    }
    seconds = wholeSeconds(pPlayback->position());
    return Error::None;
}

Error Port::lengthSeconds(unsigned long &seconds) const
{
    const auto pFile = file();
    if (!pFile) {
        return Error::Order;
    }
    const auto length = pFile->length();
    if (!length) {
        return Error::NoIndex;
    }
    seconds = wholeSeconds(*length);
    return Error::None;
}

Error Port::recordingTimes(std::int64_t &first, std::int64_t &last) const
{
    const auto pFile = file();
    if (!pFile) {
        return Error::Order;
    }
    return pFile->recordingTimes(first, last);
}

Error Port::timeOnDisplay(std::int64_t &time) const
{
    const auto pPlayback = playback();
    return pPlayback ? pPlayback->timeOnDisplay(time) : Error::Order;
}

Error Port::pictureSize(int &width, int &height) const
{
    const auto pPlayback = playback();
    if (!pPlayback) {
        return Error::Order;
    }
    PictureShape shape;
    const Error error = pPlayback->shape(shape);
    if (error == Error::None) {
        width = shape.width;
        height = shape.height;
    }
    return error;
}

Error Port::jpeg(const std::optional<PixelRect> &region, int quality, std::vector<std::uint8_t> &file) const
{
    const auto pPlayback = playback();
    if (!pPlayback) {
        return Error::Order;
    }
    Picture picture;
    const Error error = pPlayback->onDisplay(picture);
    if (error != Error::None) {
        return error;
    }
    PixelRect area{0, 0, picture.shape.width, picture.shape.height};
    if (region) {
        area = DisplayRegion{*region, false}.on(picture.shape);
        if (area.isEmpty()) {
            return Error::Argument;
        }
    }
    JpegEncoder encoder;
    file = encoder.encode(*picture.pFrame, picture.shape, area, quality);
    return file.empty() ? Error::Resources : Error::None;
}

Error Port::setDisplayRegion(const std::optional<DisplayRegion> &region)
{
    const auto pPlayback = playback();
    return pPlayback ? pPlayback->setRegion(region) : Error::Order;
}

std::shared_ptr<SoundTrack> Port::soundLocked() const
{
    return m_pStream ? m_pStream->sound() : m_pFileSound;
}

std::shared_ptr<SoundTrack> Port::addSound(FilePlayback &file) const
{
    Clock &clock = m_platform.clock();
    auto pTrack = std::make_shared<SoundTrack>(clock, SoundTrack::Kind::File,
                                               [&platform = m_platform] { platform.sound().wake(); });
    if (!file.has(SideStream::Sound)) {
        pTrack->setStream(nullptr);
        return pTrack;
    }
    const auto pSound = std::make_shared<FileSound>(clock, pTrack);
    file.attach(pSound);
    file.setLeader(pSound);
    return pTrack;
}

Error Port::playSound() const
{
    std::shared_ptr<SoundTrack> pSound;
    std::shared_ptr<FilePlayback> pFile;
    {
        const std::lock_guard lock(m_mutex);
        pSound = soundLocked();
        pFile = m_pFile;
    }
    if (!pSound) {
        return Error::Order;
    }
    const Error error = m_platform.sound().play(pSound);
    if (error == Error::None && pFile) {
        pFile->moreWanted();
    }
    return error;
}

void Port::setVolume(unsigned short volume)
{
    const std::lock_guard lock(m_mutex);
    m_nVolume = volume;
    if (const auto pSound = soundLocked()) {
        pSound->setVolume(volume);
    }
}

unsigned short Port::volume() const
{
    return m_nVolume;
}

void Port::setFileIndexCallback(std::function<void()> callback)
{
    m_pCallbacks->fileIndex.set(std::move(callback));
    if (const auto pFile = file()) {
        pFile->indexCallbackChanged();
    }
}

void Port::showPrivateData(long type, bool show)
{
    // Other types are switches that nothing depends on yet.
    if (type == kAnalysisData || type == kEveryType) {
        m_pCallbacks->analysisShown = show;
    }
}

} // namespace player
