#ifndef TESTS_SOAK_GENERATORS_H
#define TESTS_SOAK_GENERATORS_H

#include "tests/soak/Random.h"

/** What operations draw their arguments from. Mostly what makes sense; the rest is what hosts get wrong. */
namespace soak::draw
{

/** Windows are made from 0 up, so that the low ones are there most of the time. */
inline long long handle(Random &random)
{
    return random.oneOf({0, 0, 0, 0, 0, 0, 1, 1, 1, 1, 2, 2, 3, 4, 5, 6, 7, 8, -1, 9, 255, 0x7FFFFFFF});
}

inline long long pane(Random &random)
{
    return random.oneOf({-1, -1, -1, 0, 0, 1, 1, 2, 3, 4, 5, 6, 7, 8, 9, 255, -2});
}

inline long long host(Random &random)
{
    return random.oneOf({0, 0, 1, 1, 2, 3});
}

/** 4 is no window. */
inline long long hostOrNone(Random &random)
{
    return random.oneOf({0, 0, 0, 1, 1, 1, 2, 3, 4});
}

inline long long login(Random &random)
{
    // From 4 on: numbers that were never given.
    return random.oneOf({0, 0, 1, 1, 2, 3, 4, 5});
}

inline long long flag(Random &random)
{
    return random.below(2);
}

template <int Bound>
long long below(Random &random)
{
    return random.below(Bound);
}

inline long long rule(Random &random)
{
    return random.oneOf({0, 0, 0, 1, 1, 2, 2, 3, 4, 5, 7, 20, 63, 64, -1});
}

inline long long seed(Random &random)
{
    return random.below(0x7FFFFFFF);
}

} // namespace soak::draw

#endif
