#ifndef LOGGING_CALLERLINE_H
#define LOGGING_CALLERLINE_H

/**
 * As a default argument: the line of the call. GCC, clang, and MSVC from Visual Studio 2019 16.6 on have it; standard
 * C++ does from C++20 on, as std::source_location. The project's only use of what a compiler adds to C++17.
 */
#define PELLORA_CALLER_LINE __builtin_LINE()

#endif
