#include "base/tests/LogEndTest.h"

#include <gtest/gtest.h>

#include <string>

int main(int argc, char **argv)
{
    if (argc == 3 && argv[1] == std::string(kLogUntilTheEnd)) {
        logUntilTheEnd(argv[2]);
    }
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
