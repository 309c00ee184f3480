#include "tests/soak/Operations.h"

#include "tests/soak/OperationLists.h"

namespace soak
{

const std::vector<Operation> &operations()
{
    static const std::vector<Operation> all = [] {
        std::vector<Operation> list;
        for (const auto &part :
             {hostOperations(), windowOperations(), fileOperations(), previewOperations(), ruleOperations()}) {
            list.insert(list.end(), part.begin(), part.end());
        }
        return list;
    }();
    return all;
}

} // namespace soak
