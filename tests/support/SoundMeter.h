#ifndef TESTS_SUPPORT_SOUNDMETER_H
#define TESTS_SUPPORT_SOUNDMETER_H

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <vector>

/** Measures what was heard: samples from -1 to 1, one after the other at a rate of so many a second. */
namespace testsupport
{

inline constexpr int kHeardRate = 48000;

/** The amplitude of a sine that is as loud. */
inline double levelOf(const std::vector<float> &samples)
{
    double sum = 0;
    for (const float sample : samples) {
        sum += static_cast<double>(sample) * sample;
    }
    return samples.empty() ? 0 : std::sqrt(2 * sum / static_cast<double>(samples.size()));
}

/** In Hz, of a sine, whatever little noise a codec adds. */
inline double frequencyOf(const std::vector<float> &samples, int rate = kHeardRate)
{
    const auto sure = static_cast<float>(levelOf(samples) / 3);
    bool bBelow = false;
    double first = -1;
    double last = -1;
    int turns = 0;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        if (bBelow && samples[i] > sure) {
            last = static_cast<double>(i);
            first = first < 0 ? last : first;
            ++turns;
        }
        bBelow = samples[i] < -sure || (bBelow && samples[i] <= sure);
    }
    return turns < 2 ? 0 : (turns - 1) * rate / (last - first);
}

/** How many of them are not silence. */
inline std::size_t soundingOf(const std::vector<float> &samples)
{
    return static_cast<std::size_t>(
        std::count_if(samples.begin(), samples.end(), [](float sample) { return std::fabs(sample) > 1e-4F; }));
}

/** Where samples begin to be louder than that, in seconds from the first one; after each nothing for half a second. */
inline std::vector<double> clicksIn(const std::vector<float> &samples, float level, int rate = kHeardRate)
{
    std::vector<double> clicks;
    for (std::size_t i = 0; i < samples.size(); ++i) {
        const double at = static_cast<double>(i) / rate;
        if (std::fabs(samples[i]) > level && (clicks.empty() || at > clicks.back() + 0.5)) {
            clicks.push_back(at);
        }
    }
    return clicks;
}

} // namespace testsupport

#endif
