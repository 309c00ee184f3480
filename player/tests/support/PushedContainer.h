#ifndef PLAYER_TESTS_SUPPORT_PUSHEDCONTAINER_H
#define PLAYER_TESTS_SUPPORT_PUSHEDCONTAINER_H

#include "player/tests/support/PushedStream.h"

#include <ostream>
#include <string>

namespace player::test
{

/** A row of tests that push one clip in each of several containers. */
struct PushedContainer {
    const char *name;
    PushedStream (*make)(const std::string &file, const LiveOptions &options);
    const char *file;
    /** The last picture that comes out while the stream goes on. */
    int last;
};

inline void PrintTo(const PushedContainer &container, std::ostream *pStream)
{
    *pStream << container.name;
}

} // namespace player::test

#endif
