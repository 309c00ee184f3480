#ifndef DEVICE_MODULE_H
#define DEVICE_MODULE_H

#include <string>

namespace selvik
{

/**
 * Makes the process ready for previews, once: FFmpeg is made silent, since its messages hold addresses with passwords,
 * and the library stays loaded, since threads of it may still be at their end when the host lets it go.
 */
void prepareProcess();

/** The folder that the library lies in, UTF-8; empty where it is not known, as in native test programs. */
[[nodiscard]] std::string libraryFolder();

/** One line for whoever sets the library up: to standard error, and to a debugger. */
void tellDeveloper(const std::string &line);

} // namespace selvik

#endif
