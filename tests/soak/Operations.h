#ifndef TESTS_SOAK_OPERATIONS_H
#define TESTS_SOAK_OPERATIONS_H

#include "tests/soak/Random.h"
#include "tests/soak/Step.h"

#include <vector>

namespace soak
{

class World;

/** What a host may do, valid or not. */
struct Operation {
    const char *name = "";
    int nWeight = 0; /**< how often it is drawn, among the sum of all */
    void (*apply)(World &world, const Arguments &arguments) = nullptr;
    std::vector<long long (*)(Random &random)> generators;
    bool bNests = false; /**< the last argument is the seed of a step that is done later, inside a callback */
};

[[nodiscard]] const std::vector<Operation> &operations();

} // namespace soak

#endif
