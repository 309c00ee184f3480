#ifndef PLAYER_WAVEOUTOUTPUT_H
#define PLAYER_WAVEOUTOUTPUT_H

#include "player/src/sound/SoundOutput.h"
#include "player/src/win/TimerResolution.h"

#include <array>
#include <memory>
#include <vector>

namespace player
{

/** The default device by Windows' oldest interface, which is there where the shared audio is not. */
class WaveOutOutput : public SoundOutput
{
public:
    /** Null where there is no such device, or it cannot be opened. */
    static std::unique_ptr<WaveOutOutput> open();
    ~WaveOutOutput() override;

    [[nodiscard]] SoundFormat format() const override
    {
        return {kRate, kChannels, 3};
    }

    [[nodiscard]] std::optional<State> state() override;
    std::size_t write(const float *pFrames, std::size_t frames) override;
    void clear() override;

private:
    static constexpr int kRate = 48000;
    static constexpr int kChannels = 2;
    static constexpr std::size_t kBlockFrames = kRate / 50;
    static constexpr std::size_t kBlocks = 64;

    /** Some samples on their way through the device, which must not move meanwhile. */
    struct Block {
        WAVEHDR header{};
        std::array<std::int16_t, kBlockFrames * kChannels> samples{};
    };

    WaveOutOutput();

    [[nodiscard]] Block *freeBlock();
    [[nodiscard]] bool isBusy(const Block &block) const;
    [[nodiscard]] std::size_t writeBlock(Block &block, const float *pFrames, std::size_t frames);
    /** Frames that were written and not played. */
    [[nodiscard]] std::size_t unplayed();

    TimerResolution m_resolution;
    HWAVEOUT m_hDevice = nullptr;
    std::vector<std::unique_ptr<Block>> m_blocks;
    /** As the device counts: in 32 bits, round and round. */
    DWORD m_nWritten = 0;
    bool m_bLost = false;
};

} // namespace player

#endif
