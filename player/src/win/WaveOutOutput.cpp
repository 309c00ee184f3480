#include "player/src/win/WaveOutOutput.h"

#include <algorithm>
#include <cmath>

namespace player
{

namespace
{

/** The interface tells no latency: this is what the mixer behind it has. */
constexpr std::chrono::microseconds kMixer{20000};

} // namespace

WaveOutOutput::WaveOutOutput()
{
    for (std::size_t i = 0; i < kBlocks; ++i) {
        m_blocks.push_back(std::make_unique<Block>());
    }
}

std::unique_ptr<WaveOutOutput> WaveOutOutput::open()
{
    WAVEFORMATEX format{};
    format.wFormatTag = WAVE_FORMAT_PCM;
    format.nChannels = kChannels;
    format.nSamplesPerSec = kRate;
    format.wBitsPerSample = 16;
    format.nBlockAlign = kChannels * sizeof(std::int16_t);
    format.nAvgBytesPerSec = kRate * format.nBlockAlign;
    std::unique_ptr<WaveOutOutput> pOutput(new WaveOutOutput);
    if (waveOutOpen(&pOutput->m_hDevice, WAVE_MAPPER, &format, 0, 0, CALLBACK_NULL) != MMSYSERR_NOERROR) {
        pOutput->m_hDevice = nullptr;
        return nullptr;
    }
    for (auto &pBlock : pOutput->m_blocks) {
        pBlock->header.lpData = reinterpret_cast<LPSTR>(pBlock->samples.data());
        pBlock->header.dwBufferLength = static_cast<DWORD>(sizeof(pBlock->samples));
        if (waveOutPrepareHeader(pOutput->m_hDevice, &pBlock->header, sizeof(WAVEHDR)) != MMSYSERR_NOERROR) {
            return nullptr;
        }
    }
    return pOutput;
}

WaveOutOutput::~WaveOutOutput()
{
    if (!m_hDevice) {
        return;
    }
    waveOutReset(m_hDevice);
    for (auto &pBlock : m_blocks) {
        waveOutUnprepareHeader(m_hDevice, &pBlock->header, sizeof(WAVEHDR));
    }
    waveOutClose(m_hDevice);
}

bool WaveOutOutput::isBusy(const Block &block) const
{
    return (block.header.dwFlags & WHDR_INQUEUE) != 0;
}

WaveOutOutput::Block *WaveOutOutput::freeBlock()
{
    const auto free =
        std::find_if(m_blocks.begin(), m_blocks.end(), [this](const auto &pBlock) { return !isBusy(*pBlock); });
    return free == m_blocks.end() ? nullptr : free->get();
}

std::size_t WaveOutOutput::unplayed()
{
    MMTIME time{};
    time.wType = TIME_SAMPLES;
    if (waveOutGetPosition(m_hDevice, &time, sizeof(time)) != MMSYSERR_NOERROR) {
        m_bLost = true;
        return 0;
    }
    DWORD position = time.u.sample;
    if (time.wType == TIME_BYTES) {
        position = time.u.cb / (kChannels * sizeof(std::int16_t));
    }
    const DWORD left = m_nWritten - position;
    return left <= kBlocks * kBlockFrames ? left : 0;
}

std::optional<SoundOutput::State> WaveOutOutput::state()
{
    State state;
    state.waiting = unplayed();
    if (m_bLost) {
        return std::nullopt;
    }
    state.delay = std::chrono::microseconds(static_cast<std::int64_t>(state.waiting) * 1000000 / kRate) + kMixer;
    return state;
}

std::size_t WaveOutOutput::write(const float *pFrames, std::size_t frames)
{
    std::size_t written = 0;
    while (written < frames && !m_bLost) {
        Block *pBlock = freeBlock();
        if (!pBlock) {
            break;
        }
        written += writeBlock(*pBlock, pFrames + written * kChannels, std::min(frames - written, kBlockFrames));
    }
    return written;
}

std::size_t WaveOutOutput::writeBlock(Block &block, const float *pFrames, std::size_t frames)
{
    std::transform(pFrames, pFrames + frames * kChannels, block.samples.begin(), [](float sample) {
        return static_cast<std::int16_t>(std::lround(std::clamp(sample, -1.0F, 1.0F) * INT16_MAX));
    });
    block.header.dwBufferLength = static_cast<DWORD>(frames * kChannels * sizeof(std::int16_t));
    if (waveOutWrite(m_hDevice, &block.header, sizeof(WAVEHDR)) != MMSYSERR_NOERROR) {
        m_bLost = true;
        return 0;
    }
    m_nWritten += static_cast<DWORD>(frames);
    return frames;
}

void WaveOutOutput::clear()
{
    // The device counts from nought again afterwards.
    m_bLost = waveOutReset(m_hDevice) != MMSYSERR_NOERROR || m_bLost;
    m_nWritten = 0;
}

} // namespace player
