#include "tests/support/SoundEar.h"

#include "tests/support/HostWindow.h"
#include "tests/support/SoundMeter.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <fstream>

namespace support
{

namespace
{

constexpr std::size_t kSampleBytes = 2;
constexpr double kSecond = 1e6;

} // namespace

double soundMoment()
{
    LARGE_INTEGER now{};
    LARGE_INTEGER frequency{};
    QueryPerformanceCounter(&now);
    QueryPerformanceFrequency(&frequency);
    return static_cast<double>(now.QuadPart) * kSecond / static_cast<double>(frequency.QuadPart);
}

SoundEar::SoundEar()
{
    const char *pFile = std::getenv("PELLORA_HEARD");
    m_file = pFile != nullptr ? pFile : "";
}

std::size_t SoundEar::count()
{
    std::ifstream file(m_file, std::ios::binary | std::ios::ate);
    const auto size = file ? static_cast<std::size_t>(file.tellg()) : 0;
    const std::size_t count = size / kSampleBytes;
    if (count > 0) {
        // A sample is never there before it was heard; the one that came soonest after it tells.
        const double zero = soundMoment() - static_cast<double>(count) * kSecond / testsupport::kHeardRate;
        m_zero = std::min(m_zero.value_or(zero), zero);
    }
    return count;
}

std::vector<float> SoundEar::samples(std::size_t from, std::size_t to) const
{
    std::ifstream file(m_file, std::ios::binary);
    file.seekg(static_cast<std::streamoff>(from * kSampleBytes));
    std::vector<std::int16_t> raw(to > from ? to - from : 0);
    file.read(reinterpret_cast<char *>(raw.data()), static_cast<std::streamsize>(raw.size() * kSampleBytes));
    raw.resize(static_cast<std::size_t>(file.gcount()) / kSampleBytes);
    std::vector<float> samples(raw.size());
    std::transform(raw.begin(), raw.end(), samples.begin(),
                   [](std::int16_t sample) { return static_cast<float>(sample) / 32768; });
    return samples;
}

std::vector<float> SoundEar::listen(unsigned milliseconds)
{
    const std::size_t from = count();
    const std::size_t to = from + std::size_t{milliseconds} * testsupport::kHeardRate / 1000;
    static_cast<void>(pumpUntil([&] { return count() >= to; }, milliseconds + 10'000));
    return samples(from, std::min(to, count()));
}

bool SoundEar::waitFor(unsigned milliseconds, const std::function<bool(const std::vector<float> &)> &condition,
                       unsigned patience)
{
    const double deadline = soundMoment() + patience * 1000.0;
    while (soundMoment() < deadline) {
        if (condition(listen(milliseconds))) {
            return true;
        }
    }
    return false;
}

double SoundEar::momentOf(double sample) const
{
    return m_zero.value_or(0) + sample * kSecond / testsupport::kHeardRate;
}

} // namespace support
