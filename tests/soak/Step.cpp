#include "tests/soak/Step.h"

#include "tests/soak/Operations.h"
#include "tests/soak/Random.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <stdexcept>

namespace soak
{

namespace
{

Step draw(Random &random)
{
    long long nSum = 0;
    for (const Operation &operation : operations()) {
        nSum += operation.nWeight;
    }
    long long nDrawn = random.below(nSum);
    Step step;
    while (nDrawn >= operations()[step.nOperation].nWeight) {
        nDrawn -= operations()[step.nOperation].nWeight;
        ++step.nOperation;
    }
    const Operation &operation = operations()[step.nOperation];
    for (std::size_t i = 0; i < operation.generators.size(); ++i) {
        step.arguments.at(i) = operation.generators[i](random);
    }
    return step;
}

} // namespace

std::vector<Step> stepsOf(std::uint64_t seed, std::size_t first, std::size_t last)
{
    Random random(seed);
    std::vector<Step> steps;
    for (std::size_t i = 0; i <= last; ++i) {
        Step step = draw(random);
        step.nNumber = i;
        if (i >= first) {
            steps.push_back(step);
        }
    }
    return steps;
}

Step stepOf(std::uint64_t seed)
{
    Random random(seed);
    return draw(random);
}

Step stepIn(const std::string &text)
{
    std::istringstream words(text);
    std::string name;
    words >> name;
    const auto found = std::find_if(operations().begin(), operations().end(),
                                    [&name](const Operation &operation) { return name == operation.name; });
    if (found == operations().end()) {
        throw std::runtime_error("there is no operation " + name);
    }
    Step step;
    step.nOperation = static_cast<std::size_t>(found - operations().begin());
    for (std::size_t i = 0; i < found->generators.size(); ++i) {
        if (!(words >> step.arguments.at(i))) {
            throw std::runtime_error(name + " has too few arguments");
        }
    }
    return step;
}

std::vector<Step> stepsIn(const std::string &path)
{
    std::ifstream file(path);
    if (!file) {
        throw std::runtime_error("cannot be read: " + path);
    }
    std::vector<Step> steps;
    std::string line;
    for (std::size_t nLine = 1; std::getline(file, line); ++nLine) {
        const std::string text = line.substr(0, line.find('#'));
        if (text.find_first_not_of(" \t\r") != std::string::npos) {
            steps.push_back(stepIn(text));
            steps.back().nNumber = nLine;
        }
    }
    return steps;
}

std::string textOf(const Step &step)
{
    const Operation &operation = operations()[step.nOperation];
    std::string text = operation.name;
    for (std::size_t i = 0; i < operation.generators.size(); ++i) {
        text += ' ' + std::to_string(step.arguments.at(i));
    }
    if (operation.bNests) {
        text += " # " + textOf(stepOf(static_cast<std::uint64_t>(step.arguments.at(operation.generators.size() - 1))));
    }
    return text;
}

} // namespace soak
