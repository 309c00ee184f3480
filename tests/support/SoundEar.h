#ifndef TESTS_SUPPORT_SOUNDEAR_H
#define TESTS_SUPPORT_SOUNDEAR_H

#include <windows.h>

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace support
{

/**
 * Listens to what the sound device of tools/with-sound.sh plays.
 *
 * Threads: one.
 * Units:   samples at 48,000 a second, from -1 to 1, counted from the beginning of the recording; moments in
 *          microseconds of the performance counter.
 */
class SoundEar
{
public:
    SoundEar();

    /** False where nobody records, since the tests do not run under with-sound.sh. */
    [[nodiscard]] bool listens() const
    {
        return !m_file.empty();
    }

    /** How many samples have come; call it often, since it also learns the time of the samples. */
    std::size_t count();
    /** What came from one sample up to before another, which have come. */
    [[nodiscard]] std::vector<float> samples(std::size_t from, std::size_t to) const;
    /** What is heard from now on, for so long; messages run meanwhile. Short when it does not come in time. */
    std::vector<float> listen(unsigned milliseconds);
    /** Whether what is heard meets the condition before the time is over, asked for each so many milliseconds of it. */
    bool waitFor(unsigned milliseconds, const std::function<bool(const std::vector<float> &)> &condition,
                 unsigned patience = 15'000);
    /** When a sample was heard, or at most a few milliseconds later. */
    [[nodiscard]] double momentOf(double sample) const;

private:
    std::string m_file;
    /** The earliest moment at which sample 0 can have come. */
    std::optional<double> m_zero;
};

/** Now, in microseconds of the performance counter. */
[[nodiscard]] double soundMoment();

} // namespace support

#endif
