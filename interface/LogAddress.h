#ifndef INTERFACE_LOGADDRESS_H
#define INTERFACE_LOGADDRESS_H

#include <string>

namespace pellora
{

/**
 * A stream address as it may stand in a log: what can carry a user or a password is "***".
 *
 * That is everything before the last '@' but the scheme, and everything from the first of "?=&" on, since there are
 * cameras whose addresses carry credentials in the query or even in the path.
 *
 * Of an address that was cut, by `bCut`, scheme and host are shown at most: the '@' behind a long password may be lost,
 * so that only a host between an '@' and a '/', or one without a port, is surely no user.
 */
[[nodiscard]] std::string addressForLog(const std::string &address, bool bCut = false);

} // namespace pellora

#endif
