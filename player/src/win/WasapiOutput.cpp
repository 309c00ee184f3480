#include "player/src/win/WasapiOutput.h"

#include <mmreg.h>

#include <algorithm>
#include <cmath>
#include <cstring>

namespace player
{

namespace
{

constexpr std::int64_t kSecond = 1000000;
/** In the 100 ns of COM. More than is ever kept waiting. */
constexpr REFERENCE_TIME kBuffer = 400 * 10000;
/** A device whose latency nobody tells. */
constexpr std::int64_t kUsualLatency = 20000;
constexpr std::int64_t kMostLatency = 1000000;
/** How often it is asked which device is the default one. */
constexpr ULONGLONG kLookMilliseconds = 1000;

struct TaskMemory {
    void operator()(void *p) const
    {
        CoTaskMemFree(p);
    }
};

std::wstring idOf(IMMDevice &device)
{
    LPWSTR pId = nullptr;
    if (FAILED(device.GetId(&pId))) {
        return {};
    }
    const std::unique_ptr<wchar_t, TaskMemory> pOwned(pId);
    return pId;
}

/** Microseconds of the performance counter, which the positions of devices are told by. */
std::int64_t counter()
{
    LARGE_INTEGER now{};
    LARGE_INTEGER frequency{};
    QueryPerformanceCounter(&now);
    QueryPerformanceFrequency(&frequency);
    return static_cast<std::int64_t>(static_cast<double>(now.QuadPart) * kSecond /
                                     static_cast<double>(frequency.QuadPart));
}

} // namespace

std::unique_ptr<WasapiOutput> WasapiOutput::open()
{
    std::unique_ptr<WasapiOutput> pOutput(new WasapiOutput);
    return pOutput->openDefault() ? std::move(pOutput) : nullptr;
}

WasapiOutput::~WasapiOutput()
{
    if (m_bStarted) {
        m_pClient->Stop();
    }
}

ComPointer<IMMDevice> WasapiOutput::defaultDevice() const
{
    IMMDevice *pDevice = nullptr;
    const HRESULT result = m_pEnumerator->GetDefaultAudioEndpoint(eRender, eConsole, &pDevice);
    return ComPointer<IMMDevice>(SUCCEEDED(result) ? pDevice : nullptr);
}

bool WasapiOutput::openDefault()
{
    m_pEnumerator = comResult<IMMDeviceEnumerator>([](void **pp) {
        return CoCreateInstance(__uuidof(MMDeviceEnumerator), nullptr, CLSCTX_ALL, __uuidof(IMMDeviceEnumerator), pp);
    });
    const auto pDevice = m_pEnumerator ? defaultDevice() : nullptr;
    if (!pDevice) {
        return false;
    }
    m_device = idOf(*pDevice);
    m_pClient = comResult<IAudioClient>(
        [&](void **pp) { return pDevice->Activate(__uuidof(IAudioClient), CLSCTX_ALL, nullptr, pp); });
    WAVEFORMATEX *pFormat = nullptr;
    if (!m_pClient || FAILED(m_pClient->GetMixFormat(&pFormat))) {
        return false;
    }
    const std::unique_ptr<WAVEFORMATEX, TaskMemory> pOwned(pFormat);
    if (!readFormat(*pFormat) ||
        FAILED(m_pClient->Initialize(AUDCLNT_SHAREMODE_SHARED, 0, kBuffer, 0, pFormat, nullptr)) ||
        FAILED(m_pClient->GetBufferSize(&m_nBuffer))) {
        return false;
    }
    m_pRender = comResult<IAudioRenderClient>(
        [&](void **pp) { return m_pClient->GetService(__uuidof(IAudioRenderClient), pp); });
    m_pClock = comResult<IAudioClock>([&](void **pp) { return m_pClient->GetService(__uuidof(IAudioClock), pp); });
    if (!m_pRender || !m_pClock || FAILED(m_pClock->GetFrequency(&m_nFrequency)) || m_nFrequency == 0) {
        return false;
    }
    REFERENCE_TIME latency = 0;
    const bool bTold = SUCCEEDED(m_pClient->GetStreamLatency(&latency)) && latency > 0;
    m_nLatency = bTold ? std::min<std::int64_t>(latency / 10, kMostLatency) : kUsualLatency;
    m_nLooked = GetTickCount64();
    return true;
}

bool WasapiOutput::readFormat(const WAVEFORMATEX &format)
{
    DWORD kind = format.wFormatTag;
    DWORD speakers = 0;
    if (format.wFormatTag == WAVE_FORMAT_EXTENSIBLE) {
        const auto &extended = reinterpret_cast<const WAVEFORMATEXTENSIBLE &>(format);
        // These identifiers are the old numbers with the same bytes behind them.
        kind = extended.SubFormat.Data1;
        speakers = extended.dwChannelMask;
    }
    const bool bInteger = kind == WAVE_FORMAT_PCM;
    if (kind == WAVE_FORMAT_IEEE_FLOAT && format.wBitsPerSample == 32) {
        m_sample = Sample::Float;
    } else if (bInteger && format.wBitsPerSample == 16) {
        m_sample = Sample::Int16;
    } else if (bInteger && format.wBitsPerSample == 32) {
        m_sample = Sample::Int32;
    } else {
        return false;
    }
    m_format = {static_cast<int>(format.nSamplesPerSec), format.nChannels, speakers};
    return m_format.rate > 0 && m_format.channels > 0;
}

bool WasapiOutput::isStillDefault()
{
    const ULONGLONG now = GetTickCount64();
    if (now - m_nLooked < kLookMilliseconds) {
        return true;
    }
    m_nLooked = now;
    const auto pDevice = defaultDevice();
    return pDevice && idOf(*pDevice) == m_device;
}

std::optional<SoundOutput::State> WasapiOutput::state()
{
    UINT32 padding = 0;
    m_bLost = m_bLost || FAILED(m_pClient->GetCurrentPadding(&padding)) || !isStillDefault();
    if (m_bLost) {
        return std::nullopt;
    }
    State state;
    state.waiting = padding;
    state.delay = std::chrono::microseconds(std::int64_t{padding} * kSecond / m_format.rate + latency(padding));
    return state;
}

std::int64_t WasapiOutput::latency(UINT32 padding)
{
    UINT64 position = 0;
    UINT64 measured = 0;
    // While nothing waits, or nothing has been heard yet, the position says nothing.
    if (padding == 0 || !m_bStarted || FAILED(m_pClock->GetPosition(&position, &measured)) || position == 0) {
        return m_nLatency;
    }
    const std::int64_t since = std::clamp<std::int64_t>(counter() - static_cast<std::int64_t>(measured / 10), 0, 50000);
    const double played = static_cast<double>(position) / static_cast<double>(m_nFrequency);
    const double ahead = static_cast<double>(m_nWritten - std::min<UINT64>(padding, m_nWritten)) / m_format.rate;
    const auto latency = static_cast<std::int64_t>((ahead - played) * kSecond) - since;
    m_nLatency = std::clamp<std::int64_t>(latency, 0, kMostLatency);
    return m_nLatency;
}

void WasapiOutput::copy(const float *pFrames, std::size_t frames, BYTE *pTarget) const
{
    const std::size_t count = frames * static_cast<std::size_t>(m_format.channels);
    const auto scaled = [&](std::size_t i, double most) {
        return std::lround(std::clamp(static_cast<double>(pFrames[i]), -1.0, 1.0) * most);
    };
    switch (m_sample) {
    case Sample::Float:
        std::memcpy(pTarget, pFrames, count * sizeof(float));
        break;
    case Sample::Int16:
        for (std::size_t i = 0; i < count; ++i) {
            reinterpret_cast<std::int16_t *>(pTarget)[i] = static_cast<std::int16_t>(scaled(i, INT16_MAX));
        }
        break;
    case Sample::Int32:
        for (std::size_t i = 0; i < count; ++i) {
            reinterpret_cast<std::int32_t *>(pTarget)[i] = static_cast<std::int32_t>(scaled(i, INT32_MAX));
        }
        break;
    }
}

std::size_t WasapiOutput::write(const float *pFrames, std::size_t frames)
{
    UINT32 padding = 0;
    if (m_bLost || FAILED(m_pClient->GetCurrentPadding(&padding))) {
        m_bLost = true;
        return 0;
    }
    const UINT32 count = static_cast<UINT32>(std::min<std::size_t>(frames, m_nBuffer - std::min(padding, m_nBuffer)));
    BYTE *pTarget = nullptr;
    if (count == 0) {
        return 0;
    }
    if (FAILED(m_pRender->GetBuffer(count, &pTarget))) {
        m_bLost = true;
        return 0;
    }
    copy(pFrames, count, pTarget);
    m_bLost = FAILED(m_pRender->ReleaseBuffer(count, 0));
    m_nWritten += count;
    if (!m_bStarted && !m_bLost) {
        m_bStarted = true;
        m_bLost = FAILED(m_pClient->Start());
    }
    return m_bLost ? 0 : count;
}

void WasapiOutput::clear()
{
    if (!m_bStarted) {
        return;
    }
    // Both count from nought again afterwards.
    m_bLost = FAILED(m_pClient->Stop()) || FAILED(m_pClient->Reset()) || m_bLost;
    m_nWritten = 0;
    m_bStarted = false;
}

} // namespace player
