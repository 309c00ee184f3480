#ifndef TESTS_DOUBLES_CALLGATES_H
#define TESTS_DOUBLES_CALLGATES_H

#include <string>

/** Where the doubles' calls wait: held by the test, or delayed by chance. */
namespace doubles
{

/** Called by each call after it was recorded. */
void passGate(const std::string &function);
/** Lets everything go on. */
void resetGates();

} // namespace doubles

#endif
