#ifndef TESTS_SUPPORT_EXPORTNAMES_H
#define TESTS_SUPPORT_EXPORTNAMES_H

#include <windows.h>

#include <set>
#include <string>

namespace support
{

/** Names in the export table of a loaded module. */
[[nodiscard]] std::set<std::string> exportedNames(HMODULE module);

/** Names with this prefix that are declared as functions in a header, comments left out; paths from the source root. */
[[nodiscard]] std::set<std::string> declaredFunctions(const std::string &headerPath, const std::string &prefix);

/**
 * Functions that a document names: the prefix, a capital and a small letter, by which constants are left out.
 *
 * heading  of one section, up to the next one of its level; empty: the whole document
 */
[[nodiscard]] std::set<std::string> functionsInSection(const std::string &path, const std::string &heading,
                                                       const std::string &prefix);

/** Names that a module definition file exports; its path from the source root. */
[[nodiscard]] std::set<std::string> definitionFileNames(const std::string &path);

} // namespace support

#endif
