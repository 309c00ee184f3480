#ifndef COMPANION_SETTINGSFILE_H
#define COMPANION_SETTINGSFILE_H

#include <string>
#include <vector>

namespace companion
{

/** A key of a section, and where what it says goes: yes or no (true, on, 1; false, off, 0). */
struct Switch {
    const char *pKey;
    bool *pValue;
};

/** One line for each thing that is wrong, with the number of its line; only so many. */
using Complaints = std::vector<std::string>;

/**
 * Reads one section of the optional settings file, Pellora.ini.
 *
 * Lines of "key = value", ";" and "#" before a remark. Other sections are others' business. What is wrong in this one
 * leaves the switch as it is. Threads: any.
 */
[[nodiscard]] Complaints parseSettings(std::string text, const std::string &section,
                                       const std::vector<Switch> &switches);
/** Of a file, UTF-8; one that is not there is as good as an empty one. */
[[nodiscard]] Complaints readSettingsFile(const std::string &fileName, const std::string &section,
                                          const std::vector<Switch> &switches);
/**
 * Of Pellora.ini beside the library that this code is in. What is wrong goes to standard error and to a debugger, with
 * the library's name before it.
 */
void readSettings(const char *pLibrary, const std::string &section, const std::vector<Switch> &switches);

} // namespace companion

#endif
