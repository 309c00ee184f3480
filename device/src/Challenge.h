#ifndef DEVICE_CHALLENGE_H
#define DEVICE_CHALLENGE_H

#include <map>
#include <string>
#include <vector>

namespace selvik
{

/**
 * One question for credentials: its scheme and its parameters, names in lower case. RFC 9110, 11.6.1.
 *
 * Threads: a value.
 */
struct Challenge {
    std::string scheme;
    std::map<std::string, std::string> parameters;

    /**
     * The questions of one WWW-Authenticate header, of which devices put several into one line. What is torn is left
     * out, and what is more than anybody needs.
     */
    [[nodiscard]] static std::vector<Challenge> parse(const std::string &header);

    /** Empty where there is none. */
    [[nodiscard]] std::string parameter(const std::string &name) const;
};

} // namespace selvik

#endif
