#ifndef TESTS_SOAK_RANDOM_H
#define TESTS_SOAK_RANDOM_H

#include <cstdint>
#include <initializer_list>

namespace soak
{

/** Numbers that are the same for a seed with every compiler and library. Threads: one. */
class Random
{
public:
    explicit Random(std::uint64_t seed) : m_state(seed) {}

    [[nodiscard]] std::uint64_t next()
    {
        m_state += 0x9E3779B97F4A7C15U;
        std::uint64_t mixed = m_state;
        mixed = (mixed ^ (mixed >> 30U)) * 0xBF58476D1CE4E5B9U;
        mixed = (mixed ^ (mixed >> 27U)) * 0x94D049BB133111EBU;
        return mixed ^ (mixed >> 31U);
    }

    /** From 0 up to and without the bound. */
    [[nodiscard]] long long below(long long bound)
    {
        return static_cast<long long>(next() % static_cast<std::uint64_t>(bound));
    }

    [[nodiscard]] long long oneOf(std::initializer_list<long long> values)
    {
        return values.begin()[below(static_cast<long long>(values.size()))];
    }

private:
    std::uint64_t m_state;
};

} // namespace soak

#endif
