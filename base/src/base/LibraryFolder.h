#ifndef BASE_LIBRARYFOLDER_H
#define BASE_LIBRARYFOLDER_H

#include <string>

namespace Base
{

/** The folder of this library's own file, with a backslash at its end; the program may lie elsewhere. Any thread. */
[[nodiscard]] std::wstring libraryFolder();

} // namespace Base

#endif
