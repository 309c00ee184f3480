#ifndef PLAYER_NOTICE_H
#define PLAYER_NOTICE_H

#include "companion/Notice.h"

#include <string>

namespace player
{

/** One line for whoever looks into why something does not play; see companion::notice(). */
inline void notice(const std::string &text) noexcept
{
    companion::notice("Drovel", text);
}

} // namespace player

#endif
