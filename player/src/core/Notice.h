#ifndef PLAYER_NOTICE_H
#define PLAYER_NOTICE_H

namespace player
{

/**
 * One line for whoever looks into why something does not play: to the debugger's output and to standard error. It must
 * hold nothing that is secret. Any thread; never throws.
 */
void notice(const char *pText) noexcept;

} // namespace player

#endif
