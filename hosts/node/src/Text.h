#ifndef HOSTS_NODE_TEXT_H
#define HOSTS_NODE_TEXT_H

#include <string>

namespace pellora::node
{

/** Text for Windows out of UTF-8. Any thread. What is no UTF-8 becomes replacement characters. */
[[nodiscard]] std::wstring wide(const std::string &text);

} // namespace pellora::node

#endif
