#ifndef TESTS_SOAK_OPERATIONLISTS_H
#define TESTS_SOAK_OPERATIONLISTS_H

#include "tests/soak/Operations.h"

namespace soak
{

// What there is to do, by subject.

[[nodiscard]] std::vector<Operation> hostOperations();
[[nodiscard]] std::vector<Operation> windowOperations();
[[nodiscard]] std::vector<Operation> fileOperations();
[[nodiscard]] std::vector<Operation> previewOperations();
[[nodiscard]] std::vector<Operation> ruleOperations();

} // namespace soak

#endif
