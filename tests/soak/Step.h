#ifndef TESTS_SOAK_STEP_H
#define TESTS_SOAK_STEP_H

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace soak
{

constexpr std::size_t kMostArguments = 6;
using Arguments = std::array<long long, kMostArguments>;

/** One row of a run: an operation of the table, and its arguments, which mean the same whatever went before. */
struct Step {
    std::size_t nNumber = 0; /**< its place in the run that the seed makes; its line in a file */
    std::size_t nOperation = 0;
    Arguments arguments{};
};

/** The steps of a seed from one number up to another. */
[[nodiscard]] std::vector<Step> stepsOf(std::uint64_t seed, std::size_t first, std::size_t last);
/** One step, drawn from a seed of its own: what is done inside a callback. */
[[nodiscard]] Step stepOf(std::uint64_t seed);
/** A step as it stands in a file. Throws what is wrong. */
[[nodiscard]] Step stepIn(const std::string &text);
/** The steps of a file: an operation's name and its arguments a line; "#" begins a comment. Throws what is wrong. */
[[nodiscard]] std::vector<Step> stepsIn(const std::string &path);
/** As it stands in such a file. */
[[nodiscard]] std::string textOf(const Step &step);

} // namespace soak

#endif
