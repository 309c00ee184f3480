#ifndef PLAYER_WASAPIOUTPUT_H
#define PLAYER_WASAPIOUTPUT_H

#include "player/src/sound/SoundOutput.h"
#include "player/src/win/ComPointer.h"
#include "player/src/win/TimerResolution.h"

#include <audioclient.h>
#include <mmdeviceapi.h>

#include <memory>
#include <string>

namespace player
{

/**
 * The default device by way of Windows' shared audio, in the form in which Windows mixes.
 *
 * Nothing calls back: whether the device is still there and still the default one is asked.
 */
class WasapiOutput : public SoundOutput
{
public:
    /** Null where there is no such device, or it cannot be opened. */
    static std::unique_ptr<WasapiOutput> open();
    ~WasapiOutput() override;

    [[nodiscard]] SoundFormat format() const override
    {
        return m_format;
    }

    [[nodiscard]] std::optional<State> state() override;
    std::size_t write(const float *pFrames, std::size_t frames) override;
    void clear() override;

private:
    enum class Sample { Float, Int16, Int32 };

    WasapiOutput() = default;

    [[nodiscard]] bool openDefault();
    [[nodiscard]] bool readFormat(const WAVEFORMATEX &format);
    [[nodiscard]] ComPointer<IMMDevice> defaultDevice() const;
    [[nodiscard]] bool isStillDefault();
    /** How much later than the padding says a sample is heard. */
    [[nodiscard]] std::int64_t latency(UINT32 padding);
    void copy(const float *pFrames, std::size_t frames, BYTE *pTarget) const;

    ComApartment m_apartment;
    TimerResolution m_resolution;
    ComPointer<IMMDeviceEnumerator> m_pEnumerator;
    ComPointer<IAudioClient> m_pClient;
    ComPointer<IAudioRenderClient> m_pRender;
    ComPointer<IAudioClock> m_pClock;
    std::wstring m_device;
    SoundFormat m_format;
    Sample m_sample = Sample::Float;
    UINT32 m_nBuffer = 0;
    UINT64 m_nFrequency = 0;

    UINT64 m_nWritten = 0;
    bool m_bStarted = false;
    bool m_bLost = false;
    /** Microseconds, as measured last. */
    std::int64_t m_nLatency = 0;
    ULONGLONG m_nLooked = 0;
};

} // namespace player

#endif
