#include "device/src/Challenge.h"

#include "device/src/Text.h"

namespace selvik
{

namespace
{

constexpr std::size_t kMaxChallenges = 16;
constexpr std::size_t kMaxParameters = 32;

/** Reads a header from its beginning to its end; each step takes at least one byte or says that nothing is left. */
class Scanner
{
public:
    explicit Scanner(const std::string &text) : m_text(text) {}

    [[nodiscard]] bool atEnd() const
    {
        return m_nAt >= m_text.size();
    }
    [[nodiscard]] bool at(char letter) const
    {
        return !atEnd() && m_text[m_nAt] == letter;
    }
    void skip(const char *pLetters)
    {
        m_nAt = std::min(m_text.find_first_not_of(pLetters, m_nAt), m_text.size());
    }
    void step()
    {
        ++m_nAt;
    }
    std::string word()
    {
        return until("=, \t\"");
    }
    std::string value()
    {
        if (!at('"')) {
            return trimmed(until(","));
        }
        std::string text;
        for (step(); !atEnd() && !at('"'); step()) {
            if (at('\\') && m_nAt + 1 < m_text.size()) {
                step();
            }
            text += m_text[m_nAt];
        }
        step();
        return text;
    }

private:
    std::string until(const char *pEnds)
    {
        const std::size_t begin = m_nAt;
        m_nAt = std::min(m_text.find_first_of(pEnds, begin), m_text.size());
        return m_text.substr(begin, m_nAt - begin);
    }

    const std::string &m_text;
    std::size_t m_nAt = 0;
};

} // namespace

std::vector<Challenge> Challenge::parse(const std::string &header)
{
    std::vector<Challenge> challenges;
    Scanner scanner(header);
    while (!scanner.atEnd()) {
        scanner.skip(", \t");
        const std::string word = lowerCase(scanner.word());
        scanner.skip(" \t");
        if (scanner.at('=')) {
            scanner.step();
            scanner.skip(" \t");
            const std::string value = scanner.value();
            // A name without a scheme before it, or the padding of a token, means nothing.
            if (!challenges.empty() && !word.empty() && challenges.back().parameters.size() < kMaxParameters) {
                challenges.back().parameters.emplace(word, value);
            }
        } else if (!word.empty()) {
            if (challenges.size() == kMaxChallenges) {
                break;
            }
            challenges.push_back({word, {}});
        } else if (!scanner.atEnd()) {
            scanner.step();
        }
    }
    return challenges;
}

std::string Challenge::parameter(const std::string &name) const
{
    const auto found = parameters.find(name);
    return found == parameters.end() ? std::string() : found->second;
}

} // namespace selvik
