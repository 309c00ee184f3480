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
 */
[[nodiscard]] std::string addressForLog(const std::string &address);

} // namespace pellora

#endif
