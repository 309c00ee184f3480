# Google Benchmark, for bench/. Static.
needs=""
configure() { cmake_cross -DBENCHMARK_ENABLE_TESTING=OFF -DBENCHMARK_ENABLE_GTEST_TESTS=OFF -DBENCHMARK_ENABLE_WERROR=OFF; }
