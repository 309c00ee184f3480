#ifndef BASE_TESTS_LOGENDTEST_H
#define BASE_TESTS_LOGENDTEST_H

/** The argument with which a test starts this program once more, before the path of a log configuration. */
constexpr const char *kLogUntilTheEnd = "--log-until-the-end";

/** Logs on several threads, and ends the process in the middle of it. */
[[noreturn]] void logUntilTheEnd(const char *pConfiguration);

#endif
